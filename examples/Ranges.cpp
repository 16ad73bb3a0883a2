/// @file
/// Everything that the library walks over, in range-based for loops.
#include <cstdio>
#include <tarnu/TarnuWin32Utils.h>

int main() {
    for (const CString& word : tarnu::Tokens(L"line  0,0 10,5", L" ,"))
        std::printf("%ls ", word.GetString());

    OrvaPointString points(L"1-3,9-7");
    std::printf("\nnumbers:");
    for (const UINT number : tarnu::OrvaPointNumbers(points))
        std::printf(" %u", number);
    std::printf("\nranges:");
    for (const auto [start, end] : tarnu::OrvaPointRanges(points))
        std::printf(" %u to %u", start, end);

    OrvaMultiPolyFaceReader faces;
    for (const int corners : {3, 5}) {
        OrvaPointArray face;
        for (int corner = 0; corner < corners; ++corner)
            face.Append(OrvaPoint3d{static_cast<double>(corner), 0, 0});
        faces.AddFace(face);
    }
    std::printf("\nfaces of");
    for (const OrvaPointArray& face : tarnu::Faces(faces))
        std::printf(" %d", face.GetLength());

    OrvaPointArray corners;
    corners.Append(OrvaPoint3d{0, 0, 1.5});
    corners.Append(OrvaPoint3d{4, 3, 2.5});
    OrvaArrayPointReader reader(corners);
    std::printf(" corners\npoints at");
    for (const OrvaPoint3d& corner : tarnu::Points(reader))
        std::printf(" %g/%g/%g", corner.x, corner.y, corner.z);

    OrvaBFSFileTree files;
    files.Open(OrvaPath(OrvaPath::WindowsDirectory), L"*.ini", 0x20);
    int count = 0;
    for ([[maybe_unused]] const OrvaFileEntry& file : OrvaWalk(files))
        ++count;
    std::printf("\nsettings below the Windows folder: %s\n", count > 0 ? "some" : "none");
    return 0;
}
