#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <memory>
#include <string>

namespace orva {
namespace {

struct Options {
    std::string start;
    std::string title = "Choose a folder";
};

int Run(const Options& options) {
    OrvaPath start;
    if (!options.start.empty()) {
        // The dialog finds a folder by its full name alone, and shows its default place for one that is missing.
        start = OrvaPath(Wide(options.start), OrvaPath::Normalized);
        const OrvaPath current(OrvaPath::CurrentDirectory);
        const bool isAbsolute = start.MakeAbsolute(current.GetText(), /*baseIsFile=*/false, /*tryNameOnly=*/false,
                                                   /*mustExist=*/false);
        const DWORD attributes = isAbsolute ? ::GetFileAttributesW(start) : INVALID_FILE_ATTRIBUTES;
        if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            PrintError(Format(L"orva: %s: there is no such folder\n", Wide(options.start).c_str()));
            return exitFailure;
        }
    }
    OrvaBrowseForDirectory picker;
    OrvaPath folder;
    const wchar_t* const initialFolder = start.IsEmpty() ? nullptr : start.GetText().GetString();
    if (!picker.Browse(folder, initialFolder, Wide(options.title).c_str(), /*owner=*/nullptr)) {
        PrintError(L"orva: no folder was chosen\n");
        return exitFailure;
    }
    Print(std::wstring(folder) + L"\n");
    return exitSuccess;
}

} // namespace

void AddBrowseCommand(CLI::App& program, Action& action) {
    auto options = std::make_shared<Options>();
    CLI::App* command =
        program.add_subcommand("browse", "Shows the folder picker and prints the folder that was chosen");
    command->add_option("--start", options->start, "The folder that is selected at first")->type_name("DIR");
    command->add_option("--title", options->title, "The text above the tree")->capture_default_str();
    command->callback([options, &action] { action = [options] { return Run(*options); }; });
}

} // namespace orva
