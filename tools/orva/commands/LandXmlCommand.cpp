#include "orva/Command.h"
#include "orva/Console.h"
#include "orva/SurveyPoints.h"
#include "orva/XmlFile.h"
#include "tarnu/TarnuWin32Utils.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::string pointsFile;
    std::string outputFile;
    std::string readFile;
    std::string points;
    std::string name;
    std::string units = "meter";
    bool skipsBad = false;
};

using Attributes = std::vector<std::pair<const wchar_t*, const wchar_t*>>;

struct Units {
    const char* name;
    const wchar_t* element;
    Attributes attributes;
};

const Units& UnitsOf(const std::string& name) {
    static const Units units[] = {{"meter",
                                   L"Metric",
                                   {{L"linearUnit", L"meter"},
                                    {L"areaUnit", L"squareMeter"},
                                    {L"volumeUnit", L"cubicMeter"},
                                    {L"temperatureUnit", L"celsius"},
                                    {L"pressureUnit", L"milliBars"}}},
                                  {"foot",
                                   L"Imperial",
                                   {{L"linearUnit", L"foot"},
                                    {L"areaUnit", L"squareFoot"},
                                    {L"volumeUnit", L"cubicYard"},
                                    {L"temperatureUnit", L"fahrenheit"},
                                    {L"pressureUnit", L"inHG"}}},
                                  {"us-survey-foot",
                                   L"Imperial",
                                   {{L"linearUnit", L"USSurveyFoot"},
                                    {L"areaUnit", L"squareFoot"},
                                    {L"volumeUnit", L"cubicYard"},
                                    {L"temperatureUnit", L"fahrenheit"},
                                    {L"pressureUnit", L"inHG"}}}};
    return *std::find_if(std::begin(units), std::end(units), [&name](const Units& unit) { return name == unit.name; });
}

/// The numbers that the user wants, as ascending ranges that do not overlap.
class Selection {
public:
    /// Everything is wanted when the text is empty.
    explicit Selection(const std::string& text) : m_isEverything(text.empty()) {
        OrvaPointString points(Wide(text).c_str());
        if (!points.IsValid()) throw CLI::ValidationError("--points", "\"" + text + "\" is no list of point numbers");
        for (const auto range : tarnu::OrvaPointRanges(points))
            m_ranges.emplace_back(std::min(range.start, range.end), std::max(range.start, range.end));
        std::sort(m_ranges.begin(), m_ranges.end());
        std::size_t kept = 0;
        for (const auto& range : m_ranges) {
            if (kept > 0 && range.first <= m_ranges[kept - 1].second) {
                m_ranges[kept - 1].second = std::max(m_ranges[kept - 1].second, range.second);
            } else {
                m_ranges[kept++] = range;
            }
        }
        m_ranges.resize(kept);
    }

    bool Holds(UINT number) const {
        if (m_isEverything) return true;
        const auto after = std::upper_bound(m_ranges.begin(), m_ranges.end(), std::pair(number, UINT_MAX));
        return after != m_ranges.begin() && number <= std::prev(after)->second;
    }

private:
    bool m_isEverything;
    std::vector<std::pair<UINT, UINT>> m_ranges;
};

/// Appends an element with attributes; empty when the document refuses it.
OrvaXml::NodePointer AddElement(IXMLDOMDocument* document, IXMLDOMNode* parent, const wchar_t* name,
                                const std::vector<std::pair<const wchar_t*, std::wstring>>& attributes) {
    const OrvaXml::NodePointer node = OrvaXml::CreateElement(document, parent, name);
    OrvaXml::ElementPointer element;
    if (!node || FAILED(node->QueryInterface(IID_IXMLDOMElement, reinterpret_cast<void**>(element.GetAddressOf())))) {
        return {};
    }
    for (const auto& [attribute, value] : attributes) {
        if (FAILED(OrvaXml::SetString(element.Get(), attribute, value.c_str()))) return {};
    }
    return node;
}

bool SetText(IXMLDOMNode* node, const std::wstring& text) {
    const BSTR copy = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    const bool isSet = copy != nullptr && SUCCEEDED(node->put_text(copy));
    ::SysFreeString(copy);
    return isSet;
}

/// The declaration, which makes the document UTF-8.
bool AddDeclaration(IXMLDOMDocument* document) {
    const BSTR target = ::SysAllocString(L"xml");
    const BSTR data = ::SysAllocString(L"version=\"1.0\" encoding=\"UTF-8\"");
    Microsoft::WRL::ComPtr<IXMLDOMProcessingInstruction> declaration;
    OrvaXml::NodePointer appended;
    const bool isAdded = SUCCEEDED(document->createProcessingInstruction(target, data, declaration.GetAddressOf())) &&
                         declaration && SUCCEEDED(document->appendChild(declaration.Get(), appended.GetAddressOf()));
    ::SysFreeString(target);
    ::SysFreeString(data);
    return isAdded;
}

