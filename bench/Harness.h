/// @file
/// The harness of the benchmarks: the variants of a case take turns in one process, on one core, and do the same work.
#ifndef TARNU_BENCH_HARNESS_H
#define TARNU_BENCH_HARNESS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <list>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>
#include <windows.h>

// psapi.h needs the types of windows.h.
#include <psapi.h>

namespace tarnu::bench {

/// The measured work. It returns what it amounts to (a count, a checksum): all variants of a case must agree on it, so
/// that none is compared for work that it did not do.
using Work = std::function<std::uint64_t()>;

/// What happens before each measured turn and is not measured itself.
using Preparation = std::function<void()>;

/// Seconds of a clock that only goes forward.
inline double Now() {
    LARGE_INTEGER ticks{}, frequency{};
    ::QueryPerformanceCounter(&ticks);
    ::QueryPerformanceFrequency(&frequency);
    return static_cast<double>(ticks.QuadPart) / static_cast<double>(frequency.QuadPart);
}

/// One comparison: a limit, the library, and its peers at the same work.
class Case {
public:
    /// @param unit what the times are shown per, in the singular ("block", "file")
    /// @param count units of one turn
    Case(std::string name, std::string unit, std::uint64_t count)
        : m_name(std::move(name)), m_unit(std::move(unit)), m_count(count) {}

    /// The physical limit: what no solution can be expected to beat. Each case has one.
    Case& Limit(std::string name, Work work, Preparation prepare = {}) {
        return Add("limit", std::move(name), std::move(work), std::move(prepare));
    }
    /// This library.
    Case& Library(std::string name, Work work, Preparation prepare = {}) {
        return Add("library", std::move(name), std::move(work), std::move(prepare));
    }
    /// What a user would pick instead.
    Case& Peer(std::string name, Work work, Preparation prepare = {}) {
        return Add("peer", std::move(name), std::move(work), std::move(prepare));
    }
    /// The ratio of the library to the limit that is aimed at.
    Case& Goal(double ratio) {
        m_goal = ratio;
        return *this;
    }
    /// Turns of each variant, 11 unless set.
    /// @param isWarm one more turn comes before them and is not counted; works on thousands of files go without it,
    ///               for it would take too long
    Case& Rounds(int rounds, bool isWarm = true) {
        m_rounds = rounds;
        m_isWarm = isWarm;
        return *this;
    }

private:
    friend class Subject;

    struct Variant {
        std::string role, name;
        Work work;
        Preparation prepare;
        std::vector<double> seconds;
    };

    Case& Add(std::string role, std::string name, Work work, Preparation prepare) {
        m_variants.push_back({std::move(role), std::move(name), std::move(work), std::move(prepare), {}});
        return *this;
    }

    /// False when a variant's work amounts to something else than the first one's.
    bool Run() {
        std::uint64_t agreed = 0;
        const int firstRound = m_isWarm ? 0 : 1;
        for (int round = firstRound; round <= m_rounds; ++round) {
            for (std::size_t turn = 0; turn < m_variants.size(); ++turn) {
                // Each round starts with another variant, so that none always follows the same one.
                Variant& variant = m_variants[(turn + static_cast<std::size_t>(round)) % m_variants.size()];
                if (variant.prepare) variant.prepare();
                const double start = Now();
                const std::uint64_t result = variant.work();
                const double seconds = Now() - start;
                if (round > 0) variant.seconds.push_back(seconds);
                if (round == firstRound && turn == 0) agreed = result;
                if (result == agreed) continue;
                std::fprintf(stderr, "%s: %s comes to %llu, %s to %llu\n", m_name.c_str(), variant.name.c_str(),
                             static_cast<unsigned long long>(result), m_variants[0].name.c_str(),
                             static_cast<unsigned long long>(agreed));
                return false;
            }
        }
        return true;
    }

    void Print() const {
        std::printf("{\"name\": \"%s\", \"unit\": \"%s\", \"count\": %llu, \"goal\": %g, \"variants\": [",
                    m_name.c_str(), m_unit.c_str(), static_cast<unsigned long long>(m_count), m_goal);
        const char* separator = "\n  ";
        for (const Variant& variant : m_variants) {
            std::printf("%s{\"role\": \"%s\", \"name\": \"%s\", \"seconds\": [", separator, variant.role.c_str(),
                        variant.name.c_str());
            for (std::size_t index = 0; index < variant.seconds.size(); ++index)
                std::printf("%s%.9g", index > 0 ? ", " : "", variant.seconds[index]);
            std::printf("]}");
            separator = ",\n  ";
        }
        std::printf("]}");
    }

