/// @file
/// OrvaPointString: a text that names point numbers, and the walks over it.
#ifndef TARNU_GEOMETRY_ORVAPOINTSTRING_H
#define TARNU_GEOMETRY_ORVAPOINTSTRING_H

#include "tarnu/framework/framework.h"

namespace tarnu::support {
class PointNumberSet;
}

/// The number at the beginning of a text, read as wcstoul reads it in base 10: leading white space is skipped and the
/// first character that is no digit ends it.
/// @param text read up to its terminator
/// @return 0 for a text without a number, one that begins with a sign, null, and a value above 0xFFFFFFFE
TARNU_API UINT OrvaPointStringParseNumber(const wchar_t* text) noexcept;

/// A comma-separated list of point numbers and ranges such as "1-5,7,12-10". A range may run downward; empty items are
/// skipped; 0 is no point number. When memory runs out, an operation leaves the object as it was; only construction
/// from characters throws std::bad_alloc.
///
/// A walk delivers numbers or ranges until the text ends or a bad token is met:
///
///     OrvaPointString points(L"1-3,7");
///     UINT number = 0;
///     for (points.GetFirst(&number); !points.IsDone(); points.GetNext(&number)) Use(number); // 1 2 3 7
///
/// What the call that ended the walk delivers is meaningless. A walk goes over the text as it was when it began.
///
/// Threads: one object, its walk included, belongs to one thread at a time.
/// Ownership: owns its texts.
class TARNU_API OrvaPointString {
public:
    /// An empty text.
    OrvaPointString();
    /// A copy of a text.
    /// @param text need not be valid; null counts as empty
    OrvaPointString(const wchar_t* text); // NOLINT: a text is a point string wherever one is wanted
    /// Shares a text.
    /// @param text need not be valid
    OrvaPointString(const CString& text); // NOLINT
    /// Copies everything, a walk in progress included; the copy counts as modified.
    /// @param other stays as it is
    OrvaPointString(const OrvaPointString& other);
    /// As Assign.
    /// @param other whose text is taken
    /// @return this object
    OrvaPointString& operator=(const OrvaPointString& other);

    virtual ~OrvaPointString();

    /// Takes over the text of @p other and nothing else of it: the label is emptied and a walk ends. No effect when
    /// @p other is this object.
    /// @param other whose text is taken
    virtual void Assign(const OrvaPointString& other);
    /// Removes every number that @p points names and rewrites the text, ascending and without duplicates when
    /// @p sorted, else in its order and with them. No effect when @p points is not valid. Otherwise as Assign.
    /// @param points names the numbers to remove
    /// @param sorted nonzero for ascending
    virtual void Subtract(const wchar_t* points, BOOL sorted);
    /// Removes duplicates (the first occurrence stays) and rewrites the text compactly, ascending when @p sorted.
    /// Otherwise as Assign.
    /// @param sorted nonzero for ascending
    virtual void Normalize(BOOL sorted);

    /// Starts a number walk.
    /// @param number receives the first number, nothing when the text is blank; may be null
    virtual void GetFirst(UINT* number);
    /// Goes on to the next number.
    /// @param number receives it; may be null
    virtual void GetNext(UINT* number);
    /// Starts a range walk; a single number is a range of its own.
    /// @param start,end receive the first range, nothing when the text is blank; @p start is above @p end in a downward
    ///                  range; each may be null
    virtual void GetFirstRange(UINT* start, UINT* end);
    /// Goes on to the next range.
    /// @param start,end receive it; each may be null
    virtual void GetNextRange(UINT* start, UINT* end);
    /// Whether the walk is over.
    /// @return nonzero when it has met the end of the text or a bad token
    virtual BOOL IsDone() const;

    /// A text of the owner's, which the class keeps and does not interpret.
    /// @param text copied; null counts as empty
    virtual void SetLabel(const wchar_t* text);
    /// @return nonzero when the label is not empty
    virtual BOOL HasLabel() const;
    /// @return the label, empty at first; belongs to this object
    virtual const CString& GetLabel() const;

    /// Checks the whole text; ends a walk.
    /// @return 0 when the text has a bad token; also, once, when the walk before met one
    virtual BOOL IsValid();
    /// The numbers that the text names up to its first bad token; starts with a walk of its own.
    /// @return their sum in 32 bits; a downward range adds end - start + 1, wrapped: "10-7" counts 4294967294
    virtual UINT GetCount();

    /// @return the text as it was given or rewritten last; belongs to this object
    const CString& GetText() const noexcept { return m_text; }
    /// Replaces the text and ends a walk; the label stays.
    /// @param text shared; need not be valid
    void SetText(const CString& text);
    /// As GetText.
    operator const CString&() const noexcept { return m_text; } // NOLINT: the reverse of construction

    /// Set by every constructor and every change of the text or its numbers, cleared by nobody but the owner.
    /// @return nonzero when it is set
    BOOL IsModified() const noexcept { return m_modified; }
    /// Sets or clears the flag of IsModified.
    /// @param modified nonzero sets it
    void SetModified(BOOL modified) noexcept { m_modified = modified; }

protected:
    /// The token that a walk has cut last, without the white space around it.
    /// @return its text; empty before the first one
    CString GetToken() const { return m_walk.Mid(m_tokenStart, m_tokenEnd - m_tokenStart); }
    /// What a walk has not yet parsed.
    /// @return the rest of the text; empty at its end
    CString GetRemaining() const { return m_walk.Mid(m_position, m_walkEnd - m_position); }

    CString m_text;         ///< the text
    BOOL m_modified = TRUE; ///< see IsModified

private:
    bool StartWalk();
    /// A walk over a text that outlives it.
    bool StartWalkOver(const wchar_t* text, int length) noexcept;
    void ResetWalk() noexcept;
    void CutToken() noexcept;
    void CutAnyToken() noexcept;
    /// Cuts the tokens that can be read at once and gives their ranges.
    template <class Take>
    void CutPlainTokens(Take take);
    /// Gives the range cut last and all that follow.
    template <class Take>
    void TakeRanges(Take take);
    void InsertRanges(tarnu::support::PointNumberSet& set);
    void CheckToken(int start, int end) noexcept;
    void AcceptRange(UINT start, UINT end) noexcept;
    void Fail() noexcept;

    // The unparsed rest of a walk and its token are spans of the text that the walk began with, so that cutting a token
    // copies nothing.
    CString m_walk;
    const wchar_t* m_walkText = nullptr;
    int m_position = 0;
    int m_walkEnd = 0;
    CString m_label;
    int m_tokenStart = 0;
    int m_tokenEnd = 0;
    UINT m_rangeStart = 0;
    UINT m_rangeEnd = 0;
    UINT m_current = 0;
    BOOL m_done = FALSE;
    BOOL m_descending = FALSE;
    BOOL m_error = FALSE;
    UINT m_count = 0;

protected:
    wchar_t m_numberBuffer[128] = {}; ///< the number written last by a text builder
};

#endif // TARNU_GEOMETRY_ORVAPOINTSTRING_H
