/// @file
/// A slow, literal model of the point strings: texts are copied piece by piece, numbers are taken one by one.
#ifndef TARNU_TESTS_GEOMETRY_POINTSTRINGMODEL_H
#define TARNU_TESTS_GEOMETRY_POINTSTRINGMODEL_H

#include <cstdint>
#include <cwctype>
#include <set>
#include <string>
#include <vector>

namespace tarnu::test {

struct PointStringModel {
    using Number = std::uint32_t;

    std::wstring text, remaining, token;
    Number rangeStart = 0, rangeEnd = 0, current = 0;
    bool done = false, descending = false, error = false;

    static std::wstring TrimLeft(std::wstring s) {
        while (!s.empty() && std::iswspace(s.front()))
            s.erase(0, 1);
        return s;
    }
    static std::wstring TrimRight(std::wstring s) {
        while (!s.empty() && std::iswspace(s.back()))
            s.pop_back();
        return s;
    }
    /// Digits after leading white space; 0 when there is none or the value is above 4294967294.
    static Number Convert(const std::wstring& s) {
        unsigned long long value = 0;
        for (wchar_t c : TrimLeft(s)) {
            if (c < L'0' || c > L'9') break;
            value = value * 10 + static_cast<unsigned>(c - L'0');
            if (value > 0xFFFFFFFE) return 0;
        }
        return static_cast<Number>(value);
    }

    void Cut() {
        bool comma = false;
        do {
            if (remaining.empty()) {
                done = true;
                return;
            }
            const std::size_t at = remaining.find(L',');
            comma = at != std::wstring::npos;
            token = remaining.substr(0, at);
            remaining = comma ? remaining.substr(at + 1) : std::wstring();
            token = TrimRight(token);
            remaining = TrimLeft(remaining);
        } while (token.empty() && comma);

        int f = 0, s = 0;
        bool dash = false, comparison = false, bad = false;
        for (wchar_t c : token) {
            if (c == L' ') {
                if (f == 1) f = 2;
                if (s == 1) s = 2;
            } else if (c == L'-') {
                if (f == 0 || s != 0 || dash || comparison) bad = true;
                f = 2;
                dash = true;
            } else if (c >= L'0' && c <= L'9') {
                if (f == 0) {
                    f = 1;
                } else if (f == 2) {
                    if (!dash || comparison || s == 2) bad = true;
                    if (s == 0) s = 1;
                }
            } else if (c == L'<' || c == L'>') {
                if (f != 0 || s != 0 || dash) bad = true;
                comparison = true;
            } else if (c == L'=') {
                if (!comparison || f != 0 || s != 0 || dash) bad = true;
            } else {
                bad = true;
            }
            if (bad) break;
        }
        if (!bad) {
            const std::size_t at = token.find(L'-');
            if (at != std::wstring::npos) {
                rangeStart = Convert(token.substr(0, at));
                rangeEnd = Convert(token.substr(at + 1));
                descending = rangeStart > rangeEnd;
            } else {
                rangeStart = rangeEnd = Convert(token);
            }
            if (!comparison && (rangeStart == 0 || rangeEnd == 0)) bad = true;
        }
        if (bad) error = done = true;
    }
    bool Start() {
        error = done = descending = false;
        remaining = TrimLeft(TrimRight(text));
        if (remaining.empty()) {
            done = true;
            return false;
        }
        rangeStart = rangeEnd = current = 0;
        Cut();
        return true;
    }
    void First(Number& number) {
        if (Start()) number = current = rangeStart;
    }
    void Next(Number& number) {
        if (descending && current > rangeEnd) {
            --current;
        } else if (!descending && current < rangeEnd) {
            ++current;
        } else {
            Cut();
            current = rangeStart;
        }
        number = current;
    }
    bool IsValid() {
        if (error) return error = false;
        Start();
        while (!done && !error)
            Cut();
        const bool valid = !error;
        error = false;
        return valid;
    }
    Number GetCount() {
        Number count = 0;
        for (Start(); !done; Cut())
            count += rangeEnd - rangeStart + 1;
        return count;
    }

    // Building

    static bool Markable(Number number) { return number >= 1 && number <= 0xFFFFFBFF; }
    static std::wstring Written(Number number) { return std::to_wstring(static_cast<std::int32_t>(number)); }
    static std::wstring Sorted(const std::set<Number>& numbers) {
        std::wstring out;
        for (auto number = numbers.begin(); number != numbers.end(); ++number) {
            if (!out.empty()) out += L",";
            out += Written(*number);
            const Number start = *number;
            for (auto next = std::next(number); next != numbers.end() && *next == *number + 1; ++next)
                number = next;
            if (*number > start) out += L"-" + Written(*number);
        }
        return out;
    }
    static std::wstring Unsorted(std::wstring out, const std::vector<Number>& numbers) {
        out = TrimRight(out);
        if (numbers.empty()) return out;
        Number previous = numbers[0];
        if (!out.empty()) out += L",";
        out += Written(previous);
        bool up = false, down = false;
        for (std::size_t index = 1; index < numbers.size(); ++index) {
            const Number number = numbers[index];
            const Number difference = number - previous;
            if ((up && difference != 1) || (down && difference != 0xFFFFFFFF)) {
                out += L"-" + Written(previous) + L"," + Written(number);
                up = down = false;
            } else if (!up && !down) {
                if (difference == 1) {
                    up = true;
                } else if (difference == 0xFFFFFFFF) {
                    down = true;
                } else {
                    out += L"," + Written(number);
                }
            }
            previous = number;
        }
        if (up || down) out += L"-" + Written(previous);
        return out;
    }
    static std::wstring Build(const std::vector<Number>& numbers, bool sorted) {
        if (!sorted) return Unsorted(L"", numbers);
        std::set<Number> set;
        for (Number number : numbers) {
            if (Markable(number)) set.insert(number);
        }
        return Sorted(set);
    }
    std::wstring Normalized(bool sorted) const {
        PointStringModel walk;
        walk.text = text;
        std::set<Number> marked;
        std::vector<Number> added;
        Number number = 0;
        for (walk.First(number); !walk.done; walk.Next(number)) {
            if (marked.contains(number)) continue;
            if (Markable(number)) marked.insert(number);
            added.push_back(number);
        }
        return Build(added, sorted);
    }
    std::wstring Without(const std::wstring& points, bool sorted) const {
        PointStringModel named;
        named.text = points;
        if (!named.IsValid()) return text;
        std::set<Number> marked;
        Number number = 0;
        for (named.First(number); !named.done; named.Next(number)) {
            if (Markable(number)) marked.insert(number);
        }
        PointStringModel walk;
        walk.text = text;
        std::vector<Number> added;
        for (walk.First(number); !walk.done; walk.Next(number)) {
            if (!marked.contains(number)) added.push_back(number);
        }
        return Build(added, sorted);
    }
};

} // namespace tarnu::test

#endif // TARNU_TESTS_GEOMETRY_POINTSTRINGMODEL_H
