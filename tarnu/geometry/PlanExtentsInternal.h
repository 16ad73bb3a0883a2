/// @file
/// Gathers the plan extents of points.
#ifndef TARNU_GEOMETRY_PLANEXTENTSINTERNAL_H
#define TARNU_GEOMETRY_PLANEXTENTSINTERNAL_H

#include "tarnu/geometry/OrvaPoint3d.h"

#include <span>

namespace tarnu::support {

/// Smallest and largest x and y. Coordinates that are no numbers count for nothing.
class PlanExtents {
public:
    /// @param start what the extents of no point are: +start for the minima, -start for the maxima
    explicit PlanExtents(double start) noexcept : m_minX(start), m_minY(start), m_maxX(-start), m_maxY(-start) {}

    void Add(std::span<const OrvaPoint3d> points) noexcept {
        for (const OrvaPoint3d& point : points) {
            if (point.x < m_minX) m_minX = point.x;
            if (point.y < m_minY) m_minY = point.y;
            if (point.x > m_maxX) m_maxX = point.x;
            if (point.y > m_maxY) m_maxY = point.y;
        }
    }
    void Store(double* minX, double* minY, double* maxX, double* maxY) const noexcept {
        if (minX != nullptr) *minX = m_minX;
        if (minY != nullptr) *minY = m_minY;
        if (maxX != nullptr) *maxX = m_maxX;
        if (maxY != nullptr) *maxY = m_maxY;
    }

private:
    double m_minX, m_minY, m_maxX, m_maxY;
};

} // namespace tarnu::support

#endif // TARNU_GEOMETRY_PLANEXTENTSINTERNAL_H
