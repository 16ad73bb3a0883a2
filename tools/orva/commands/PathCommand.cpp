#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::string path;
    std::string base;
    std::vector<std::string> parts;
    bool hasSlashes = false;
    bool mustExist = false;
};

unsigned FlagsOf(const Options& options) {
    return (options.hasSlashes ? OrvaPath::SlashSeparator : OrvaPath::BackslashSeparator) | OrvaPath::Normalized;
}

OrvaPath PathOf(const Options& options) {
    return OrvaPath(Wide(options.path), FlagsOf(options));
}

int PrintPath(const OrvaPath& path) {
    Print(std::wstring(path) + L"\n");
    return exitSuccess;
}

int Split(const Options& options) {
    OrvaPath drive;
    OrvaPath directory;
    OrvaPath name;
    OrvaPath extension;
    const OrvaPath path = PathOf(options);
    path.SplitPath(drive, directory, name, extension);
    Print(L"drive       " + std::wstring(drive) + L"\n" + L"directory   " + std::wstring(directory) + L"\n" +
          L"name        " + std::wstring(name) + L"\n" + L"extension   " + std::wstring(extension) + L"\n");
    CStringList components;
    path.GetComponents(components);
    for (POSITION position = components.GetHeadPosition(); position != nullptr;) {
        const bool isFirst = position == components.GetHeadPosition();
        const std::wstring component(components.GetNext(position).GetString());
        Print((isFirst ? L"components  " : L"            ") + component + L"\n");
    }
    return exitSuccess;
}

int Join(const Options& options) {
    OrvaPath path = PathOf(options);
    for (const std::string& part : options.parts)
        path.JoinInPlace(Wide(part).c_str());
    return PrintPath(path);
}

int Relative(const Options& options) {
    // The base is a folder; without a separator at its end its last part would count as a file.
    OrvaPath base(Wide(options.base), FlagsOf(options));
    base.AddTrailingSeparator();
    const OrvaPath relative = PathOf(options).GetRelativeTo(base);
    if (!relative.IsEmpty()) return PrintPath(relative);
    PrintError(L"orva: there is no way from " + std::wstring(base) + L" to " + Wide(options.path) + L"\n");
    return exitFailure;
}

int Absolute(const Options& options) {
    OrvaPath path = PathOf(options);
    OrvaPath base(Wide(options.base));
    if (base.IsEmpty()) base.GetCurrentDirectory();
    if (path.MakeAbsolute(base, /*baseIsFile=*/false, /*tryNameOnly=*/false, options.mustExist)) {
        path.ApplyOptions(FlagsOf(options));
        return PrintPath(path);
    }
    PrintError(L"orva: " + std::wstring(path) + (options.mustExist ? L" is not there" : L" can't be made absolute") +
               L"\n");
    return exitFailure;
}

/// Declares one operation on a path, which every one of them takes first.
CLI::App* Declare(CLI::App& parent, const char* name, const char* description, const std::shared_ptr<Options>& options,
                  Action& action, int (*run)(const Options&)) {
    CLI::App* command = parent.add_subcommand(name, description);
    command->add_option("PATH", options->path, "The path")->required();
    command->add_flag("-s,--slashes", options->hasSlashes, "Write / instead of \\");
    command->callback([options, &action, run] { action = [options, run] { return run(*options); }; });
    return command;
}

} // namespace

void AddPathCommand(CLI::App& program, Action& action) {
    auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("path", "Takes paths apart and puts them together");
    command->require_subcommand(1);
    Declare(*command, "split", "Prints drive, directory, name, extension and components", options, action, &Split);
    Declare(*command, "join", "Joins parts on to a path", options, action, &Join)
        ->add_option("PART", options->parts, "What comes behind it")
        ->required();
    Declare(*command, "relative", "Prints a path relative to a folder", options, action, &Relative)
        ->add_option("FOLDER", options->base, "The folder")
        ->required();
    Declare(*command, "normalise", "Prints a path with single separators and without quotes", options, action,
            [](const Options& given) { return PrintPath(PathOf(given)); })
        ->alias("normalize");
    CLI::App* absolute =
        Declare(*command, "absolute", "Prints a path as seen from a folder", options, action, &Absolute);
    absolute->add_option("FOLDER", options->base, "The folder; the current one when left out");
    absolute->add_flag("-e,--exists", options->mustExist, "Fail when nothing is there");
}

} // namespace orva
