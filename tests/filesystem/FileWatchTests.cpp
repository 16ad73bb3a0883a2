#include "support/TempFolder.h"
#include "support/Wait.h"
#include "tarnu/filesystem/FileRegistration.h"
#include "tarnu/filesystem/FileWatch.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace tarnu::test {
namespace {

constexpr DWORD quiet = 1500; ///< ms in which a second report of one change would come

/// The changes as letters: saved, created, deleted, lost.
class Watched {
public:
    explicit Watched(const std::wstring& path) : m_watch(path, Recorder{&m_log}) {}

    HRESULT Result() const { return m_watch.GetResult(); }
    const OrvaPath& Path() const { return m_watch.GetPath(); }
    void Check() { m_watch.Check(); }
    /// The next changes, once they are these and nothing has followed for a while.
    ::testing::AssertionResult Tells(const std::string& expected) {
        PumpUntil([&] { return m_log.size() >= expected.size(); });
        PumpUntil([&] { return m_log.size() > expected.size(); }, quiet);
        const std::string told = std::exchange(m_log, std::string());
        return told == expected ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << "told " << told;
    }

private:
    struct Recorder {
        std::string* log;
        void operator()(FileChange change) const { *log += "scdl"[static_cast<int>(change)]; }
    };
    std::string m_log;
    FileWatch<Recorder> m_watch;
};

TEST(FileWatchTest, EveryWayOfSavingIsToldOnce) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"plan.xml", "draft");
    Watched watched(path);
    EXPECT_EQ(S_OK, watched.Result());

    WriteFile(path, "in place, longer");
    EXPECT_TRUE(watched.Tells("s"));

    WriteFile(folder / L"plan.tmp", "in place, LONGER"); // the same size
    EXPECT_TRUE(::MoveFileExW((folder / L"plan.tmp").c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_TRUE(watched.Tells("s")) << "renamed over it";

    // As editors do that keep a backup.
    EXPECT_TRUE(::MoveFileExW(path.c_str(), (folder / L"plan.bak").c_str(), MOVEFILE_REPLACE_EXISTING));
    WriteFile(path, "third");
    EXPECT_TRUE(watched.Tells("s")) << "moved away and written anew";

    WriteFile(folder / L"other.xml", "somebody else's");
    EXPECT_TRUE(watched.Tells("")) << "another file of the directory";
}

TEST(FileWatchTest, DeletionAndCreation) {
    const TempFolder folder;
    const std::wstring path = folder / L"later.txt";
    Watched watched(path);
    EXPECT_EQ(S_OK, watched.Result()) << "a file that does not exist can be watched";
    WriteFile(path, "now");
    EXPECT_TRUE(watched.Tells("c"));
    EXPECT_TRUE(::DeleteFileW(path.c_str()));
    EXPECT_TRUE(watched.Tells("d"));
    WriteFile(path, "again");
    EXPECT_TRUE(watched.Tells("c"));
}

TEST(FileWatchTest, CheckTellsAtOnceAndOnlyOnce) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"a.txt", "1");
    Watched watched(path);
    watched.Check();
    WriteFile(path, "22");
    watched.Check();
    watched.Check();
    // A directory of its name can't be looked at as a file: that is no news of the file.
    ASSERT_TRUE(::DeleteFileW(path.c_str()) && ::CreateDirectoryW(path.c_str(), nullptr));
    watched.Check();
    EXPECT_TRUE(watched.Tells("s"));
}

TEST(FileWatchTest, MissingDirectoryIsLost) {
    const TempFolder folder;
    Watched watched(folder / L"none\\a.txt");
    EXPECT_TRUE(watched.Tells("l"));
    EXPECT_EQ(E_FAIL, watched.Result());
}

TEST(FileWatchTest, RelativePathsStandForThisMomentsDirectory) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"a.txt", "1");
    wchar_t before[MAX_PATH] = {};
    ::GetCurrentDirectoryW(MAX_PATH, before);
    ::SetCurrentDirectoryW(folder.Path().c_str());
    Watched watched(L"a.txt");
    ::SetCurrentDirectoryW(before);
    EXPECT_EQ(0, watched.Path().CompareNoCase(path.c_str()));
    WriteFile(path, "22");
    EXPECT_TRUE(watched.Tells("s"));
}

TEST(FileListenerTest, FunctionsAreToldWhichChangeAndOthersMayBeDeaf) {
    struct Deaf final : OrvaFileEventListener {};
    Deaf deaf;
    std::vector<std::pair<DWORD, DWORD>> told;
    FunctionFileListener listener([&told](DWORD change, DWORD error) { told.emplace_back(change, error); });
    for (OrvaFileEventListener* each :
         {static_cast<OrvaFileEventListener*>(&deaf), static_cast<OrvaFileEventListener*>(&listener)}) {
        each->OnFileNameChanged(nullptr);
        each->OnDirNameChanged(nullptr);
        each->OnAttributesChanged(nullptr);
        each->OnSizeChanged(nullptr);
        each->OnLastWriteChanged(nullptr);
        each->OnLastAccessChanged(nullptr);
        each->OnError(nullptr, 5);
        each->OnRegistered(nullptr);
        each->OnUnregistered(nullptr);
    }
    EXPECT_EQ((std::vector<std::pair<DWORD, DWORD>>{{1, 0}, {2, 0}, {4, 0}, {8, 0}, {0x10, 0}, {0x20, 0}, {0, 5}}),
              told);
}

TEST(FileRegistrationTest, EndsWithItsObject) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"a.txt", "1");
    std::string log;
    FunctionFileListener listener([&log](DWORD change, DWORD error) {
        log += error != 0 ? 'e' : change == FILE_NOTIFY_CHANGE_SIZE ? 's' : '?';
    });
    FileRegistration registration(path.c_str(), FILE_NOTIFY_CHANGE_SIZE, listener);
    EXPECT_EQ(S_OK, registration.GetResult());
    const OrvaFileEventCookie cookie = registration.GetCookie();
    EXPECT_NE(nullptr, cookie);
    FileRegistration moved(std::move(registration));
    EXPECT_EQ(cookie, moved.GetCookie());
    EXPECT_EQ(nullptr, registration.GetCookie()); // NOLINT: a moved-from registration is none
    EXPECT_EQ(E_FAIL, registration.GetResult());
    // The worker's first look at the file is not reported; it takes its messages in order, so the answer to a later one
    // tells that it has looked.
    const FileRegistration later((folder / L"none\\a.txt").c_str(), FILE_NOTIFY_CHANGE_SIZE, listener);
    ASSERT_TRUE(PumpUntil([&] { return log == "e"; })) << log;
    log.clear();
    WriteFile(path, "22");
    EXPECT_TRUE(PumpUntil([&] { return log == "s"; })) << log;

    moved = FileRegistration((folder / L"none\\a.txt").c_str(), FILE_NOTIFY_CHANGE_SIZE, listener);
    EXPECT_TRUE(PumpUntil([&] { return log == "se"; })) << log;
    WriteFile(path, "333");
    moved.Reset();
    moved.Reset();
    EXPECT_FALSE(PumpUntil([&] { return log.size() > 2; }, quiet)) << log;
    const FileRegistration refused(nullptr, FILE_NOTIFY_CHANGE_SIZE, listener);
    EXPECT_EQ(E_POINTER, refused.GetResult());
    EXPECT_EQ(nullptr, refused.GetCookie());
}

} // namespace
} // namespace tarnu::test
