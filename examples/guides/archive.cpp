// The code of docs/guides/archive.md, compiled. The documentation check compares the two.

// snippet
#include <tarnu/TarnuWin32Utils.h>

int PackReports(const CStringList& reports) {
    return OrvaZipFiles(
        L"C:\\Out\\reports.zip", reports, OrvaZipRelativeNames, L"C:\\Jobs",
        [](UINT number, UINT count, const wchar_t* path) { std::wprintf(L"%u of %u %s\n", number, count, path); });
}

bool Unpack(const OrvaPath& folder) {
    return OrvaUnzipAll(L"C:\\Out\\reports.zip", folder); // existing files stay as they are
}
// end of snippet

// snippet
OrvaZipResult PackTwo(const std::string& text) {
    OrvaZipWriter writer;
    writer.Create(L"C:\\Out\\survey.zip", L"password");
    writer.AddFile(L"points\\today.txt", L"C:\\Data\\today.txt");
    writer.AddMemory(L"notes.txt", text.data(), text.size());
    return writer.Close(); // fails when the archive could not be written; what could not be read is left out
}

void Verify(const wchar_t* archive) {
    OrvaZipReader reader;
    OrvaZipEntry entry;
    if (reader.Open(archive) != OrvaZipSuccess) return;
    for (ULONGLONG index = 0; reader.GetEntry(index, entry) == OrvaZipSuccess; ++index) {
        char piece[65536];
        std::size_t read = 0;
        OrvaZipResult result = reader.OpenEntry(index);
        if (result == OrvaZipSuccess) {
            do {
                result = reader.ReadEntry(piece, sizeof piece, read); // an entry may be larger than memory
            } while (result == OrvaZipMore);
        }
        std::wprintf(L"%s: %s\n", entry.name.GetString(), result == OrvaZipSuccess ? L"whole" : L"damaged");
    }
}
// end of snippet
