/// @file
/// OrvaPoint3d: a point in space.
#ifndef TARNU_GEOMETRY_ORVAPOINT3D_H
#define TARNU_GEOMETRY_ORVAPOINT3D_H

/// Three coordinates; x and y span the plan. A plain value: one thread at a time.
struct OrvaPoint3d {
    double x = 0; ///< in the plan
    double y = 0; ///< in the plan
    double z = 0; ///< height

    /// Equal in all three coordinates.
    friend bool operator==(const OrvaPoint3d&, const OrvaPoint3d&) = default;
};

#endif // TARNU_GEOMETRY_ORVAPOINT3D_H
