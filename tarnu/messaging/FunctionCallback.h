/// @file
/// tarnu::FunctionCallback: a lambda as an OrvaCallback.
#ifndef TARNU_MESSAGING_FUNCTIONCALLBACK_H
#define TARNU_MESSAGING_FUNCTIONCALLBACK_H

#include "tarnu/messaging/OrvaCallback.h"

#include <concepts>
#include <type_traits>
#include <utility>

namespace tarnu {

/// Executes a function. A result counts as the callback's (true for success); without one it is success. The function
/// must not throw where the caller of Execute does not expect it, which is everywhere in this library.
///
///     tarnu::FunctionCallback wake([&] { ::SetEvent(event); });
///     OrvaMessageQueue queue(&wake, nullptr);
///
/// Threads: those on which Execute is called. Ownership: holds the function; whoever is handed the callback borrows it.
template <std::invocable Function>
class FunctionCallback final : public OrvaCallback {
public:
    /// @param function  called by each Execute
    explicit FunctionCallback(Function function) : m_function(std::move(function)) {}

    /// Calls the function.
    /// @return what it returns, as TRUE or FALSE; TRUE when it returns nothing
    BOOL Execute() override {
        if constexpr (std::is_void_v<std::invoke_result_t<Function&>>) {
            m_function();
            return TRUE;
        } else {
            return static_cast<bool>(m_function()) ? TRUE : FALSE;
        }
    }

private:
    Function m_function;
};

} // namespace tarnu

#endif // TARNU_MESSAGING_FUNCTIONCALLBACK_H
