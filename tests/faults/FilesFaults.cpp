// Faults in the operations on files and directory trees.

#include "faults/FaultDriver.h"

#include "tarnu/files/OrvaFileOperations.h"

#include <gtest/gtest.h>

namespace tarnu::test::faults {
namespace {

TEST(FilesFaults, WritingAFile) {
    Inject([](Trial& trial) {
        const std::wstring path = trial.MakeFile(L"target.txt", "old");
        const int flag = trial.Operate([&] { return OrvaWriteFile(path.c_str(), "new", 3); });
        trial.ExpectSuccessUnlessFault(flag == 0);
        EXPECT_EQ(ReadFile(path), flag == 0 ? "new" : "old");
        if (flag != 0) trial.ExpectReason();
        EXPECT_EQ(OrvaWriteFile(path.c_str(), "again", 5), 0);
        EXPECT_EQ(ReadFile(path), "again");
    });
}

TEST(FilesFaults, ReadingAFile) {
    Inject([](Trial& trial) {
        const std::wstring path = trial.MakeFile(L"source.txt", "contents");
        std::vector<unsigned char> bytes{'x'};
        const int flag = trial.Operate([&] { return OrvaReadFile(path.c_str(), bytes); });
        trial.ExpectSuccessUnlessFault(flag == 0);
        EXPECT_EQ(std::string(bytes.begin(), bytes.end()), flag == 0 ? "contents" : "x");
        if (flag != 0) trial.ExpectReason();
        EXPECT_EQ(OrvaReadFile(path.c_str(), bytes), 0);
    });
}

TEST(FilesFaults, DeletingAFile) {
    Inject([](Trial& trial) {
        const std::wstring path = trial.MakeFile(L"target.txt", "old");
        ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
        const DWORD attributes = ::GetFileAttributesW(path.c_str());
        const int flag = trial.Operate([&] { return OrvaDeleteFile(path.c_str()); });
        trial.ExpectSuccessUnlessFault(flag == 0);
        EXPECT_EQ(Exists(path), flag != 0);
        if (flag != 0) {
            trial.ExpectReason();
            // What could not be read is put back as it is, and so is not what it was.
            const bool isKnown = !trial.IsFault("GetFileAttributesW") && !trial.IsFault("SetFileAttributesW");
            EXPECT_TRUE(!isKnown || ::GetFileAttributesW(path.c_str()) == attributes);
            EXPECT_EQ(OrvaDeleteFile(path.c_str()), 0);
        }
    });
}

} // namespace
} // namespace tarnu::test::faults
