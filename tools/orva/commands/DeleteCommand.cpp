#include "orva/Command.h"
#include "orva/TreeProgress.h"

#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::vector<std::wstring> folders;
    int retries = OrvaTreeOptions().sharingRetries;
    bool isQuiet = false;
};

int Run(const Options& options) {
    TreeProgress progress(options.isQuiet);
    OrvaTreeOptions work;
    work.sharingRetries = options.retries;
    work.onFailure = [&progress](const wchar_t* path, DWORD error) { progress.Report(path, error); };
    int failed = 0;
    for (const std::wstring& path : options.folders) {
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

void AddDeleteCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add("delete", "Deletes folders with all that is in them.\n\nNothing asks again. Links "
                                             "are deleted as links: what they lead to stays. Read-only files go, too.");
    command.Texts("DIR", options->folders, "the folders; one that does not exist counts as deleted").Required();
    command.Number("-r,--retries", options->retries, 0, 1000, "COUNT", "further tries for a file that is in use");
    command.Flag("-q,--quiet", options->isQuiet, "show no progress");
    command.Example("C:\\jobs\\old C:\\jobs\\tmp", "both folders");
    command.Run([options] { return Run(*options); });
}

} // namespace orva
