// What the library imports: each import with the way it fails, or the reason why it is not made to fail.

#include "faults/FaultSeam.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <direct.h>
#include <io.h>
#include <objbase.h>
#include <oleauto.h>
#include <process.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <string>
#include <urlmon.h>

namespace tarnu::test::faults {
namespace {

// The declarations of malloc and its like carry attributes that are no part of the type.
#pragma GCC diagnostic ignored "-Wignored-attributes"

/// An import: how it fails, and by which functions resources go on and off the books.
#define COVER(function, ...) Hook<#function, decltype(::function)>::Cover(__VA_ARGS__)
constexpr auto result = Report::Result;
constexpr auto errorNumber = Report::Errno;

/// Books a result as a resource.
template <Resource kind>
constexpr auto acquire = [](const SystemCall& call, auto value, auto...) { Acquire(kind, value, call); };
/// Takes the first argument off the books.
template <Resource kind>
constexpr auto release = [](auto value, auto...) { Release(kind, value); };

const void* FromAtom(ATOM atom) {
    return reinterpret_cast<const void*>(static_cast<ULONG_PTR>(atom));
}
const void* FromWindow(HWND window) {
    return reinterpret_cast<const void*>(window);
}

/// operator new and its relatives, under the names that they are imported by.
void AddAllocations(std::vector<SystemCall*>& calls) {
    using New = void*(std::size_t);
    using NewNoThrow = void*(std::size_t, const std::nothrow_t&);
    constexpr Failure<void*> throws{nullptr, ERROR_NOT_ENOUGH_MEMORY, Report::Throw};
    constexpr Failure<void*> isNull{nullptr, ERROR_NOT_ENOUGH_MEMORY, result};
    constexpr Failure<void*> noMemory{nullptr, ENOMEM, errorNumber};
    constexpr auto acquired = acquire<Resource::Memory>;
    const auto add = [&calls](SystemCall* call) {
        call->allocates = true;
        calls.push_back(call);
    };
    add(Hook<"_Znwy", New>::Cover(throws, acquired));
    add(Hook<"_Znay", New>::Cover(throws, acquired));
    add(Hook<"_ZnwyRKSt9nothrow_t", NewNoThrow>::Cover(isNull, acquired));
    add(Hook<"_ZnayRKSt9nothrow_t", NewNoThrow>::Cover(isNull, acquired));
    add(COVER(malloc, noMemory, acquired));
    add(COVER(calloc, noMemory, acquired));
    add(COVER(
        realloc, noMemory, [](const SystemCall& call, void* block, auto...) { Acquire(Resource::Memory, block, call); },
        [](void* old, std::size_t) { Release(Resource::Memory, old); },
        [](const SystemCall& call, void*, void* old, std::size_t) { Acquire(Resource::Memory, old, call); }));
    add(COVER(SysAllocString, {nullptr, E_OUTOFMEMORY & 0x7FFFFFFF, result}, acquire<Resource::BasicString>));
    add(COVER(SysAllocStringLen, {nullptr, E_OUTOFMEMORY & 0x7FFFFFFF, result}, acquire<Resource::BasicString>));
    add(COVER(CoTaskMemAlloc, {nullptr, E_OUTOFMEMORY & 0x7FFFFFFF, result}, acquire<Resource::TaskMemory>));
}

/// What gives back: never made to fail.
void AddReleases(std::vector<SystemCall*>& calls) {
    constexpr auto released = release<Resource::Memory>;
    calls.push_back(Hook<"_ZdlPv", void(void*)>::Cover(released));
    calls.push_back(Hook<"_ZdlPvy", void(void*, std::size_t)>::Cover(released));
    calls.push_back(Hook<"_ZdlPvRKSt9nothrow_t", void(void*, const std::nothrow_t&)>::Cover(released));
    calls.push_back(Hook<"_ZdaPv", void(void*)>::Cover(released));
    calls.push_back(Hook<"_ZdaPvy", void(void*, std::size_t)>::Cover(released));
    calls.push_back(COVER(free, released));
    calls.push_back(COVER(SysFreeString, [](BSTR text) { Release(Resource::BasicString, text); }));
    calls.push_back(COVER(CoTaskMemFree, release<Resource::TaskMemory>));
    calls.push_back(COVER(LocalFree, {INVALID_HANDLE_VALUE, 0}, nullptr, release<Resource::LocalMemory>));
    calls.push_back(COVER(VariantClear, {E_INVALIDARG, 0, result}, nullptr, [](VARIANTARG* value) {
        if (value->vt == VT_BSTR) Release(Resource::BasicString, value->bstrVal);
    }));
}

void AddFiles(std::vector<SystemCall*>& calls) {
    calls.insert(
        calls.end(),
        {
            COVER(CloseHandle, {FALSE, ERROR_INVALID_HANDLE, Report::LastError, /*performs=*/true}),
            COVER(CopyFileExW, {FALSE, ERROR_DISK_FULL}),
            COVER(CopyFileW, {FALSE, ERROR_DISK_FULL}),
            COVER(CreateDirectoryW, {FALSE, ERROR_ACCESS_DENIED}),
            COVER(CreateFileA, {INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED}),
            COVER(CreateFileW, {INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED}),
            COVER(CreateSymbolicLinkW, {FALSE, ERROR_PRIVILEGE_NOT_HELD}),
            COVER(DeleteFileW, {FALSE, ERROR_ACCESS_DENIED}),
            COVER(DeviceIoControl, {FALSE, ERROR_NOT_SUPPORTED}),
            COVER(FindClose, {FALSE, ERROR_INVALID_HANDLE, Report::LastError, /*performs=*/true}, nullptr,
                  release<Resource::FindHandle>),
            COVER(FindFirstFileExW, {INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED}, acquire<Resource::FindHandle>),
            COVER(FindFirstFileW, {INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED}, acquire<Resource::FindHandle>),
            COVER(FindNextFileW, {FALSE, ERROR_UNEXP_NET_ERR}),
            COVER(FlushFileBuffers, {FALSE, ERROR_DISK_FULL}),
            COVER(GetCurrentDirectoryW, {0, ERROR_ACCESS_DENIED}),
            COVER(GetFileAttributesExW, {FALSE, ERROR_ACCESS_DENIED}),
            COVER(GetFileAttributesW, {INVALID_FILE_ATTRIBUTES, ERROR_ACCESS_DENIED}),
            COVER(GetFileInformationByHandle, {FALSE, ERROR_NOT_SUPPORTED}),
            COVER(GetFileInformationByHandleEx, {FALSE, ERROR_NOT_SUPPORTED}),
            COVER(GetFileSize, {INVALID_FILE_SIZE, ERROR_INVALID_FUNCTION}),
            COVER(GetFileSizeEx, {FALSE, ERROR_INVALID_FUNCTION}),
            COVER(GetFileTime, {FALSE, ERROR_INVALID_FUNCTION}),
            COVER(GetFileType, {FILE_TYPE_UNKNOWN, ERROR_INVALID_HANDLE}),
            COVER(GetFinalPathNameByHandleW, {0, ERROR_PATH_NOT_FOUND}),
            COVER(GetFullPathNameW, {0, ERROR_NOT_ENOUGH_MEMORY}),
            COVER(GetSystemDirectoryW, {0, ERROR_NOT_ENOUGH_MEMORY}),
            COVER(GetTempPathW, {0, ERROR_NOT_ENOUGH_MEMORY}),
            COVER(GetWindowsDirectoryW, {0, ERROR_NOT_ENOUGH_MEMORY}),
            COVER(MoveFileExW, {FALSE, ERROR_ACCESS_DENIED}),
            COVER(MoveFileW, {FALSE, ERROR_ACCESS_DENIED}),
            COVER(ReadFile, {FALSE, ERROR_CRC}),
            COVER(RemoveDirectoryW, {FALSE, ERROR_ACCESS_DENIED}),
            COVER(SetCurrentDirectoryW, {FALSE, ERROR_ACCESS_DENIED}),
            COVER(SetEndOfFile, {FALSE, ERROR_DISK_FULL}),
            COVER(SetFileAttributesW, {FALSE, ERROR_ACCESS_DENIED}),
            COVER(SetFilePointerEx, {FALSE, ERROR_INVALID_PARAMETER}),
            COVER(SetFileTime, {FALSE, ERROR_ACCESS_DENIED}),
            COVER(WriteFile, {FALSE, ERROR_DISK_FULL}),
            COVER(SHCreateDirectoryExW, {ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED, result}),
            COVER(SHGetFolderPathW, {E_FAIL, ERROR_PATH_NOT_FOUND, result}),
            COVER(PathFileExistsW, {FALSE, ERROR_ACCESS_DENIED}),
            COVER(PathRelativePathToW, {FALSE, ERROR_INVALID_NAME}),
            COVER(PathAddBackslashW, {nullptr, ERROR_FILENAME_EXCED_RANGE}),
            COVER(PathAppendW, {FALSE, ERROR_FILENAME_EXCED_RANGE}),
        });
}

/// Files and folders of the C runtime.
void AddRuntimeFiles(std::vector<SystemCall*>& calls) {
    calls.insert(calls.end(), {
                                  COVER(_close, {-1, EBADF, errorNumber, /*performs=*/true}),
                                  COVER(_open_osfhandle, {-1, EMFILE, errorNumber}),
                                  COVER(_wfdopen, {nullptr, EMFILE, errorNumber}),
                                  COVER(fclose, {EOF, ENOSPC, errorNumber, /*performs=*/true}),
                                  COVER(fflush, {EOF, ENOSPC, errorNumber}),
                                  COVER(fgetws, {nullptr, EIO, errorNumber}),
                                  COVER(fputws, {WEOF, ENOSPC, errorNumber}),
                                  COVER(_waccess, {-1, EACCES, errorNumber}),
                                  COVER(_wchdir, {-1, EACCES, errorNumber}),
                                  COVER(_wremove, {-1, EACCES, errorNumber}),
                                  COVER(_wtempnam, {nullptr, EEXIST, errorNumber}, acquire<Resource::Memory>),
                              });
}

void AddThreadsAndWaits(std::vector<SystemCall*>& calls) {
    calls.insert(
        calls.end(),
        {
            COVER(_beginthreadex, {0, EAGAIN, errorNumber}),
            COVER(CreateEventW, {nullptr, ERROR_NO_SYSTEM_RESOURCES}),
            COVER(CreateThread, {nullptr, ERROR_NOT_ENOUGH_MEMORY}),
            COVER(DuplicateHandle, {FALSE, ERROR_NO_SYSTEM_RESOURCES}),
            COVER(FindCloseChangeNotification, {FALSE, ERROR_INVALID_HANDLE, Report::LastError, /*performs=*/true}),
            COVER(FindFirstChangeNotificationW, {INVALID_HANDLE_VALUE, ERROR_NO_SYSTEM_RESOURCES}),
            COVER(FindNextChangeNotification, {FALSE, ERROR_ACCESS_DENIED}),
            COVER(GetExitCodeThread, {FALSE, ERROR_INVALID_HANDLE}),
            COVER(OpenThreadToken, {FALSE, ERROR_ACCESS_DENIED}),
            COVER(MsgWaitForMultipleObjectsEx, {WAIT_FAILED, ERROR_INVALID_HANDLE}),
            COVER(PostThreadMessageW, {FALSE, ERROR_NOT_ENOUGH_QUOTA}),
            COVER(PulseEvent, {FALSE, ERROR_INVALID_HANDLE}),
            COVER(QueueUserAPC, {0, ERROR_NOT_ENOUGH_MEMORY}),
            COVER(ResumeThread, {static_cast<DWORD>(-1), ERROR_GEN_FAILURE}),
            COVER(SetEvent, {FALSE, ERROR_INVALID_HANDLE}),
            COVER(SetThreadErrorMode, {FALSE, ERROR_INVALID_PARAMETER}),
            COVER(WaitForMultipleObjects, {WAIT_FAILED, ERROR_INVALID_HANDLE}),
            COVER(WaitForMultipleObjectsEx, {WAIT_FAILED, ERROR_INVALID_HANDLE}),
            COVER(WaitForSingleObject, {WAIT_FAILED, ERROR_INVALID_HANDLE}),
            COVER(WaitForSingleObjectEx, {WAIT_FAILED, ERROR_INVALID_HANDLE}),
        });
}

void AddMemory(std::vector<SystemCall*>& calls) {
    calls.insert(calls.end(),
                 {
                     COVER(HeapCreate, {nullptr, ERROR_NOT_ENOUGH_MEMORY}),
                     COVER(HeapAlloc, {nullptr, ERROR_NOT_ENOUGH_MEMORY}, acquire<Resource::HeapBlock>),
                     COVER(
                         HeapReAlloc, {nullptr, ERROR_NOT_ENOUGH_MEMORY}, acquire<Resource::HeapBlock>,
                         [](HANDLE, DWORD, void* old, SIZE_T) { Release(Resource::HeapBlock, old); },
                         [](const SystemCall& call, void*, HANDLE, DWORD, void* old, SIZE_T) {
                             Acquire(Resource::HeapBlock, old, call);
                         }),
                     COVER(HeapFree, {FALSE, ERROR_INVALID_PARAMETER, Report::LastError, /*performs=*/true}, nullptr,
                           [](HANDLE, DWORD, void* block) { Release(Resource::HeapBlock, block); }),
                     COVER(HeapSize, {static_cast<SIZE_T>(-1), ERROR_INVALID_PARAMETER}),
                     COVER(VirtualAlloc, {nullptr, ERROR_NOT_ENOUGH_MEMORY}),
                     COVER(VirtualFree, {FALSE, ERROR_INVALID_PARAMETER, Report::LastError, /*performs=*/true}),
                 });
}

void AddTextsAndTimes(std::vector<SystemCall*>& calls) {
    calls.insert(calls.end(), {
                                  COVER(FormatMessageW, {0, ERROR_MR_MID_NOT_FOUND},
                                        [](const SystemCall& call, DWORD, DWORD flags, LPCVOID, DWORD, DWORD,
                                           LPWSTR text, DWORD, va_list*) {
                                            if ((flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) == 0) return;
                                            Acquire(Resource::LocalMemory, *reinterpret_cast<void**>(text), call);
                                        }),
                                  COVER(FileTimeToSystemTime, {FALSE, ERROR_INVALID_PARAMETER}),
                                  COVER(SystemTimeToFileTime, {FALSE, ERROR_INVALID_PARAMETER}),
                                  COVER(SystemTimeToTzSpecificLocalTime, {FALSE, ERROR_INVALID_PARAMETER}),
                                  COVER(TzSpecificLocalTimeToSystemTime, {FALSE, ERROR_INVALID_PARAMETER}),
                                  COVER(GetTimeZoneInformationForYear, {FALSE, ERROR_INVALID_PARAMETER}),
                                  COVER(GetLocaleInfoW, {0, ERROR_INVALID_PARAMETER}),
                                  COVER(SetLocaleInfoW, {FALSE, ERROR_ACCESS_DENIED}),
                                  COVER(GetVersionExW, {FALSE, ERROR_INSUFFICIENT_BUFFER}),
                                  COVER(MultiByteToWideChar, {0, ERROR_NO_UNICODE_TRANSLATION}),
                                  COVER(WideCharToMultiByte, {0, ERROR_NO_UNICODE_TRANSLATION}),
                                  COVER(StringFromCLSID, {E_OUTOFMEMORY, ERROR_NOT_ENOUGH_MEMORY, result},
                                        [](const SystemCall& call, HRESULT, REFCLSID, LPOLESTR* text) {
                                            Acquire(Resource::TaskMemory, *text, call);
                                        }),
                              });
}

void AddModulesAndRegistry(std::vector<SystemCall*>& calls) {
    calls.insert(calls.end(), {
                                  COVER(FreeLibrary, {FALSE, ERROR_INVALID_HANDLE, Report::LastError, true}),
                                  COVER(GetModuleFileNameW, {0, ERROR_MOD_NOT_FOUND}),
                                  COVER(GetModuleHandleExW, {FALSE, ERROR_MOD_NOT_FOUND}),
                                  COVER(GetProcAddress, {nullptr, ERROR_PROC_NOT_FOUND}),
                                  COVER(LoadLibraryW, {nullptr, ERROR_MOD_NOT_FOUND}),
                                  COVER(RegOpenKeyExW, {ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED, result}),
                                  COVER(RegQueryValueExW, {ERROR_FILE_NOT_FOUND, ERROR_FILE_NOT_FOUND, result}),
                              });
}

void AddWindows(std::vector<SystemCall*>& calls) {
    calls.insert(calls.end(),
                 {
                     COVER(CreateWindowExW, {nullptr, ERROR_NOT_ENOUGH_MEMORY},
                           [](const SystemCall& call, HWND window, auto...) {
                               Acquire(Resource::Window, FromWindow(window), call);
                           }),
                     COVER(DestroyWindow, {FALSE, ERROR_ACCESS_DENIED, Report::LastError, /*performs=*/true}, nullptr,
                           [](HWND window) { Release(Resource::Window, FromWindow(window)); }),
                     COVER(EnumWindows, {FALSE, ERROR_NOT_ENOUGH_MEMORY}),
                     COVER(MessageBoxW, {0, ERROR_NOT_ENOUGH_MEMORY}),
                     COVER(PostMessageW, {FALSE, ERROR_NOT_ENOUGH_QUOTA}),
                     COVER(RegisterClassExW, {0, ERROR_NOT_ENOUGH_MEMORY},
                           [](const SystemCall& call, ATOM atom, auto...) {
                               Acquire(Resource::WindowClass, FromAtom(atom), call);
                           }),
                     COVER(UnregisterClassW, {FALSE, ERROR_CLASS_HAS_WINDOWS, Report::LastError, /*performs=*/true},
                           nullptr, [](LPCWSTR name, HINSTANCE) { Release(Resource::WindowClass, name); }),
                     COVER(SetWindowLongPtrW, {0, ERROR_INVALID_WINDOW_HANDLE}),
                 });
}

void AddCom(std::vector<SystemCall*>& calls) {
    calls.insert(calls.end(),
                 {
                     COVER(CoInitialize, {RPC_E_CHANGED_MODE, ERROR_INVALID_STATE, result}),
                     COVER(CoCreateInstance, {REGDB_E_CLASSNOTREG, ERROR_CLASS_DOES_NOT_EXIST, result}),
                     COVER(CreateStreamOnHGlobal, {E_OUTOFMEMORY, ERROR_NOT_ENOUGH_MEMORY, result}),
                     COVER(GetErrorInfo, {S_FALSE, ERROR_NOT_FOUND, result}),
                     COVER(GetHGlobalFromStream, {E_INVALIDARG, ERROR_INVALID_HANDLE, result}),
                     COVER(GlobalLock, {nullptr, ERROR_DISCARDED}),
                     COVER(OleRun, {E_FAIL, ERROR_GEN_FAILURE, result}),
                     COVER(SHBrowseForFolderW, {nullptr, ERROR_CANCELLED, result}, acquire<Resource::TaskMemory>),
                     COVER(SHGetDesktopFolder, {E_FAIL, ERROR_GEN_FAILURE, result}),
                     COVER(SHGetPathFromIDListW, {FALSE, ERROR_INVALID_PARAMETER}),
                     COVER(URLOpenBlockingStreamW, {E_OUTOFMEMORY, ERROR_NOT_ENOUGH_MEMORY, result}),
                     COVER(VariantChangeType, {DISP_E_TYPEMISMATCH, ERROR_INVALID_DATATYPE, result}),
                 });
}

} // namespace

std::vector<SystemCall*>& CoveredCalls() {
    static std::vector<SystemCall*> calls = [] {
        std::vector<SystemCall*> all;
        AddAllocations(all);
        AddReleases(all);
        AddFiles(all);
        AddRuntimeFiles(all);
        AddThreadsAndWaits(all);
        AddMemory(all);
        AddTextsAndTimes(all);
        AddModulesAndRegistry(all);
        AddWindows(all);
        AddCom(all);
        return all;
    }();
    return calls;
}

const std::vector<Excuse>& Excuses() {
    static const std::vector<Excuse> excuses = {
        {"reads or sets the thread's last error", "GetLastError SetLastError _errno __doserrno"},
        {"takes or gives back a lock, which can't fail on a supported system",
         "AcquireSRWLockExclusive AcquireSRWLockShared ReleaseSRWLockExclusive ReleaseSRWLockShared "
         "InitializeCriticalSection DeleteCriticalSection EnterCriticalSection LeaveCriticalSection _lock _unlock "
         "SleepConditionVariableSRW WakeConditionVariable WakeAllConditionVariable"},
        {"answers from what the process knows, always",
         "GetCurrentProcess GetCurrentProcessId GetCurrentThread GetCurrentThreadId GetLocalTime GetSystemInfo "
         "GetSystemTimeAsFileTime GetTickCount GetTickCount64 _time64 clock GetModuleHandleW SysStringLen IsWindow "
         "IsWindowVisible GetAsyncKeyState GetDriveTypeW GetLastActivePopup GetWindow "
         "GetWindowThreadProcessId GetWindowLongPtrW QueryPerformanceCounter QueryPerformanceFrequency"},
        {"pauses, or dispatches what waits; has no failure",
         "Sleep SleepEx SwitchToThread PeekMessageW DispatchMessageW PostQuitMessage DefWindowProcW CallWindowProcW "
         "SendMessageW OutputDebugStringW CoUninitialize GlobalUnlock"},
        {"ends a thread that did not end by itself; the scenarios let none come so far", "TerminateThread"},
        {"ends the process when a thread rule is broken, in builds with assertions", "_assert _wassert"},
        {"computes in memory only",
         "CompareFileTime CompareStringOrdinal CharLowerBuffW CharUpperBuffW lstrlenW PathIsRootW PathRemoveFileSpecW "
         "PathIsRelativeW PathIsUNCW PathStripToRootW PathCanonicalizeW "
         "PathStripPathW _wcs* wcs* _wtoi isw* tow* str* mem* _snwprintf _vsnwprintf _vscwprintf _gmtime64 "
         "_localtime64 _mktime64 _wasctime localeconv"},
        {"asks a stream of the runtime for what it knows",
         "_fileno _get_osfhandle feof ferror clearerr _filelengthi64"},
        {"stream functions of the compiler's runtime, which the library does not call",
         "fwprintf vfprintf fopen fgetpos fsetpos fseek ftell fread fwrite fgetwc getwc fputwc ungetwc _chsize"},
        {"start and end of the module in the compiler's runtime",
         "_initterm _amsg_exit abort VirtualProtect VirtualQuery TlsGetValue IsDBCSLeadByteEx __iob_func "
         "___lc_codepage_func ___mb_cur_max_func __mb_cur_max ___lc_handle_func _iob __stack_chk_*"},
        {"exceptions, type information and containers of the C++ runtime; their memory is asked for by operator new, "
         "or from the runtime's emergency store",
         "_ZT* _ZNSt* _ZNKSt* _ZSt* __cxa_* __dynamic_cast __gxx_* _Unwind_* __emutls_*"},
    };
    return excuses;
}

const std::vector<Excuse>& Unreached() {
    static const std::vector<Excuse> unreached = {
        {"fails in the processes of ProcessFaults",
         "CreateWindowExW RegisterClassExW WaitForSingleObjectEx _beginthreadex"},
        {"called once, by a thread that starts; without it a drive without a medium asks the user",
         "SetThreadErrorMode"},
        {"called at the end of the process only", "DestroyWindow UnregisterClassW"},
        {"called only where something else has failed before", "GetExitCodeThread _close GetErrorInfo"},
        {"needs a host module beside the library", "FreeLibrary GetProcAddress"},
        {"needs a link that can be read, which Wine does not make", "CreateSymbolicLinkW"},
        {"asked once in the life of the process", "GetVersionExW"},
        {"asked for by the compiler's runtime alone", "calloc"},
    };
    return unreached;
}

} // namespace tarnu::test::faults
