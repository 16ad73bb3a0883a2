#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::vector<std::wstring> files;
    int seconds = 10;
    int interval = 500;
};

/// A file that is asked about again and again.
struct Watched {
    std::wstring path;
    bool isThere;
};

/// Asks about a file, and says what became of it. A file that can't be read counts as modified every time: only its
/// disappearance is news.
bool Ask(Watched& file) {
    const bool wasThere = file.isThere;
    const bool isModified = OrvaFileModifiedManager::IsFileModified(file.path.c_str());
    file.isThere = OrvaFileExists(file.path.c_str());
    if (!file.isThere) {
        if (wasThere) Print(L"gone      " + file.path + L"\n");
        return wasThere;
    }
    if (isModified || !wasThere) Print((wasThere ? L"modified  " : L"there     ") + file.path + L"\n");
    return isModified || !wasThere;
}

int Run(const Options& options) {
    const OrvaPath current(OrvaPath::CurrentDirectory);
    std::vector<Watched> files;
    for (const std::wstring& name : options.files) {
        OrvaPath path(name.c_str());
        // Changes are known by full names.
        if (!path.MakeAbsolute(current.GetText(), /*baseIsFile=*/false, /*tryNameOnly=*/false, /*mustExist=*/false)) {
            PrintError(Format(L"orva: %s: no such name\n", name.c_str()));
            return exitFailure;
        }
        files.push_back({path.GetText().GetString(), OrvaFileExists(path)});
        OrvaFileModifiedManager::IsFileModified(path); // the first question remembers
        if (!files.back().isThere) Print(L"missing   " + files.back().path + L"\n");
    }
    const ULONGLONG end = ::GetTickCount64() + static_cast<ULONGLONG>(options.seconds) * 1000;
    bool anything = false;
    while (::GetTickCount64() < end) {
        ::Sleep(static_cast<DWORD>(options.interval));
        for (Watched& file : files)
            anything |= Ask(file);
    }
    return anything ? exitSuccess : exitFailure;
}

} // namespace

void AddModifiedCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add("modified", "Asks again and again which files have changed, and prints them.");
    command.Texts("FILE", options->files, "the files").Required();
    command.Number("-t,--time", options->seconds, 1, 86400, "SECONDS", "how long to go on asking, in seconds");
    command.Number("-i,--interval", options->interval, 10, 60000, "MS", "pause between two rounds, in milliseconds");
    command.Example("plan.xml points.csv --time 60", "what changes in the next minute");
    command.Statuses("at least one file changed", "none changed, or a name is none");
    command.Run([options] { return Run(*options); });
}

} // namespace orva
