/// @file
/// CString: the framework's reference-counted UTF-16 string.
#ifndef TARNU_FRAMEWORK_BUILTIN_CSTRING_H
#define TARNU_FRAMEWORK_BUILTIN_CSTRING_H

#include "tarnu/framework/builtin/Windows.h"

#include <atomic>
#include <concepts>
#include <cstdarg>
#include <cwchar>

class CString;

/// A type that can be read as a CString through a conversion function of its own, such as OrvaPath. When it can be read
/// as a plain text too, the members below that take it choose the CString.
template <class T>
concept ReadableAsCString = requires(const T& value) {
    value.operator const CString&();
};

/// A wide string whose buffer is shared between copies until one of them is written to (copy on write).
///
/// The object is one pointer to the terminated text; length and capacity stand in front of it. Lengths and positions
/// are counts of UTF-16 code units. A text may hold embedded NUL characters. Distinct objects may be used from distinct
/// threads even when they share a buffer; one object belongs to one thread at a time.
///
/// Arguments may point into the string that is changed. Running out of memory and a length beyond what a string can
/// hold throw std::bad_alloc; a length or index that the contract excludes throws std::out_of_range. A failed operation
/// leaves the string as it was. Searching, comparing and case conversion follow the C runtime functions and see the
/// text up to its first NUL; cutting, copying, appending and replacing work on the whole length.
class CString {
public:
    /// @{
    /// The framework's names for the character and text types.
    using XCHAR = wchar_t;
    using PXSTR = wchar_t*;
    using PCXSTR = const wchar_t*;
    /// @}

    CString() noexcept : m_text(Nil()) {}
    /// Shares the text.
    /// @param other stays as it is
    CString(const CString& other) noexcept : m_text(Share(other.m_text)) {}
    /// Takes over the text.
    /// @param other is empty then
    CString(CString&& other) noexcept : m_text(other.m_text) { other.m_text = Nil(); }
    /// A copy of a terminated text.
    /// @param text null gives the empty string
    CString(const wchar_t* text) : m_text(Nil()) { SetString(text); } // NOLINT: implicit as documented
    /// A copy of a text of a given length.
    /// @param text   null only together with a length of 0
    /// @param length characters; a negative number throws std::out_of_range
    CString(const wchar_t* text, int length) : m_text(Nil()) { SetString(text, length); }
    /// One character repeated.
    /// @param character any one, NUL too
    /// @param repeat    how many times; a negative number counts as 0
    TARNU_API explicit CString(wchar_t character, int repeat = 1);
    /// A copy of a terminated text in the ANSI code page.
    /// @param text null gives the empty string
    TARNU_API explicit CString(const char* text);
    /// A copy of a text of a given length in the ANSI code page.
    /// @param text   null only together with a length of 0
    /// @param length bytes; a negative number throws std::out_of_range
    TARNU_API CString(const char* text, int length);
    /// Shares the text of a value that can be read as a CString.
    /// @param value stays as it is
    template <ReadableAsCString T>
    explicit CString(const T& value) noexcept : CString(value.operator const CString&()) {}
    ~CString() { ReleaseData(m_text); }

    /// Shares the text of another string.
    /// @param other stays as it is; may be this string
    /// @return this string
    CString& operator=(const CString& other) noexcept {
        wchar_t* shared = Share(other.m_text);
        ReleaseData(m_text);
        m_text = shared;
        return *this;
    }
    /// Takes over the text of another string.
    /// @param other is empty then, unless it is this string
    /// @return this string
    CString& operator=(CString&& other) noexcept {
        if (this != &other) {
            ReleaseData(m_text);
            m_text = other.m_text;
            other.m_text = Nil();
        }
        return *this;
    }
    /// Copies a terminated text.
    /// @param text null empties the string; may point into it
    /// @return this string
    CString& operator=(const wchar_t* text) {
        SetString(text);
        return *this;
    }
    /// Makes the text one character long.
    /// @param character any one, NUL too
    /// @return this string
    CString& operator=(wchar_t character) {
        SetString(&character, 1);
        return *this;
    }
    /// Copies a terminated text in the ANSI code page.
    /// @param text null empties the string
    /// @return this string
    TARNU_API CString& operator=(const char* text);
    /// Shares the text of a value that can be read as a CString.
    /// @param value stays as it is
    /// @return this string
    template <ReadableAsCString T>
    CString& operator=(const T& value) noexcept {
        return *this = value.operator const CString&();
    }

