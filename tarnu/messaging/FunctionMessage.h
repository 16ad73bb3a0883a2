/// @file
/// tarnu::Post and tarnu::RunMessages: lambdas through a message queue.
#ifndef TARNU_MESSAGING_FUNCTIONMESSAGE_H
#define TARNU_MESSAGING_FUNCTIONMESSAGE_H

#include "tarnu/messaging/OrvaMessage.h"
#include "tarnu/messaging/OrvaMessageQueue.h"

#include <concepts>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace tarnu {

/// A message that does something when it arrives. Threads: as OrvaMessage.
class RunnableMessage : public OrvaMessage {
public:
    /// Does it, on the thread that took the message out.
    virtual void Run() = 0;
};

/// A function as a message. Threads: made on the posting thread; the function runs and is destroyed on the receiving
/// one.
template <std::invocable Function>
class FunctionMessage final : public RunnableMessage {
public:
    /// @param function  what Run calls
    explicit FunctionMessage(Function function) : m_function(std::move(function)) {}

    /// Calls the function.
    void Run() override { m_function(); }

private:
    Function m_function;
};

/// Sends a function to the thread that owns a queue, where RunMessages runs it. Any thread.
///
///     tarnu::Post(queue, [text] { Show(text); });
/// @param queue     borrowed
/// @param function  held until it has run; it is destroyed on the thread that runs it
/// @return as OrvaMessageQueue::Post; after a failure the function is destroyed without having run
template <std::invocable Function>
OrvaServerCode Post(OrvaMessageQueue& queue, Function function) {
    std::unique_ptr<OrvaMessage> message;
    try {
        message = std::make_unique<FunctionMessage<Function>>(std::move(function));
    } catch (const std::bad_alloc&) {
        return OrvaServerOutOfMemory;
    }
    const OrvaServerCode code = queue.Post(message.get());
    if (code == OrvaServerSuccess) static_cast<void>(message.release());
    return code;
}

/// Runs the functions that wait in a queue, in their order, up to the first message of another kind, which stays. On
/// the queue's thread. What a function throws comes through, after its message is gone.
/// @param queue  borrowed
/// @return how many were run
inline std::size_t RunMessages(OrvaMessageQueue& queue) {
    std::size_t count = 0;
    OrvaMessage* next = nullptr;
    while (queue.Peek(next) == OrvaServerSuccess && dynamic_cast<RunnableMessage*>(next) != nullptr &&
           queue.Get(next) == OrvaServerSuccess) {
        const std::unique_ptr<OrvaMessage> message(next);
        ++count;
        dynamic_cast<RunnableMessage&>(*message).Run();
    }
    return count;
}

} // namespace tarnu

#endif // TARNU_MESSAGING_FUNCTIONMESSAGE_H
