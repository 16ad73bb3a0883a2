#include "faults/FaultDriver.h"

#include "support/CrashName.h"
#include "support/HandleCount.h"
#include "support/Text.h"
#include "tarnu/support/Owners.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <sstream>

namespace tarnu::test::faults {
namespace {

/// What the run adds up to, for the summary.
struct Totals {
    unsigned scenarios = 0;
    unsigned long long runs = 0;
    unsigned long long faults = 0;
};
Totals totals;

/// When the run at hand began; 0 between runs.
std::atomic<ULONGLONG> runStarted{0};

/// Names a run that hangs, and ends the program.
DWORD WINAPI WatchRuns(void*) {
    constexpr ULONGLONG limitMilliseconds = 120'000;
    for (;;) {
        ::Sleep(500);
        const ULONGLONG started = runStarted;
        if (started == 0 || ::GetTickCount64() - started < limitMilliseconds) continue;
        std::fprintf(stderr, "hangs: %s\n", InputName());
        std::fflush(stderr);
        ::TerminateProcess(::GetCurrentProcess(), 4);
    }
}

/// Blocks that are in use in the process heap.
unsigned long long CountHeapBlocks() {
    unsigned long long count = 0;
    PROCESS_HEAP_ENTRY entry{};
    ::HeapLock(::GetProcessHeap());
    while (::HeapWalk(::GetProcessHeap(), &entry))
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) ++count;
    ::HeapUnlock(::GetProcessHeap());
    return count;
}

/// Everything that must be the same before and after a run.
struct State {
    explicit State(bool countsHeap) : heapBlocks(countsHeap ? CountHeapBlocks() : 0) {}

    unsigned long long heapBlocks;
    unsigned handles = CountHandles(/*mostClosed=*/100); // of the 4000 runs, none opens as many at once
    Balance outstanding = FaultSeam::Outstanding();

    bool HasGrownSince(const State& before) const {
        if (handles > before.handles || heapBlocks > before.heapBlocks) return true;
        for (std::size_t kind = 0; kind < resourceKinds; ++kind) {
            if (outstanding[kind] > before.outstanding[kind]) return true;
        }
        return false;
    }
    std::string GrowthSince(const State& before) const {
        static constexpr const char* names[resourceKinds] = {
            "memory", "BSTR", "task memory", "local memory", "heap blocks", "find handle", "window", "window class"};
        std::ostringstream text;
        text << "kernel handles " << before.handles << " -> " << handles << ", blocks of the process heap "
             << before.heapBlocks << " -> " << heapBlocks;
        for (std::size_t kind = 0; kind < resourceKinds; ++kind) {
            if (outstanding[kind] == before.outstanding[kind]) continue;
            text << ", " << names[kind] << ' ' << before.outstanding[kind] << " -> " << outstanding[kind];
        }
        return text.str();
    }
};

/// Names of the files below a folder that no operation may leave behind.
void FindTemporaries(const std::wstring& folder, std::set<std::wstring>& found) {
    WIN32_FIND_DATAW data;
    const support::UniqueFindHandle find(::FindFirstFileW((folder + L"\\*").c_str(), &data));
    if (!find) return;
    do {
        const std::wstring name = data.cFileName;
        if (name == L"." || name == L"..") continue;
        if (name.front() == L'~' || name.ends_with(L".tmp")) found.insert(folder + L'\\' + name);
        const bool isFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (isFolder && (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
            FindTemporaries(folder + L'\\' + name, found);
        }
    } while (::FindNextFileW(find.Get(), &data));
}

/// Entries of the system's temporary folder that are not the tests' own.
std::set<std::wstring> SystemTemporaries() {
    wchar_t path[MAX_PATH + 1] = {};
    ::GetTempPathW(MAX_PATH + 1, path);
    std::set<std::wstring> names;
    WIN32_FIND_DATAW data;
    const support::UniqueFindHandle find(::FindFirstFileW((std::wstring(path) + L"*").c_str(), &data));
    if (!find) return names;
    do {
        if (!std::wstring(data.cFileName).starts_with(L"tarnu")) names.insert(data.cFileName);
    } while (::FindNextFileW(find.Get(), &data));
    return names;
}

/// Prints the figures of the run, and requires of a whole run that every import it covers was made to fail.
class Summary : public ::testing::Environment {
    void SetUp() override {
        const support::UniqueHandle watch(::CreateThread(nullptr, 0, WatchRuns, nullptr, 0, nullptr));
    }
    void TearDown() override {
        if (totals.scenarios == 0) return;
        unsigned covered = 0;
        unsigned reached = 0;
        std::string idle;
        for (const ModuleImport& import : ImportsOf(::GetModuleHandleW(L"TarnuWin32Utils.dll"))) {
            for (const SystemCall* call : CoveredCalls()) {
                if (std::string_view(call->name) != import.name || call->error == 0) continue;
                ++covered;
                if (call->failures != 0) {
                    ++reached;
                } else if (ReasonFor(call->name, Unreached()) == nullptr) {
                    idle += std::string(" ") + call->name;
                }
            }
        }
        std::printf("%u of %u imports made to fail in %u scenarios: %llu runs, %llu with a fault\n", reached, covered,
                    totals.scenarios, totals.runs, totals.faults);
        if (GTEST_FLAG_GET(filter) == "*") {
            EXPECT_EQ(idle, "") << "covered, but no scenario makes them fail";
        }
    }
};
[[maybe_unused]] const ::testing::Environment* const summary = ::testing::AddGlobalTestEnvironment(new Summary);

} // namespace

/// Plans the runs of one scenario and judges what each leaves behind.
class Driver {
public:
    Driver(const std::function<void(Trial&)>& scenario, Depth depth) : m_scenario(scenario), m_depth(depth) {}