    // Reading

    /// @return the number of characters, embedded NUL characters included
    int GetLength() const noexcept { return Head(m_text)->length; }
    /// @return whether the length is 0
    bool IsEmpty() const noexcept { return GetLength() == 0; }
    /// @{
    /// @return the terminated text, never null; valid until the next operation that changes the string
    operator const wchar_t*() const noexcept { return m_text; } // NOLINT: implicit as documented
    const wchar_t* GetString() const noexcept { return m_text; }
    /// @}
    /// @{
    /// The character at an index.
    /// @param index from 0 to the length, not checked
    /// @return the character; 0 at the length
    wchar_t GetAt(int index) const noexcept { return m_text[index]; }
    wchar_t operator[](int index) const noexcept { return m_text[index]; }
    /// @}
    /// @return how many characters the text may have before the buffer is replaced
    int GetAllocLength() const noexcept { return Head(m_text)->capacity; }

    // Writing through the buffer

    /// A writable buffer with the text, of its length at least. ReleaseBuffer tells the string what was written.
    /// @return owned by the string; valid until the next operation that changes it
    wchar_t* GetBuffer() { return GetBuffer(0); }
    /// A writable buffer with the text, and room for more.
    /// @param minLength characters that it has room for at least, besides the terminator
    /// @return owned by the string; valid until the next operation that changes it
    TARNU_API wchar_t* GetBuffer(int minLength);
    /// As GetBuffer, with the length of the string set at once.
    /// @param length the new length; what is new of the text has any content until it is written
    /// @return owned by the string; valid until the next operation that changes it
    TARNU_API wchar_t* GetBufferSetLength(int length);
    /// Ends the use of the buffer.
    /// @param newLength the new length, whatever the buffer holds; -1 measures the text up to its first NUL
    TARNU_API void ReleaseBuffer(int newLength = -1);
    /// As ReleaseBuffer.
    /// @param newLength the new length, whatever the buffer holds
    void ReleaseBufferSetLength(int newLength) { ReleaseBuffer(newLength); }
    /// Shortens the text.
    /// @param newLength a longer or equal length changes nothing
    TARNU_API void Truncate(int newLength);
    /// Makes room, so that the text can grow without another buffer.
    /// @param length characters
    TARNU_API void Preallocate(int length);
    /// Gives back the room behind the text.
    TARNU_API void FreeExtra();
    /// Replaces one character.
    /// @param index     inside the text, else std::out_of_range is thrown
    /// @param character what stands there then
    TARNU_API void SetAt(int index, wchar_t character);
    /// Replaces the text.
    /// @param text a terminated text; null empties the string
    TARNU_API void SetString(const wchar_t* text);
    /// Replaces the text by one of a given length.
    /// @param text   null together with a length other than 0 throws std::invalid_argument
    /// @param length characters
    TARNU_API void SetString(const wchar_t* text, int length);
    /// Makes the text empty.
    void Empty() noexcept {
        ReleaseData(m_text);
        m_text = Nil();
    }

    // Appending and formatting

