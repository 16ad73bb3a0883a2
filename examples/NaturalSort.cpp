/// @file
/// Sorts sheet names as people do: numbers count by value, not digit by digit.
#include <algorithm>
#include <cstdio>
#include <tarnu/TarnuWin32Utils.h>
#include <vector>

int main() {
    std::vector<CString> names = {L"Sheet 10", L"sheet 9", L"Sheet 2b", L"Sheet 2a", L"Sheet 010 copy"};
    std::sort(names.begin(), names.end(), tarnu::natural_less());
    for (const CString& name : names)
        std::printf("%ls\n", name.GetString());
    return 0;
}
