#include "tarnu/geometry/OrvaSortedPointString.h"

#include "tarnu/geometry/BitScanInternal.h"
#include "tarnu/geometry/PointTextWriterInternal.h"

using tarnu::support::NextBit;
using tarnu::support::PointTextWriter;

OrvaSortedPointString::OrvaSortedPointString() : m_marker(/*base=*/1) {}

OrvaSortedPointString::~OrvaSortedPointString() = default;

void OrvaSortedPointString::AddString(const wchar_t* number) {
    Add(OrvaPointStringParseNumber(number));
}

void OrvaSortedPointString::Add(UINT number) {
    m_marker.Mark(number);
    m_modified = TRUE;
}

void OrvaSortedPointString::BuildText() {
    try {
        PointTextWriter text(CString(), m_text.GetLength());
        const std::uint64_t end = m_marker.m_bitCount;
        const auto numberOf = [this](std::uint64_t bit) { return static_cast<UINT>(m_marker.GetFirst() + bit); };
        for (std::uint64_t bit = NextBit(m_marker.m_bits, end, 0, /*value=*/true); bit < end;) {
            const std::uint64_t next = NextBit(m_marker.m_bits, end, bit, /*value=*/false);
            text.Run(numberOf(bit), numberOf(next - 1));
            bit = NextBit(m_marker.m_bits, end, next, /*value=*/true);
        }
        if (text.HasWritten()) *tarnu::support::WritePointNumber(m_numberBuffer, text.GetLastNumber()) = 0;
        m_text = text.Finish();
        m_modified = TRUE;
    } catch (...) {
        // Out of memory: the text stays as it was.
    }
}

void OrvaSortedPointString::Clear() {
    m_text.Empty();
    m_marker.Reset();
    m_modified = TRUE;
}

void OrvaSortedPointString::Remove(UINT number) {
    m_marker.Unmark(number);
    m_modified = TRUE;
}
