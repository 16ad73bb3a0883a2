#include "tarnu/geometry/OrvaArrayPointReader.h"

#include "tarnu/geometry/DeliverPointInternal.h"

OrvaArrayPointReader::OrvaArrayPointReader(const OrvaPointArray* points) noexcept : m_points(points) {}

OrvaArrayPointReader::OrvaArrayPointReader(const OrvaPointArray& points) noexcept : OrvaArrayPointReader(&points) {}

OrvaArrayPointReader::~OrvaArrayPointReader() = default;

bool OrvaArrayPointReader::Probe(void*) {
    return false;
}

bool OrvaArrayPointReader::ReadPoint(double* x, double* y, double* z, bool* atEnd) {
    const OrvaPoint3d* point = nullptr;
    if (m_points != nullptr && m_next < m_points->GetLength()) point = &(*m_points)[m_next++];
    return tarnu::support::DeliverPoint(point, x, y, z, atEnd);
}

void OrvaArrayPointReader::Reset() {
    m_next = 0;
}

UINT OrvaArrayPointReader::GetPointCount() const {
    return m_points != nullptr ? static_cast<UINT>(m_points->GetLength()) : 0;
}
