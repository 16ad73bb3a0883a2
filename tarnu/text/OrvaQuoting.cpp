/// @file
/// Labels, quoting and escaping.
#include "tarnu/text/OrvaStrings.h"
#include "tarnu/text/TextSearchInternal.h"

using namespace tarnu::support;

void OrvaMakeLabel(CString& text, bool leadingNewline) {
    const std::wstring_view caption = Trimmed(ViewOf(text));
    CString label;
    if (!caption.empty()) {
        if (leadingNewline) label = L'\n'; // trimming has taken any line break of its own
        AppendTo(label, caption);
        AppendTo(label, caption.back() == L':' ? L" " : L": ");
    }
    text = label;
}

void OrvaQuote(CString& text) {
    constexpr wchar_t Quote = L'"';
    const std::wstring_view trimmed = Trimmed(ViewOf(text));
    bool startsQuoted = false;
    bool endsQuoted = false;
    bool balanced = true;
    for (std::size_t index = 0; index < trimmed.size(); ++index) {
        if (trimmed[index] != Quote) continue;
        if (index == 0)
            startsQuoted = true; // so a text of one quote starts quoted only
        else if (index == trimmed.size() - 1)
            endsQuoted = true;
        else
            balanced = !balanced;
    }

    std::wstring_view front = L"\"";
    std::wstring_view back = L"\"";
    if (balanced) {
        if (startsQuoted && endsQuoted) front = back = {};
    } else {
        if (startsQuoted) front = {};
        back = startsQuoted || endsQuoted ? std::wstring_view() : L"\"\"";
    }
    CString quoted;
    AppendTo(quoted, front);
    AppendTo(quoted, trimmed);
    AppendTo(quoted, back);
    text = quoted;
}

CString OrvaEscapeEach(const CString& target, const CString& escape, const CString& text) {
    if (target.IsEmpty() || escape.IsEmpty()) return text;
    const std::wstring_view source = ViewOf(text);
    const std::wstring_view mark = ViewOf(escape);
    OccurrenceScanner targets(ViewOf(target), source);
    OccurrenceScanner escapes(mark, source);

    CString result;
    std::size_t copied = 0; // of the source
    std::size_t start = 0;
    for (std::size_t found; (found = targets.FindFrom(start)) != OccurrenceScanner::None; start = found + 1) {
        // One would expect any escape right before the target to count. Only the first one at or behind the start of
        // the stretch does, so a target behind two escapes gets a third: hosts rely on it when they escape a text
        // twice.
        const std::size_t firstEscape = escapes.FindFrom(start);
        if (firstEscape != OccurrenceScanner::None && firstEscape + mark.size() == found) continue;
        AppendTo(result, source.substr(copied, found - copied));
        AppendTo(result, mark);
        copied = found;
    }
    if (copied == 0 && result.IsEmpty()) return text;
    AppendTo(result, source.substr(copied));
    return result;
}
