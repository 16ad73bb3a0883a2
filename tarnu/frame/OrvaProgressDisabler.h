/// @file
/// OrvaProgressDisabler: switches the progress meter off for a scope.
#ifndef TARNU_FRAME_ORVAPROGRESSDISABLER_H
#define TARNU_FRAME_ORVAPROGRESSDISABLER_H

#include "tarnu/framework/framework.h"

/// Disables the progress meter while it lives and restores the state it found, so that a nested operation does not
/// drive a display that an outer one owns. Without an installed callback it changes nothing.
///
/// Thread rule: that of the progress meter. Ownership: none; disablers nest and end in reverse order.
class TARNU_API OrvaProgressDisabler {
public:
    OrvaProgressDisabler() noexcept;
    virtual ~OrvaProgressDisabler();
    OrvaProgressDisabler(const OrvaProgressDisabler&) = delete;
    OrvaProgressDisabler& operator=(const OrvaProgressDisabler&) = delete;

private:
    bool m_bWasEnabled;
};

#endif // TARNU_FRAME_ORVAPROGRESSDISABLER_H
