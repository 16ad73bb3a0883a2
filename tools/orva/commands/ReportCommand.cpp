#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <memory>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::string file;
    std::vector<std::string> lines;
    bool isStamped = false;
    bool isAppended = false;
    bool isBare = false;
};

int Run(const Options& options) {
    try {
        OrvaStdioFile report(OrvaPath(Wide(options.file)), options.isStamped, !options.isAppended,
                             options.isBare ? 0 : 1);
        if (!report.IsOpened()) {
            PrintError(L"orva: a report needs a file name\n");
            return exitFailure;
        }
        for (const std::string& line : options.lines)
            report.WriteString((Wide(line) + L"\n").c_str());
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

void AddReportCommand(CLI::App& program, Action& action) {
    auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("report", "Writes a report file and prints its name");
    command->add_option("FILE", options->file, "The file; the folders above it are created")->required();
    command->add_option("TEXT", options->lines, "Lines to write");
    command->add_flag("-s,--stamp", options->isStamped, "Put the time into the file name");
    command->add_flag("-a,--append", options->isAppended, "Keep what the file holds and write on");
    command->add_flag("-b,--bare", options->isBare, "Write no header");
    command->callback([options, &action] { action = [options] { return Run(*options); }; });
}

} // namespace orva
