/// @file
/// OrvaArrayPointReader: a point reader over an array.
#ifndef TARNU_GEOMETRY_ORVAARRAYPOINTREADER_H
#define TARNU_GEOMETRY_ORVAARRAYPOINTREADER_H

#include "tarnu/geometry/OrvaPointArray.h"
#include "tarnu/geometry/OrvaPointReader.h"

/// Delivers the points of an array of the caller's, also those added while it is read.
///
/// Threads: one reader belongs to one thread at a time.
/// Ownership: refers to the array, which must outlive the reader.
class TARNU_API OrvaArrayPointReader : public OrvaPointReader {
public:
    /// @param points the array; null is an empty one
    explicit OrvaArrayPointReader(const OrvaPointArray* points) noexcept;
    /// @param points the array, referenced
    explicit OrvaArrayPointReader(const OrvaPointArray& points) noexcept;
    OrvaArrayPointReader(const OrvaPointArray&&) = delete; // would be gone before it is read
    ~OrvaArrayPointReader() override;

    /// @copydoc OrvaPointReader::Probe
    bool Probe(void* argument) override;
    bool ReadPoint(double* x, double* y, double* z, bool* atEnd) override;
    void Reset() override;
    /// @return the points that the array has now
    UINT GetPointCount() const override;

private:
    int m_next = 0; ///< the next point to deliver
    const OrvaPointArray* m_points;
};

#endif // TARNU_GEOMETRY_ORVAARRAYPOINTREADER_H
