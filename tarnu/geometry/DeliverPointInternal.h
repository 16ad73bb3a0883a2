/// @file
/// Hands one point, or the end, to the outputs of a point reader.
#ifndef TARNU_GEOMETRY_DELIVERPOINTINTERNAL_H
#define TARNU_GEOMETRY_DELIVERPOINTINTERNAL_H

#include "tarnu/geometry/OrvaPoint3d.h"

namespace tarnu::support {

/// @param point the point, null at the end
/// @return true for a point
inline bool DeliverPoint(const OrvaPoint3d* point, double* x, double* y, double* z, bool* atEnd) noexcept {
    if (atEnd != nullptr) *atEnd = point == nullptr;
    if (point == nullptr) return false;
    if (x != nullptr) *x = point->x;
    if (y != nullptr) *y = point->y;
    if (z != nullptr) *z = point->z;
    return true;
}

} // namespace tarnu::support

#endif // TARNU_GEOMETRY_DELIVERPOINTINTERNAL_H
