#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::wstring path;
    std::wstring base;
    std::vector<std::wstring> parts;
    bool hasSlashes = false;
    bool mustExist = false;
};

unsigned FlagsOf(const Options& options) {
    return (options.hasSlashes ? OrvaPath::SlashSeparator : OrvaPath::BackslashSeparator) | OrvaPath::Normalized;
}

OrvaPath PathOf(const Options& options) {
    return OrvaPath(options.path.c_str(), FlagsOf(options));
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
    for (const std::wstring& part : options.parts)
        path.JoinInPlace(part.c_str());
    return PrintPath(path);
}

int Relative(const Options& options) {
    // The base is a folder; without a separator at its end its last part would count as a file.
    OrvaPath base(options.base.c_str(), FlagsOf(options));
    base.AddTrailingSeparator();
    const OrvaPath relative = PathOf(options).GetRelativeTo(base);
    if (!relative.IsEmpty()) return PrintPath(relative);
    PrintError(L"orva: there is no way from " + std::wstring(base) + L" to " + options.path + L"\n");
    return exitFailure;
}

int Absolute(const Options& options) {
    OrvaPath path = PathOf(options);
    OrvaPath base(options.base.c_str());
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
Command& Declare(Command& parent, const char* name, const char* description, const std::shared_ptr<Options>& options,
                 int (*run)(const Options&)) {
    Command& command = parent.Add(name, description);
    command.Text("PATH", options->path, "the path; nothing needs to be there").Required();
    command.Flag("-s,--slashes", options->hasSlashes, "print / between the parts instead of \\");
    command.Run([options, run] { return run(*options); });
    return command;
}

} // namespace

void AddPathCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& path = program.Add("path", "Takes paths apart, puts them together and rewrites them.\n\nBoth \\ and / are "
                                        "understood. Drives and \\\\server\\share stay whole.");

    Declare(path, "split", "Prints the drive, directory, name, extension and components of a path.", options, &Split)
        .Example("C:\\jobs\\plan.v2.xml", "drive C:, directory \\jobs\\, name plan.v2, extension .xml");

    Command& join =
        Declare(path, "join", "Appends parts to a path, with one separator between any two.", options, &Join);
    join.Texts("PART", options->parts, "what comes behind the path, in this order").Required();
    join.Example("C:\\jobs mill\\ plan.xml", "prints C:\\jobs\\mill\\plan.xml");

    Command& relative = Declare(path, "relative", "Prints the way from a folder to a path.", options, &Relative);
    relative.Text("FOLDER", options->base, "the folder where the way begins").Required();
    relative.Example("C:\\jobs\\a\\plan.xml C:\\jobs\\b", "prints ..\\a\\plan.xml");
    relative.Statuses("the way was printed", "there is none: the path is on another drive");

    Command& normalise = Declare(path, "normalise", "Prints a path with single separators and without quotes.", options,
                                 [](const Options& given) { return PrintPath(PathOf(given)); });
    normalise.Alias("normalize");
    normalise.Example("C:/jobs//mill\\\\plan.xml", "prints C:\\jobs\\mill\\plan.xml");

    Command& absolute = Declare(path, "absolute", "Prints the full path of one that is meant relative to a folder.",
                                options, &Absolute);
    absolute.Text("FOLDER", options->base, "the folder (default: the current one)");
    absolute.Flag("-e,--exists", options->mustExist, "fail when nothing is there");
    absolute.Example("..\\plan.xml C:\\jobs\\mill", "prints C:\\jobs\\plan.xml");
    absolute.Statuses("the path was printed", "there is no such path, or nothing is there");
}

} // namespace orva
