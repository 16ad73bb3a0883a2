// Walks, archives and documents, round after round.

#include "soak/Usage.h"
#include "support/TempFolder.h"
#include "tarnu/TarnuWin32Utils.h"

#include <memory>
#include <string>

namespace tarnu::soak {
namespace {

using test::TempFolder;

TEST(Soak, AMillionWalks) {
    const TempFolder folder;
    folder.MakeFile(L"a\\one.txt");
    folder.MakeFile(L"a\\two.txt");
    folder.MakeFile(L"b\\three.txt");
    const auto walk = [&folder](unsigned round) {
        // Walked to its end, left in the midst of it by closing, by destruction, and by opening again.
        OrvaBasicFileMatcher files;
        OrvaDFSFileTree tree;
        switch (round % 16) {
        case 0: {
            tree.Open(folder.Path().c_str(), L"*.txt", 0);
            int count = 0;
            for (const OrvaFileEntry& entry : OrvaWalk(tree))
                count += entry.name.GetText().IsEmpty() ? 0 : 1;
            ASSERT_EQ(3, count);
            break;
        }
        case 1:
            files.Open((folder / L"a").c_str(), L"*", 0);
            files.Next();
            files.Open((folder / L"b").c_str(), L"*", 0);
            break;
        case 2:
            files.Open((folder / L"a").c_str(), L"*", 0);
            files.Close();
            break;
        default:
            files.Open((folder / L"a").c_str(), L"*.txt", 0);
            ASSERT_TRUE(files.IsFound());
            break;
        }
    };
    for (unsigned round = 0; round < 1000; ++round)
        walk(round);
    const FlatUsage usage("1 000 000 walks");
    for (unsigned round = 0; round < 1'000'000 && !HasFatalFailure(); ++round)
        walk(round);
}

TEST(Soak, ArchivesPackedAndUnpacked) {
    const TempFolder folder;
    CStringList paths;
    for (int index = 0; index < 20; ++index) {
        const std::wstring name = L"in\\file" + std::to_wstring(index) + L".txt";
        paths.AddTail(folder.MakeFile(name, std::string(5000, static_cast<char>('a' + index))).c_str());
    }
    const CString archive((folder / L"archive.zip").c_str());
    const auto round = [&] {
        ASSERT_EQ(20, OrvaZipFiles(archive, paths, OrvaZipRelativeNames, CString(folder.Path().c_str())));
        ASSERT_TRUE(OrvaUnzipAll(archive, OrvaPath((folder / L"out").c_str()), nullptr,
                                 [](const wchar_t*, const WIN32_FIND_DATAW&) {}));
    };
    for (int index = 0; index < 20; ++index)
        round();
    const FlatUsage usage("500 archives of 20 files packed and unpacked");
    for (int index = 0; index < 500 && !HasFatalFailure(); ++index)
        round();
}

TEST(Soak, TreesCopiedAndRemoved) {
    const TempFolder folder;
    for (int index = 0; index < 30; ++index)
        folder.MakeFile(L"in\\" + std::to_wstring(index % 5) + L"\\file" + std::to_wstring(index), "text");
    const auto round = [&] {
        OrvaTreeCounts counts;
        ASSERT_EQ(0, OrvaCopyTree((folder / L"in").c_str(), (folder / L"out").c_str(), {}, &counts));
        ASSERT_EQ(30u, counts.files);
        ASSERT_EQ(0, OrvaRemoveTree((folder / L"out").c_str(), {}, &counts));
        ASSERT_EQ(0, OrvaCopyDirectoryTree((folder / L"in").c_str(), (folder / L"out").c_str(), FALSE));
        ASSERT_EQ(0, OrvaDeleteDirectoryTree((folder / L"out").c_str()));
    };
    for (int index = 0; index < 20; ++index)
        round();
    const FlatUsage usage("1 000 trees of 30 files copied and removed, twice");
    for (int index = 0; index < 1000 && !HasFatalFailure(); ++index)
        round();
}

TEST(Soak, DocumentsSavedAndLoaded) {
    ASSERT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
    {
        CLSID documentClass{};
        ASSERT_EQ(S_OK, ::CLSIDFromProgID(L"Msxml2.DOMDocument", &documentClass));
        const TempFolder folder;
        const CString file((folder / L"file.xml").c_str());
        const auto round = [&] {
            OrvaXmlNode root;
            Microsoft::WRL::ComPtr<IXMLDOMDocument> document;
            ASSERT_EQ(S_OK, ::CoCreateInstance(documentClass, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument,
                                               reinterpret_cast<void**>(document.GetAddressOf())));
            OrvaXmlCreateFile(file, document.Get(), {L"xml", L"version=\"1.0\""}, {L"Root", L"a=1"},
                              /*recreate=*/::GetFileAttributesW(file) != INVALID_FILE_ATTRIBUTES);
            for (int index = 0; index < 20; ++index)
                OrvaXmlAppendElement(document.Get(), L"Child", {{L"name", L"value"}});
            OrvaXmlSaveFile(file, document.Get());
            OrvaXmlLoadFile(file, document.Get());
            std::vector<OrvaXmlAttributeArray> attributes;
            OrvaXmlGetChildNodes(document.Get(), L"Child", &attributes);
            ASSERT_EQ(20u, attributes.size());
        };
        for (int index = 0; index < 50; ++index)
            round();
        const FlatUsage usage("5 000 documents built, saved, loaded and read");
        for (int index = 0; index < 5000 && !HasFatalFailure(); ++index)
            round();
    }
    ::CoUninitialize();
}

} // namespace
} // namespace tarnu::soak
