/// @file
/// The messages of the file event service, with their diagnostic names.
#ifndef TARNU_FILESYSTEM_ORVAFILEEVENTMESSAGES_H
#define TARNU_FILESYSTEM_ORVAFILEEVENTMESSAGES_H

#include "tarnu/framework/framework.h"

#include <cstddef>
#include <iterator>

namespace tarnu {

/// Window messages between the file event server and its worker. In lParam stands the registration's cookie.
enum FileEventMessage : UINT {
    WM_FILE_NOTIFY = 0x8800,          ///< worker to host; wParam: FILE_NOTIFY_CHANGE_* bits of what changed
    WM_REGISTER_FILE = 0x8801,        ///< host to worker
    WM_REGISTERED_FILE = 0x8802,      ///< to host; calls OnRegistered
    WM_REGISTER_FILE_FAILED = 0x8803, ///< reserved
    WM_UNREGISTER_FILE = 0x8804,      ///< host to worker, and back when the worker is done with the registration
    WM_UNREGISTERED_FILE = 0x8805,    ///< to host; calls OnUnregistered
    WM_REPORT_ERROR = 0x8806          ///< worker to host; wParam: Win32 error code
};

/// Name under which a host may register a message of its own for file notifications.
inline constexpr wchar_t fileNotifyMessageName[] = L"ORVA_WM_FILE_NOTIFY";

/// The diagnostic name of a message number.
/// @param message one of FileEventMessage, or any other
/// @return a constant: the name as it stands above, "UNKNOWN_MESSAGE" for any other number
inline const wchar_t* FileEventMessageName(UINT message) noexcept {
    constexpr const wchar_t* names[] = {L"WM_FILE_NOTIFY",          L"WM_REGISTER_FILE",   L"WM_REGISTERED_FILE",
                                        L"WM_REGISTER_FILE_FAILED", L"WM_UNREGISTER_FILE", L"WM_UNREGISTERED_FILE",
                                        L"WM_REPORT_ERROR"};
    const std::size_t index = static_cast<std::size_t>(message) - WM_FILE_NOTIFY;
    return message >= WM_FILE_NOTIFY && index < std::size(names) ? names[index] : L"UNKNOWN_MESSAGE";
}

} // namespace tarnu

#endif // TARNU_FILESYSTEM_ORVAFILEEVENTMESSAGES_H
