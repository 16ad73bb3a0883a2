/// @file
/// OrvaCallback: one operation that somebody else can call.
#ifndef TARNU_MESSAGING_ORVACALLBACK_H
#define TARNU_MESSAGING_ORVACALLBACK_H

#include "tarnu/framework/framework.h"

/// Something to be called when something happened. The library calls it where its own contracts say so, for instance
/// OrvaMessageQueue on each message.
///
/// Threads: each caller of Execute says on which thread it calls.
/// Ownership: whoever is handed a callback borrows it.
class TARNU_API OrvaCallback {
public:
    OrvaCallback() noexcept = default;
    virtual ~OrvaCallback();
    /// Nothing is copied here.
    OrvaCallback(const OrvaCallback&) = default;
    /// Nothing is copied here. @return this callback
    OrvaCallback& operator=(const OrvaCallback&) = default;

    /// Does the callback's work.
    /// @return non-zero for success
    virtual BOOL Execute() = 0;
};

#endif // TARNU_MESSAGING_ORVACALLBACK_H
