/// @file
/// The seam between the library and the system: while it is in place, every covered import of the library arrives at a
/// replacement that counts the calls, fails the ones that a plan names, and keeps book of what was handed out.
///
/// The library knows nothing of it. The seam exchanges the pointers of the loaded module's import address table, so the
/// module under test is the very one that is delivered. operator new and malloc are imports like any other.
#ifndef TARNU_TESTS_FAULTS_FAULTSEAM_H
#define TARNU_TESTS_FAULTS_FAULTSEAM_H

#include "support/ModuleImports.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace tarnu::test::faults {

/// Last error that a covered call leaves when it succeeds, to prove that nobody reads it then.
inline constexpr DWORD bogusError = 59'998;
/// Last error before an operation, to see whether the operation sets one.
inline constexpr DWORD noError = 59'999;

/// Kinds of what the system hands out and wants back. Kernel handles are counted by the system itself.
enum class Resource { Memory, BasicString, TaskMemory, LocalMemory, HeapBlock, FindHandle, Window, WindowClass };
inline constexpr std::size_t resourceKinds = 8;

/// What a call tells besides its result when it fails.
enum class Report {
    LastError, ///< the thread's last error
    Errno,     ///< the C runtime's error number
    Result,    ///< nothing: the result is the error
    Throw      ///< it throws std::bad_alloc
};

/// One covered import of the library.
struct SystemCall {
    const char* name = nullptr;
    DWORD error = 0; ///< the typical one, as Report says
    bool allocates = false;
    ULONGLONG replacement = 0;
    ULONGLONG original = 0;            ///< 0 while the library does not import it
    std::atomic<unsigned> calls{0};    ///< while the seam was armed, since the last reset
    std::atomic<unsigned> failures{0}; ///< made to fail, in the whole run
};

/// Which calls fail: those from the first to the last, counted from 1, of one import, of all allocations together, or
/// of both.
struct Plan {
    const SystemCall* call = nullptr;
    bool allocations = false;
    unsigned first = 0;
    unsigned last = 0;
    bool poisons = false; ///< calls that succeed leave bogusError
};

/// All covered imports.
std::vector<SystemCall*>& CoveredCalls();
/// Counts of what is handed out now, by kind.
using Balance = std::vector<long long>;

/// Puts the replacements in place for a scope. One at a time.
class FaultSeam {
public:
    FaultSeam();
    ~FaultSeam();
    FaultSeam(const FaultSeam&) = delete;
    FaultSeam& operator=(const FaultSeam&) = delete;

    /// Sets the plan and the counters back. Not while armed.
    static void Prepare(const Plan& plan);
    /// From here on calls count and may fail, on every thread.
    static void Arm();
    static void Disarm();
    /// Whether a call has failed as planned since Prepare.
    static bool HasFailed();
    /// Allocations while armed since Prepare.
    static unsigned Allocations();

    static Balance Outstanding();
    /// What is handed out and was not before @p since (see Stamp), one line each with the call and the offsets in the
    /// library that asked for it.
    static std::string Describe(unsigned long long since);
    /// A number that grows with everything that is handed out.
    static unsigned long long Stamp();

private:
    struct Exchanged {
        ULONGLONG* entry;
        ULONGLONG original;
    };
    std::vector<Exchanged> m_exchanged;
};

/// Counts a call; true when it is to fail.
bool Enter(SystemCall& call) noexcept;
/// Leaves the bogus last error after a success, if the plan asks for it.
void Poison() noexcept;
void Acquire(Resource kind, const void* value, const SystemCall& call) noexcept;
void Release(Resource kind, const void* value) noexcept;

/// A text as a template argument.
template <std::size_t Size>
struct Name {
    char text[Size];
    consteval Name(const char (&name)[Size]) { std::copy_n(name, Size, text); }
};

/// How one import fails.
template <class Result>
struct Failure {
    Result result;
    DWORD error;
    Report report = Report::LastError;
    bool performs = false; ///< the call does its work and then says that it failed
};

/// The replacement of one import.
template <Name name, class Signature>
class Hook;

template <Name name, class Result, class... Arguments>
class Hook<name, Result(Arguments...)> {
public:
    using Before = void (*)(Arguments...);
    using After = void (*)(const SystemCall&, Result, Arguments...);

    /// @param before called in front of every call, to take a resource off the books
    /// @param after  called after every success, to put one on
    /// @param undo   called after a planned failure, to take back what @p before did
    static SystemCall* Cover(Failure<Result> failure, After after = nullptr, Before before = nullptr,
                             After undo = nullptr) {
        s_failure = failure;
        s_after = after;
        s_before = before;
        s_undo = undo;
        s_call.name = name.text;
        s_call.error = failure.error;
        s_call.replacement = reinterpret_cast<ULONGLONG>(&Call);
        return &s_call;
    }

private:
    static Result Call(Arguments... arguments) {
        if (s_before != nullptr) s_before(arguments...);
        const bool fails = Enter(s_call);
        if (fails && !s_failure.performs) {
            if (s_undo != nullptr) s_undo(s_call, s_failure.result, arguments...);
            return Fail();
        }
        const Result result = reinterpret_cast<Result (*)(Arguments...)>(s_call.original)(arguments...);
        if (fails) return Fail();
        if (result != s_failure.result) {
            if (s_after != nullptr) s_after(s_call, result, arguments...);
            Poison();
        }
        return result;
    }
    static Result Fail() {
        if (s_failure.report == Report::LastError) ::SetLastError(s_failure.error);
        if (s_failure.report == Report::Errno) errno = static_cast<int>(s_failure.error);
        if (s_failure.report == Report::Throw) throw std::bad_alloc();
        return s_failure.result;
    }

    static inline SystemCall s_call;
    static inline Failure<Result> s_failure;
    static inline After s_after = nullptr;
    static inline Before s_before = nullptr;
    static inline After s_undo = nullptr;
};

/// The replacement of an import that has no result and can't fail: only what it takes back matters.
template <Name name, class... Arguments>
class Hook<name, void(Arguments...)> {
public:
    static SystemCall* Cover(void (*before)(Arguments...)) {
        s_before = before;
        s_call.name = name.text;
        s_call.replacement = reinterpret_cast<ULONGLONG>(&Call);
        return &s_call;
    }

private:
    static void Call(Arguments... arguments) {
        s_before(arguments...);
        reinterpret_cast<void (*)(Arguments...)>(s_call.original)(arguments...);
    }

    static inline SystemCall s_call;
    static inline void (*s_before)(Arguments...) = nullptr;
};

template <Name name, class Result, class... Arguments>
class Hook<name, Result(Arguments...) noexcept> : public Hook<name, Result(Arguments...)> {};

/// Why an import is not covered.
struct Excuse {
    const char* reason;
    const char* names; ///< separated by spaces; one that ends in '*' stands for all that begin so
};
const std::vector<Excuse>& Excuses();
/// Why a covered import fails in no scenario.
const std::vector<Excuse>& Unreached();
/// The reason in a list; null when there is none.
const char* ReasonFor(std::string_view name, const std::vector<Excuse>& excuses);

} // namespace tarnu::test::faults

#endif // TARNU_TESTS_FAULTS_FAULTSEAM_H
