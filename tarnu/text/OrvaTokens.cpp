/// @file
/// Tokens and separated lists.
#include "tarnu/text/OrvaStrings.h"
#include "tarnu/text/TextSearchInternal.h"

#include <cwchar>

using namespace tarnu::support;

bool OrvaNextToken(const wchar_t*& cursor, const wchar_t* delimiters, CString& token) {
    if (cursor == nullptr) {
        token.Empty();
        return false;
    }
    if (delimiters == nullptr) delimiters = L"";
    const wchar_t* begin = cursor + std::wcsspn(cursor, delimiters);
    const std::wstring_view found(begin, std::wcscspn(begin, delimiters));
    token.SetString(found.data(), LengthOf(found));
    const wchar_t* end = begin + found.size();
    cursor = *end == 0 ? end : end + 1;
    return !found.empty();
}

CString OrvaPopToken(const CString& separator, CString& list) {
    const std::wstring_view text = ViewOf(list);
    const std::size_t position = separator.IsEmpty() ? std::wstring_view::npos : text.find(ViewOf(separator));
    if (position == std::wstring_view::npos) {
        CString whole(list);
        list.Empty();
        return whole;
    }
    CString head = ToString(text.substr(0, position));
    list = ToString(text.substr(position + ViewOf(separator).size()));
    return head;
}

CString OrvaPopCommaToken(CString& list) {
    return OrvaPopToken(CString(L","), list);
}

CString OrvaPopSpaceToken(CString& list) {
    return OrvaPopToken(CString(L" "), list);
}

bool OrvaSplitCommaList(const CString& list, CStringList& out) {
    const CString keeper(list); // NOLINT(performance-unnecessary-copy-initialization): the list may be in out
    std::wstring_view rest = ViewOf(keeper);
    while (!rest.empty()) {
        const std::wstring_view token = rest.substr(0, rest.find(L','));
        rest.remove_prefix(token.size() < rest.size() ? token.size() + 1 : token.size());
        const std::wstring_view item = Trimmed(token);
        if (!item.empty()) out.AddTail(ToString(item));
    }
    // One would expect the result to tell whether there was an item. It is true in every case: hosts read it as
    // "every token was looked at".
    return true;
}

void OrvaPlaceToken(const CString& value, const CString& separator, int index, CString& list) {
    if (separator.IsEmpty()) return;
    const std::wstring_view item = ViewOf(value);
    const std::wstring_view between = ViewOf(separator);
    const std::wstring_view old = ViewOf(list);

    CString result;
    bool placed = false;
    int count = 0; // of the old items so far, dropped ones included
    const auto appendItem = [&](std::wstring_view text) {
        if (count > 0) AppendTo(result, between);
        AppendTo(result, text);
    };

    OccurrenceScanner separators(between, old);
    for (std::size_t position = 0; position < old.size(); ++count) {
        const std::size_t end = separators.FindFrom(position);
        if (end == OccurrenceScanner::None) {
            // One would expect the last item to be compared like the others. It stays even when it equals the value,
            // and nothing is placed in front of it: hosts rely on the stored form of their recent-item lists.
            appendItem(old.substr(position));
            break;
        }
        if (count == index) {
            appendItem(item);
            if (count == 0) AppendTo(result, between);
            placed = true;
        }
        const std::wstring_view oldItem = old.substr(position, end - position);
        if (oldItem != item) appendItem(oldItem);
        position = end + between.size();
    }
    // A list of one item has not moved the count, so the value follows it without a separator; see above.
    if (!placed) appendItem(item);
    list = result;
}
