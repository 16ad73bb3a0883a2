#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::wstring file;
    std::vector<std::wstring> lines;
    bool isStamped = false;
    bool isAppended = false;
    bool isBare = false;
};

int Run(const Options& options) {
    try {
        OrvaStdioFile report(OrvaPath(options.file.c_str()), options.isStamped, !options.isAppended,
                             options.isBare ? 0 : 1);
        if (!report.IsOpened()) {
            PrintError(L"orva: a report needs a file name\n");
            return exitFailure;
        }
        for (const std::wstring& line : options.lines)
            report.WriteString((line + L"\n").c_str());
        const CString path = report.GetFilePath();
        report.Close();
        Print(std::wstring(path) + L"\n");
        return exitSuccess;
    } catch (CFileException* error) {
        wchar_t text[512] = {0};
        error->GetErrorMessage(text, 512);
        PrintError(Format(L"orva: %s\n", text));
        error->Delete();
        return exitFailure;
    }
}

} // namespace

void AddReportCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add("report", "Writes lines into a report file and prints the file's path.");
    command.Text("FILE", options->file, "the file; the folders above it are created").Required();
    command.Texts("TEXT", options->lines, "the lines to write");
    command.Flag("-s,--stamp", options->isStamped, "put the time into the file's name");
    command.Flag("-a,--append", options->isAppended, "keep what the file holds and write on");
    command.Flag("-b,--bare", options->isBare, "write no header");
    command.Example("C:\\jobs\\night.txt -a \"backup done\"", "one more line in a running report");
    command.Run([options] { return Run(*options); });
}

} // namespace orva
