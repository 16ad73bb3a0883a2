/// @file
/// Makes file names of titles, sorts them as people do, and tells which requests stay within a folder.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <tarnu/TarnuWin32Utils.h>
#include <vector>

int main() {
    std::vector<OrvaPath> names;
    for (const wchar_t* title : {L"Section 10: A/B", L"section 9", L"Aux", L"What?", L"Section 123456789012345678901"})
        names.push_back(tarnu::safe_name(title));
    std::sort(names.begin(), names.end(), tarnu::natural_less());
    for (const OrvaPath& name : names)
        std::printf("%s\n", tarnu::to_utf8(name).value_or("(no UTF-8)").c_str());

    const OrvaPath root(L"C:\\Jobs\\Bridge");
    for (const wchar_t* request :
         {L"plans\\a.dwg", L"plans\\..\\a.dwg", L"..\\Bridge2\\a.dwg", L"..\\..\\secret.txt"}) {
        const OrvaPath path = root / request;
        const auto standard = tarnu::to_path<std::filesystem::path>(tarnu::resolve_dots(path));
        std::printf("%ls: %s\n", standard.c_str(), tarnu::is_within(path, root) ? "served" : "refused");
    }

    const OrvaPath temporary = tarnu::from_path(std::filesystem::temp_directory_path());
    std::printf("temporary files are%s kept below the job\n", tarnu::is_within(temporary, root) ? "" : " not");
    return 0;
}