    void Run() {
        ++totals.scenarios;
        const std::set<std::wstring> temporaries = SystemTemporaries();
        const FaultSeam seam;
        Check("without a fault, first", Plan{});
        Check("without a fault, second", Plan{}); // the first one may fill what lives as long as the process
        std::vector<Count> counts;
        for (SystemCall* call : CoveredCalls()) {
            if (call->calls != 0 && call->error != 0 && !call->allocates) counts.push_back({call, call->calls});
        }
        const unsigned allocations = FaultSeam::Allocations();
        Check("with a bogus last error", Plan{nullptr, false, 0, 0, /*poisons=*/true});
        for (const auto& [call, count] : counts) {
            Plan plan{call, false, 0, 0, /*poisons=*/true};
            TryEach(plan, call->name, count, m_depth.calls);
        }
        Plan plan{nullptr, /*allocations=*/true, 0, 0, /*poisons=*/true};
        TryEach(plan, "memory", allocations, m_depth.allocations);
        EXPECT_EQ(temporaries, SystemTemporaries());
    }

private:
    struct Count {
        SystemCall* call;
        unsigned count;
    };

    bool IsHopeless() const { return ::testing::Test::HasFatalFailure() || m_failures >= 5; }

    void TryEach(Plan& plan, const char* name, unsigned count, unsigned first) {
        unsigned step = 1;
        for (unsigned number = 1; number <= count && !IsHopeless(); number += step) {
            if (number > first) step = std::max(1u, (count - number) / 8);
            TryOne(plan, name, number, count);
            if (number < count && number + step > count) number = count - step; // the last one, too
        }
        Check(std::string("without a fault, after ") + name, Plan{});
    }

    void TryOne(Plan& plan, const char* name, unsigned number, unsigned count) {
        plan.first = number;
        plan.last = number;
        Check(std::string(name) + " fails in call " + std::to_string(number) + " of " + std::to_string(count), plan);
        if (m_depth.inARow == 0 || (number > 2 && number % 8 != 0)) return;
        plan.last = m_depth.inARow < ~0u - number ? number + m_depth.inARow : ~0u;
        Check(std::string(name) + " fails from call " + std::to_string(number) + " on", plan);
    }

