/// @file
/// OrvaSingleFaceReader: a face reader over one face.
#ifndef TARNU_GEOMETRY_ORVASINGLEFACEREADER_H
#define TARNU_GEOMETRY_ORVASINGLEFACEREADER_H

#include "tarnu/geometry/OrvaFaceReader.h"

/// Delivers one face of the caller's.
///
/// Threads: one reader belongs to one thread at a time.
/// Ownership: refers to the face, which must outlive the reader.
class TARNU_API OrvaSingleFaceReader : public OrvaFaceReader {
public:
    /// @param face the face; null is an empty one
    explicit OrvaSingleFaceReader(const OrvaPointArray* face) noexcept;
    /// @param face the face, referenced
    explicit OrvaSingleFaceReader(const OrvaPointArray& face) noexcept;
    OrvaSingleFaceReader(const OrvaPointArray&&) = delete; // would be gone before it is read
    ~OrvaSingleFaceReader() override;

    bool ReadFace(OrvaPointArray& face) override;
    void Reset() override;
    /// @return 1, also for an empty face
    UINT GetFaceCount() const override;
    /// Without points the minima are positive and the maxima negative infinity.
    /// @param minX,minY,maxX,maxY receive the extents; each may be null
    /// @return the points visited
    UINT GetExtents(double* minX, double* minY, double* maxX, double* maxY) const override;

private:
    const OrvaPointArray* m_face;
    bool m_delivered = false;
};

#endif // TARNU_GEOMETRY_ORVASINGLEFACEREADER_H
