// The code of docs/guides/framework.md, compiled. The documentation check compares the two.

// snippet
#include <tarnu/framework/framework.h>

void WriteNames(const CStringList& names, const wchar_t* path) {
    try {
        CStdioFile file(path, CFile::modeCreate | CFile::modeWrite | CFile::typeText);
        for (POSITION position = names.GetHeadPosition(); position != nullptr;)
            file.WriteString(names.GetNext(position) + L"\n");
        file.Close();
    } catch (CFileException* error) {
        AfxMessageBox(L"Cannot write " + error->m_strFileName);
        error->Delete();
    }
}
// end of snippet
