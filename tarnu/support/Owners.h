/// @file
/// Owner types for everything the system hands out and wants back: one policy per resource, one template.
#ifndef TARNU_SUPPORT_OWNERS_H
#define TARNU_SUPPORT_OWNERS_H

#include "tarnu/framework/framework.h"

#include <cstdlib>
#include <objbase.h>
#include <oleauto.h>
#include <utility>

namespace tarnu::support {

/// Keeps the calling thread's last error across clean-up: reads it when constructed, restores it when destroyed.
class LastErrorKeeper {
public:
    LastErrorKeeper() noexcept : m_error(::GetLastError()) {}
    ~LastErrorKeeper() { ::SetLastError(m_error); }
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

private:
    DWORD m_error;
};

/// Move-only owner of one resource. Policy gives the value type, the empty value, what else counts as empty, and how to
/// close. Closing keeps the thread's last error, so an owner may go out of scope between a failure and its report.
template <class Policy>
class Unique {
public:
    using Value = typename Policy::Value;

    Unique() noexcept = default;
    explicit Unique(Value value) noexcept : m_value(value) {}
    Unique(Unique&& other) noexcept : m_value(other.Release()) {}
    Unique& operator=(Unique&& other) noexcept {
        if (this != &other) Reset(other.Release());
        return *this;
    }
    ~Unique() { Reset(); }

    Value Get() const noexcept { return m_value; }
    explicit operator bool() const noexcept { return Policy::IsValid(m_value); }
    /// Gives the resource up without closing it.
    [[nodiscard]] Value Release() noexcept { return std::exchange(m_value, Policy::Empty()); }
    void Reset(Value value = Policy::Empty()) noexcept {
        const Value old = std::exchange(m_value, value);
        if (Policy::IsValid(old)) {
            const LastErrorKeeper keeper;
            Policy::Close(old);
        }
    }
    /// Closes what is held and gives the address for a function that fills it.
    [[nodiscard]] Value* Put() noexcept {
        Reset();
        return &m_value;
    }

private:
    Value m_value = Policy::Empty();
};

/// Common part of the policies whose empty value is null.
template <class T>
struct NullPolicy {
    using Value = T;
    static Value Empty() noexcept { return nullptr; }
    static bool IsValid(Value value) noexcept { return value != nullptr; }
};

/// Kernel objects: null is empty; INVALID_HANDLE_VALUE is no object either and is never closed.
struct HandlePolicy : NullPolicy<HANDLE> {
    static bool IsValid(HANDLE handle) noexcept { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }
    static void Close(HANDLE handle) noexcept { ::CloseHandle(handle); }
};
/// Handles whose creator fails with INVALID_HANDLE_VALUE.
struct InvalidHandlePolicy {
    using Value = HANDLE;
    static HANDLE Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static bool IsValid(HANDLE handle) noexcept { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }
};
struct FileHandlePolicy : InvalidHandlePolicy {
    static void Close(HANDLE handle) noexcept { ::CloseHandle(handle); }
};
struct FindHandlePolicy : InvalidHandlePolicy {
    static void Close(HANDLE handle) noexcept { ::FindClose(handle); }
};
struct ChangeHandlePolicy : InvalidHandlePolicy {
    static void Close(HANDLE handle) noexcept { ::FindCloseChangeNotification(handle); }
};
struct ModulePolicy : NullPolicy<HMODULE> {
    static void Close(HMODULE module) noexcept { ::FreeLibrary(module); }
};
struct BstrPolicy : NullPolicy<BSTR> {
    static void Close(BSTR text) noexcept { ::SysFreeString(text); }
};
template <class T>
struct LocalMemoryPolicy : NullPolicy<T*> {
    static void Close(T* block) noexcept { ::LocalFree(block); }
};
template <class T>
struct TaskMemoryPolicy : NullPolicy<T*> {
    static void Close(T* block) noexcept { ::CoTaskMemFree(block); }
};
template <class T>
struct MallocPolicy : NullPolicy<T*> {
    static void Close(T* block) noexcept { std::free(block); }
};

using UniqueHandle = Unique<HandlePolicy>;             ///< events, threads and other kernel objects
using UniqueFileHandle = Unique<FileHandlePolicy>;     ///< CreateFileW
using UniqueFindHandle = Unique<FindHandlePolicy>;     ///< FindFirstFileExW
using UniqueChangeHandle = Unique<ChangeHandlePolicy>; ///< FindFirstChangeNotificationW
using UniqueModule = Unique<ModulePolicy>;             ///< LoadLibraryW
using UniqueBstr = Unique<BstrPolicy>;                 ///< SysAllocString
template <class T>
using UniqueLocalMemory = Unique<LocalMemoryPolicy<T>>; ///< LocalAlloc, FormatMessageW
template <class T>
using UniqueTaskMemory = Unique<TaskMemoryPolicy<T>>; ///< CoTaskMemAlloc, shell item lists
template <class T>
using UniqueMalloc = Unique<MallocPolicy<T>>; ///< malloc, _wtempnam

/// A VARIANT that is cleared when it goes out of scope.
class Variant {
public:
    Variant() noexcept = default;
    ~Variant() {
        if (m_value.vt > VT_DATE) ::VariantClear(&m_value); // numbers own nothing
    }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;

    VARIANT* operator&() noexcept { return &m_value; } // NOLINT: the address is what every use wants
    VARIANT* operator->() noexcept { return &m_value; }
    const VARIANT* operator->() const noexcept { return &m_value; }
    VARIANT& Get() noexcept { return m_value; }
    const VARIANT& Get() const noexcept { return m_value; }

private:
    VARIANT m_value{}; ///< VT_EMPTY is 0
};

/// Holds a critical section that is entered for a scope.
class CriticalSectionLock {
public:
    explicit CriticalSectionLock(CRITICAL_SECTION& section) noexcept : m_section(section) {
        ::EnterCriticalSection(&m_section);
    }
    ~CriticalSectionLock() { ::LeaveCriticalSection(&m_section); }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

private:
    CRITICAL_SECTION& m_section;
};

} // namespace tarnu::support

#endif // TARNU_SUPPORT_OWNERS_H
