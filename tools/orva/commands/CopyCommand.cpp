#include "orva/Command.h"
#include "orva/TreeProgress.h"

#include <algorithm>
#include <iterator>
#include <memory>

namespace orva {
namespace {

struct Options {
    std::string source;
    std::string destination;
    std::string policy = "fail";
    int retries = OrvaTreeOptions().sharingRetries;
    bool isQuiet = false;
};

struct NamedPolicy {
    const char* name;
    OrvaTreePolicy policy;
};
constexpr NamedPolicy policies[] = {{"fail", OrvaTreePolicy::Fail},
                                    {"skip", OrvaTreePolicy::Skip},
                                    {"overwrite", OrvaTreePolicy::Overwrite},
                                    {"newer", OrvaTreePolicy::Newer}};

OrvaTreePolicy PolicyOf(const std::string& name) {
    return std::find_if(std::begin(policies), std::end(policies),
                        [&name](const NamedPolicy& named) { return named.name == name; })
        ->policy;
}

CLI::App* Declare(CLI::App& program, const char* name, const char* description, Options& options) {
    CLI::App* command = program.add_subcommand(name, description);
    command->add_option("DIR", options.source, "The folder")->required();
    command->add_option("DESTINATION", options.destination, "What it becomes; created with the folders above it")
        ->required();
    command->add_option("-p,--policy", options.policy, "What happens to files that are there")
        ->check(CLI::IsMember({"fail", "skip", "overwrite", "newer"}))
        ->capture_default_str();
    command->add_option("-r,--retries", options.retries, "Further tries for files that are in use")
        ->check(CLI::Range(0, 1000))
        ->capture_default_str();
    command->add_flag("-q,--quiet", options.isQuiet, "Show no progress");
    return command;
}

/// Copies; true when all of the source is in the destination now.
bool Copy(const Options& options, TreeProgress& progress, OrvaTreeCounts& counts) {
    OrvaTreeOptions work;
    work.policy = PolicyOf(options.policy);
    work.sharingRetries = options.retries;
    work.onFailure = [&progress](const wchar_t* path, DWORD error) { progress.Report(path, error); };
    const std::wstring source = Wide(options.source);
    const std::wstring destination = Wide(options.destination);
    const int flag = OrvaCopyTree(source.c_str(), destination.c_str(), work, &counts);
    progress.Finish();
    std::wstring text = L"copied " + Counted(counts.files, L"file", L"files") + L", " +
                        Counted(counts.directories, L"new folder", L"new folders");
    if (counts.links != 0) text += L", " + Counted(counts.links, L"link", L"links");
    if (counts.skipped != 0) text += L"; skipped " + Counted(counts.skipped, L"entry", L"entries");
    if (counts.failures != 0) text += L"; " + Counted(counts.failures, L"failure", L"failures");
    Print(text + L"\n");
    return flag == 0;
}

int RunCopy(const Options& options) {
    TreeProgress progress(options.isQuiet);
    OrvaTreeCounts counts;
    return Copy(options, progress, counts) ? exitSuccess : exitFailure;
}

int RunMove(const Options& options) {
    TreeProgress progress(options.isQuiet);
    OrvaTreeCounts counts;
    if (!Copy(options, progress, counts)) {
        PrintError(L"orva: the source was left as it was\n");
        return exitFailure;
    }
    if (counts.skipped != 0) {
        PrintError(L"orva: the source was left as it was: not all of it was copied\n");
        return exitFailure;
    }
    OrvaTreeOptions work;
    work.sharingRetries = options.retries;
    work.onFailure = [&progress](const wchar_t* path, DWORD error) { progress.Report(path, error); };
    return OrvaRemoveTree(Wide(options.source).c_str(), work) == 0 ? exitSuccess : exitFailure;
}

} // namespace

void AddCopyCommand(CLI::App& program, Action& action) {
    auto options = std::make_shared<Options>();
    CLI::App* command = Declare(program, "copy", "Copies a folder with all that is in it; links stay links", *options);
    command->callback([options, &action] { action = [options] { return RunCopy(*options); }; });
}

void AddMoveCommand(CLI::App& program, Action& action) {
    auto options = std::make_shared<Options>();
    CLI::App* command =
        Declare(program, "move", "Copies a folder and then deletes it, if all of it was copied", *options);
    command->callback([options, &action] { action = [options] { return RunMove(*options); }; });
}

} // namespace orva
