/// @file
/// tarnu::OrvaPointRanges: the ranges of a point string for range-for.
#ifndef TARNU_GEOMETRY_ORVAPOINTRANGES_H
#define TARNU_GEOMETRY_ORVAPOINTRANGES_H

#include "tarnu/geometry/OrvaPointString.h"

#include <cstddef>
#include <iterator>

namespace tarnu {

/// The ranges of a point string, a single number being one of length 1, up to its end or first bad token. The walk is
/// the string's own: begin() starts it anew, and only one is under way at a time. Refers to the string, which must
/// outlive it. Threads: the string's.
///
///     for (const auto [start, end] : tarnu::OrvaPointRanges(points)) Use(start, end); // downward: start > end
class OrvaPointRanges {
public:
    /// First and last number; the first is the higher one in a downward range.
    struct Range {
        UINT start = 0; ///< the first number
        UINT end = 0;   ///< the last number
    };

    /// Stands on a range of the walk.
    class Iterator {
    public:
        /// @{
        /// What the standard asks of an input iterator.
        using iterator_concept = std::input_iterator_tag;
        using value_type = Range;
        using difference_type = std::ptrdiff_t;
        /// @}

        /// Starts the walk of a string.
        /// @param points  referenced
        explicit Iterator(OrvaPointString& points) : m_points(&points) {
            points.GetFirstRange(&m_range.start, &m_range.end);
        }
        /// @return the range; means nothing at the end
        Range operator*() const noexcept { return m_range; }
        /// Goes on to the next range. @return this iterator
        Iterator& operator++() {
            m_points->GetNextRange(&m_range.start, &m_range.end);
            return *this;
        }
        /// Goes on to the next range.
        void operator++(int) { ++*this; }
        /// @return whether the walk has met the end of the text or a bad token
        bool operator==(std::default_sentinel_t) const { return m_points->IsDone() != FALSE; }

    private:
        OrvaPointString* m_points;
        Range m_range;
    };

    /// The ranges of a point string.
    /// @param points  referenced
    explicit OrvaPointRanges(OrvaPointString& points) noexcept : m_points(points) {}
    /// Starts the walk anew.
    /// @return an iterator on the first range
    Iterator begin() const { return Iterator(m_points); }
    /// @return what an iterator equals at the end of the walk
    std::default_sentinel_t end() const noexcept { return {}; }

private:
    OrvaPointString& m_points;
};

} // namespace tarnu

#endif // TARNU_GEOMETRY_ORVAPOINTRANGES_H
