#include "orva/Command.h"
#include "orva/TreeProgress.h"

#include <memory>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::vector<std::string> folders;
    int retries = OrvaTreeOptions().sharingRetries;
    bool isQuiet = false;
};

int Run(const Options& options) {
    TreeProgress progress(options.isQuiet);
    OrvaTreeOptions work;
    work.sharingRetries = options.retries;
    work.onFailure = [&progress](const wchar_t* path, DWORD error) { progress.Report(path, error); };
    int failed = 0;
    for (const std::string& folder : options.folders) {
        const std::wstring path = Wide(folder);
        OrvaTreeCounts counts;
        failed |= OrvaRemoveTree(path.c_str(), work, &counts);
        progress.Finish();
        std::wstring text = path + L": deleted " + Counted(counts.files, L"file", L"files") + L", " +
                            Counted(counts.directories, L"folder", L"folders");
        if (counts.links != 0) text += L", " + Counted(counts.links, L"link", L"links");
        if (counts.failures != 0) text += L"; " + Counted(counts.failures, L"failure", L"failures");
        Print(text + L"\n");
        if (counts.stopped) break;
    }
    return failed == 0 ? exitSuccess : exitFailure;
}

} // namespace

void AddDeleteCommand(CLI::App& program, Action& action) {
    auto options = std::make_shared<Options>();
    CLI::App* command =
        program.add_subcommand("delete", "Deletes folders with all that is in them; links are not followed");
    command->add_option("DIR", options->folders, "The folders; one that does not exist counts as deleted")->required();
    command->add_option("-r,--retries", options->retries, "Further tries for files that are in use")
        ->check(CLI::Range(0, 1000))
        ->capture_default_str();
    command->add_flag("-q,--quiet", options->isQuiet, "Show no progress");
    command->callback([options, &action] { action = [options] { return Run(*options); }; });
}

} // namespace orva