    std::string m_name, m_unit;
    std::uint64_t m_count;
    double m_goal = 0;
    int m_rounds = 11;
    bool m_isWarm = true;
    std::vector<Variant> m_variants;
};

/// All cases of one program. The names are plain ASCII without quotes and backslashes.
///
///     int main() {
///         tarnu::bench::Subject subject("Sorting of numbers");
///         subject.AddCase("1M numbers", "number", 1'000'000)
///             .Limit("radix sort", [&] { return RadixSort(numbers); }, [&] { numbers = shuffled; })
///             .Library("OrvaSort", [&] { return OrvaSort(numbers); }, [&] { numbers = shuffled; })
///             .Goal(1.2);
///         return subject.Run();
///     }
class Subject {
public:
    explicit Subject(std::string title) : m_title(std::move(title)) {}

    Case& AddCase(std::string name, std::string unit, std::uint64_t count) {
        return m_cases.emplace_back(std::move(name), std::move(unit), count);
    }

    /// How the library's cost grows: the work at 1, 10 and 100 times @p size, each the best of three.
    /// @param make prepares the work for a size, in the same unit; the memory that the work adds is measured too
    void AddGrowth(std::string name, std::string unit, std::uint64_t size, std::function<Work(std::uint64_t)> make) {
        m_growths.push_back({std::move(name), std::move(unit), size, std::move(make)});
    }

    /// Measures everything, prints the samples as JSON, and returns the program's exit code.
    int Run() {
        PinToOneCore();
        std::printf("{\"title\": \"%s\", \"growth\": [", m_title.c_str());
        const char* separator = "\n ";
        for (const Growth& growth : m_growths) { // first: the memory of the cases must not stand in for theirs
            std::fprintf(stderr, "growth of %s ...\n", growth.name.c_str());
            std::printf("%s", separator);
            Grow(growth);
            separator = ",\n ";
        }
        std::printf("],\n \"cases\": [");
        separator = "\n ";
        bool same = true;
        for (Case& subject : m_cases) {
            std::fprintf(stderr, "%s ...\n", subject.m_name.c_str());
            same = subject.Run() && same;
            std::printf("%s", separator);
            subject.Print();
            separator = ",\n ";
        }
        std::printf("]}\n");
        return same ? 0 : 1;
    }

private:
    struct Growth {
        std::string name, unit;
        std::uint64_t size;
        std::function<Work(std::uint64_t)> make;
    };

    /// The cores that the process may use, a bit each.
    static DWORD_PTR Cores() {
        DWORD_PTR allowed = 0, system = 0;
        return ::GetProcessAffinityMask(::GetCurrentProcess(), &allowed, &system) ? allowed : 0;
    }

    /// To the last core: the first ones serve most interrupts.
    static void PinToOneCore() {
        DWORD_PTR core = Cores();
        if (core == 0) return;
        while ((core & (core - 1)) != 0)
            core &= core - 1;
        ::SetThreadAffinityMask(::GetCurrentThread(), core);
    }

    static SIZE_T WorkingSet() {
        PROCESS_MEMORY_COUNTERS counters{};
        counters.cb = sizeof counters;
        ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters);
        return counters.WorkingSetSize;
    }

    /// What the work adds to the working set at its highest, as another thread sees it.
    static SIZE_T MeasureMemory(const Work& work) {
        const SIZE_T before = WorkingSet();
        SIZE_T highest = before;
        std::jthread watch([&highest](const std::stop_token& stop) {
            ::SetThreadAffinityMask(::GetCurrentThread(), Cores()); // not on the core of the work
            while (!stop.stop_requested())
                highest = std::max(highest, WorkingSet());
        });
        work();
        watch.request_stop();
        watch.join();
        return highest - before;
    }

    static void Grow(const Growth& growth) {
        std::printf("{\"name\": \"%s\", \"unit\": \"%s\", \"points\": [", growth.name.c_str(), growth.unit.c_str());
        for (const std::uint64_t factor : {1u, 10u, 100u}) {
            const Work work = growth.make(growth.size * factor);
            // First: the heap keeps what it got from the system, and would hide it later.
            const SIZE_T bytes = MeasureMemory(work);
            double best = 0;
            for (int turn = 0; turn < 3; ++turn) {
                const double start = Now();
                work();
                const double seconds = Now() - start;
                if (turn == 0 || seconds < best) best = seconds;
            }
            std::printf("%s{\"size\": %llu, \"seconds\": %.9g, \"bytes\": %llu}", factor > 1 ? ", " : "",
                        static_cast<unsigned long long>(growth.size * factor), best,
                        static_cast<unsigned long long>(bytes));
        }
        std::printf("]}");
    }

    std::string m_title;
    std::list<Case> m_cases;
    std::vector<Growth> m_growths;
};

} // namespace tarnu::bench

#endif // TARNU_BENCH_HARNESS_H
