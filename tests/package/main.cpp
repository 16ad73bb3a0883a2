// What can go wrong between a program and the DLL: virtual calls in both directions, exported data, exceptions that
// cross the boundary.
#include <tarnu/TarnuWin32Utils.h>

#include <cstdio>

int SecondUnit();

namespace {

int failures = 0;

void Check(bool holds, const char* what) {
    std::printf("%s: %s\n", holds ? "ok" : "FAILED", what);
    if (!holds) ++failures;
}

} // namespace

int main() {
    Check(SecondUnit() == 6, "two translation units link");
    try {
        AfxThrowFileException(CFileException::fileNotFound, ERROR_FILE_NOT_FOUND, L"missing.txt");
    } catch (CFileException* error) {
        Check(error->m_strFileName == L"missing.txt", "an exception crosses the boundary");
        error->Delete();
    }
    if (failures == 0) std::puts("consumer: all good");
    return failures == 0 ? 0 : 1;
}
