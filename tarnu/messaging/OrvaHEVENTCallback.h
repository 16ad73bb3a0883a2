/// @file
/// OrvaHEVENTCallback: a callback that signals an event object.
#ifndef TARNU_MESSAGING_ORVAHEVENTCALLBACK_H
#define TARNU_MESSAGING_ORVAHEVENTCALLBACK_H

#include "tarnu/messaging/OrvaCallback.h"

/// Wakes whoever waits on an event.
///
/// Threads: Execute may be called on any thread.
/// Ownership: the event is borrowed; it is neither duplicated nor closed.
class TARNU_API OrvaHEVENTCallback : public OrvaCallback {
public:
    /// @param event  an event object
    /// @param pulse  true: Execute releases the threads that wait at that moment and leaves the event reset;
    ///               false: Execute sets the event
    OrvaHEVENTCallback(HANDLE event, bool pulse) noexcept;
    ~OrvaHEVENTCallback() override;

    /// Pulses or sets the event.
    /// @return the result of PulseEvent or SetEvent: 0 for a handle that is no open event
    BOOL Execute() override;

private:
    bool m_bPulse;
    HANDLE m_hEvent;
};

#endif // TARNU_MESSAGING_ORVAHEVENTCALLBACK_H
