/// @file
/// OrvaMultiTriFaceReader: a face reader over triangles.
#ifndef TARNU_GEOMETRY_ORVAMULTITRIFACEREADER_H
#define TARNU_GEOMETRY_ORVAMULTITRIFACEREADER_H

#include "tarnu/geometry/OrvaFaceReader.h"

/// Collects triangles and delivers them in order. Adding while reading is allowed; the cursor comes to what was added.
///
/// Threads: one reader belongs to one thread at a time.
/// Ownership: owns copies of what was added.
class TARNU_API OrvaMultiTriFaceReader : public OrvaFaceReader {
public:
    OrvaMultiTriFaceReader();
    ~OrvaMultiTriFaceReader() override;

    bool ReadFace(OrvaPointArray& face) override;
    void Reset() override;
    /// @return the triangles added
    UINT GetFaceCount() const override;
    /// Without points the minima are the largest finite number and the maxima its negative.
    /// @param minX,minY,maxX,maxY receive the extents; each may be null
    /// @return the points visited: three for each triangle
    UINT GetExtents(double* minX, double* minY, double* maxX, double* maxY) const override;
    /// Adds a triangle of the first three points; a face of fewer adds nothing.
    /// @param face three points; those behind them are ignored
    /// @return triangles held
    /// @throws std::bad_alloc when memory runs out; nothing is added
    virtual UINT AddFace(const OrvaPointArray& face);

private:
    OrvaPointArray m_vertices; ///< three to a triangle
    int m_next = 0;            ///< the first vertex of the next triangle
};

#endif // TARNU_GEOMETRY_ORVAMULTITRIFACEREADER_H
