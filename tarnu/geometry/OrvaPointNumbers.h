/// @file
/// tarnu::OrvaPointNumbers: the numbers of a point string for range-for.
#ifndef TARNU_GEOMETRY_ORVAPOINTNUMBERS_H
#define TARNU_GEOMETRY_ORVAPOINTNUMBERS_H

#include "tarnu/geometry/OrvaPointString.h"

#include <cstddef>
#include <iterator>

namespace tarnu {

/// The numbers of a point string, up to its end or first bad token. The walk is the string's own: begin() starts it
/// anew, and only one is under way at a time. Refers to the string, which must outlive it. Threads: the string's.
///
///     for (UINT number : tarnu::OrvaPointNumbers(points)) Use(number);
class OrvaPointNumbers {
public:
    /// Stands on a number of the walk.
    class Iterator {
    public:
        /// @{
        /// What the standard asks of an input iterator.
        using iterator_concept = std::input_iterator_tag;
        using value_type = UINT;
        using difference_type = std::ptrdiff_t;
        /// @}

        /// Starts the walk of a string.
        /// @param points  referenced
        explicit Iterator(OrvaPointString& points) : m_points(&points) { points.GetFirst(&m_number); }
        /// @return the number; means nothing at the end
        UINT operator*() const noexcept { return m_number; }
        /// Goes on to the next number. @return this iterator
        Iterator& operator++() {
            m_points->GetNext(&m_number);
            return *this;
        }
        /// Goes on to the next number.
        void operator++(int) { ++*this; }
        /// @return whether the walk has met the end of the text or a bad token
        bool operator==(std::default_sentinel_t) const { return m_points->IsDone() != FALSE; }

    private:
        OrvaPointString* m_points;
        UINT m_number = 0;
    };

    /// The numbers of a point string.
    /// @param points  referenced
    explicit OrvaPointNumbers(OrvaPointString& points) noexcept : m_points(points) {}
    /// Starts the walk anew.
    /// @return an iterator on the first number
    Iterator begin() const { return Iterator(m_points); }
    /// @return what an iterator equals at the end of the walk
    std::default_sentinel_t end() const noexcept { return {}; }

private:
    OrvaPointString& m_points;
};

} // namespace tarnu

#endif // TARNU_GEOMETRY_ORVAPOINTNUMBERS_H
