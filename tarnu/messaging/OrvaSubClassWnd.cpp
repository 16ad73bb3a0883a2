#include "tarnu/messaging/OrvaSubClassWnd.h"

#include "tarnu/support/SrwLock.h"
#include "tarnu/support/ThreadRule.h"

#include <cstddef>
#include <map>
#include <new>
#include <utility>

using tarnu::support::RequireThreadOf;
using tarnu::support::SrwExclusiveLock;
using tarnu::support::SrwSharedLock;

IMPLEMENT_DYNAMIC(OrvaSubClassWnd, CObject)

/// One call of an object's WindowProc that is under way on this thread. It knows where its message goes next, so that
/// an object that unhooks, moves to another window or dies while it handles the message does not lead it astray.
struct OrvaSubClassWnd::Delivery {
    /// @param threads  the innermost one of this thread: s_innermost, whose lookup costs as much as the rest
    Delivery(OrvaSubClassWnd* receiver, HWND hwnd, Delivery*& threads) noexcept
        : object(receiver)
        , window(hwnd)
        , next(receiver->m_next)
        , previous(receiver->m_previous)
        , innermost(threads)
        , outer(std::exchange(innermost, this))
        , objectsOuter(std::exchange(receiver->m_delivery, this)) {}
    ~Delivery() {
        innermost = outer;
        if (object != nullptr) object->m_delivery = objectsOuter;
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

    OrvaSubClassWnd* object; ///< null once the object was destroyed
    HWND window;
    OrvaSubClassWnd* next;
    WNDPROC previous; ///< null once the window was destroyed
    Delivery*& innermost;
    Delivery* outer;        ///< the thread's next one
    Delivery* objectsOuter; ///< the object's next one

    static thread_local Delivery* s_innermost;
};

thread_local OrvaSubClassWnd::Delivery* OrvaSubClassWnd::Delivery::s_innermost = nullptr;

/// The chains of all windows, and the window procedure that they share. The lock guards the map alone; a chain's links
/// belong to the thread of its window.
struct OrvaSubClassWnd::Chain {
    static OrvaSubClassWnd* Head(HWND window) noexcept;
    static WNDPROC RememberedProcedure(HWND window) noexcept;
    static bool Contains(HWND window, const OrvaSubClassWnd* object) noexcept;
    static bool Attach(HWND window, OrvaSubClassWnd* object) noexcept;
    static void Detach(OrvaSubClassWnd* object) noexcept;
    static void DetachAll(HWND window) noexcept;
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

private:
    /// What is known of one window.
    struct Entry {
        OrvaSubClassWnd* head = nullptr; ///< null when only the procedure is kept
        /// The window's own one, once a foreign subclasser may put the shared procedure back without a chain. Kept
        /// here, where there is room already: nothing may fail when the last subclasser unhooks.
        WNDPROC remembered = nullptr;
    };
    using Entries = std::map<HWND, Entry>;

    // Left to the end of the process on purpose: static destructors that run later still destroy subclassed windows.
    static Entries& AllEntries() noexcept {
        alignas(Entries) static std::byte storage[sizeof(Entries)];
        static Entries& entries = *::new (storage) Entries;
        return entries;
    }
    static void SetHead(HWND window, OrvaSubClassWnd* head) noexcept;
    static void Remember(HWND window, WNDPROC procedure) noexcept;
    static void Forget(HWND window) noexcept;

    static SRWLOCK s_lock;
};

SRWLOCK OrvaSubClassWnd::Chain::s_lock = SRWLOCK_INIT;

namespace {

WNDPROC ReplaceProcedure(HWND window, WNDPROC procedure) noexcept {
    return reinterpret_cast<WNDPROC>(::SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure)));
}

WNDPROC CurrentProcedure(HWND window) noexcept {
    return reinterpret_cast<WNDPROC>(::GetWindowLongPtrW(window, GWLP_WNDPROC));
}

// The procedures of ANSI windows are tokens that only CallWindowProcW can call; null it answers with 0.
LRESULT CallProcedure(WNDPROC procedure, HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return procedure != nullptr ? ::CallWindowProcW(procedure, window, message, wParam, lParam)
                                : ::DefWindowProcW(window, message, wParam, lParam);
}

