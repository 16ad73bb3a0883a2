/// @file
/// OrvaPointArray: a growing array of points that can also stand for points of somebody else's.
#ifndef TARNU_GEOMETRY_ORVAPOINTARRAY_H
#define TARNU_GEOMETRY_ORVAPOINTARRAY_H

#include "tarnu/framework/framework.h"
#include "tarnu/geometry/OrvaPoint3d.h"

#include <span>
#include <vector>

/// An ordered array of points with a signed 32-bit length.
///
/// An array made from a span refers to those points without copying them; the first change makes it a copy of its own,
/// and so does copying the array. Running out of memory, or of lengths, throws std::bad_alloc and changes nothing.
///
/// Threads: one object belongs to one thread at a time.
/// Ownership: owns its points, but for those of a span, which must outlive it.
class TARNU_API OrvaPointArray {
public:
    /// An empty array.
    /// @param capacity points to make room for
    /// @param growthStep points by which the array grows at least
    explicit OrvaPointArray(int capacity = 0, int growthStep = 8);
    /// An array over points of the caller's.
    explicit OrvaPointArray(std::span<const OrvaPoint3d> points);
    /// @{
    /// Copies and moves; a copy owns its points, a moved array keeps referring to a span.
    OrvaPointArray(const OrvaPointArray& other);
    OrvaPointArray& operator=(const OrvaPointArray& other);
    OrvaPointArray(OrvaPointArray&& other) noexcept;
    OrvaPointArray& operator=(OrvaPointArray&& other) noexcept;
    /// @}
    ~OrvaPointArray();

    /// The number of points.
    int GetLength() const noexcept { return static_cast<int>(GetPoints().size()); }
    /// True without points.
    bool IsEmpty() const noexcept { return GetPoints().empty(); }
    /// The point at a zero-based index, which must be less than the length.
    const OrvaPoint3d& operator[](int index) const noexcept { return GetPoints()[static_cast<std::size_t>(index)]; }
    /// All points; valid until the next change.
    std::span<const OrvaPoint3d> GetPoints() const noexcept {
        return m_borrowed.data() != nullptr ? m_borrowed : std::span<const OrvaPoint3d>(m_points);
    }
    /// The first point; iterators are valid until the next change.
    auto begin() const noexcept { return GetPoints().begin(); }
    /// Behind the last point.
    auto end() const noexcept { return GetPoints().end(); }

    /// Appends a point, which may be one of this array's.
    void Append(const OrvaPoint3d& point);
    /// Appends points in order; they may be this array's own.
    void Append(std::span<const OrvaPoint3d> points);
    /// Replaces the point at a zero-based index, which must be less than the length.
    void SetAt(int index, const OrvaPoint3d& point);
    /// Removes all points; the room for them stays.
    void Clear() noexcept;

private:
    /// Makes the points the array's own, with room for @p more.
    void Own(std::size_t more);

    std::vector<OrvaPoint3d> m_points;
    std::span<const OrvaPoint3d> m_borrowed; ///< the points while they are the caller's, else without data
    int m_growthStep;
};

#endif // TARNU_GEOMETRY_ORVAPOINTARRAY_H
