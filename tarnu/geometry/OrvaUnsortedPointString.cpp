#include "tarnu/geometry/OrvaUnsortedPointString.h"

#include "tarnu/geometry/PointTextWriterInternal.h"

#include <algorithm>

using tarnu::support::PointSequenceWriter;
using tarnu::support::PointTextWriter;

OrvaUnsortedPointString::OrvaUnsortedPointString() = default;

OrvaUnsortedPointString::~OrvaUnsortedPointString() = default;

void OrvaUnsortedPointString::AddString(const wchar_t* number) {
    Add(OrvaPointStringParseNumber(number));
}

void OrvaUnsortedPointString::Add(UINT number) {
    m_modified = TRUE;
    try {
        m_pending.AddTail(number);
    } catch (...) {
        // Out of memory: the number is dropped, as the sorted string's set drops it.
    }
}

void OrvaUnsortedPointString::BuildText() {
    try {
        CString trimmed = m_text;
        trimmed.TrimRight();
        if (!m_pending.IsEmpty()) {
            PointTextWriter text(trimmed, static_cast<int>(std::min<INT_PTR>(m_pending.GetCount(), 0x1000000)) * 4);
            PointSequenceWriter sequence(text);
            for (POSITION position = m_pending.GetHeadPosition(); position != nullptr;)
                sequence.Add(m_pending.GetNext(position));
            sequence.Close();
            *tarnu::support::WritePointNumber(m_numberBuffer, text.GetLastNumber()) = 0;
            trimmed = text.Finish();
            m_pending.RemoveAll();
        }
        m_text = trimmed;
        m_modified = TRUE;
    } catch (...) {
        // Out of memory: the text and the waiting numbers stay as they were.
    }
}

void OrvaUnsortedPointString::Clear() {
    m_text.Empty();
    m_pending.RemoveAll();
    m_modified = TRUE;
}
