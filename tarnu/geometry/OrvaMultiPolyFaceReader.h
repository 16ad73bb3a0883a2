/// @file
/// OrvaMultiPolyFaceReader: a face reader over polygons.
#ifndef TARNU_GEOMETRY_ORVAMULTIPOLYFACEREADER_H
#define TARNU_GEOMETRY_ORVAMULTIPOLYFACEREADER_H

#include "tarnu/geometry/OrvaFaceReader.h"

#include <vector>

/// Collects polygons of any number of points and delivers them in order. Adding while reading is allowed; the cursor
/// comes to what was added.
///
/// Threads: one reader belongs to one thread at a time.
/// Ownership: owns copies of what was added.
class TARNU_API OrvaMultiPolyFaceReader : public OrvaFaceReader {
public:
    OrvaMultiPolyFaceReader();
    ~OrvaMultiPolyFaceReader() override;

    bool ReadFace(OrvaPointArray& face) override;
    void Reset() override;
    /// @return the polygons added
    UINT GetFaceCount() const override;
    /// Without points the minima are the largest finite number and the maxima its negative.
    /// @param minX,minY,maxX,maxY receive the extents; each may be null
    /// @return the faces, not the points, visited
    UINT GetExtents(double* minX, double* minY, double* maxX, double* maxY) const override;
    /// Adds a copy of the polygon.
    /// @param face the polygon
    /// @return polygons held
    /// @throws std::bad_alloc when memory runs out; nothing is added
    virtual UINT AddFace(const OrvaPointArray& face);

private:
    std::vector<OrvaPointArray> m_faces;
    UINT m_next = 0; ///< the next face to deliver
};

#endif // TARNU_GEOMETRY_ORVAMULTIPOLYFACEREADER_H
