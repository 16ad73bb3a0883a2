#include "tarnu/geometry/OrvaMultiTriFaceReader.h"

#include "tarnu/geometry/PlanExtentsInternal.h"

#include <limits>

OrvaMultiTriFaceReader::OrvaMultiTriFaceReader() : m_vertices(/*capacity=*/0, /*growthStep=*/8) {}

OrvaMultiTriFaceReader::~OrvaMultiTriFaceReader() = default;

bool OrvaMultiTriFaceReader::ReadFace(OrvaPointArray& face) {
    if (m_next >= m_vertices.GetLength()) return false;
    face.Clear();
    face.Append(m_vertices.GetPoints().subspan(static_cast<std::size_t>(m_next), 3));
    m_next += 3;
    return true;
}

void OrvaMultiTriFaceReader::Reset() {
    m_next = 0;
}

UINT OrvaMultiTriFaceReader::GetFaceCount() const {
    return static_cast<UINT>(m_vertices.GetLength()) / 3;
}

UINT OrvaMultiTriFaceReader::GetExtents(double* minX, double* minY, double* maxX, double* maxY) const {
    tarnu::support::PlanExtents extents(std::numeric_limits<double>::max());
    extents.Add(m_vertices.GetPoints());
    extents.Store(minX, minY, maxX, maxY);
    return static_cast<UINT>(m_vertices.GetLength());
}

UINT OrvaMultiTriFaceReader::AddFace(const OrvaPointArray& face) {
    if (face.GetLength() >= 3) m_vertices.Append(face.GetPoints().first(3));
    return GetFaceCount();
}
