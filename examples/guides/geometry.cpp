// The code of docs/guides/geometry.md, compiled. The documentation check compares the two.

// snippet
#include <tarnu/TarnuWin32Utils.h>

UINT Sum(const wchar_t* text) {
    OrvaPointString points(text);
    if (!points.IsValid()) return 0;
    points.Subtract(L"100-199", /*sorted=*/TRUE);
    UINT sum = 0;
    for (UINT number : tarnu::OrvaPointNumbers(points))
        sum += number;
    return sum;
}
// end of snippet
