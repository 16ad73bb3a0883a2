/// @file
/// OrvaSinglePointReader: a point reader over one point.
#ifndef TARNU_GEOMETRY_ORVASINGLEPOINTREADER_H
#define TARNU_GEOMETRY_ORVASINGLEPOINTREADER_H

#include "tarnu/geometry/OrvaPoint3d.h"
#include "tarnu/geometry/OrvaPointReader.h"

/// Delivers one point.
///
/// Threads: one reader belongs to one thread at a time.
/// Ownership: owns its point.
class TARNU_API OrvaSinglePointReader : public OrvaPointReader {
public:
    /// Delivers the point of these coordinates.
    /// @param x,y,z the coordinates
    OrvaSinglePointReader(double x, double y, double z) noexcept;
    ~OrvaSinglePointReader() override;

    /// @copydoc OrvaPointReader::Probe
    bool Probe(void* argument) override;
    bool ReadPoint(double* x, double* y, double* z, bool* atEnd) override;
    void Reset() override;
    /// @return 1, always
    UINT GetPointCount() const override;

private:
    OrvaPoint3d m_point;
    bool m_delivered = false;
};

#endif // TARNU_GEOMETRY_ORVASINGLEPOINTREADER_H
