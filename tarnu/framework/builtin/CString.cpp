/// @file
/// CString: buffers, searching, cutting and formatting.
#include "tarnu/framework/builtin/CString.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <functional>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace {

void CopyText(wchar_t* target, const wchar_t* source, std::size_t count) noexcept {
    if (count != 0) std::memmove(target, source, count * sizeof(wchar_t));
}

/// The length of a terminated text; null counts as empty.
int TextLength(const wchar_t* text) {
    const std::size_t length = text == nullptr ? 0 : std::wcslen(text);
    if (length > INT_MAX) throw std::bad_alloc();
    return static_cast<int>(length);
}

int CheckedSum(int left, int right) {
    if (left > INT_MAX - right) throw std::bad_alloc();
    return left + right;
}

void RequireRange(int value, int lowest, int highest, const char* what) {
    if (value < lowest || value > highest) throw std::out_of_range(what);
}

std::ptrdiff_t Offset(std::size_t index) noexcept {
    return static_cast<std::ptrdiff_t>(index);
}

/// Ends the use of a variable argument list when its scope is left.
struct ListEnd {
    va_list& list;
    ~ListEnd() { va_end(list); }
};

// What the trimming operations strip

struct Equals {
    wchar_t character;
    bool operator()(wchar_t other) const noexcept { return other == character; }
};

/// Membership in a terminated set; null is the empty set, and NUL is in none.
struct IsIn {
    const wchar_t* set;
    bool operator()(wchar_t character) const noexcept {
        return set != nullptr && character != 0 && std::wcschr(set, character) != nullptr;
    }
};

bool IsSpace(wchar_t character) noexcept {
    return std::iswspace(static_cast<wint_t>(character)) != 0;
}

/// The index of the first character that @p strip does not strip; the length when there is none.
template <class Strip>
int FirstOther(const CString& text, Strip strip) noexcept {
    const wchar_t* begin = text.GetString();
    return static_cast<int>(std::find_if_not(begin, begin + text.GetLength(), strip) - begin);
}

/// The index behind the last character that @p strip does not strip; 0 when there is none.
template <class Strip>
int EndOfOthers(const CString& text, Strip strip) noexcept {
    int end = text.GetLength();
    while (end > 0 && strip(text[end - 1]))
        --end;
    return end;
}

} // namespace

// Buffers

wchar_t* CString::NewData(std::size_t capacity) {
    // Blocks end on 16-byte steps; what the rounding leaves over is capacity.
    constexpr std::size_t step = 16;
    if (capacity > INT_MAX) throw std::bad_alloc();
    const std::size_t bytes = (sizeof(Header) + (capacity + 1) * sizeof(wchar_t) + step - 1) / step * step;
    void* block = std::malloc(bytes);
    if (block == nullptr) throw std::bad_alloc();
    const std::size_t usable = std::min<std::size_t>((bytes - sizeof(Header)) / sizeof(wchar_t) - 1, INT_MAX);
    auto* header = ::new (block) Header{1, 0, static_cast<int>(usable)};
    auto* text = reinterpret_cast<wchar_t*>(header + 1);
    text[0] = 0;
    return text;
}

void CString::FreeData(wchar_t* text) noexcept {
    std::free(Head(text));
}

wchar_t* CString::NewRoom(int capacity) const {
    const auto length = static_cast<std::size_t>(GetLength());
    std::size_t room = std::max(length, static_cast<std::size_t>(capacity));
    // A buffer that has to grow will grow again: half as much more makes repeated appending linear.
    if (IsOwner()) room = std::max(room, std::min<std::size_t>(length + length / 2, INT_MAX));
    wchar_t* text = NewData(room);
    CopyText(text, m_text, length);
    return text;
}

void CString::Own(int capacity) {
    if (IsOwner() && capacity <= GetAllocLength()) return;
    const int length = GetLength();
    wchar_t* text = NewRoom(capacity);
    ReleaseData(std::exchange(m_text, text));
    SetLength(length);
}

void CString::Splice(int index, int count, const wchar_t* text, int length) {
    const int oldLength = GetLength();
    const int newLength = CheckedSum(oldLength - count, length);
    const auto tail = static_cast<std::size_t>(oldLength - index - count);
    const std::less<const wchar_t*> before;
    const bool aliased = !before(text, m_text) && !before(m_text + GetAllocLength(), text);
    if (!aliased && IsOwner() && newLength <= GetAllocLength()) {
        CopyText(m_text + index + length, m_text + index + count, tail);
        CopyText(m_text + index, text, static_cast<std::size_t>(length));
    } else {
        wchar_t* buffer = NewData(static_cast<std::size_t>(newLength));
        CopyText(buffer, m_text, static_cast<std::size_t>(index));
        CopyText(buffer + index, text, static_cast<std::size_t>(length));
        CopyText(buffer + index + length, m_text + index + count, tail);
        ReleaseData(std::exchange(m_text, buffer)); // last: the text may stand in the old buffer
    }
    SetLength(newLength);
}