    /// Appends a text of a given length.
    /// @param text   null together with a length other than 0 throws std::invalid_argument
    /// @param length characters
    TARNU_API void Append(const wchar_t* text, int length);
    /// @{
    /// Appends a text.
    /// @param text null is empty; may be of this string
    TARNU_API void Append(const wchar_t* text);
    void Append(const CString& text) { Append(text.m_text, text.GetLength()); }
    /// @}
    /// Appends the text of a value that can be read as a CString.
    /// @param value stays as it is
    template <ReadableAsCString T>
    void Append(const T& value) {
        Append(value.operator const CString&());
    }
    /// Appends one character.
    /// @param character any one, NUL too
    void AppendChar(wchar_t character) { Append(&character, 1); }
    /// @{
    /// Appends a text.
    /// @param text null is empty; may be of this string
    /// @return this string
    CString& operator+=(const CString& text) {
        Append(text);
        return *this;
    }
    CString& operator+=(const wchar_t* text) {
        Append(text);
        return *this;
    }
    /// @}
    /// Appends one character.
    /// @param character any one, NUL too
    /// @return this string
    CString& operator+=(wchar_t character) {
        AppendChar(character);
        return *this;
    }
    /// Appends the text of a value that can be read as a CString.
    /// @param value stays as it is
    /// @return this string
    template <ReadableAsCString T>
    CString& operator+=(const T& value) {
        return *this += value.operator const CString&();
    }
    /// Formats by the wide printf rules of the Windows runtime (%s is wide, %S narrow); AppendFormat appends the
    /// result. Texts are passed as `const wchar_t*`, so a CString argument is written with GetString(). An argument
    /// that the runtime cannot convert throws std::invalid_argument.
    /// @param format null throws std::invalid_argument; may be of this string, and so may the arguments
    /// @{
    TARNU_API void __cdecl Format(const wchar_t* format, ...);
    TARNU_API void __cdecl AppendFormat(const wchar_t* format, ...);
    /// @}
    /// As Format and AppendFormat.
    /// @param format    as there
    /// @param arguments what the format names; used up then
    /// @{
    TARNU_API void FormatV(const wchar_t* format, va_list arguments);
    TARNU_API void AppendFormatV(const wchar_t* format, va_list arguments);
    /// @}

    // Comparing

    /// @{
    /// Compares by code units, without regard to case, or in the order of the runtime's locale (Collate).
    /// @param other a terminated text, not null
    /// @return negative, 0 or positive
    int Compare(const wchar_t* other) const noexcept { return std::wcscmp(m_text, other); }
    TARNU_API int CompareNoCase(const wchar_t* other) const noexcept;
    TARNU_API int Collate(const wchar_t* other) const noexcept;
    TARNU_API int CollateNoCase(const wchar_t* other) const noexcept;
    /// @}

    // Searching: zero-based positions, -1 when nothing was found

    /// The first occurrence of a text.
    /// @param text  null is never found, the empty text at @p start
    /// @param start where to begin; outside the text nothing is found
    /// @return its position, or -1
    TARNU_API int Find(const wchar_t* text, int start = 0) const noexcept;
    /// The first occurrence of a character.
    /// @param character any one; NUL is found at the first terminator
    /// @param start     where to begin; outside the text nothing is found
    /// @return its position, or -1
    TARNU_API int Find(wchar_t character, int start = 0) const noexcept;
    /// The last occurrence of a character.
    /// @param character any one; NUL is found at the first terminator
    /// @return its position, or -1
    TARNU_API int ReverseFind(wchar_t character) const noexcept;
    /// The first character that is one of a set.
    /// @param set a terminated text; in null there is none
    /// @return its position, or -1
    TARNU_API int FindOneOf(const wchar_t* set) const noexcept;

    // Parts; counts and positions are clipped to the text

    /// The beginning of the text.
    /// @param count characters
    /// @return a copy; the whole text, shared, where there are no more characters
    TARNU_API CString Left(int count) const;
    /// The end of the text.
    /// @param count characters
    /// @return a copy; the whole text, shared, where there are no more characters
    TARNU_API CString Right(int count) const;
    /// What stands from a position on.
    /// @param first the position
    /// @return a copy; empty behind the end
    TARNU_API CString Mid(int first) const;
    /// What stands from a position on, up to a length.
    /// @param first the position
    /// @param count characters at most
    /// @return a copy; empty behind the end
    TARNU_API CString Mid(int first, int count) const;
    /// The characters before the first that is not one of a set.
    /// @param set a terminated text; null is empty
    /// @return a copy; empty when the first character is another one
    TARNU_API CString SpanIncluding(const wchar_t* set) const;
    /// The characters before the first that is one of a set.
    /// @param set a terminated text; null is empty
    /// @return a copy; the whole text up to its first NUL when there is none
    TARNU_API CString SpanExcluding(const wchar_t* set) const;
    /// The next token of the text.
    /// @param delimiters the set of characters that stand between tokens; null is empty
    /// @param position   in: where to go on, 0 for the first call; out: behind the token's delimiter, or -1
    /// @return the token; empty when none is left
    TARNU_API CString Tokenize(const wchar_t* delimiters, int& position) const;

    // Changing in place