/// Makes a message the framework's last sent one for a scope.
class LastSentMessage {
public:
    LastSentMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
        : m_current(AfxGetThreadState()->m_lastSentMsg), m_saved(m_current) {
        m_current.hwnd = window;
        m_current.message = message;
        m_current.wParam = wParam;
        m_current.lParam = lParam;
    }
    ~LastSentMessage() { m_current = m_saved; }
    LastSentMessage(const LastSentMessage&) = delete;
    LastSentMessage& operator=(const LastSentMessage&) = delete;

private:
    MSG& m_current;
    const MSG m_saved;
};

} // namespace

OrvaSubClassWnd* OrvaSubClassWnd::Chain::Head(HWND window) noexcept {
    const SrwSharedLock lock(s_lock);
    const Entries& entries = AllEntries();
    const auto found = entries.find(window);
    return found != entries.end() ? found->second.head : nullptr;
}

WNDPROC OrvaSubClassWnd::Chain::RememberedProcedure(HWND window) noexcept {
    const SrwSharedLock lock(s_lock);
    const Entries& entries = AllEntries();
    const auto found = entries.find(window);
    return found != entries.end() ? found->second.remembered : nullptr;
}

bool OrvaSubClassWnd::Chain::Contains(HWND window, const OrvaSubClassWnd* object) noexcept {
    const OrvaSubClassWnd* element = Head(window);
    while (element != nullptr && element != object)
        element = element->m_next;
    return element != nullptr;
}

/// Changes the head of a window that has an entry; null ends the chain.
void OrvaSubClassWnd::Chain::SetHead(HWND window, OrvaSubClassWnd* head) noexcept {
    const SrwExclusiveLock lock(s_lock);
    const auto found = AllEntries().find(window);
    found->second.head = head;
    if (head == nullptr && found->second.remembered == nullptr) AllEntries().erase(found);
}

/// Keeps the own procedure of a window that has an entry until the window is destroyed.
void OrvaSubClassWnd::Chain::Remember(HWND window, WNDPROC procedure) noexcept {
    const SrwExclusiveLock lock(s_lock);
    // The end of a window without a chain is not seen here.
    std::erase_if(AllEntries(), [](const auto& entry) { return !entry.second.head && !::IsWindow(entry.first); });
    AllEntries().find(window)->second.remembered = procedure;
}

void OrvaSubClassWnd::Chain::Forget(HWND window) noexcept {
    const SrwExclusiveLock lock(s_lock);
    AllEntries().erase(window);
}

bool OrvaSubClassWnd::Chain::Attach(HWND window, OrvaSubClassWnd* object) noexcept {
    OrvaSubClassWnd* oldHead = nullptr;
    try {
        const SrwExclusiveLock lock(s_lock);
        oldHead = std::exchange(AllEntries()[window].head, object);
    } catch (const std::bad_alloc&) {
        return false;
    }
    object->m_next = oldHead;
    if (oldHead != nullptr) {
        object->m_previous = oldHead->m_previous;
        return true;
    }
    WNDPROC replaced = ReplaceProcedure(window, &Procedure);
    if (replaced == nullptr) {
        SetHead(window, nullptr);
        return false;
    }
    // A foreign subclasser may have put the shared procedure back: the window's own one was remembered then.
    object->m_previous = replaced == &Procedure ? RememberedProcedure(window) : replaced;
    return true;
}

