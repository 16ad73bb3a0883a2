#include "orva/SurveyPoints.h"

#include "orva/Console.h"
#include "tarnu/xml/XmlNumbers.h"

#include <charconv>
#include <cmath>
#include <unordered_map>
#include <windows.h>

namespace orva {
namespace {

constexpr std::wstring_view blanks = L" \t";

/// What is wrong with a line.
struct LineError {
    std::wstring reason;
};

std::wstring_view Trimmed(std::wstring_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::wstring_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The text of a line; a replaced character would change a description without notice.
std::wstring Decoded(std::string_view line) {
    if (line.empty()) return {};
    const auto size = static_cast<int>(line.size());
    const int length = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, line.data(), size, nullptr, 0);
    if (length == 0) throw LineError{L"the line is not UTF-8 text"};
    std::wstring text(static_cast<std::size_t>(length), L'\0');
    ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, line.data(), size, text.data(), length);
    return text;
}

/// Cuts a field in quotes; @p at stands behind the opening one and goes behind the field's comma.
std::wstring CutQuoted(std::wstring_view line, std::size_t& at) {
    std::wstring field;
    for (;;) {
        const std::size_t quote = line.find(L'"', at);
        if (quote == std::wstring_view::npos) throw LineError{L"a quoted field does not end"};
        field += line.substr(at, quote - at);
        at = quote + 1;
        if (at < line.size() && line[at] == L'"') {
            field += line[at++];
            continue;
        }
        const std::size_t comma = std::min(line.find(L',', at), line.size());
        if (!Trimmed(line.substr(at, comma - at)).empty()) throw LineError{L"there is text behind a quoted field"};
        at = comma + 1;
        return field;
    }
}

std::vector<std::wstring> Fields(std::wstring_view line) {
    std::vector<std::wstring> fields;
    for (std::size_t at = 0; at <= line.size();) {
        const std::size_t first = line.find_first_not_of(blanks, at);
        if (first != std::wstring_view::npos && line[first] == L'"') {
            at = first + 1;
            fields.push_back(CutQuoted(line, at));
            continue;
        }
        const std::size_t comma = std::min(line.find(L',', at), line.size());
        fields.emplace_back(Trimmed(line.substr(at, comma - at)));
        at = comma + 1;
    }
    return fields;
}

std::uint32_t PointNumber(const std::wstring& field) {
    std::uint64_t number = 0;
    for (const wchar_t digit : field) {
        if (digit < L'0' || digit > L'9') throw LineError{L"\"" + field + L"\" is no point number"};
        number = number * 10 + static_cast<unsigned>(digit - L'0');
        if (number > highestPointNumber) break;
    }
    if (field.empty()) throw LineError{L"the point number is missing"};
    if (number == 0 || number > highestPointNumber) {
        throw LineError{L"the point number " + field + L" is not between 1 and " + std::to_wstring(highestPointNumber)};
    }
    return static_cast<std::uint32_t>(number);
}

double Coordinate(const std::wstring& field, const wchar_t* name) {
    double value = 0;
    if (field.empty()) throw LineError{L"the " + std::wstring(name) + L" is missing"};
    if (!tarnu::ParseXmlDouble(field.c_str(), value) || !std::isfinite(value)) {
        throw LineError{L"the " + std::wstring(name) + L" \"" + field + L"\" is no number"};
    }
    return value;
}

/// Refuses what no XML document can hold.
void CheckText(const std::wstring& text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if ((text[at] < 0x20 && text[at] != L'\t') || text[at] >= 0xFFFE) {
            throw LineError{Format(L"the description has a character (U+%04X) that XML does not allow",
                                   static_cast<unsigned>(text[at]))};
        }
    }
}

SurveyPoint Point(const std::vector<std::wstring>& fields) {
    if (fields.size() < 4) {
        throw LineError{
            Format(L"%u of the fields number, northing, easting, elevation", static_cast<unsigned>(fields.size()))};
    }
    if (fields.size() > 5) {
        throw LineError{
            Format(L"%u fields; a description with commas needs quotes", static_cast<unsigned>(fields.size()))};
    }
    SurveyPoint point;
    point.number = PointNumber(fields[0]);
    point.northing = Coordinate(fields[1], L"northing");
    point.easting = Coordinate(fields[2], L"easting");
    if (!fields[3].empty()) point.elevation = Coordinate(fields[3], L"elevation");
    if (fields.size() == 5) point.description = fields[4];
    CheckText(point.description);
    return point;
}

bool IsHeading(const std::vector<std::wstring>& fields) {
    return fields.size() >= 4 && ::_wcsicmp(fields[0].c_str(), L"number") == 0 &&
           ::_wcsicmp(fields[1].c_str(), L"northing") == 0;
}

} // namespace

SurveyFile ReadSurvey(std::string_view bytes) {
    SurveyFile file;
    std::unordered_map<std::uint32_t, std::size_t> lines; // line of each number
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    std::size_t line = 0;
    while (!bytes.empty()) {
        ++line;
        const std::size_t end = std::min(bytes.find_first_of("\r\n"), bytes.size());
        const std::string_view current = bytes.substr(0, end);
        const bool isPair = bytes.substr(end).starts_with("\r\n");
        bytes.remove_prefix(std::min(end + (isPair ? 2 : 1), bytes.size()));
        try {
            const std::wstring text = Decoded(current);
            const std::wstring_view content = Trimmed(text);
            if (content.empty() || content[0] == L'#' || content[0] == L';') continue;
            const std::vector<std::wstring> fields = Fields(content);
            if (file.points.empty() && IsHeading(fields)) continue;
            SurveyPoint point = Point(fields);
            const auto [known, isNew] = lines.emplace(point.number, line);
            if (!isNew) {
                throw LineError{
                    Format(L"point %u stands in line %u already", point.number, static_cast<unsigned>(known->second))};
            }
            file.points.push_back(std::move(point));
        } catch (const LineError& error) {
            file.badLines.push_back({line, error.reason});
        }
    }
    return file;
}

std::wstring FormatSurveyLine(const SurveyPoint& point) {
    const auto number = [](double value) { return std::wstring(tarnu::FormatXmlDouble(value)); };
    std::wstring line = std::to_wstring(point.number) + L',' + number(point.northing) + L',' + number(point.easting) +
                        L',' + (point.elevation ? number(*point.elevation) : std::wstring());
    const std::wstring& text = point.description;
    if (text.empty()) return line;
    if (text.find_first_of(L",\"") == std::wstring::npos && Trimmed(text) == text) return line + L',' + text;
    line += L",\"";
    for (const wchar_t unit : text) {
        if (unit == L'"') line += unit;
        line += unit;
    }
    return line + L'"';
}

} // namespace orva
