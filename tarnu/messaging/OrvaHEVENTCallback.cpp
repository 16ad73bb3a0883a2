#include "tarnu/messaging/OrvaHEVENTCallback.h"

OrvaHEVENTCallback::OrvaHEVENTCallback(HANDLE event, bool pulse) noexcept : m_bPulse(pulse), m_hEvent(event) {}

OrvaHEVENTCallback::~OrvaHEVENTCallback() = default;

BOOL OrvaHEVENTCallback::Execute() {
    return m_bPulse ? ::PulseEvent(m_hEvent) : ::SetEvent(m_hEvent);
}
