#include "orva/Command.h"
#include "orva/TreeProgress.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::wstring source;
    std::wstring destination;
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

Command& Declare(Command& program, const char* name, const char* description, Options& options) {
    Command& command = program.Add(name, description);
    command.Text("DIR", options.source, "the folder").Required();
    command.Text("DESTINATION", options.destination, "what it becomes; created with the folders above it").Required();
    std::vector<std::string> words;
    for (const NamedPolicy& policy : policies)
        words.emplace_back(policy.name);
    command.Choice("-p,--policy", options.policy, words, "what happens to a file that is there already");
    command.Number("-r,--retries", options.retries, 0, 1000, "COUNT", "further tries for a file that is in use");
    command.Flag("-q,--quiet", options.isQuiet, "show no progress");
    return command;
}

/// Copies; true when all of the source is in the destination now.
bool Copy(const Options& options, TreeProgress& progress, OrvaTreeCounts& counts) {
    OrvaTreeOptions work;
    work.policy = PolicyOf(options.policy);
    work.sharingRetries = options.retries;
    work.onFailure = [&progress](const wchar_t* path, DWORD error) { progress.Report(path, error); };
    const int flag = OrvaCopyTree(options.source.c_str(), options.destination.c_str(), work, &counts);
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
    return OrvaRemoveTree(options.source.c_str(), work) == 0 ? exitSuccess : exitFailure;
}

} // namespace

void AddCopyCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = Declare(program, "copy",
                               "Copies a folder with all that is in it.\n\nLinks are copied as links and not entered. "
                               "Ctrl+C stops between two files.",
                               *options);
    command.Example("C:\\jobs D:\\backup --policy newer", "bring a copy up to date");
    command.Run([options] { return RunCopy(*options); });
}

void AddMoveCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = Declare(program, "move",
                               "Copies a folder, and deletes the original when all of it was copied.\n\nAfter a "
                               "failure, a stop or a skipped file the original is left whole.",
                               *options);
    command.Example("C:\\jobs\\2019 D:\\archive\\2019", "the folder 2019 changes drives");
    command.Run([options] { return RunMove(*options); });
}

} // namespace orva
