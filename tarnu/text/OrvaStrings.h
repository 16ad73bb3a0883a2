/// @file
/// Free functions over texts: tokens, case, numbers, quoting, natural order, error texts.
///
/// None of them keeps state; all may be called from any thread, each CString by one thread at a time. Lengths and
/// positions are counts of UTF-16 code units; a CString is taken at its full length, embedded NUL characters included.
/// Texts that are passed in are borrowed for the call, texts that are returned belong to the caller. Running out of
/// memory throws what CString throws for it, a result longer than a CString can hold throws std::bad_alloc; in/out
/// texts then are as they were.
#ifndef TARNU_TEXT_ORVASTRINGS_H
#define TARNU_TEXT_ORVASTRINGS_H

#include "tarnu/framework/framework.h"

class _com_error; // <comdef.h>

// Tokens

/// Takes the next token from a terminated text.
///
/// Skips every leading delimiter, takes the characters up to the next delimiter or the end, and steps over that one
/// delimiter. `"  a,,b"` with the delimiters `" ,"` gives `"a"`, then `"b"`, then false.
/// @param cursor in: where to start; out: where the next call goes on. Null gives false and stays null.
/// @param delimiters the set of characters that stand between tokens; null or empty takes the whole text
/// @param token out: the token; empty when there was none. Not the string that @p cursor points into.
/// @return whether a token was found
TARNU_API bool OrvaNextToken(const wchar_t*& cursor, const wchar_t* delimiters, CString& token);

/// Removes and returns the head of a list up to the first separator.
///
/// `x::y::z` with `::` gives `x` and leaves `y::z`; `xyz` gives `xyz` and leaves nothing. Adjacent separators give
/// empty tokens.
/// @param separator matched as a whole and by case; an empty one is never found
/// @param list in: the list; out: what follows the separator, or nothing when there was none
/// @return the token
TARNU_API CString OrvaPopToken(const CString& separator, CString& list);

/// OrvaPopToken with the separator `,`.
/// @param list in: the list; out: what follows the comma, or nothing when there was none
/// @return the token
TARNU_API CString OrvaPopCommaToken(CString& list);

/// OrvaPopToken with the separator of one blank.
/// @param list in: the list; out: what follows the blank, or nothing when there was none
/// @return the token
TARNU_API CString OrvaPopSpaceToken(CString& list);

/// Appends the trimmed, non-empty items of a comma list.
///
/// @param list `" a , ,b,"` has the items `a` and `b`
/// @param out the items are appended; what it held stays
/// @return always true
TARNU_API bool OrvaSplitCommaList(const CString& list, CStringList& out);

/// Puts a value at a position of a separated list and drops other equal items, in linear time.
///
/// Made for most-recently-used lists: index 0, list `a;b;c`, value `b` gives `b;a;c`. The last item of the old list
/// counts as a whole: it is never compared with the value and the value is never put in front of it, so a last item `b`
/// stays where it is (`a;b` becomes `b;a;b`). A value that was not placed before is appended.
/// @param value the item to place
/// @param separator matched as a whole and by case; an empty one leaves the list as it is
/// @param index zero-based position among the old items; one that no item before the last has appends the value
/// @param list in: the list; out: the new list
TARNU_API void OrvaPlaceToken(const CString& value, const CString& separator, int index, CString& list);

// Case

/// The text in upper case (CharUpperBuffW).
/// @param text any text
/// @return the changed copy, of the same length
TARNU_API CString OrvaToUpper(const CString& text);

/// The text in lower case (CharLowerBuffW).
/// @param text any text
/// @return the changed copy, of the same length
TARNU_API CString OrvaToLower(const CString& text);

/// The text with a capital at its start and behind every digit and white space, small letters elsewhere.
///
/// The last character of a text of two or more stays as it was: `abc def` becomes `Abc Def`, `hELLO` becomes `HellO`.
/// @param text any text
/// @return the changed copy
TARNU_API CString OrvaToTitleCase(const CString& text);

// Numbers

/// The value in fixed notation: 2.5 with 3 decimals is `2.500`.
///
/// It is exactly what the printf format `%.*f` gives.
/// @param value any double
/// @param decimals digits behind the point; a negative number counts as 6
/// @return the text
TARNU_API CString OrvaFormatDouble(double value, int decimals);

