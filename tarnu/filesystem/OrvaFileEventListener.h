/// @file
/// OrvaFileEventListener: is told what happened to a file that was registered with the file event server.
#ifndef TARNU_FILESYSTEM_ORVAFILEEVENTLISTENER_H
#define TARNU_FILESYSTEM_ORVAFILEEVENTLISTENER_H

#include "tarnu/framework/framework.h"

/// Names one registration: an address that stands for nothing else as long as the registration lasts.
using OrvaFileEventCookie = void*;

/// Derive and override what matters; the defaults do nothing.
///
/// Threads: called on the thread that owns the window-message server, from its message loop.
/// Ownership: the server borrows the listener until its last registration is ended. A listener may unregister files and
/// register others in any of these calls; it is not called for a registration that it has ended.
class OrvaFileEventListener {
public:
    /// @{
    /// FILE_NOTIFY_CHANGE_FILE_NAME, _DIR_NAME and _ATTRIBUTES: something of that kind may have happened in the file's
    /// directory. These three are called whenever the directory signalled, also for other files.
    /// @param cookie names the registration
    virtual void OnFileNameChanged(OrvaFileEventCookie cookie) { (void)cookie; }
    virtual void OnDirNameChanged(OrvaFileEventCookie cookie) { (void)cookie; }
    virtual void OnAttributesChanged(OrvaFileEventCookie cookie) { (void)cookie; }
    /// @}
    /// FILE_NOTIFY_CHANGE_SIZE: the file has another size.
    /// @param cookie names the registration
    virtual void OnSizeChanged(OrvaFileEventCookie cookie) { (void)cookie; }
    /// FILE_NOTIFY_CHANGE_LAST_WRITE and _LAST_ACCESS: the time has moved forward.
    /// @param cookie names the registration
    /// @{
    virtual void OnLastWriteChanged(OrvaFileEventCookie cookie) { (void)cookie; }
    virtual void OnLastAccessChanged(OrvaFileEventCookie cookie) { (void)cookie; }
    /// @}
    /// The file's directory cannot be watched, or not any longer. Said once; nothing else follows until the file, or
    /// another one in its directory, is registered again.
    /// @param cookie names the registration
    /// @param error  Win32 error code
    virtual void OnError(OrvaFileEventCookie cookie, DWORD error) {
        (void)cookie;
        (void)error;
    }
    /// For hosts that post WM_REGISTERED_FILE and WM_UNREGISTERED_FILE; the library itself does not.
    /// @param cookie names the registration; the message's lParam
    /// @{
    virtual void OnRegistered(OrvaFileEventCookie cookie) { (void)cookie; }
    virtual void OnUnregistered(OrvaFileEventCookie cookie) { (void)cookie; }
    /// @}

protected:
    ~OrvaFileEventListener() = default; // nobody destroys a listener through this interface
};

#endif // TARNU_FILESYSTEM_ORVAFILEEVENTLISTENER_H
