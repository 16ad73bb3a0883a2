// The code of docs/guides/frame.md, compiled. The documentation check compares the two.

// snippet
#include <comdef.h>
#include <tarnu/TarnuWin32Utils.h>

void Save(IPersistStream* document, IStream* stream) {
    ORVA_LOG(L"saving %s", L"plan.xml");
    try {
        const HRESULT result = document->Save(stream, TRUE);
        if (FAILED(result)) throw _com_error(result);
    } catch (const _com_error& error) {
        if (ORVA_SHOW_COM_ERROR(error) == IDCANCEL) throw;
    }
    if (DllMessageBox(L"Saved. Close the drawing?", MB_YESNO | MB_ICONQUESTION) == IDYES) ::PostQuitMessage(0);
}
// end of snippet

// snippet
extern "C" __declspec(dllexport) int OrvaDllMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption,
                                                       UINT flags);
// end of snippet

// snippet
int __cdecl OnProgress(int operation, int value, const wchar_t* text) {
    if (operation == OrvaProgressOperationText) OrvaTrace(L"%d: %s\n", value, text);
    return 0; // nonzero answers a poll with "stop"
}

void Convert(const CStringList& names) {
    OrvaSetProgressCallback(&OnProgress);
    const int count = static_cast<int>(names.GetCount());
    OrvaBeginProgress(L"Converting", /*value=*/0, count);
    POSITION position = names.GetHeadPosition();
    for (int done = 0; position != nullptr && !OrvaPollProgress(); ++done) {
        OrvaProgressText(names.GetNext(position));
        OrvaSetProgressPosition(done);
    }
    OrvaEndProgress();
}
// end of snippet