    /// One run, and what it leaves. A process may keep something once, for later; what grows every time is lost.
    void Check(const std::string& description, const Plan& plan) {
        if (IsHopeless()) return;
        const testing::ScopedTrace trace(__FILE__, __LINE__, description);
        State before = m_state ? *m_state : State(m_depth.countsHeap);
        unsigned long long stamp = FaultSeam::Stamp();
        RunOnce(description, plan);
        m_state = State(m_depth.countsHeap);
        for (int repeats = 0; repeats < 2 && m_state->HasGrownSince(before); ++repeats) {
            before = *m_state;
            stamp = FaultSeam::Stamp();
            RunOnce(description + ", repeated", plan);
            m_state = State(m_depth.countsHeap);
            if (repeats == 1 && m_state->HasGrownSince(before)) {
                ADD_FAILURE() << "lost: " << m_state->GrowthSince(before) << '\n' << FaultSeam::Describe(stamp);
            }
        }
        if (CountFailures() > m_counted) {
            m_counted = CountFailures();
            ++m_failures;
        }
    }

    static int CountFailures() {
        return ::testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
    }

    void RunOnce(const std::string& description, const Plan& plan) {
        const std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name() + (": " + description);
        NameInput("%s", name.c_str());
        ++totals.runs;
        runStarted = ::GetTickCount64();
        const std::wstring folder = m_folder / std::to_wstring(++m_serial);
        FaultSeam::Prepare(plan);
        {
            Trial trial(folder, plan);
            try {
                m_scenario(trial);
            } catch (const std::exception& error) {
                ADD_FAILURE() << "an exception came out: " << error.what();
            } catch (CException* error) {
                error->Delete();
                ADD_FAILURE() << "an exception of the framework came out";
            }
        }
        runStarted = 0;
        if (FaultSeam::HasFailed()) ++totals.faults;
        if (!Exists(folder)) return;
        std::set<std::wstring> temporaries;
        FindTemporaries(folder, temporaries);
        for (const std::wstring& temporary : temporaries)
            ADD_FAILURE() << "left behind: " << Narrow(temporary);
        RemoveTree(folder);
    }

    const std::function<void(Trial&)>& m_scenario;
    Depth m_depth;
    TempFolder m_folder;
    unsigned m_serial = 0;
    std::optional<State> m_state; ///< what the last run left
    int m_counted = 0;
    int m_failures = 0;
};

const std::wstring& Trial::Folder() const {
    if (!m_isMade) ::CreateDirectoryW(m_folder.c_str(), nullptr);
    m_isMade = true;
    return m_folder;
}

std::wstring Trial::MakeFile(std::wstring_view relative, std::string_view contents) const {
    const std::wstring path = *this / relative;
    if (const auto separator = relative.rfind(L'\\'); separator != std::wstring_view::npos) {
        MakeFolder(relative.substr(0, separator));
    }
    WriteFile(path, contents);
    return path;
}

std::wstring Trial::MakeFolder(std::wstring_view relative) const {
    for (std::size_t end = relative.find(L'\\'); end != std::wstring_view::npos; end = relative.find(L'\\', end + 1)) {
        ::CreateDirectoryW((*this / relative.substr(0, end)).c_str(), nullptr);
    }
    ::CreateDirectoryW((*this / relative).c_str(), nullptr);
    return *this / relative;
}

bool Trial::IsFault(std::string_view import) const {
    if (!FaultSeam::HasFailed()) return false;
    return m_plan.allocations ? import == "memory" : import == m_plan.call->name;
}

void Trial::ExpectSuccessUnlessFault(bool succeeded) const {
    EXPECT_TRUE(succeeded || HasFault()) << "failed without a fault; last error " << m_lastError;
}

void Trial::ExpectReason() const {
    EXPECT_NE(m_lastError, DWORD{ERROR_SUCCESS}) << "no reason";
    EXPECT_NE(m_lastError, noError) << "no reason was set";
    EXPECT_NE(m_lastError, bogusError) << "the reason is what a later success left";
}

void Inject(const std::function<void(Trial&)>& scenario, Depth depth) {
    Driver(scenario, depth).Run();
}

} // namespace tarnu::test::faults