void CString::KeepRange(int first, int last) {
    const int length = last - first;
    if (length == GetLength()) return;
    if (length <= 0) {
        Empty();
        return;
    }
    SetString(m_text + first, length);
}

wchar_t* CString::GetBuffer(int minLength) {
    RequireRange(minLength, 0, INT_MAX, "CString::GetBuffer: negative length");
    Own(std::max(minLength, GetLength()));
    return m_text;
}

wchar_t* CString::GetBufferSetLength(int length) {
    GetBuffer(length);
    SetLength(length);
    return m_text;
}

void CString::ReleaseBuffer(int newLength) {
    const int capacity = GetAllocLength();
    if (newLength == -1) newLength = static_cast<int>(::wcsnlen(m_text, static_cast<std::size_t>(capacity)));
    RequireRange(newLength, 0, capacity, "CString::ReleaseBuffer: length outside the buffer");
    if (IsOwner()) {
        SetLength(newLength);
    } else if (newLength != GetLength()) {
        // Copied while the buffer was out: the copy keeps what it has.
        wchar_t* text = NewData(static_cast<std::size_t>(newLength));
        CopyText(text, m_text, static_cast<std::size_t>(newLength));
        ReleaseData(std::exchange(m_text, text));
        SetLength(newLength);
    }
}

void CString::Truncate(int newLength) {
    RequireRange(newLength, 0, INT_MAX, "CString::Truncate: negative length");
    if (newLength < GetLength()) KeepRange(0, newLength);
}

void CString::Preallocate(int length) {
    RequireRange(length, 0, INT_MAX, "CString::Preallocate: negative length");
    if (length > GetAllocLength() || (length != 0 && !IsOwner())) Own(length);
}

void CString::FreeExtra() {
    const int length = GetLength();
    if (length == 0) {
        Empty();
        return;
    }
    CString exact(m_text, length);
    if (exact.GetAllocLength() < GetAllocLength()) std::swap(m_text, exact.m_text);
}

void CString::SetAt(int index, wchar_t character) {
    RequireRange(index, 0, GetLength() - 1, "CString::SetAt: index outside the text");
    Own(GetLength());
    m_text[index] = character;
}

void CString::SetString(const wchar_t* text) {
    SetString(text, TextLength(text));
}

void CString::SetString(const wchar_t* text, int length) {
    RequireRange(length, 0, INT_MAX, "CString::SetString: negative length");
    if (length == 0) {
        Empty();
        return;
    }
    if (text == nullptr) throw std::invalid_argument("CString::SetString: null text with a length");
    if (IsOwner() && length <= GetAllocLength()) {
        CopyText(m_text, text, static_cast<std::size_t>(length));
    } else {
        wchar_t* buffer = NewData(static_cast<std::size_t>(length));
        CopyText(buffer, text, static_cast<std::size_t>(length));
        ReleaseData(std::exchange(m_text, buffer)); // last: the text may stand in the old buffer
    }
    SetLength(length);
}

CString::CString(wchar_t character, int repeat) : m_text(Nil()) {
    if (repeat <= 0) return;
    m_text = NewData(static_cast<std::size_t>(repeat));
    std::fill_n(m_text, repeat, character);
    SetLength(repeat);
}

CString::CString(const char* text) : m_text(Nil()) {
    const std::size_t length = text == nullptr ? 0 : std::strlen(text);
    if (length > INT_MAX) throw std::bad_alloc();
    *this = CString(text, static_cast<int>(length));
}

CString::CString(const char* text, int length) : m_text(Nil()) {
    RequireRange(length, 0, INT_MAX, "CString: negative length");
    if (length == 0) return;
    // Without flags any bytes are a text: what the system refuses it refuses for want of memory.
    const int needed = ::MultiByteToWideChar(CP_ACP, /*dwFlags=*/0, text, length, nullptr, 0);
    if (needed <= 0) throw std::bad_alloc();
    CString wide;
    wchar_t* buffer = wide.GetBuffer(needed);
    const int written = ::MultiByteToWideChar(CP_ACP, /*dwFlags=*/0, text, length, buffer, needed);
    if (written != needed) throw std::bad_alloc();
    wide.ReleaseBuffer(written);
    m_text = std::exchange(wide.m_text, Nil());
}

CString& CString::operator=(const char* text) {
    return *this = CString(text);
}

// Appending and formatting

