// A second translation unit with the same headers: nothing in them may be defined twice.
#include <tarnu/TarnuWin32Utils.h>

int SecondUnit() {
    return CString(L"second").GetLength();
}
