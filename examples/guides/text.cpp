// The code of docs/guides/text.md, compiled. The documentation check compares the two.

// snippet
#include <tarnu/TarnuWin32Utils.h>

void Remember(CString& recent) {
    OrvaPlaceToken(L"site.dwg", L";", /*index=*/0, recent); // plan.dwg;site.dwg;notes.dwg: site.dwg;plan.dwg;notes.dwg
}

bool ReadWidth(CString command, double& width) {
    const CString verb = OrvaPopSpaceToken(command); // "width 12.5": verb is "width", command "12.5"
    return verb == L"width" && OrvaParseDouble(command, width);
}

CString Prompt(CString caption) {
    OrvaMakeLabel(caption, /*leadingNewline=*/true); // "Width": "\nWidth: "
    return caption;
}

bool IsBefore(const CString& left, const CString& right) {
    return OrvaNaturalCompareNoCase(left, right) < 0; // "sheet 2" before "Sheet 10"
}
// end of snippet
