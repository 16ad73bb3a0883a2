// The code of docs/guides/files.md, compiled. The documentation check compares the two.

// snippet
#include <tarnu/TarnuWin32Utils.h>

bool Archive(const wchar_t* job, const wchar_t* archive) {
    OrvaTreeOptions options;
    options.policy = OrvaTreePolicy::Newer;
    options.onFailure = [](const wchar_t* path, DWORD error) { OrvaTrace(L"%s: error %lu\n", path, error); };
    if (OrvaCopyTree(job, archive, options) != 0) return false;
    OrvaStdioFile report(OrvaPath(archive) / L"archive.txt", /*addTimeStamp=*/true, /*overwrite=*/true,
                         /*writeHeader=*/1);
    report.WriteString(L"complete\n");
    return true;
}
// end of snippet

// snippet
#include <tarnu/TarnuWin32Utils.h>

HRESULT LoadFrom(IPersistStreamInit* consumer, const wchar_t* name) {
    OrvaFileStream* stream = new OrvaFileStream; // one reference, ours
    const HRESULT result = stream->Open(name, /*readMode=*/true) ? consumer->Load(stream) : E_FAIL;
    stream->Release(); // the last one closes the file
    return result;
}
// end of snippet
