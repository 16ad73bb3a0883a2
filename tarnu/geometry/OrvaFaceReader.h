/// @file
/// OrvaFaceReader: faces, one at a time, whatever holds them.
#ifndef TARNU_GEOMETRY_ORVAFACEREADER_H
#define TARNU_GEOMETRY_ORVAFACEREADER_H

#include "tarnu/geometry/OrvaPointArray.h"

/// A forward cursor over faces, each an ordered list of vertices.
///
/// Threads: one reader belongs to one thread at a time.
/// Ownership: each reader says whether it owns its faces.
///
///     for (OrvaPointArray face; reader.ReadFace(face);) Use(face);
class TARNU_API OrvaFaceReader {
public:
    /// Replaces @p face by the next face.
    /// @param face receives the vertices
    /// @return false, and @p face untouched, when there is none
    /// @throws std::bad_alloc when memory runs out; the cursor stays
    virtual bool ReadFace(OrvaPointArray& face) = 0;
    /// Starts again at the first face.
    virtual void Reset() = 0;
    /// @return the faces held, read or not
    virtual UINT GetFaceCount() const = 0;
    /// Smallest and largest x and y of all vertices; what they are without any differs between the readers. Null
    /// pointers are skipped.
    /// @param minX,minY,maxX,maxY receive the extents; each may be null
    /// @return points visited, or faces: see the readers
    virtual UINT GetExtents(double* minX, double* minY, double* maxX, double* maxY) const = 0;
    virtual ~OrvaFaceReader();
};

#endif // TARNU_GEOMETRY_ORVAFACEREADER_H
