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
    CString(const CString& other) noexcept : m_text(Share(other.m_text)) {}
    /// Takes over the text; @p other is empty then.
    CString(CString&& other) noexcept : m_text(other.m_text) { other.m_text = Nil(); }
    /// A copy of a terminated text; null gives the empty string.
    CString(const wchar_t* text) : m_text(Nil()) { SetString(text); } // NOLINT: implicit as documented
    /// A copy of @p length characters.
    CString(const wchar_t* text, int length) : m_text(Nil()) { SetString(text, length); }
    /// @p repeat copies of one character; none when it is negative.
    TARNU_API explicit CString(wchar_t character, int repeat = 1);
    /// A text in the ANSI code page.
    TARNU_API explicit CString(const char* text);
    /// A text of @p length bytes in the ANSI code page.
    TARNU_API CString(const char* text, int length);
    /// Shares the text of a value that can be read as a CString.
    template <ReadableAsCString T>
    explicit CString(const T& value) noexcept : CString(value.operator const CString&()) {}
    ~CString() { ReleaseData(m_text); }

    /// @{
    /// Replaces the text, as the constructor from the same type does.
    CString& operator=(const CString& other) noexcept {
        wchar_t* shared = Share(other.m_text);
        ReleaseData(m_text);
        m_text = shared;
        return *this;
    }
    CString& operator=(CString&& other) noexcept {
        if (this != &other) {
            ReleaseData(m_text);
            m_text = other.m_text;
            other.m_text = Nil();
        }
        return *this;
    }
    CString& operator=(const wchar_t* text) {
        SetString(text);
        return *this;
    }
    CString& operator=(wchar_t character) {
        SetString(&character, 1);
        return *this;
    }
    TARNU_API CString& operator=(const char* text);

    template <ReadableAsCString T>
    CString& operator=(const T& value) noexcept {
        return *this = value.operator const CString&();
    }

    /// @}
    // Reading

    /// The length.
    int GetLength() const noexcept { return Head(m_text)->length; }
    /// True when the length is 0.
    bool IsEmpty() const noexcept { return GetLength() == 0; }
    /// @{
    /// The terminated text, valid until the next operation that changes it.
    operator const wchar_t*() const noexcept { return m_text; } // NOLINT: implicit as documented
    const wchar_t* GetString() const noexcept { return m_text; }
    /// @}
    /// @{
    /// The character at an index, which is not checked; the terminator stands at the length.
    wchar_t GetAt(int index) const noexcept { return m_text[index]; }
    wchar_t operator[](int index) const noexcept { return m_text[index]; }
    /// @}
    /// How long the text may become before the buffer is replaced.
    int GetAllocLength() const noexcept { return Head(m_text)->capacity; }

    // Writing through the buffer

    /// A writable buffer of at least the current length (and the terminator), owned by the string; valid until the next
    /// operation that changes it. ReleaseBuffer tells the string what was written.
    wchar_t* GetBuffer() { return GetBuffer(0); }
    /// A writable buffer for at least @p minLength characters and the terminator; the text is kept.
    TARNU_API wchar_t* GetBuffer(int minLength);
    /// As GetBuffer, with the length set to @p length.
    TARNU_API wchar_t* GetBufferSetLength(int length);
    /// Ends the use of the buffer. The length becomes @p newLength, whatever the buffer holds; -1 measures the text.
    TARNU_API void ReleaseBuffer(int newLength = -1);
    /// As ReleaseBuffer.
    void ReleaseBufferSetLength(int newLength) { ReleaseBuffer(newLength); }
    /// Shortens the text to @p newLength characters; a longer or equal length changes nothing.
    TARNU_API void Truncate(int newLength);
    /// Makes room for @p length characters.
    TARNU_API void Preallocate(int length);
    /// Gives back the room behind the text.
    TARNU_API void FreeExtra();
    /// Replaces the character at @p index, which must lie inside the text.
    TARNU_API void SetAt(int index, wchar_t character);
    /// Replaces the text; null empties it.
    TARNU_API void SetString(const wchar_t* text);
    /// Replaces the text by @p length characters; null empties it.
    TARNU_API void SetString(const wchar_t* text, int length);
    /// Makes the text empty.
    void Empty() noexcept {
        ReleaseData(m_text);
        m_text = Nil();
    }

    // Appending and formatting

    /// @{
    /// Appends.
    TARNU_API void Append(const wchar_t* text, int length);
    TARNU_API void Append(const wchar_t* text);
    void Append(const CString& text) { Append(text.m_text, text.GetLength()); }
    template <ReadableAsCString T>
    void Append(const T& value) {
        Append(value.operator const CString&());
    }
    void AppendChar(wchar_t character) { Append(&character, 1); }
    CString& operator+=(const CString& text) {
        Append(text);
        return *this;
    }
    CString& operator+=(const wchar_t* text) {
        Append(text);
        return *this;
    }
    CString& operator+=(wchar_t character) {
        AppendChar(character);
        return *this;
    }
    template <ReadableAsCString T>
    CString& operator+=(const T& value) {
        return *this += value.operator const CString&();
    }
    /// @}
    /// Formats by the wide printf rules of the Windows runtime (%s is wide, %S narrow). Texts are passed as
    /// @{
    /// `const wchar_t*`, so a CString argument is written with GetString(). A null format, or an argument that the
    /// runtime cannot convert, throws std::invalid_argument.
    TARNU_API void __cdecl Format(const wchar_t* format, ...);
    TARNU_API void FormatV(const wchar_t* format, va_list arguments);
    TARNU_API void __cdecl AppendFormat(const wchar_t* format, ...);
    TARNU_API void AppendFormatV(const wchar_t* format, va_list arguments);
    /// @}

    // Comparing

    /// @{
    /// Negative, 0 or positive; by code units, without regard to case, or in the order of the runtime's locale.
    int Compare(const wchar_t* other) const noexcept { return std::wcscmp(m_text, other); }
    TARNU_API int CompareNoCase(const wchar_t* other) const noexcept;
    TARNU_API int Collate(const wchar_t* other) const noexcept;
    TARNU_API int CollateNoCase(const wchar_t* other) const noexcept;
    /// @}

    // Searching: zero-based positions, -1 when nothing was found

    /// The first occurrence of a text from @p start on.
    TARNU_API int Find(const wchar_t* text, int start = 0) const noexcept;
    /// The first occurrence of a character from @p start on.
    TARNU_API int Find(wchar_t character, int start = 0) const noexcept;
    /// The last occurrence of a character.
    TARNU_API int ReverseFind(wchar_t character) const noexcept;
    /// The first character that is one of @p set.
    TARNU_API int FindOneOf(const wchar_t* set) const noexcept;

    // Parts; counts and positions are clipped to the text

    /// The first @p count characters.
    TARNU_API CString Left(int count) const;
    /// The last @p count characters.
    TARNU_API CString Right(int count) const;
    /// What stands from @p first on.
    TARNU_API CString Mid(int first) const;
    /// Up to @p count characters from @p first on.
    TARNU_API CString Mid(int first, int count) const;
    /// The characters before the first that is not one of @p set.
    TARNU_API CString SpanIncluding(const wchar_t* set) const;
    /// The characters before the first that is one of @p set.
    TARNU_API CString SpanExcluding(const wchar_t* set) const;
    /// The next token of the text that stands between characters of @p delimiters; @p position (0 for the first call)
    /// moves behind the token's delimiter and becomes -1, with an empty result, when no token is left.
    TARNU_API CString Tokenize(const wchar_t* delimiters, int& position) const;

    // Changing in place

    /// To upper case.
    TARNU_API CString& MakeUpper();
    /// To lower case.
    TARNU_API CString& MakeLower();
    /// Turns the order of the characters round.
    TARNU_API CString& MakeReverse();
    /// @{
    /// Removes white space, or the characters given, from both ends.
    TARNU_API CString& Trim();
    TARNU_API CString& Trim(wchar_t character);
    TARNU_API CString& Trim(const wchar_t* set);
    /// @}
    /// @{
    /// Removes white space, or the characters given, from the beginning.
    TARNU_API CString& TrimLeft();
    TARNU_API CString& TrimLeft(wchar_t character);
    TARNU_API CString& TrimLeft(const wchar_t* set);
    /// @}
    /// @{
    /// Removes white space, or the characters given, from the end.
    TARNU_API CString& TrimRight();
    TARNU_API CString& TrimRight(wchar_t character);
    TARNU_API CString& TrimRight(const wchar_t* set);
    /// @}
    /// @{
    /// Both return the number of replacements. The second replaces from left to right and does not look into what it
    /// has inserted; an empty @p oldText replaces nothing, a null @p newText deletes.
    TARNU_API int Replace(wchar_t oldCharacter, wchar_t newCharacter);
    TARNU_API int Replace(const wchar_t* oldText, const wchar_t* newText);
    /// @}
    /// Removes every occurrence. @return the number of characters removed
    TARNU_API int Remove(wchar_t character);
    /// @{
    /// Both insert before @p index, which is clipped to the text. @return the new length
    TARNU_API int Insert(int index, wchar_t character);
    TARNU_API int Insert(int index, const wchar_t* text);
    /// @}
    /// Deletes up to @p count characters from @p index on; both are clipped to the text. @return the new length
    TARNU_API int Delete(int index, int count = 1);

    /// A new BSTR with the text; the caller frees it with SysFreeString.
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
/// Compare.
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