/// Builds the document: header, units, project, application, points.
bool BuildDocument(IXMLDOMDocument* document, const Options& options, const std::wstring& project,
                   const std::vector<SurveyPoint>& points) {
    if (!AddDeclaration(document)) return false;
    const OrvaXml::ElementPointer root = OrvaXml::CreateLandXMLRoot(document);
    if (!root) return false;

    const Units& units = UnitsOf(options.units);
    const OrvaXml::NodePointer unitsNode = AddElement(document, root.Get(), L"Units", {});
    if (!unitsNode) return false;
    std::vector<std::pair<const wchar_t*, std::wstring>> names(units.attributes.begin(), units.attributes.end());
    if (!AddElement(document, unitsNode.Get(), units.element, names) ||
        !AddElement(document, root.Get(), L"Project", {{L"name", project}}) ||
        !AddElement(document, root.Get(), L"Application", {{L"name", L"orva"}})) {
        return false;
    }
    const OrvaXml::NodePointer group = AddElement(document, root.Get(), L"CgPoints", {});
    if (!group) return false;
    const auto number = [](double value) { return std::wstring(tarnu::FormatXmlDouble(value)); };
    for (const SurveyPoint& point : points) {
        names = {{L"name", std::to_wstring(point.number)}};
        if (!point.description.empty()) names.emplace_back(L"desc", point.description);
        const OrvaXml::NodePointer node = AddElement(document, group.Get(), L"CgPoint", names);
        std::wstring coordinates = number(point.northing) + L' ' + number(point.easting);
        if (point.elevation) coordinates += L' ' + number(*point.elevation);
        if (!node || !SetText(node.Get(), coordinates)) return false;
    }
    return true;
}

/// The compact text of the numbers: "1-5,7".
std::wstring Numbering(const std::vector<SurveyPoint>& points) {
    OrvaSortedPointString numbers;
    for (const SurveyPoint& point : points)
        numbers.Add(point.number);
    numbers.BuildText();
    return numbers.GetText().GetString();
}

std::wstring SystemText(DWORD error) {
    CString text = OrvaGetSystemErrorText(error);
    text.TrimRight();
    return text.GetString();
}

