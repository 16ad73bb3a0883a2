#include "tarnu/geometry/OrvaMultiPolyFaceReader.h"

#include "tarnu/geometry/PlanExtentsInternal.h"

#include <limits>

OrvaMultiPolyFaceReader::OrvaMultiPolyFaceReader() = default;

OrvaMultiPolyFaceReader::~OrvaMultiPolyFaceReader() = default;

bool OrvaMultiPolyFaceReader::ReadFace(OrvaPointArray& face) {
    if (m_next >= m_faces.size()) return false;
    face.Clear();
    face.Append(m_faces[m_next].GetPoints());
    ++m_next;
    return true;
}

void OrvaMultiPolyFaceReader::Reset() {
    m_next = 0;
}

UINT OrvaMultiPolyFaceReader::GetFaceCount() const {
    return static_cast<UINT>(m_faces.size());
}

UINT OrvaMultiPolyFaceReader::GetExtents(double* minX, double* minY, double* maxX, double* maxY) const {
    tarnu::support::PlanExtents extents(std::numeric_limits<double>::max());
    for (const OrvaPointArray& face : m_faces)
        extents.Add(face.GetPoints());
    extents.Store(minX, minY, maxX, maxY);
    // One expects the points visited, as from the other readers; it is the faces, and hosts rely on that count.
    return GetFaceCount();
}

UINT OrvaMultiPolyFaceReader::AddFace(const OrvaPointArray& face) {
    m_faces.push_back(face);
    return GetFaceCount();
}
