/// @file
/// tarnu::AddHandler: serves a handle on a server thread with a lambda.
#ifndef TARNU_MESSAGING_FUNCTIONHANDLER_H
#define TARNU_MESSAGING_FUNCTIONHANDLER_H

#include "tarnu/messaging/OrvaServerEventHandler.h"
#include "tarnu/messaging/OrvaServerThread.h"

#include <concepts>
#include <memory>
#include <utility>

namespace tarnu {

/// A function as the handler of a handle. It ends its own life when it is removed, so that removing is one call; the
/// server does when it stops.
///
/// Threads: the function runs on the server thread. Ownership: the handle is borrowed until the handler is gone.
template <std::invocable Function>
class FunctionHandler final : public OrvaServerEventHandler {
public:
    /// @param handle    what to wait on
    /// @param function  called each time it is signalled; must not throw
    FunctionHandler(HANDLE handle, Function function) : m_handle(handle), m_function(std::move(function)) {}

    /// @return the handle that was given
    HANDLE GetHandle() override { return m_handle; }
    /// Calls the function.
    void OnSignaled() override { m_function(); }
    /// Deletes the handler.
    void OnRemoved() override { delete this; }

private:
    HANDLE m_handle;
    Function m_function;
};

/// Serves a handle with a function on a server thread.
///
///     tarnu::AddHandler(server, timer, [&] { ++ticks; });
/// @param server    a thread that was started
/// @param handle    what to wait on; borrowed until the handler is gone
/// @param function  called on the server thread each time it is signalled; must not throw
/// @param handler   when given, receives the handler, for OrvaServerThread::RemoveHandler; null on failure
/// @return as OrvaServerThread::AddHandler; OrvaServerOutOfMemory also when there is none for the handler
template <std::invocable Function>
OrvaServerCode AddHandler(OrvaServerThread& server, HANDLE handle, Function function,
                          OrvaServerEventHandler** handler = nullptr) {
    if (handler != nullptr) *handler = nullptr;
    std::unique_ptr<FunctionHandler<Function>> created;
    try {
        created = std::make_unique<FunctionHandler<Function>>(handle, std::move(function));
    } catch (const std::bad_alloc&) {
        return OrvaServerOutOfMemory;
    }
    const OrvaServerCode code = server.AddHandler(created.get());
    if (code != OrvaServerSuccess) return code;
    OrvaServerEventHandler* const served = created.release();
    if (handler != nullptr) *handler = served;
    return code;
}

} // namespace tarnu

#endif // TARNU_MESSAGING_FUNCTIONHANDLER_H
