#include "faults/FaultSeam.h"

#include "tarnu/support/SrwLock.h"

#include <cstring>
#include <functional>
#include <map>
#include <sstream>

namespace tarnu::test::faults {
namespace {

using support::SrwExclusiveLock;

constexpr wchar_t libraryName[] = L"TarnuWin32Utils.dll";

std::atomic<bool> isArmed{false};
std::atomic<bool> hasFailed{false};
std::atomic<unsigned> allocations{0};
Plan currentPlan;

/// Memory that no replacement sees: the books themselves.
template <class T>
struct PrivateMemory {
    using value_type = T;
    PrivateMemory() = default;
    template <class U>
    PrivateMemory(const PrivateMemory<U>&) {}
    T* allocate(std::size_t count) {
        void* const block = ::HeapAlloc(::GetProcessHeap(), 0, count * sizeof(T));
        if (block == nullptr) throw std::bad_alloc();
        return static_cast<T*>(block);
    }
    void deallocate(T* block, std::size_t) noexcept { ::HeapFree(::GetProcessHeap(), 0, block); }
    template <class U>
    bool operator==(const PrivateMemory<U>&) const {
        return true;
    }
};

struct Item {
    const SystemCall* call;
    unsigned long long stamp;
    void* callers[6];
};
using Key = std::pair<Resource, const void*>;

SRWLOCK booksLock = SRWLOCK_INIT;
std::map<Key, Item, std::less<Key>, PrivateMemory<std::pair<const Key, Item>>> books;
unsigned long long stamps = 0;
long long outstanding[resourceKinds] = {};

} // namespace

bool Enter(SystemCall& call) noexcept {
    if (!isArmed) return false;
    const unsigned number = ++call.calls;
    const unsigned allocation = call.allocates ? ++allocations : 0;
    const bool isAllocation = currentPlan.allocations && call.allocates;
    if (!isAllocation && &call != currentPlan.call) return false;
    const unsigned counted = isAllocation ? allocation : number;
    if (counted < currentPlan.first || counted > currentPlan.last) return false;
    ++call.failures;
    hasFailed = true;
    return true;
}

void Poison() noexcept {
    if (isArmed && currentPlan.poisons) ::SetLastError(bogusError);
}

void Acquire(Resource kind, const void* value, const SystemCall& call) noexcept {
    if (value == nullptr) return;
    Item item{&call, 0, {}};
    ::RtlCaptureStackBackTrace(2, 6, item.callers, nullptr);
    const SrwExclusiveLock lock(booksLock);
    item.stamp = ++stamps;
    if (books.insert_or_assign(Key{kind, value}, item).second) ++outstanding[static_cast<std::size_t>(kind)];
}

void Release(Resource kind, const void* value) noexcept {
    const SrwExclusiveLock lock(booksLock);
    if (books.erase(Key{kind, value}) != 0) --outstanding[static_cast<std::size_t>(kind)];
}

FaultSeam::FaultSeam() {
    const auto exchange = [this](HMODULE module, bool all) {
        for (const ModuleImport& import : ImportsOf(module)) {
            for (SystemCall* call : CoveredCalls()) {
                if (std::strcmp(call->name, import.name) != 0) continue;
                // The test program gives back what the library handed out: only that is looked at there.
                if (!all && call->error != 0) continue;
                // First, because the library's threads may call at once.
                if (call->original == 0) call->original = *import.entry;
                m_exchanged.push_back({import.entry, ExchangeImport(import.entry, call->replacement)});
            }
        }
    };
    exchange(::GetModuleHandleW(libraryName), /*all=*/true);
    exchange(::GetModuleHandleW(nullptr), /*all=*/false);
}

FaultSeam::~FaultSeam() {
    isArmed = false;
    for (const Exchanged& exchanged : m_exchanged)
        ExchangeImport(exchanged.entry, exchanged.original);
    const SrwExclusiveLock lock(booksLock);
    books.clear();
    std::fill_n(outstanding, resourceKinds, 0);
}

void FaultSeam::Prepare(const Plan& plan) {
    currentPlan = plan;
    hasFailed = false;
    allocations = 0;
    for (SystemCall* call : CoveredCalls())
        call->calls = 0;
}

void FaultSeam::Arm() {
    isArmed = true;
}

void FaultSeam::Disarm() {
    isArmed = false;
}

bool FaultSeam::HasFailed() {
    return hasFailed;
}

unsigned FaultSeam::Allocations() {
    return allocations;
}

Balance FaultSeam::Outstanding() {
    const SrwExclusiveLock lock(booksLock);
    return Balance(outstanding, outstanding + resourceKinds);
}

unsigned long long FaultSeam::Stamp() {
    const SrwExclusiveLock lock(booksLock);
    return stamps;
}

std::string FaultSeam::Describe(unsigned long long since) {
    const auto base = reinterpret_cast<ULONGLONG>(::GetModuleHandleW(libraryName));
    std::vector<std::pair<Key, Item>> items;
    {
        const SrwExclusiveLock lock(booksLock);
        for (const auto& entry : books) {
            if (entry.second.stamp > since) items.emplace_back(entry);
        }
    }
    std::ostringstream text;
    for (const auto& [key, item] : items) {
        text << "  " << item.call->name << " asked for from" << std::hex;
        for (void* caller : item.callers)
            text << " +0x" << reinterpret_cast<ULONGLONG>(caller) - base;
        text << std::dec << '\n';
    }
    return text.str();
}

const char* ReasonFor(std::string_view name, const std::vector<Excuse>& excuses) {
    for (const Excuse& excuse : excuses) {
        std::istringstream names(excuse.names);
        for (std::string listed; names >> listed;) {
            const bool matches =
                listed.ends_with('*') ? name.starts_with(listed.substr(0, listed.size() - 1)) : name == listed;
            if (matches) return excuse.reason;
        }
    }
    return nullptr;
}

} // namespace tarnu::test::faults
