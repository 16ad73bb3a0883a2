#include "tarnu/geometry/OrvaSinglePointReader.h"

#include "tarnu/geometry/DeliverPointInternal.h"

OrvaSinglePointReader::OrvaSinglePointReader(double x, double y, double z) noexcept : m_point{x, y, z} {}

OrvaSinglePointReader::~OrvaSinglePointReader() = default;

bool OrvaSinglePointReader::Probe(void*) {
    return false;
}

bool OrvaSinglePointReader::ReadPoint(double* x, double* y, double* z, bool* atEnd) {
    const OrvaPoint3d* const point = m_delivered ? nullptr : &m_point;
    m_delivered = true;
    return tarnu::support::DeliverPoint(point, x, y, z, atEnd);
}

void OrvaSinglePointReader::Reset() {
    m_delivered = false;
}

UINT OrvaSinglePointReader::GetPointCount() const {
    return 1;
}