/// Reads a whole text as a number (wcstod: leading white space, sign, digits, exponent).
///
/// @param text an empty text reads as 0 and succeeds
/// @param value out, in every case: what the leading part of the text converts to
/// @return false when anything follows the number, be it white space, or when the number is too large (`1e999`); a
///         number too far below zero (`-1e999`) gives -HUGE_VAL and true
TARNU_API bool OrvaParseDouble(const CString& text, double& value);

/// Whether a text consists of zeros and points only. `0.000` does, but so does `.`.
/// @param text any text; a sign, a comma or a blank in it gives false
/// @return whether it does; false for the empty text
TARNU_API bool OrvaIsZeroText(const CString& text);

/// True when every character is a digit from 0 to 9, a minus or a point, in whatever order.
///
/// So it is for the empty text and for `-.-`.
/// @param text a terminated text, or null
/// @return false for null
TARNU_API bool OrvaIsNumber(const wchar_t* text);

// Labels, quoting, escaping

/// Trims a caption and ends it in a colon and a blank: `Name` and `Name:` become `Name: `; an empty one stays empty.
///
/// @param text in: the caption; out: the label
/// @param leadingNewline whether the label starts on a new line (`\n` in front)
TARNU_API void OrvaMakeLabel(CString& text, bool leadingNewline);

/// Trims a text and puts it between double quotes unless it already is.
///
/// Quotes inside are counted: when they are not paired, a text without a quote in front gets one there and, unless it
/// ends in one, two behind; a text with a quote in front stays as it is. An empty text becomes a pair of quotes.
/// @param text in: any text; out: the quoted one
TARNU_API void OrvaQuote(CString& text);

/// A copy of a text with an escape in front of each occurrence of a target that does not have one yet, in linear time.
///
/// Occurrences may overlap. With equal target and escape every occurrence is doubled. For each occurrence only the
/// first escape behind the previous occurrence's first character is looked at: with target `"` and escape `\`, the text
/// `\x\"` becomes `\x\\"`.
/// @param target what to escape; when it or @p escape is empty the text is returned unchanged
/// @param escape what to put in front
/// @param text what to copy
/// @return the copy
TARNU_API CString OrvaEscapeEach(const CString& target, const CString& escape, const CString& text);

// Natural order

/// Compares two texts with their runs of digits taken as numbers: `file2` stands before `file10`, `a01` equals `a1`.
///
/// Allocates nothing. The text between the numbers is compared by the runtime library's collation in its current
/// locale.
/// @param a,b terminated texts; null counts as the empty text
/// @return less than, equal to or greater than 0; only the sign means anything
TARNU_API int OrvaNaturalCompare(const wchar_t* a, const wchar_t* b);

/// OrvaNaturalCompare without regard to case.
/// @param a,b terminated texts; null counts as the empty text
/// @return less than, equal to or greater than 0; only the sign means anything
TARNU_API int OrvaNaturalCompareNoCase(const wchar_t* a, const wchar_t* b);

// Error texts and identifiers

/// The system's message text for an error code.
/// @param code a Win32 error code or an HRESULT
/// @return the text with the line break that the system ends it in; empty when the system has none for the code
TARNU_API CString OrvaGetSystemErrorText(DWORD code);

/// The text of a COM error.
/// @param error borrowed for the call
/// @return the description that it carries; when it carries none, OrvaGetSystemErrorText of its HRESULT
TARNU_API CString OrvaGetComErrorText(const _com_error& error);

/// A GUID in registry form: `{00000000-0000-0000-C000-000000000046}`.
/// @param id any GUID
/// @return the text; empty when the system has no memory for it
TARNU_API CString OrvaGuidToString(REFCLSID id);

/// Shows the system's text for an error code in a box without owner and caption, with OK and Cancel (DllMessageBox).
///
/// @param code a Win32 error code or an HRESULT
/// @return the box's result: IDOK, IDCANCEL, or 0 when no box could be shown
TARNU_API int OrvaShowSystemError(DWORD code);

#endif // TARNU_TEXT_ORVASTRINGS_H