int Write(const Options& options) {
    const Selection selection(options.points);
    const std::wstring source = Wide(options.pointsFile);
    const std::wstring target = Wide(options.outputFile);
    std::vector<unsigned char> bytes;
    if (OrvaReadFile(source.c_str(), bytes) != 0) {
        PrintError(L"orva: " + source + L" cannot be read: " + SystemText(::GetLastError()) + L"\n");
        return exitFailure;
    }
    SurveyFile survey = ReadSurvey({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    for (const BadLine& bad : survey.badLines)
        PrintError(Format(L"%s(%u): %s\n", source.c_str(), static_cast<unsigned>(bad.line), bad.reason.c_str()));
    if (!survey.badLines.empty() && !options.skipsBad) {
        PrintError(L"orva: nothing was written; --skip-bad leaves such lines out\n");
        return exitFailure;
    }
    std::vector<SurveyPoint>& points = survey.points;
    std::erase_if(points, [&selection](const SurveyPoint& point) { return !selection.Holds(point.number); });
    if (points.empty()) {
        PrintError(L"orva: no point is left to write\n");
        return exitFailure;
    }

    std::wstring project = Wide(options.name);
    if (project.empty()) {
        project = source.substr(source.find_last_of(L"\\/:") + 1);
        if (project.rfind(L'.') != 0) project = project.substr(0, project.rfind(L'.'));
    }
    const OrvaXml xml(L"", /*asynchronous=*/false, /*fromStream=*/false, /*ownFileStream=*/false);
    if (!BuildDocument(xml.GetDocument().Get(), options, project, points)) {
        PrintError(L"orva: the XML parser refused the document\n");
        return exitFailure;
    }
    // Saved beside the target first, so that a failure leaves what stands there.
    const std::wstring temporary = target + L"." + std::to_wstring(::GetCurrentProcessId()) + L".tmp";
    const HRESULT saved = xml.Save(temporary.c_str());
    DWORD error = static_cast<DWORD>(saved);
    if (SUCCEEDED(saved)) {
        error = ::MoveFileExW(temporary.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED)
                    ? ERROR_SUCCESS
                    : ::GetLastError();
    }
    if (error != ERROR_SUCCESS) {
        ::DeleteFileW(temporary.c_str());
        PrintError(L"orva: " + target + L" cannot be written: " + SystemText(error) + L"\n");
        return exitFailure;
    }
    Print(Format(L"%s: %u points: %s\n", target.c_str(), static_cast<unsigned>(points.size()),
                 Numbering(points).c_str()));
    return exitSuccess;
}

// Reading

/// Reads one point; the reason is empty when it is one.
std::wstring ReadPoint(IXMLDOMNode* node, SurveyPoint& point) {
    const std::wstring name = OrvaXmlGetAttributes(node, L"name").GetString();
    const UINT number = OrvaPointStringParseNumber(name.c_str());
    if (name.empty() || name.find_first_not_of(L"0123456789") != std::wstring::npos || number == 0 ||
        number > highestPointNumber) {
        return L"the name \"" + name + L"\" is no point number";
    }
    point.number = number;
    point.description = OrvaXmlGetAttributes(node, L"desc").GetString();
    const std::wstring text = TextIn(node);
    std::vector<double> values;
    constexpr const wchar_t* blanks = L" \t\r\n";
    for (std::size_t at = text.find_first_not_of(blanks); at != std::wstring::npos;) {
        const std::size_t end = std::min(text.find_first_of(blanks, at), text.size());
        double value = 0;
        if (!tarnu::ParseXmlDouble(text.substr(at, end - at).c_str(), value)) {
            return L"point " + name + L": \"" + text.substr(at, end - at) + L"\" is no coordinate";
        }
        values.push_back(value);
        at = text.find_first_not_of(blanks, end);
    }
    if (values.size() != 2 && values.size() != 3) {
        return L"point " + name + L": " + std::to_wstring(values.size()) + L" coordinates instead of 2 or 3";
    }
    point.northing = values[0];
    point.easting = values[1];
    if (values.size() == 3) point.elevation = values[2];
    return {};
}

int Read(const Options& options) {
    const std::wstring path = Wide(options.readFile);
    OrvaXml xml(path.c_str(), /*asynchronous=*/false, /*fromStream=*/false, /*ownFileStream=*/false);
    if (!LoadXml(xml)) return exitFailure;
    const OrvaXml::ElementPointer root = OrvaXml::GetLandXMLRoot(xml.GetDocument().Get());
    if (!root) {
        PrintError(L"orva: " + path + L" is no LandXML document\n");
        return exitFailure;
    }
    std::vector<SurveyPoint> points;
    OrvaPointArray plan; // x is the easting, y the northing
    bool isWhole = true;
    try {
        OrvaXmlNodeArray groups;
        OrvaXmlGetChildNodes(static_cast<IXMLDOMNode*>(root.Get()), L"CgPoints", &groups);
        for (const OrvaXmlNode& group : groups) {
            OrvaXmlNodeArray nodes;
            OrvaXmlGetChildNodes(group.Get(), L"CgPoint", &nodes);
            for (const OrvaXmlNode& node : nodes) {
                SurveyPoint point;
                const std::wstring reason = ReadPoint(node.Get(), point);
                if (!reason.empty()) {
                    PrintError(L"orva: " + path + L": " + reason + L"\n");
                    isWhole = false;
                    continue;
                }
                plan.Append({point.easting, point.northing, point.elevation.value_or(0.0)});
                points.push_back(std::move(point));
            }
        }
    } catch (const CString& text) {
        PrintError(L"orva: " + path + L": " + text.GetString() + L"\n");
        return exitFailure;
    }

    std::wstring output;
    for (const SurveyPoint& point : points)
        output += FormatSurveyLine(point) + L"\n";
    output += Format(L"# %u points: %s\n", static_cast<unsigned>(points.size()), Numbering(points).c_str());
    if (!points.empty()) {
        OrvaSingleFaceReader reader(&plan);
        double minX = 0;
        double minY = 0;
        double maxX = 0;
        double maxY = 0;
        reader.GetExtents(&minX, &minY, &maxX, &maxY);
        const auto number = [](double value) { return std::wstring(tarnu::FormatXmlDouble(value)); };
        output += L"# northing " + number(minY) + L" to " + number(maxY) + L", easting " + number(minX) + L" to " +
                  number(maxX) + L"\n";
    }
    Print(output);
    return isWhole ? exitSuccess : exitFailure;
}

} // namespace

void AddLandXmlCommand(CLI::App& program, Action& action) {
    auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("landxml", "Makes a LandXML document of a survey point file");
    CLI::Option* points = command->add_option("POINTS", options->pointsFile,
                                              "Lines of number, northing, easting, elevation, description");
    CLI::Option* output = command->add_option("OUT", options->outputFile, "The document to write");
    CLI::Option* read = command->add_option("--read", options->readFile, "List the points of a LandXML document");
    CLI::Option* selected =
        command->add_option("-p,--points", options->points, "Numbers to write, as in 1-100,205 (all)");
    CLI::Option* name = command->add_option("-n,--name", options->name, "Name of the project (that of the file)");
    CLI::Option* units = command->add_option("-u,--units", options->units, "Unit of the coordinates")
                             ->check(CLI::IsMember({"meter", "foot", "us-survey-foot"}))
                             ->capture_default_str();
    CLI::Option* skip = command->add_flag("--skip-bad", options->skipsBad, "Leave lines out that cannot be used");
    for (CLI::Option* writing : {points, output, selected, name, units, skip})
        read->excludes(writing);
    command->callback([options, &action] {
        if (options->readFile.empty() && (options->pointsFile.empty() || options->outputFile.empty())) {
            throw CLI::ValidationError("landxml", "POINTS and OUT, or --read FILE, are required");
        }
        if (options->readFile.empty()) {
            const Selection checked(options->points); // a wrong list is a wrong command line
        }
        action = [options] { return options->readFile.empty() ? Write(*options) : Read(*options); };
    });
}

} // namespace orva
