// The natural compare: sorting file names whose numbers count by value.

#include "bench/Harness.h"

#include "tarnu/text/OrvaStrings.h"

#include <algorithm>
#include <random>
#include <shlwapi.h>

namespace {

using tarnu::bench::Subject;
using tarnu::bench::Work;

using Names = std::vector<const wchar_t*>;

/// File names as projects have them, one behind the other in memory.
class Corpus {
public:
    explicit Corpus(std::size_t count) {
        static constexpr const wchar_t* words[] = {L"sheet ",  L"Parcel-", L"site_plan_", L"survey",    L"Profile ",
                                                   L"section", L"road-",   L"DRAWING",    L"alignment", L"Surface "};
        static constexpr const wchar_t* middles[] = {L"", L" (", L"_rev", L"-", L" copy "};
        static constexpr const wchar_t* ends[] = {L".dwg", L".xml", L").dwg", L"", L"_final.txt"};
        std::mt19937 engine(7);
        const auto pick = [&engine](const auto& list) { return list[engine() % std::size(list)]; };
        std::vector<std::size_t> starts;
        starts.reserve(count);
        for (std::size_t index = 0; index < count; ++index) {
            starts.push_back(m_text.size());
            m_text += pick(words);
            m_text += std::to_wstring(engine() % 10'000);
            if (const wchar_t* middle = pick(middles); *middle != 0) {
                m_text += middle;
                m_text += std::to_wstring(engine() % 100);
            }
            m_text += pick(ends);
            m_text += L'\0';
        }
        names.reserve(count);
        for (const std::size_t start : starts)
            names.push_back(m_text.data() + start);
    }
    Corpus(const Corpus&) = delete;
    Corpus& operator=(const Corpus&) = delete;

    Names names;

private:
    std::wstring m_text;
};

constexpr wchar_t Fold(wchar_t character) {
    return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character + (L'a' - L'A')) : character;
}

/// The limit: the library's order for ASCII texts in the "C" locale, written by hand, and inlined into the sort.
template <bool caseCounts>
int AsciiNaturalCompare(const wchar_t* a, const wchar_t* b) {
    const auto isDigit = [](wchar_t character) { return character >= L'0' && character <= L'9'; };
    for (;; ++a, ++b) {
        const wchar_t left = caseCounts ? *a : Fold(*a);
        const wchar_t right = caseCounts ? *b : Fold(*b);
        if (isDigit(left) && isDigit(right)) {
            unsigned first = 0, second = 0;
            for (; isDigit(*a); ++a)
                first = first * 10 + (*a - L'0');
            for (; isDigit(*b); ++b)
                second = second * 10 + (*b - L'0');
            if (first != second) return first < second ? -1 : 1;
            --a;
            --b;
        } else if (left != right) {
            return left < right ? -1 : 1;
        } else if (left == 0) {
            return 0;
        }
    }
}

/// Sorts a copy; the result depends on the order.
template <class Less>
std::uint64_t Sort(const Names& names, Less less) {
    Names sorted = names;
    std::sort(sorted.begin(), sorted.end(), less);
    std::uint64_t hash = 0;
    for (const wchar_t* name : sorted)
        hash = hash * 31 + static_cast<std::uint64_t>(name - names.front());
    return hash;
}

} // namespace

int main() {
    const Corpus corpus(1'000'000);
    const Names& names = corpus.names;
    const Names few(names.begin(), names.begin() + 20'000);
    Subject subject("Natural compare");
    const auto limit = [](const wchar_t* a, const wchar_t* b) { return AsciiNaturalCompare<true>(a, b) < 0; };
    const auto library = [](const wchar_t* a, const wchar_t* b) { return OrvaNaturalCompare(a, b) < 0; };
    subject.AddCase("sort 1M names", "name", names.size())
        .Limit("hand-written ASCII compare", [&] { return Sort(names, limit); })
        .Library("OrvaNaturalCompare", [&] { return Sort(names, library); })
        .Goal(1.15)
        .Rounds(3);
    subject.AddCase("sort 1M names without regard to case", "name", names.size())
        .Limit("hand-written ASCII compare",
               [&] {
                   return Sort(names, [](const wchar_t* a, const wchar_t* b) { //
                       return AsciiNaturalCompare<false>(a, b) < 0;
                   });
               })
        .Library("OrvaNaturalCompareNoCase",
                 [&] {
                     return Sort(names, [](const wchar_t* a, const wchar_t* b) { //
                         return OrvaNaturalCompareNoCase(a, b) < 0;
                     });
                 })
        .Goal(1.15)
        .Rounds(3);
    // The peers have orders of their own: all that they can agree on is the number of names.
    subject.AddCase("sort 20 000 names", "name", few.size())
        .Limit("hand-written ASCII compare", [&] { return Sort(few, limit), few.size(); })
        .Library("OrvaNaturalCompare", [&] { return Sort(few, library), few.size(); })
        .Peer("StrCmpLogicalW",
              [&] {
                  Sort(few, [](const wchar_t* a, const wchar_t* b) { return ::StrCmpLogicalW(a, b) < 0; });
                  return few.size();
              })
        .Peer("CompareStringEx with digits as numbers",
              [&] {
                  Sort(few, [](const wchar_t* a, const wchar_t* b) {
                      return ::CompareStringEx(LOCALE_NAME_USER_DEFAULT, SORT_DIGITSASNUMBERS, a, /*cchCount1=*/-1, b,
                                               /*cchCount2=*/-1, nullptr, nullptr, 0) == CSTR_LESS_THAN;
                  });
                  return few.size();
              })
        .Rounds(3);
    subject.AddGrowth("sorting", "name", 10'000, [&](std::uint64_t count) -> Work {
        const Names some(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(count));
        return [some, library] { return Sort(some, library); };
    });
    return subject.Run();
}