    /// Turns the text into upper case, as _wcsupr does. @return this string
    TARNU_API CString& MakeUpper();
    /// Turns the text into lower case, as _wcslwr does. @return this string
    TARNU_API CString& MakeLower();
    /// Turns the order of the characters round. @return this string
    TARNU_API CString& MakeReverse();
    /// @{
    /// Removes white space, as iswspace knows it, from both ends, the beginning, or the end. @return this string
    TARNU_API CString& Trim();
    TARNU_API CString& TrimLeft();
    TARNU_API CString& TrimRight();
    /// @}
    /// @{
    /// Removes a character from both ends, the beginning, or the end, as often as it stands there.
    /// @param character what to remove
    /// @return this string
    TARNU_API CString& Trim(wchar_t character);
    TARNU_API CString& TrimLeft(wchar_t character);
    TARNU_API CString& TrimRight(wchar_t character);
    /// @}
    /// @{
    /// Removes all characters of a set from both ends, the beginning, or the end.
    /// @param set a terminated text; null is empty
    /// @return this string
    TARNU_API CString& Trim(const wchar_t* set);
    TARNU_API CString& TrimLeft(const wchar_t* set);
    TARNU_API CString& TrimRight(const wchar_t* set);
    /// @}
    /// Replaces every occurrence of a character.
    /// @param oldCharacter what to replace
    /// @param newCharacter what stands there then
    /// @return the number of replacements; 0 when both are the same
    TARNU_API int Replace(wchar_t oldCharacter, wchar_t newCharacter);
    /// Replaces every occurrence of a text, from left to right, without looking into what was inserted.
    /// @param oldText what to replace; null or empty is never found
    /// @param newText what stands there then; null deletes
    /// @return the number of replacements
    TARNU_API int Replace(const wchar_t* oldText, const wchar_t* newText);
    /// Removes every occurrence of a character.
    /// @param character what to remove
    /// @return the number of characters removed
    TARNU_API int Remove(wchar_t character);
    /// Inserts one character.
    /// @param index     the position that it gets, clipped to the text
    /// @param character any one, NUL too
    /// @return the new length
    TARNU_API int Insert(int index, wchar_t character);
    /// Inserts a text.
    /// @param index the position that it gets, clipped to the text
    /// @param text  a terminated text; null is empty
    /// @return the new length
    TARNU_API int Insert(int index, const wchar_t* text);
    /// Deletes characters.
    /// @param index where to begin
    /// @param count how many; both are clipped to the text
    /// @return the new length
    TARNU_API int Delete(int index, int count = 1);

    /// The text for COM.
    /// @return a new BSTR, which the caller frees with SysFreeString
    TARNU_API BSTR AllocSysString() const;

private:
    struct Header {
        std::atomic<long> references; ///< negative: the static empty string, never released
        int length;
        int capacity; ///< characters, without the terminator
    };
    struct NilBlock {
        Header header;
        wchar_t text[2];
    };
    static constinit inline NilBlock s_nil{{-1, 0, 0}, {0, 0}};

