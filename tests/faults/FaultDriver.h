/// @file
/// Runs a scenario once for every call that it makes to the system, with that call failing.
#ifndef TARNU_TESTS_FAULTS_FAULTDRIVER_H
#define TARNU_TESTS_FAULTS_FAULTDRIVER_H

#include "faults/FaultSeam.h"
#include "support/TempFolder.h"

#include <functional>
#include <string>
#include <string_view>

namespace tarnu::test::faults {

/// One run of a scenario, in a folder of its own, in which at most one planned fault happens.
class Trial {
public:
    Trial(const Trial&) = delete;
    Trial& operator=(const Trial&) = delete;

    /// Path of an entry below the trial's own folder, which is fresh and empty.
    std::wstring operator/(std::wstring_view relative) const { return Folder() + L'\\' + std::wstring(relative); }
    const std::wstring& Folder() const;
    std::wstring MakeFile(std::wstring_view relative, std::string_view contents = {}) const;
    std::wstring MakeFolder(std::wstring_view relative) const;

    /// Calls the operation under test: within it, system calls count and the planned one fails.
    template <class Operation>
    auto Operate(Operation operation) {
        const Armed armed(*this);
        return operation();
    }
    /// The same for an operation whose contract lets memory failures out.
    /// @return false when it threw for lack of memory
    template <class Operation>
    bool Throws(Operation operation) {
        try {
            const Armed armed(*this);
            operation();
            return false;
        } catch (const std::bad_alloc&) {
            return true;
        }
    }

    /// A planned call has failed.
    bool HasFault() const { return FaultSeam::HasFailed(); }
    /// What failed is this import (or a memory allocation, for "memory").
    bool IsFault(std::string_view import) const;
    /// The operation must say that it failed exactly if something has gone wrong that it can't make up for: it may
    /// succeed in spite of a fault, but must not fail without one.
    void ExpectSuccessUnlessFault(bool succeeded) const;
    /// The last error after the operation, which failed, tells a reason.
    void ExpectReason() const;
    DWORD LastError() const { return m_lastError; }

private:
    friend class Driver;
    class Armed {
    public:
        explicit Armed(Trial& trial) : m_trial(trial) {
            ::SetLastError(noError);
            FaultSeam::Arm();
        }
        ~Armed() {
            m_trial.m_lastError = ::GetLastError();
            FaultSeam::Disarm();
        }
        Armed(const Armed&) = delete;
        Armed& operator=(const Armed&) = delete;

    private:
        Trial& m_trial;
    };

    Trial(std::wstring folder, const Plan& plan) : m_folder(std::move(folder)), m_plan(plan) {}

    std::wstring m_folder;
    mutable bool m_isMade = false; // folders cost more than most operations
    const Plan& m_plan;
    DWORD m_lastError = 0;
};

/// How much of a scenario is tried.
struct Depth {
    unsigned calls = 3;        ///< of each import: the first ones; the last one is always tried too
    unsigned inARow = ~0u;     ///< failures of a lasting fault: few for operations that rightly try on; 0 for none
    unsigned allocations = 16; ///< the first ones; further ones at growing distances
    bool countsHeap = false;   ///< also counts the blocks of the process heap, where other modules keep theirs
};

/// Runs the scenario without a fault, then once for each call: failing alone, and failing from there on. After every
/// run nothing may be left of it: no memory, handle, window or temporary file. The scenario checks the rest: the result
/// that the contract names, the state of files, and that the operation works when it is repeated.
void Inject(const std::function<void(Trial&)>& scenario, Depth depth = {});

/// Starts a thread where one may just have been ended before it ran, for want of being resumed. Under Wine 8.0 the next
/// one can fail then, but not the one after: what the ended thread still sends to the server counts as its error.
/// @param start says whether it succeeded
template <class Start>
bool StartsThread(Start start) {
    return start() || start();
}

} // namespace tarnu::test::faults

#endif // TARNU_TESTS_FAULTS_FAULTDRIVER_H
