/// @file
/// OrvaServerEventHandler: a waitable handle together with what is to be done when it is signalled.
#ifndef TARNU_MESSAGING_ORVASERVEREVENTHANDLER_H
#define TARNU_MESSAGING_ORVASERVEREVENTHANDLER_H

#include "tarnu/framework/framework.h"

/// Derive to serve a handle on an OrvaServerThread.
///
/// Threads: GetHandle is called on the thread that adds or removes the handler, and on the server thread; all others on
/// the server thread alone.
/// Ownership: a handler that was added belongs to the server thread, which deletes it when it stops; a handler that was
/// removed belongs to the caller again from OnRemoved on. The handle always belongs to the handler.
class TARNU_API OrvaServerEventHandler {
public:
    OrvaServerEventHandler() noexcept = default;
    virtual ~OrvaServerEventHandler();
    OrvaServerEventHandler(const OrvaServerEventHandler&) = delete;
    OrvaServerEventHandler& operator=(const OrvaServerEventHandler&) = delete;

    /// The server has removed the handler, as OrvaServerThread::RemoveHandler asked: it is not called any more and may
    /// be deleted, here too. The default does nothing.
    virtual void OnRemoved();
    /// The handle to watch.
    /// @return the same one as long as the handler is being served; the handler's to close
    virtual HANDLE GetHandle() = 0;
    /// The handle is signalled, or is a mutex that its owner abandoned. A handle that stays signalled calls again.
    virtual void OnSignaled() = 0;
    /// The server stops; the handler is deleted next. The default does nothing.
    virtual void OnClose();
};

#endif // TARNU_MESSAGING_ORVASERVEREVENTHANDLER_H
