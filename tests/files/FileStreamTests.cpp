// The file stream: directions, ends, names, the operations it refuses, and its life.

#include "support/HandleCount.h"
#include "support/TempFolder.h"
#include "tarnu/files/OrvaFileStream.h"
#include "tarnu/support/Com.h"

#include <cstring>
#include <gtest/gtest.h>
#include <ocidl.h>
#include <string>
#include <wrl/client.h>

namespace {

using Microsoft::WRL::ComPtr;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;

ComPtr<OrvaFileStream> NewStream() {
    return tarnu::support::Adopt(new OrvaFileStream);
}

/// A stream on an open file; a failure to open fails the test.
ComPtr<OrvaFileStream> OpenStream(const std::wstring& path, bool readMode) {
    ComPtr<OrvaFileStream> stream = NewStream();
    EXPECT_TRUE(stream->Open(path.c_str(), readMode)) << ::GetLastError();
    return stream;
}

constexpr ULONG junk = 0xDEADBEEF;

} // namespace

TEST(FileStream, ReadsToTheEndAndRefusesToWrite) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"in.txt", "0123456789");
    const auto stream = OpenStream(path, true);

    char buffer[16] = {};
    ULONG count = junk;
    EXPECT_EQ(S_OK, stream->Read(buffer, 4, &count));
    EXPECT_EQ(4u, count);
    EXPECT_EQ(S_OK, stream->Read(buffer + 4, 1, nullptr)) << "the count is optional";
    EXPECT_EQ(S_OK, stream->Read(buffer + 5, 11, &count)) << "a short read is a success";
    EXPECT_EQ(5u, count);
    EXPECT_STREQ("0123456789", buffer);
    count = junk;
    EXPECT_EQ(S_FALSE, stream->Read(buffer, 1, &count));
    EXPECT_EQ(0u, count);

    count = junk;
    EXPECT_EQ(E_FAIL, stream->Write("x", 1, &count));
    EXPECT_EQ(junk, count);

    // Other readers are let in, writers are not.
    EXPECT_TRUE(NewStream()->Open(path.c_str(), true));
    EXPECT_FALSE(NewStream()->Open(path.c_str(), false));
    EXPECT_EQ("0123456789", ReadFile(path));
}

TEST(FileStream, WritesAnEmptiedFileAndRefusesToRead) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"out.txt", "what stood here before");
    auto stream = OpenStream(path, false);
    EXPECT_EQ("", ReadFile(path));

    ULONG count = junk;
    EXPECT_EQ(S_OK, stream->Write("abc", 3, &count));
    EXPECT_EQ(3u, count);
    EXPECT_EQ(S_OK, stream->Write("defg", 4, &count));
    EXPECT_EQ(4u, count);
    EXPECT_EQ(S_OK, stream->Write("", 0, &count));
    EXPECT_EQ(0u, count);

    char buffer[4] = "zzz";
    count = junk;
    EXPECT_EQ(E_FAIL, stream->Read(buffer, 3, &count));
    EXPECT_EQ(junk, count);
    EXPECT_STREQ("zzz", buffer);

    stream.Reset(); // the last reference closes the file
    EXPECT_EQ("abcdefg", ReadFile(path));
    EXPECT_TRUE(NewStream()->Open(path.c_str(), false));
}

TEST(FileStream, FailsWithoutAFile) {
    const TempFolder folder;
    const auto stream = NewStream();
    char buffer[4];
    ULONG count = junk;
    // A new stream stands in read mode, so reading is tried and writing refused.
    EXPECT_EQ(E_FAIL, stream->Read(buffer, 4, &count));
    EXPECT_EQ(0u, count) << "a failed read stores the count too";
    count = junk;
    EXPECT_EQ(E_FAIL, stream->Write("x", 1, &count));
    EXPECT_EQ(junk, count);

    const std::wstring missing = folder / L"missing.txt";
    EXPECT_FALSE(stream->Open(missing.c_str(), true));
    EXPECT_FALSE(tarnu::test::Exists(missing));
    EXPECT_EQ(E_FAIL, stream->Read(buffer, 4, &count));
    EXPECT_FALSE(stream->Open(folder.Path().c_str(), false)) << "a folder";
    EXPECT_EQ(E_FAIL, stream->Write("x", 1, &count));
    EXPECT_EQ(0u, count);
}

