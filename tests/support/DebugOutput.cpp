#include "support/DebugOutput.h"

#include "tarnu/framework/framework.h"

#include <mutex>

namespace tarnu::test {
namespace {

// Exceptions that OutputDebugString raises for a debugger; the wide one comes first where the system knows it.
constexpr DWORD printException = 0x40010006;
constexpr DWORD widePrintException = 0x4001000A;

std::mutex textsMutex;
std::vector<std::string>* texts = nullptr;

LONG CALLBACK OnException(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode != printException && record.ExceptionCode != widePrintException) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    const std::lock_guard lock(textsMutex);
    if (texts != nullptr && record.NumberParameters >= 2) {
        if (record.ExceptionCode == widePrintException) {
            const auto* wide = reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]);
            std::string narrow;
            for (; *wide != 0; ++wide)
                narrow += *wide < 0x80 ? static_cast<char>(*wide) : '?';
            texts->push_back(narrow);
        } else {
            texts->emplace_back(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
        }
    }
    return EXCEPTION_CONTINUE_EXECUTION; // handled: the system goes on without raising the narrow form
}

} // namespace

DebugOutput::DebugOutput() {
    {
        const std::lock_guard lock(textsMutex);
        texts = new std::vector<std::string>;
    }
    m_handler = ::AddVectoredExceptionHandler(/*FirstHandler=*/1, OnException);
}

DebugOutput::~DebugOutput() {
    ::RemoveVectoredExceptionHandler(m_handler);
    const std::lock_guard lock(textsMutex);
    delete texts;
    texts = nullptr;
}

std::vector<std::string> DebugOutput::Texts() const {
    const std::lock_guard lock(textsMutex);
    return *texts;
}

} // namespace tarnu::test
