/// @file
/// What the commands over directory trees and archives share: the library's progress meter on the console, a stop by
/// Ctrl+C, and failures in words.
#ifndef TARNU_TOOLS_ORVA_TREEPROGRESS_H
#define TARNU_TOOLS_ORVA_TREEPROGRESS_H

#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <string>

namespace orva {

/// While it lives, shows the library's progress on a line, and turns Ctrl+C into a request to stop. One at a time.
class TreeProgress {
public:
    /// @param isQuiet shows nothing; the request to stop works all the same
    explicit TreeProgress(bool isQuiet);
    ~TreeProgress();
    TreeProgress(const TreeProgress&) = delete;
    TreeProgress& operator=(const TreeProgress&) = delete;

    /// Prints one failure; fits OrvaTreeOptions::onFailure.
    void Report(const wchar_t* path, DWORD error);
    /// Takes the line away, so that other output can follow.
    void Finish() { m_line.Clear(); }

private:
    static int __cdecl OnProgress(int operation, int value, const wchar_t* text);
    int Show(int operation, int value, const wchar_t* text);

    const bool m_isQuiet;
    ProgressLine m_line;
    std::wstring m_entry;
    int m_count = 0;
};

} // namespace orva

#endif // TARNU_TOOLS_ORVA_TREEPROGRESS_H