void CString::Append(const wchar_t* text, int length) {
    RequireRange(length, 0, INT_MAX, "CString::Append: negative length");
    if (length == 0) return;
    if (text == nullptr) throw std::invalid_argument("CString::Append: null text with a length");
    const int oldLength = GetLength();
    const int newLength = CheckedSum(oldLength, length);
    if (IsOwner() && newLength <= GetAllocLength()) {
        CopyText(m_text + oldLength, text, static_cast<std::size_t>(length));
    } else {
        wchar_t* buffer = NewRoom(newLength);
        CopyText(buffer + oldLength, text, static_cast<std::size_t>(length));
        ReleaseData(std::exchange(m_text, buffer)); // last: the text may stand in the old buffer
    }
    SetLength(newLength);
}

void CString::Append(const wchar_t* text) {
    Append(text, TextLength(text));
}

void __cdecl CString::Format(const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const ListEnd end{arguments};
    FormatV(format, arguments);
}

void CString::FormatV(const wchar_t* format, va_list arguments) {
    CString text; // apart from this string, because its text may be among the arguments
    text.AppendFormatV(format, arguments);
    *this = std::move(text);
}

void __cdecl CString::AppendFormat(const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const ListEnd end{arguments};
    AppendFormatV(format, arguments);
}

void CString::AppendFormatV(const wchar_t* format, va_list arguments) {
    if (format == nullptr) throw std::invalid_argument("CString::Format: null format");
    va_list counted;
    va_copy(counted, arguments);
    const ListEnd end{counted};
    const int length = ::_vscwprintf(format, counted);
    if (length < 0) throw std::invalid_argument("CString::Format: the arguments do not fit the format");
    if (length == 0) return;
    CString text;
    const auto room = static_cast<std::size_t>(length) + 1;
    const int written = ::_vsnwprintf(text.GetBuffer(length), room, format, arguments);
    if (written != length) throw std::invalid_argument("CString::Format: the arguments do not fit the format");
    text.ReleaseBuffer(length);
    if (IsEmpty() && GetAllocLength() <= text.GetAllocLength()) {
        std::swap(m_text, text.m_text);
    } else {
        Append(text);
    }
}

// Comparing

int CString::CompareNoCase(const wchar_t* other) const noexcept {
    return ::_wcsicmp(m_text, other);
}

int CString::Collate(const wchar_t* other) const noexcept {
    return ::wcscoll(m_text, other);
}

int CString::CollateNoCase(const wchar_t* other) const noexcept {
    return ::_wcsicoll(m_text, other);
}

// Searching

int CString::Find(const wchar_t* text, int start) const noexcept {
    if (text == nullptr || start < 0 || start > GetLength()) return -1;
    if (text[0] == 0) return start; // Wine's wcsstr does not find the empty text at the end of another
    return IndexOf(std::wcsstr(m_text + start, text));
}

int CString::Find(wchar_t character, int start) const noexcept {
    if (start < 0 || start >= GetLength()) return -1;
    return IndexOf(std::wcschr(m_text + start, character));
}

int CString::ReverseFind(wchar_t character) const noexcept {
    return IndexOf(std::wcsrchr(m_text, character));
}

int CString::FindOneOf(const wchar_t* set) const noexcept {
    return set == nullptr ? -1 : IndexOf(std::wcspbrk(m_text, set));
}

int CString::IndexOf(const wchar_t* found) const noexcept {
    return found == nullptr ? -1 : static_cast<int>(found - m_text);
}

// Parts

CString CString::Left(int count) const {
    return Mid(0, count);
}

CString CString::Right(int count) const {
    const int length = GetLength();
    return Mid(length - std::clamp(count, 0, length));
}

CString CString::Mid(int first) const {
    return Mid(first, GetLength());
}

CString CString::Mid(int first, int count) const {
    const int length = GetLength();
    first = std::clamp(first, 0, length);
    count = std::clamp(count, 0, length - first);
    return count == length ? *this : CString(m_text + first, count);
}

CString CString::SpanIncluding(const wchar_t* set) const {
    return set == nullptr ? CString() : Left(static_cast<int>(std::wcsspn(m_text, set)));
}

CString CString::SpanExcluding(const wchar_t* set) const {
    return set == nullptr ? *this : Left(static_cast<int>(std::wcscspn(m_text, set)));
}

CString CString::Tokenize(const wchar_t* delimiters, int& position) const {
    const int length = GetLength();
    if (position >= 0 && position < length) {
        const wchar_t* set = delimiters == nullptr ? L"" : delimiters;
        const int first = position + static_cast<int>(std::wcsspn(m_text + position, set));
        const int count = static_cast<int>(std::wcscspn(m_text + first, set));
        if (count > 0) {
            position = first + count == INT_MAX ? INT_MAX : first + count + 1;
            return Mid(first, count);
        }
    }
    position = -1;
    return CString();
}

