#include "orva/PointSelection.h"

#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/geometry/OrvaPointRanges.h"
#include "tarnu/geometry/OrvaPointString.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace orva {

PointSelection::PointSelection(const std::wstring& text) : m_isEverything(text.empty()) {
    OrvaPointString points(text.c_str());
    if (!points.IsValid()) throw UsageError("\"" + Utf8(text) + "\" is no list of point numbers");
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

bool PointSelection::Holds(std::uint32_t number) const {
    if (m_isEverything) return true;
    const auto after = std::upper_bound(m_ranges.begin(), m_ranges.end(),
                                        std::pair(number, std::numeric_limits<std::uint32_t>::max()));
    return after != m_ranges.begin() && number <= std::prev(after)->second;
}

} // namespace orva
