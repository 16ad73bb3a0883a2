/// @file
/// tarnu::Points: the points of a reader for range-for.
#ifndef TARNU_GEOMETRY_POINTS_H
#define TARNU_GEOMETRY_POINTS_H

#include "tarnu/geometry/OrvaPoint3d.h"
#include "tarnu/geometry/OrvaPointReader.h"

#include <cstddef>
#include <iterator>

namespace tarnu {

/// The points of a reader, from the first one on: begin() resets the reader, whose cursor is the range's own, so only
/// one walk is under way at a time. Refers to the reader, which must outlive it. Threads: the reader's.
///
///     for (const OrvaPoint3d& point : tarnu::Points(reader)) height = std::max(height, point.z);
class Points {
public:
    /// Stands on a point.
    class Iterator {
    public:
        /// @{
        /// What the standard asks of an input iterator.
        using iterator_concept = std::input_iterator_tag;
        using value_type = OrvaPoint3d;
        using difference_type = std::ptrdiff_t;
        /// @}

        /// Reads the next point of a reader.
        /// @param reader  referenced
        explicit Iterator(OrvaPointReader& reader) : m_reader(&reader) { ++*this; }
        /// @return the point, in the iterator, until it moves on
        const OrvaPoint3d& operator*() const noexcept { return m_point; }
        /// @return the point, in the iterator, until it moves on
        const OrvaPoint3d* operator->() const noexcept { return &m_point; }
        /// Reads the next point. @return this iterator
        Iterator& operator++() {
            m_isRead = m_reader->ReadPoint(&m_point.x, &m_point.y, &m_point.z, /*atEnd=*/nullptr);
            return *this;
        }
        /// Reads the next point.
        void operator++(int) { ++*this; }
        /// @return whether there are no more points
        bool operator==(std::default_sentinel_t) const noexcept { return !m_isRead; }

    private:
        OrvaPointReader* m_reader;
        OrvaPoint3d m_point;
        bool m_isRead = false;
    };

    /// The points of a reader.
    /// @param reader  referenced
    explicit Points(OrvaPointReader& reader) noexcept : m_reader(&reader) {}

    /// Resets the reader and reads its first point.
    /// @return an iterator on it
    Iterator begin() const {
        m_reader->Reset();
        return Iterator(*m_reader);
    }
    /// @return what an iterator equals behind the last point
    std::default_sentinel_t end() const noexcept { return {}; }

private:
    OrvaPointReader* m_reader;
};

} // namespace tarnu

#endif // TARNU_GEOMETRY_POINTS_H