void OrvaSubClassWnd::Chain::Detach(OrvaSubClassWnd* object) noexcept {
    const HWND window = object->m_hWnd;
    if (!Contains(window, object)) return;
    RequireThreadOf(window);
    for (Delivery* delivery = Delivery::s_innermost; delivery != nullptr; delivery = delivery->outer) {
        if (delivery->next == object) delivery->next = object->m_next;
    }
    OrvaSubClassWnd* const next = std::exchange(object->m_next, nullptr);
    OrvaSubClassWnd* element = Head(window);
    if (element != object) {
        while (element->m_next != object)
            element = element->m_next;
        element->m_next = next;
    } else {
        if (next == nullptr && object->m_previous != nullptr && ::IsWindow(window)) {
            // Hosts rely on getting back the procedure from before the first subclasser, also when a foreign one
            // hooked on top meanwhile: it is cut off.
            // Where the shared procedure may come back, or stays because it can't be replaced, it has to find the
            // window's own one.
            const bool isForeign = CurrentProcedure(window) != &Procedure;
            const bool isRestored = ReplaceProcedure(window, object->m_previous) != nullptr;
            if (isForeign || !isRestored) Remember(window, object->m_previous);
        }
        SetHead(window, next);
    }
}

void OrvaSubClassWnd::Chain::DetachAll(HWND window) noexcept {
    while (OrvaSubClassWnd* const head = Head(window)) {
        Detach(head);
        head->m_previous = nullptr;
        head->m_hWnd = nullptr;
    }
    for (Delivery* delivery = Delivery::s_innermost; delivery != nullptr; delivery = delivery->outer) {
        if (delivery->window == window) delivery->previous = nullptr;
    }
    Forget(window);
}

LRESULT CALLBACK OrvaSubClassWnd::Chain::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    const LastSentMessage lastSentMessage(window, message, wParam, lParam);
    OrvaSubClassWnd* const head = Head(window);
    if (message == WM_NCDESTROY) {
        WNDPROC previous = head != nullptr ? head->m_previous : RememberedProcedure(window);
        DetachAll(window);
        const LRESULT result = CallProcedure(previous, window, message, wParam, lParam);
        // Whoever hooked a window that is past its last message would keep an entry for a handle that is reused.
        DetachAll(window);
        return result;
    }
    if (head == nullptr) return CallProcedure(RememberedProcedure(window), window, message, wParam, lParam);
    Delivery delivery(head, window, Delivery::s_innermost); // not constant: detaching updates it
    return head->WindowProc(message, wParam, lParam);
}

OrvaSubClassWnd::~OrvaSubClassWnd() {
    UnSubClass();
    for (Delivery* delivery = Delivery::s_innermost; delivery != nullptr; delivery = delivery->outer) {
        if (delivery->object == this) delivery->object = nullptr;
    }
}

BOOL OrvaSubClassWnd::SubClass(HWND window) noexcept {
    if (window == nullptr) {
        UnSubClass();
        return FALSE;
    }
    RequireThreadOf(window);
    if (window == m_hWnd && Chain::Head(window) == this) return TRUE;
    UnSubClass();
    const bool isHooked = ::IsWindow(window) && Chain::Attach(window, this);
    m_hWnd = window;
    return isHooked;
}

BOOL OrvaSubClassWnd::SubClass(CWnd* window) noexcept {
    return SubClass(window != nullptr ? window->GetSafeHwnd() : static_cast<HWND>(nullptr));
}

void OrvaSubClassWnd::UnSubClass() noexcept {
    if (m_hWnd == nullptr) return;
    Chain::Detach(this);
    m_previous = nullptr;
    m_hWnd = nullptr;
}

LRESULT OrvaSubClassWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    const Delivery* const current = m_delivery; // null when called from outside
    const HWND window = current != nullptr ? current->window : m_hWnd;
    OrvaSubClassWnd* const next = current != nullptr ? current->next : m_next;
    if (next == nullptr) {
        return CallProcedure(current != nullptr ? current->previous : m_previous, window, message, wParam, lParam);
    }
    Delivery delivery(next, window, current != nullptr ? current->innermost : Delivery::s_innermost);
    return next->WindowProc(message, wParam, lParam);
}

LRESULT OrvaSubClassWnd::Default() {
    const MSG current = AfxGetThreadState()->m_lastSentMsg;
    // From within the override, the override again would never end.
    if (m_delivery != nullptr) {
        return OrvaSubClassWnd::WindowProc(current.message, current.wParam, current.lParam);
    }
    return WindowProc(current.message, current.wParam, current.lParam);
}
