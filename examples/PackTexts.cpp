// Packs all text files of a folder tree into an archive, with their paths.

#include <cstdio>
#include <tarnu/TarnuWin32Utils.h>

int main() {
    OrvaBFSFileTree files;
    files.Open(L"C:\\Projects", L"*.txt", /*attributeFilter=*/0x20); // files, no folders
    CStringList paths;
    for (const OrvaFileEntry& entry : OrvaWalk(files))
        paths.AddTail(entry.path);
    const int packed = OrvaZipFiles(L"texts.zip", paths, OrvaZipRelativeNames, L"C:\\Projects");
    std::printf("%d files packed\n", packed);
}
