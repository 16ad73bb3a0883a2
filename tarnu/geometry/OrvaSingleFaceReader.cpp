#include "tarnu/geometry/OrvaSingleFaceReader.h"

#include "tarnu/geometry/PlanExtentsInternal.h"

#include <limits>

OrvaSingleFaceReader::OrvaSingleFaceReader(const OrvaPointArray* face) noexcept : m_face(face) {}

OrvaSingleFaceReader::OrvaSingleFaceReader(const OrvaPointArray& face) noexcept : OrvaSingleFaceReader(&face) {}

OrvaSingleFaceReader::~OrvaSingleFaceReader() = default;

bool OrvaSingleFaceReader::ReadFace(OrvaPointArray& face) {
    if (m_delivered) return false;
    if (m_face != nullptr) {
        face = *m_face;
    } else {
        face.Clear();
    }
    m_delivered = true;
    return true;
}

void OrvaSingleFaceReader::Reset() {
    m_delivered = false;
}

UINT OrvaSingleFaceReader::GetFaceCount() const {
    return 1;
}

UINT OrvaSingleFaceReader::GetExtents(double* minX, double* minY, double* maxX, double* maxY) const {
    // One expects the readers to agree on the extents of nothing: here they are infinite, in the multi readers the
    // largest finite numbers. Hosts rely on each.
    tarnu::support::PlanExtents extents(std::numeric_limits<double>::infinity());
    if (m_face != nullptr) extents.Add(m_face->GetPoints());
    extents.Store(minX, minY, maxX, maxY);
    return m_face != nullptr ? static_cast<UINT>(m_face->GetLength()) : 0;
}