TEST(FileStream, NamesGoThroughTheAnsiCodePage) {
    const TempFolder folder;
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    const auto stream = NewStream();

    // Refused before the system is asked for a file: the last error is not one of opening.
    for (const wchar_t* name : {L"", static_cast<const wchar_t*>(nullptr)}) {
        ::SetLastError(junk);
        EXPECT_FALSE(stream->Open(name, true));
        EXPECT_NE(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), ::GetLastError());
        EXPECT_NE(static_cast<DWORD>(ERROR_PATH_NOT_FOUND), ::GetLastError());
    }

    const std::wstring longest(99, L'n');
    EXPECT_TRUE(stream->Open(longest.c_str(), false));
    EXPECT_TRUE(tarnu::test::Exists(folder / longest));
    const std::wstring tooLong(100, L'n');
    EXPECT_FALSE(stream->Open(tooLong.c_str(), false));
    EXPECT_FALSE(tarnu::test::Exists(folder / tooLong));

    // 99 characters are 99 bytes only in a single-byte code page.
    if (::GetACP() == 1252) {
        const std::wstring umlauts(99, L'\xE4');
        EXPECT_TRUE(NewStream()->Open(umlauts.c_str(), false));
        EXPECT_TRUE(tarnu::test::Exists(folder / umlauts));
        // A letter that the code page lacks becomes the one that resembles it.
        EXPECT_TRUE(NewStream()->Open(L"\x0100.txt", false));
        EXPECT_TRUE(tarnu::test::Exists(folder / L"A.txt"));
        EXPECT_FALSE(tarnu::test::Exists(folder / L"\x0100.txt"));
        // One without resemblance becomes a question mark, which no file name may hold.
        EXPECT_FALSE(NewStream()->Open(L"\x4E2D.txt", false));
    }
}

TEST(FileStream, RefusesPositioningAndManagement) {
    const TempFolder folder;
    const auto stream = OpenStream(folder.MakeFile(L"in.txt", "abc"), true);
    ULARGE_INTEGER first;
    first.QuadPart = junk;
    ULARGE_INTEGER second = first;
    STATSTG statistics;
    std::memset(&statistics, 0x5A, sizeof(statistics));
    const STATSTG before = statistics;
    auto* clone = reinterpret_cast<IStream*>(ULONG_PTR{junk});
    IStream& interface_ = *stream.Get();

    EXPECT_EQ(E_FAIL, interface_.Seek({}, STREAM_SEEK_SET, &first));
    EXPECT_EQ(E_FAIL, interface_.SetSize({}));
    EXPECT_EQ(E_FAIL, interface_.CopyTo(stream.Get(), {}, &first, &second));
    EXPECT_EQ(E_FAIL, interface_.Commit(STGC_DEFAULT));
    EXPECT_EQ(E_FAIL, interface_.Revert());
    EXPECT_EQ(E_FAIL, interface_.LockRegion({}, {}, LOCK_WRITE));
    EXPECT_EQ(E_FAIL, interface_.UnlockRegion({}, {}, LOCK_WRITE));
    EXPECT_EQ(E_FAIL, interface_.Stat(&statistics, STATFLAG_DEFAULT));
    EXPECT_EQ(E_FAIL, interface_.Clone(&clone));

    EXPECT_EQ(junk, first.QuadPart);
    EXPECT_EQ(junk, second.QuadPart);
    EXPECT_EQ(0, std::memcmp(&before, &statistics, sizeof(statistics)));
    EXPECT_EQ(reinterpret_cast<IStream*>(ULONG_PTR{junk}), clone);
    char text[4] = {};
    EXPECT_EQ(S_OK, interface_.Read(text, 3, nullptr));
    EXPECT_STREQ("abc", text) << "nothing moved the position";
}

