/// @file
/// Captures what the process writes with OutputDebugStringW.
#ifndef TARNU_TESTS_SUPPORT_DEBUGOUTPUT_H
#define TARNU_TESTS_SUPPORT_DEBUGOUTPUT_H

#include <string>
#include <vector>

namespace tarnu::test {

/// While it lives, collects the texts of OutputDebugStringW from all threads, one element per call. One at a time.
/// Under Wine the text arrives in the ANSI code page, so keep captured texts ASCII.
class DebugOutput {
public:
    DebugOutput();
    ~DebugOutput();
    DebugOutput(const DebugOutput&) = delete;
    DebugOutput& operator=(const DebugOutput&) = delete;

    /// What was written so far.
    std::vector<std::string> Texts() const;

private:
    void* m_handler;
};

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_DEBUGOUTPUT_H
