/// @file
/// OrvaFileEventServer: watches single files and tells listeners what kinds of change happened.
#ifndef TARNU_FILESYSTEM_ORVAFILEEVENTSERVER_H
#define TARNU_FILESYSTEM_ORVAFILEEVENTSERVER_H

#include "tarnu/filesystem/OrvaFileEventListener.h"

/// Watches files from one worker thread. A change is reported half a second after the file's directory signalled it, so
/// that the writer can finish.
/// ~~~
/// OrvaFileEventCookie cookie = nullptr;
/// OrvaGetFileEventServer()->RegisterFile(L"C:\\Jobs\\plan.xml", FILE_NOTIFY_CHANGE_LAST_WRITE, &listener, cookie);
/// // … the thread pumps messages, listener.OnLastWriteChanged is called …
/// OrvaGetFileEventServer()->UnregisterFile(cookie);
/// ~~~
///
/// Threads: used on one thread, the one that owns the window-message server, and that pumps messages.
/// Ownership: listeners are borrowed.
class OrvaFileEventServer {
public:
    /// Watches a file, or a directory's entries (not those of its subdirectories).
    /// @param path      the file; a relative path is taken from the current directory of this moment. A file that does
    ///                  not exist cannot be told from a directory: OnError reports it.
    /// @param filter    FILE_NOTIFY_CHANGE_* bits (0x1 to 0x20) that the listener wants to hear of. All files of one
    ///                  directory share one watch, which signals what the first of them asked for.
    /// @param listener  borrowed; called until the registration is ended; null hears nothing
    /// @param cookie    receives the registration's name; null on failure
    /// @return S_OK; E_POINTER for a null path; E_FAIL when the server is stopped; E_OUTOFMEMORY; the
    ///         HRESULT of the error when the worker cannot be told
    virtual HRESULT RegisterFile(const wchar_t* path, DWORD filter, OrvaFileEventListener* listener,
                                 OrvaFileEventCookie& cookie) = 0;

    /// Ends a registration: its listener is not called any more, also for changes that are on their way. An unknown
    /// cookie is ignored.
    /// @param cookie what RegisterFile gave
    /// @return S_OK, always
    virtual HRESULT UnregisterFile(OrvaFileEventCookie cookie) = 0;

    virtual ~OrvaFileEventServer() = default;

    /// Ends the worker thread, for good: nothing can be registered afterwards. A worker that does not end within 10
    /// seconds is terminated. Modules that unload the library call this first.
    /// @return 1 when a running worker was stopped, else 0
    virtual int Stop() = 0;

protected:
    OrvaFileEventServer() = default;
    OrvaFileEventServer(const OrvaFileEventServer&) = delete;
    OrvaFileEventServer& operator=(const OrvaFileEventServer&) = delete;
};

/// The process's server. The first call creates it, with the window-message server, on the calling thread. It is
/// destroyed at process exit.
/// @return the server; never null
TARNU_API OrvaFileEventServer* OrvaGetFileEventServer();

#endif // TARNU_FILESYSTEM_ORVAFILEEVENTSERVER_H