// Changing in place

CString& CString::MakeUpper() {
    Own(GetLength());
    ::_wcsupr(m_text);
    return *this;
}

CString& CString::MakeLower() {
    Own(GetLength());
    ::_wcslwr(m_text);
    return *this;
}

CString& CString::MakeReverse() {
    Own(GetLength());
    std::reverse(m_text, m_text + GetLength());
    return *this;
}

CString& CString::Trim() {
    return TrimRight().TrimLeft();
}

CString& CString::Trim(wchar_t character) {
    return TrimRight(character).TrimLeft(character);
}

CString& CString::Trim(const wchar_t* set) {
    return TrimRight(set).TrimLeft(set);
}

CString& CString::TrimLeft() {
    KeepRange(FirstOther(*this, IsSpace), GetLength());
    return *this;
}

CString& CString::TrimLeft(wchar_t character) {
    KeepRange(FirstOther(*this, Equals{character}), GetLength());
    return *this;
}

CString& CString::TrimLeft(const wchar_t* set) {
    KeepRange(FirstOther(*this, IsIn{set}), GetLength());
    return *this;
}

CString& CString::TrimRight() {
    KeepRange(0, EndOfOthers(*this, IsSpace));
    return *this;
}

CString& CString::TrimRight(wchar_t character) {
    KeepRange(0, EndOfOthers(*this, Equals{character}));
    return *this;
}

CString& CString::TrimRight(const wchar_t* set) {
    KeepRange(0, EndOfOthers(*this, IsIn{set}));
    return *this;
}

int CString::Replace(wchar_t oldCharacter, wchar_t newCharacter) {
    if (oldCharacter == newCharacter) return 0;
    const auto count = static_cast<int>(std::count(m_text, m_text + GetLength(), oldCharacter));
    if (count != 0) {
        Own(GetLength());
        std::replace(m_text, m_text + GetLength(), oldCharacter, newCharacter);
    }
    return count;
}

int CString::Replace(const wchar_t* oldText, const wchar_t* newText) {
    const std::wstring_view text(m_text, static_cast<std::size_t>(GetLength()));
    const std::wstring_view wanted(oldText == nullptr ? L"" : oldText);
    const std::wstring_view replacement(newText == nullptr ? L"" : newText);
    if (wanted.empty()) return 0;
    int count = 0;
    std::size_t length = text.size();
    for (std::size_t at = text.find(wanted); at != text.npos; at = text.find(wanted, at + wanted.size())) {
        length = length - wanted.size() + replacement.size();
        if (length > INT_MAX && replacement.size() > wanted.size()) throw std::bad_alloc();
        ++count;
    }
    if (count == 0) return 0;
    CString result;
    wchar_t* target = result.GetBuffer(static_cast<int>(length));
    std::size_t from = 0;
    for (std::size_t at = text.find(wanted); at != text.npos; at = text.find(wanted, from)) {
        target = std::copy(text.begin() + Offset(from), text.begin() + Offset(at), target);
        target = std::copy(replacement.begin(), replacement.end(), target);
        from = at + wanted.size();
    }
    std::copy(text.begin() + Offset(from), text.end(), target);
    result.ReleaseBuffer(static_cast<int>(length));
    *this = std::move(result);
    return count;
}

int CString::Remove(wchar_t character) {
    const wchar_t* end = m_text + GetLength();
    if (std::find(GetString(), end, character) == end) return 0;
    const int oldLength = GetLength();
    Own(oldLength);
    const wchar_t* kept = std::remove(m_text, m_text + oldLength, character);
    SetLength(static_cast<int>(kept - m_text));
    return oldLength - GetLength();
}

int CString::Insert(int index, wchar_t character) {
    Splice(std::clamp(index, 0, GetLength()), /*count=*/0, &character, 1);
    return GetLength();
}

int CString::Insert(int index, const wchar_t* text) {
    const int length = TextLength(text);
    if (length != 0) Splice(std::clamp(index, 0, GetLength()), /*count=*/0, text, length);
    return GetLength();
}

int CString::Delete(int index, int count) {
    const int length = GetLength();
    index = std::clamp(index, 0, length);
    count = std::clamp(count, 0, length - index);
    if (count != 0) Splice(index, count, L"", 0);
    return GetLength();
}

BSTR CString::AllocSysString() const {
    BSTR text = ::SysAllocStringLen(m_text, static_cast<UINT>(GetLength()));
    if (text == nullptr) throw std::bad_alloc();
    return text;
}
