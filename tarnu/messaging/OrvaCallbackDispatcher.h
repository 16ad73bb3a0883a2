/// @file
/// OrvaCallbackDispatcher: a base for hosts that keep a list of callbacks.
#ifndef TARNU_MESSAGING_ORVACALLBACKDISPATCHER_H
#define TARNU_MESSAGING_ORVACALLBACKDISPATCHER_H

#include "tarnu/messaging/OrvaCallback.h"

/// Holds a list of callbacks. Adding, removing and calling them is what a derived class is for.
///
/// Threads: the list has no lock.
/// Ownership: the callbacks are borrowed and outlive the dispatcher.
class TARNU_API OrvaCallbackDispatcher {
public:
    OrvaCallbackDispatcher() noexcept;
    /// Empties the list and leaves the callbacks alone.
    virtual ~OrvaCallbackDispatcher();
    OrvaCallbackDispatcher(const OrvaCallbackDispatcher&) = delete;
    OrvaCallbackDispatcher& operator=(const OrvaCallbackDispatcher&) = delete;

protected:
    CList<OrvaCallback*, OrvaCallback*> m_callbacks; ///< nodes are allocated in blocks of 10
};

#endif // TARNU_MESSAGING_ORVACALLBACKDISPATCHER_H
