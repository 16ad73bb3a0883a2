#include "hostile/CrashName.h"

#include "tarnu/framework/framework.h"

#include <cstdarg>
#include <cstdio>

namespace tarnu::test::hostile {
namespace {

char name[300] = "nothing yet";

LONG WINAPI OnCrash(EXCEPTION_POINTERS* exception) {
    const auto base = reinterpret_cast<ULONGLONG>(::GetModuleHandleW(L"TarnuWin32Utils.dll"));
    std::fprintf(stderr, "crash 0x%08lx at library +0x%llx with: %s\n", exception->ExceptionRecord->ExceptionCode,
                 reinterpret_cast<ULONGLONG>(exception->ExceptionRecord->ExceptionAddress) - base, name);
    std::fflush(stderr);
    ::TerminateProcess(::GetCurrentProcess(), 3);
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

void NameInput(const char* format, ...) {
    ::SetUnhandledExceptionFilter(OnCrash);
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(name, sizeof name, format, arguments);
    va_end(arguments);
}

const char* InputName() {
    return name;
}

} // namespace tarnu::test::hostile
