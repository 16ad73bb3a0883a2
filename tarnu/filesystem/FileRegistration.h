/// @file
/// tarnu::FileRegistration and tarnu::FunctionFileListener: a registration with the file event server as an object, and
/// a lambda as its listener.
#ifndef TARNU_FILESYSTEM_FILEREGISTRATION_H
#define TARNU_FILESYSTEM_FILEREGISTRATION_H

#include "tarnu/filesystem/OrvaFileEventListener.h"
#include "tarnu/filesystem/OrvaFileEventServer.h"

#include <concepts>
#include <utility>

namespace tarnu {

/// Registers a file with the process's file event server, and unregisters it when it goes. Can be moved.
///
/// Threads: the server's. Ownership: the listener is borrowed.
class FileRegistration {
public:
    /// No registration.
    FileRegistration() noexcept = default;
    /// @param path      the file or directory
    /// @param filter    FILE_NOTIFY_CHANGE_* bits
    /// @param listener  must outlive the registration
    FileRegistration(const wchar_t* path, DWORD filter, OrvaFileEventListener& listener)
        : m_result(OrvaGetFileEventServer()->RegisterFile(path, filter, &listener, m_cookie)) {}
    /// Takes a registration over.
    /// @param other has none afterwards
    FileRegistration(FileRegistration&& other) noexcept
        : m_cookie(std::exchange(other.m_cookie, nullptr)), m_result(std::exchange(other.m_result, E_FAIL)) {}
    /// Ends its own registration and takes another one over.
    /// @param other has none afterwards
    /// @return this object
    FileRegistration& operator=(FileRegistration&& other) noexcept {
        if (this != &other) {
            Reset();
            m_cookie = std::exchange(other.m_cookie, nullptr);
            m_result = std::exchange(other.m_result, E_FAIL);
        }
        return *this;
    }
    ~FileRegistration() { Reset(); }

    /// Ends the registration: the listener is not called any more.
    void Reset() noexcept {
        if (m_cookie != nullptr) OrvaGetFileEventServer()->UnregisterFile(std::exchange(m_cookie, nullptr));
        m_result = E_FAIL;
    }
    /// What the server answered.
    /// @return S_OK while there is a registration, E_FAIL without one, or why there is none, as RegisterFile tells it
    HRESULT GetResult() const noexcept { return m_result; }
    /// The registration's name.
    /// @return as long as it lasts; null without one
    OrvaFileEventCookie GetCookie() const noexcept { return m_cookie; }

private:
    OrvaFileEventCookie m_cookie = nullptr; // before m_result, whose initialiser fills it
    HRESULT m_result = E_FAIL;
};

/// A function as a listener: called with what changed, one FILE_NOTIFY_CHANGE_* bit a call, or with 0 and a Win32 error
/// code when the file can't be watched (any longer). Must not throw.
///
///     tarnu::FunctionFileListener listener([&](DWORD change, DWORD error) { if (error == 0) Reload(); });
///     const tarnu::FileRegistration registration(path, FILE_NOTIFY_CHANGE_LAST_WRITE, listener);
///
/// Threads: that of the window-message server. Ownership: holds the function.
template <std::invocable<DWORD, DWORD> Function>
class FunctionFileListener final : public OrvaFileEventListener {
public:
    /// @param function  called with a change and 0, or with 0 and an error
    explicit FunctionFileListener(Function function) : m_function(std::move(function)) {}

    /// @{
    /// Calls the function with the bit of this name.
    void OnFileNameChanged(OrvaFileEventCookie) override { m_function(FILE_NOTIFY_CHANGE_FILE_NAME, 0); }
    void OnDirNameChanged(OrvaFileEventCookie) override { m_function(FILE_NOTIFY_CHANGE_DIR_NAME, 0); }
    void OnAttributesChanged(OrvaFileEventCookie) override { m_function(FILE_NOTIFY_CHANGE_ATTRIBUTES, 0); }
    void OnSizeChanged(OrvaFileEventCookie) override { m_function(FILE_NOTIFY_CHANGE_SIZE, 0); }
    void OnLastWriteChanged(OrvaFileEventCookie) override { m_function(FILE_NOTIFY_CHANGE_LAST_WRITE, 0); }
    void OnLastAccessChanged(OrvaFileEventCookie) override { m_function(FILE_NOTIFY_CHANGE_LAST_ACCESS, 0); }
    /// @}
    /// Calls the function with the error.
    /// @param error  Win32 error code
    void OnError(OrvaFileEventCookie, DWORD error) override { m_function(0, error); }

private:
    Function m_function;
};

} // namespace tarnu

#endif // TARNU_FILESYSTEM_FILEREGISTRATION_H
