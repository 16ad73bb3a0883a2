/// @file
/// Measures the memory that the library takes.
#ifndef TARNU_TESTS_HOSTILE_MEMORYMETER_H
#define TARNU_TESTS_HOSTILE_MEMORYMETER_H

#include "support/ModuleImports.h"

#include <cstddef>
#include <vector>

namespace tarnu::test::hostile {

/// While it lives, malloc and its relatives are watched, as the library and the C++ runtime under its operator new call
/// them. One at a time.
class MemoryMeter {
public:
    MemoryMeter();
    ~MemoryMeter();
    MemoryMeter(const MemoryMeter&) = delete;
    MemoryMeter& operator=(const MemoryMeter&) = delete;

    /// From now on the calling thread's blocks count.
    static void Start();
    static void Stop();
    /// The most bytes that were taken at one time between Start and Stop.
    static std::size_t Peak();

private:
    struct Exchanged {
        ULONGLONG* entry;
        ULONGLONG original;
    };
    std::vector<Exchanged> m_exchanged;
};

} // namespace tarnu::test::hostile

#endif // TARNU_TESTS_HOSTILE_MEMORYMETER_H
