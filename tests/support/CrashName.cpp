#include "support/CrashName.h"

#include "tarnu/framework/framework.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace tarnu::test {
namespace {

char name[300] = "nothing yet";

/// Prints what was at work when the program came to its end, and ends it.
void Tell(const char* what, void* const* places, unsigned count) {
    const auto base = reinterpret_cast<ULONGLONG>(::GetModuleHandleW(L"TarnuWin32Utils.dll"));
    std::fprintf(stderr, "%s with: %s\n  library", what, name);
    for (unsigned i = 0; i < count; ++i)
        std::fprintf(stderr, " +0x%llx", reinterpret_cast<ULONGLONG>(places[i]) - base);
    std::fprintf(stderr, "\n");
    std::fflush(stderr);
    ::TerminateProcess(::GetCurrentProcess(), 3);
}

LONG WINAPI OnCrash(EXCEPTION_POINTERS* exception) {
    char what[40];
    std::snprintf(what, sizeof what, "crash 0x%08lx", exception->ExceptionRecord->ExceptionCode);
    Tell(what, &exception->ExceptionRecord->ExceptionAddress, 1);
    return EXCEPTION_EXECUTE_HANDLER;
}

[[noreturn]] void OnTerminate() {
    void* frames[16] = {};
    Tell("terminate", frames, ::RtlCaptureStackBackTrace(0, 16, frames, nullptr));
    std::abort();
}

} // namespace

void NameInput(const char* format, ...) {
    ::SetUnhandledExceptionFilter(OnCrash);
    std::set_terminate(OnTerminate);
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(name, sizeof name, format, arguments);
    va_end(arguments);
}

const char* InputName() {
    return name;
}

} // namespace tarnu::test