TEST(FileStream, QueryInterfaceReferencesWhateverThePlaceHolds) {
    const auto stream = NewStream();
    const auto other = NewStream();
    const auto references = [](OrvaFileStream& of) {
        of.AddRef();
        return of.Release();
    };
    const IID* const own[] = {&__uuidof(IUnknown), &__uuidof(IStream)};
    for (const IID* interfaceId : own) {
        void* object = other.Get();
        EXPECT_EQ(S_OK, stream->QueryInterface(*interfaceId, &object));
        EXPECT_EQ(static_cast<IStream*>(stream.Get()), object);
        EXPECT_EQ(2u, references(*stream.Get()));
        EXPECT_EQ(1u, references(*other.Get()));
        EXPECT_EQ(1u, static_cast<IUnknown*>(object)->Release());
    }
    // Any other interface: the reference goes to the object that the caller left there.
    const IID* const foreign[] = {&__uuidof(ISequentialStream), &__uuidof(IDispatch)};
    for (const IID* interfaceId : foreign) {
        void* object = static_cast<IStream*>(other.Get());
        EXPECT_EQ(S_OK, stream->QueryInterface(*interfaceId, &object));
        EXPECT_EQ(static_cast<IStream*>(other.Get()), object);
        EXPECT_EQ(1u, references(*stream.Get()));
        EXPECT_EQ(2u, references(*other.Get()));
        EXPECT_EQ(1u, other->Release());
        object = nullptr;
        EXPECT_EQ(S_OK, stream->QueryInterface(*interfaceId, &object));
        EXPECT_EQ(nullptr, object);
    }
    EXPECT_EQ(E_POINTER, stream->QueryInterface(__uuidof(IUnknown), nullptr));
    EXPECT_EQ(1u, references(*stream.Get()));
}

TEST(FileStream, ReleaseClosesWhateverTheHandleIs) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"in.txt", "abc");
    const unsigned before = tarnu::test::CountHandles();
    {
        OrvaFileStream* stream = new OrvaFileStream;
        EXPECT_EQ(2u, stream->AddRef());
        EXPECT_EQ(1u, stream->Release());
        ::SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(0u, stream->Release());
        EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_HANDLE), ::GetLastError()) << "closed although never opened";
    }
    {
        // Opening again gives the earlier file up; a refused name does not.
        const auto stream = OpenStream(path, true);
        EXPECT_FALSE(stream->Open(L"", true));
        char text[4] = {};
        EXPECT_EQ(S_OK, stream->Read(text, 3, nullptr));
        EXPECT_TRUE(stream->Open(path.c_str(), true));
        EXPECT_EQ(S_OK, stream->Read(text, 3, nullptr));
        EXPECT_EQ(before + 1, tarnu::test::CountHandles());
    }
    EXPECT_EQ(before, tarnu::test::CountHandles());
    EXPECT_TRUE(::DeleteFileW(path.c_str()));
}

TEST(FileStream, ServesAComConsumer) {
    const TempFolder folder;
    ASSERT_HRESULT_SUCCEEDED(::CoInitialize(nullptr));
    {
        const CLSID document = {0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}};
        const std::wstring path = folder.MakeFile(L"in.xml", "<survey><point/></survey>");
        const std::wstring copy = folder / L"copy.xml";
        ComPtr<IPersistStreamInit> parser;
        ASSERT_HRESULT_SUCCEEDED(::CoCreateInstance(document, nullptr, CLSCTX_ALL, IID_PPV_ARGS(&parser)));
        ASSERT_HRESULT_SUCCEEDED(parser->Load(OpenStream(path, true).Get()));
        ASSERT_HRESULT_SUCCEEDED(parser->Save(OpenStream(copy, false).Get(), TRUE));
        // Wine writes UTF-16 and indents, Windows the declared encoding as it is: both keep the marks in order.
        std::string text;
        for (const char character : ReadFile(copy)) {
            if (character > ' ') text += character;
        }
        EXPECT_NE(std::string::npos, text.find("<survey><point/></survey>")) << text;
    }
    ::CoUninitialize();
}
