// Faults in the files of the built-in framework, as the library's reports and logs use them.

#include "faults/FaultDriver.h"

#include "tarnu/framework/framework.h"

#include <gtest/gtest.h>

namespace tarnu::test::faults {
namespace {

/// Runs an operation of the framework, which reports a failure by an exception; false when it did.
template <class Operation>
bool Succeeds(Trial& trial, Operation operation) {
    return trial.Operate([&] {
        try {
            operation();
            return true;
        } catch (CException* error) {
            error->Delete();
        } catch (const std::bad_alloc&) {
        }
        return false;
    });
}

TEST(FrameworkFaults, File) {
    Inject([](Trial& trial) {
        const std::wstring path = trial / L"file.bin";
        const std::wstring moved = trial / L"moved.bin";
        char read[5] = {};
        ULONGLONG length = 0;
        const bool succeeds = Succeeds(trial, [&] {
            CFile file(path.c_str(), CFile::modeCreate | CFile::modeReadWrite);
            file.Write("12345", 5);
            file.Flush();
            file.SetLength(4);
            file.Seek(0, CFile::begin);
            file.Read(read, 4);
            length = file.GetLength();
            CFileStatus status;
            file.GetStatus(status);
            file.Close();
            CFile::GetStatus(path.c_str(), status);
            CFile::Rename(path.c_str(), moved.c_str());
        });
        trial.ExpectSuccessUnlessFault(succeeds);
        EXPECT_TRUE(!succeeds || (length == 4 && std::string(read) == "1234" && ReadFile(moved) == "1234"));
        EXPECT_TRUE(Succeeds(trial, [&] { CFile::Remove((Exists(moved) ? moved : path).c_str()); }) ||
                    trial.HasFault());
    });
}

TEST(FrameworkFaults, TextFile) {
    Inject([](Trial& trial) {
        const std::wstring path = trial / L"file.txt";
        CString line;
        wchar_t buffer[8] = {};
        const bool succeeds = Succeeds(trial, [&] {
            CStdioFile file(path.c_str(), CFile::modeCreate | CFile::modeReadWrite | CFile::typeText);
            file.WriteString(L"one\n");
            file.WriteString(L"two\n");
            file.Flush();
            file.SeekToBegin();
            file.ReadString(line);
            file.ReadString(buffer, 8);
            file.Close();
        });
        trial.ExpectSuccessUnlessFault(succeeds);
        EXPECT_TRUE(!succeeds || (line == L"one" && std::wstring(buffer) == L"two\n"));
        EXPECT_TRUE(!succeeds || ReadFile(path) == "one\r\ntwo\r\n");
    });
}

} // namespace
} // namespace tarnu::test::faults
