// Objects in known states, for the debugger to look at.
#include "tarnu/TarnuWin32Utils.h"

#include <cstdio>

namespace {

OrvaFixedBlockAllocator::FreeBlock* bareList = nullptr;

} // namespace

/// Where the debugger stops: everything is set up one frame above.
void StopHere(const void* subject) {
    std::printf("%p\n", subject);
}

int main(int count, char** arguments) {
    if (count < 2) return 1; // a folder with the files a.txt and b.txt, and a folder d that is empty
    const CString folder(arguments[1]);

    const CString text(L"survey point");
    const CString withNul(L"a\0b", 3);
    const CString empty;
    CStringList names;
    names.AddTail(L"one");
    names.AddTail(L"two");
    const OrvaPath path(L"C:/a/b", OrvaPath::SlashSeparator);

    OrvaBasicFileMatcher matcher;
    matcher.Open(folder, L"b.*", 0x20);
    OrvaBFSDirectoryTree directories;
    directories.Open(folder, L"*", 0);
    OrvaDFSDirectoryTree deep;
    deep.Open(folder, L"*", 0);
    OrvaBFSFileTree files;
    files.Open(folder, L"a.*", 0x20);
    OrvaDFSFileTree ended;
    ended.Open(folder, L"none", 0x20);

    const OrvaPointString points(L"1-5,7");
    OrvaSortedPointString sorted;
    for (UINT number : {7u, 1u, 2u, 1000u})
        sorted.Add(number);
    OrvaUnsortedPointString unsorted;
    unsorted.Add(9);
    unsorted.Add(8);
    OrvaPointMarker marker(10);
    marker.Mark(12);

    tarnu::OrvaFixedBlockList blocks(1000);
    void* const block = blocks.TryAllocate();
    OrvaFixedBlockAllocator::AddPage(bareList, 2000);
    OrvaFixedBlockAllocator::FreeBlock broken = *bareList;
    broken.previous = &broken;
    OrvaFixedBlockAllocator::FreeBlock* const brokenList = &broken;

    StopHere(&brokenList);
    blocks.Free(block);
    return text.IsEmpty() || withNul.IsEmpty() || !empty.IsEmpty() || path.IsEmpty() || points.GetText().IsEmpty();
}
