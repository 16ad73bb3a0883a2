/// @file
/// OrvaSocket: the base of handlers that serve a socket.
#ifndef TARNU_MESSAGING_ORVASOCKET_H
#define TARNU_MESSAGING_ORVASOCKET_H

#include "tarnu/messaging/OrvaServerEventHandler.h"

/// A handler whose handle is the event of a socket (WSAEventSelect). It adds no behaviour: a derived class owns socket
/// and event, and reads what happened in OnSignaled (WSAEnumNetworkEvents).
///
/// Threads and ownership: as OrvaServerEventHandler.
class TARNU_API OrvaSocket : public OrvaServerEventHandler {
public:
    OrvaSocket() noexcept = default;
    ~OrvaSocket() override;

    /// The socket whose events are served.
    /// @return a SOCKET, spelled without the header of Windows Sockets; the handler's to close
    virtual UINT_PTR GetSocket() = 0;
};

#endif // TARNU_MESSAGING_ORVASOCKET_H
