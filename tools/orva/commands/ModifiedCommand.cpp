#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <memory>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::vector<std::string> files;
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
    for (const std::string& name : options.files) {
        OrvaPath path(Wide(name));
        // Changes are known by full names.
        if (!path.MakeAbsolute(current.GetText(), /*baseIsFile=*/false, /*tryNameOnly=*/false, /*mustExist=*/false)) {
            PrintError(Format(L"orva: %s: no such name\n", Wide(name).c_str()));
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

void AddModifiedCommand(CLI::App& program, Action& action) {
    auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand(
        "modified", "Tells which files change; the exit status is 0 when any did and 1 when none did");
    command->add_option("FILE", options->files, "The files")->required();
    command->add_option("-t,--time", options->seconds, "Seconds to go on asking")
        ->check(CLI::Range(1, 86400))
        ->capture_default_str();
    command->add_option("-i,--interval", options->interval, "Milliseconds between two questions")
        ->check(CLI::Range(10, 60000))
        ->capture_default_str();
    command->callback([options, &action] { action = [options] { return Run(*options); }; });
}

} // namespace orva
