#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <memory>
#include <string>

namespace orva {
namespace {

struct Options {
    std::wstring start;
    std::wstring title = L"Choose a folder";
};

int Run(const Options& options) {
    OrvaPath start;
    if (!options.start.empty()) {
        // The dialog finds a folder by its full name alone, and shows its default place for one that is missing.
        start = OrvaPath(options.start.c_str(), OrvaPath::Normalized);
        const OrvaPath current(OrvaPath::CurrentDirectory);
        const bool isAbsolute = start.MakeAbsolute(current.GetText(), /*baseIsFile=*/false, /*tryNameOnly=*/false,
                                                   /*mustExist=*/false);
        const DWORD attributes = isAbsolute ? ::GetFileAttributesW(start) : INVALID_FILE_ATTRIBUTES;
        if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            PrintError(Format(L"orva: %s: there is no such folder\n", options.start.c_str()));
            return exitFailure;
        }
    }
    OrvaBrowseForDirectory picker;
    OrvaPath folder;
    const wchar_t* const initialFolder = start.IsEmpty() ? nullptr : start.GetText().GetString();
    if (!picker.Browse(folder, initialFolder, options.title.c_str(), /*owner=*/nullptr)) {
        PrintError(L"orva: no folder was chosen\n");
        return exitFailure;
    }
    Print(std::wstring(folder) + L"\n");
    return exitSuccess;
}

} // namespace

void AddBrowseCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add("browse", "Shows the folder picker and prints the folder that was chosen.");
    command.Text("--start", options->start, "DIR", "the folder that is selected at first");
    command.Text("--title", options->title, "TEXT", "what the dialog says above the folders");
    command.Example("--start C:\\jobs --title \"Where is the survey?\"", "begin in C:\\jobs");
    command.Statuses("a folder was chosen", "none was chosen, or the one to start with is not there");
    command.Run([options] { return Run(*options); });
}

} // namespace orva
