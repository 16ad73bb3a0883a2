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
    /// @param points referenced until the first change
    explicit OrvaPointArray(std::span<const OrvaPoint3d> points);
    /// A copy that owns its points.
    /// @param other stays as it is
    OrvaPointArray(const OrvaPointArray& other);
    /// Copies; the array owns its points then.
    /// @param other stays as it is; may be this array
    /// @return this array
    OrvaPointArray& operator=(const OrvaPointArray& other);
    /// Takes over points, or the reference to those of a span.
    /// @param other is empty then
    OrvaPointArray(OrvaPointArray&& other) noexcept;
    /// Takes over points, or the reference to those of a span.
    /// @param other is empty then, unless it is this array
    /// @return this array
    OrvaPointArray& operator=(OrvaPointArray&& other) noexcept;
    ~OrvaPointArray();

    /// @return the number of points
    int GetLength() const noexcept { return static_cast<int>(GetPoints().size()); }
    /// @return whether there are no points
    bool IsEmpty() const noexcept { return GetPoints().empty(); }
    /// One point.
    /// @param index zero-based, less than the length; not checked
    /// @return the point; valid until the next change
    const OrvaPoint3d& operator[](int index) const noexcept { return GetPoints()[static_cast<std::size_t>(index)]; }
    /// @return all points; valid until the next change
    std::span<const OrvaPoint3d> GetPoints() const noexcept {
        return m_borrowed.data() != nullptr ? m_borrowed : std::span<const OrvaPoint3d>(m_points);
    }
    /// @return an iterator on the first point; iterators are valid until the next change
    auto begin() const noexcept { return GetPoints().begin(); }
    /// @return the iterator behind the last point
    auto end() const noexcept { return GetPoints().end(); }

    /// Appends a point.
    /// @param point copied; may be one of this array's
    void Append(const OrvaPoint3d& point);
    /// Appends points in order.
    /// @param points copied; may be this array's own
    void Append(std::span<const OrvaPoint3d> points);
    /// Replaces a point.
    /// @param index zero-based, less than the length; not checked
    /// @param point copied; may be one of this array's
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