    static wchar_t* Nil() noexcept { return s_nil.text; }
    static Header* Head(wchar_t* text) noexcept { return reinterpret_cast<Header*>(text) - 1; }
    static const Header* Head(const wchar_t* text) noexcept { return reinterpret_cast<const Header*>(text) - 1; }
    static wchar_t* Share(wchar_t* text) noexcept {
        std::atomic<long>& references = Head(text)->references;
        if (references.load(std::memory_order_relaxed) >= 0) references.fetch_add(1, std::memory_order_relaxed);
        return text;
    }
    static void ReleaseData(wchar_t* text) noexcept {
        if (text == Nil()) return; // the usual empty string; another module's is told by its count
        std::atomic<long>& references = Head(text)->references;
        if (references.load(std::memory_order_relaxed) >= 0 && references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            FreeData(text);
    }
    TARNU_API static void FreeData(wchar_t* text) noexcept;
    static wchar_t* NewData(std::size_t capacity);
    /// A new buffer with room for @p capacity characters that starts with this object's text.
    wchar_t* NewRoom(int capacity) const;
    /// True when this object alone refers to its buffer and may write to it.
    bool IsOwner() const noexcept { return Head(m_text)->references.load(std::memory_order_acquire) == 1; }
    /// Makes the buffer this object's own, with room for @p capacity characters; the text is kept.
    void Own(int capacity);
    void SetLength(int length) noexcept {
        Head(m_text)->length = length;
        m_text[length] = 0;
    }
    /// Puts @p length characters in the place of the @p count characters at @p index.
    void Splice(int index, int count, const wchar_t* text, int length);
    /// Cuts the text down to the characters from @p first up to, but without, @p last.
    void KeepRange(int first, int last);
    /// The position of what a runtime search has found; -1 for null.
    int IndexOf(const wchar_t* found) const noexcept;

    wchar_t* m_text;
};

/// @{
/// The texts joined.
/// @param left,right null is empty
/// @return a new string
inline CString operator+(const CString& left, const CString& right) {
    CString result;
    result.Preallocate(left.GetLength() + right.GetLength());
    result.Append(left);
    result.Append(right);
    return result;
}
inline CString operator+(const CString& left, const wchar_t* right) {
    CString result(left);
    result.Append(right);
    return result;
}
inline CString operator+(const wchar_t* left, const CString& right) {
    CString result(left);
    result.Append(right);
    return result;
}
inline CString operator+(const CString& left, wchar_t right) {
    CString result(left);
    result.AppendChar(right);
    return result;
}
inline CString operator+(wchar_t left, const CString& right) {
    CString result(left);
    result.Append(right);
    return result;
}

// A CString operand is matched exactly here: any other text next to a value goes the way above.
template <std::same_as<CString> S, ReadableAsCString T>
CString operator+(const S& left, const T& right) {
    return left + right.operator const CString&();
}
template <ReadableAsCString T, std::same_as<CString> S>
CString operator+(const T& left, const S& right) {
    return left.operator const CString&() + right;
}
template <ReadableAsCString T, ReadableAsCString U>
CString operator+(const T& left, const U& right) {
    return left.operator const CString&() + right.operator const CString&();
}
/// @}

/// @{
/// Compares by code units, as CString::Compare.
/// @param left,right not null
/// @return whether it is so
inline bool operator==(const CString& left, const CString& right) noexcept {
    return left.Compare(right) == 0;
}
inline bool operator==(const CString& left, const wchar_t* right) noexcept {
    return left.Compare(right) == 0;
}
inline bool operator==(const wchar_t* left, const CString& right) noexcept {
    return right.Compare(left) == 0;
}
inline bool operator!=(const CString& left, const CString& right) noexcept {
    return left.Compare(right) != 0;
}
inline bool operator!=(const CString& left, const wchar_t* right) noexcept {
    return left.Compare(right) != 0;
}
inline bool operator!=(const wchar_t* left, const CString& right) noexcept {
    return right.Compare(left) != 0;
}
inline bool operator<(const CString& left, const CString& right) noexcept {
    return left.Compare(right) < 0;
}
inline bool operator<(const CString& left, const wchar_t* right) noexcept {
    return left.Compare(right) < 0;
}
inline bool operator<(const wchar_t* left, const CString& right) noexcept {
    return right.Compare(left) > 0;
}
inline bool operator>(const CString& left, const CString& right) noexcept {
    return left.Compare(right) > 0;
}
inline bool operator>(const CString& left, const wchar_t* right) noexcept {
    return left.Compare(right) > 0;
}
inline bool operator>(const wchar_t* left, const CString& right) noexcept {
    return right.Compare(left) < 0;
}
inline bool operator<=(const CString& left, const CString& right) noexcept {
    return left.Compare(right) <= 0;
}
inline bool operator<=(const CString& left, const wchar_t* right) noexcept {
    return left.Compare(right) <= 0;
}
inline bool operator<=(const wchar_t* left, const CString& right) noexcept {
    return right.Compare(left) >= 0;
}
inline bool operator>=(const CString& left, const CString& right) noexcept {
    return left.Compare(right) >= 0;
}
inline bool operator>=(const CString& left, const wchar_t* right) noexcept {
    return left.Compare(right) >= 0;
}
inline bool operator>=(const wchar_t* left, const CString& right) noexcept {
    return right.Compare(left) <= 0;
}
/// @}

#endif // TARNU_FRAMEWORK_BUILTIN_CSTRING_H
