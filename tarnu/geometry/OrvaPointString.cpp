#include "tarnu/geometry/OrvaPointString.h"

#include "tarnu/geometry/PointNumberSetInternal.h"
#include "tarnu/geometry/PointTextWriterInternal.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <cwctype>
#include <emmintrin.h>
#include <iterator>

using tarnu::support::PointNumberSet;
using tarnu::support::PointSequenceWriter;
using tarnu::support::PointTextWriter;

namespace {

constexpr std::uint64_t lastNumber = 0xFFFFFFFE;

/// What CString trims.
bool IsSpace(wchar_t character) noexcept {
    if (character < 0x80) return character == L' ' || (character >= L'\t' && character <= L'\r');
    return std::iswspace(character) != 0;
}

bool IsDigit(wchar_t character) noexcept {
    return character >= L'0' && character <= L'9';
}

/// The digits at the beginning of eight characters: returns how many there are, and gives their value. No branch
/// depends on the number of digits, which cannot be foretold.
unsigned ReadEightDigits(const wchar_t* text, std::uint64_t& value) noexcept {
    const __m128i characters = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i digits = _mm_sub_epi16(characters, _mm_set1_epi16(L'0'));
    const __m128i isDigit = _mm_cmpeq_epi16(_mm_subs_epu16(digits, _mm_set1_epi16(9)), _mm_setzero_si128());
    const auto count = static_cast<unsigned>(std::countr_one(static_cast<unsigned>(_mm_movemask_epi8(isDigit)))) / 2;
    if (count == 0) return 0;
    // A byte for each digit, the first one lowest; those that are missing become zeros in front of it.
    auto bytes = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(digits, digits))) << (64 - 8 * count);
    bytes = bytes * 10 + (bytes >> 8); // every other byte: two digits
    constexpr std::uint64_t pair = 0x000000FF000000FF;
    value = ((bytes & pair) * (100 + (std::uint64_t{1'000'000} << 32)) +
             (bytes >> 16 & pair) * (1 + (std::uint64_t{10'000} << 32))) >>
            32;
    return count;
}

/// Reads digits and moves behind them. The text ends in a character that is no digit. The value stops growing once it
/// is out of range.
std::uint64_t ReadDigits(const wchar_t*& text) noexcept {
    std::uint64_t value = 0;
    for (; IsDigit(*text); ++text) {
        if (value <= lastNumber) value = value * 10 + static_cast<std::uint64_t>(*text - L'0');
    }
    return value;
}

/// A number or a range without blanks whose numbers have up to eight digits, followed by another item: nearly every
/// token is such a one.
struct PlainToken {
    UINT start = 0;
    UINT end = 0;
    bool isRange = false;

    /// Characters that Read looks at.
    static constexpr std::ptrdiff_t reach = 2 * 8 + 1 + 8;

    /// Reads a token that begins at @p cursor and moves to the next one.
    /// @return false when it is not a plain one; the cursor stays
    bool Read(const wchar_t*& cursor) noexcept {
        const wchar_t* text = cursor;
        if (!ReadNumber(text, start)) return false;
        end = start;
        isRange = *text == L'-';
        if (isRange && !ReadNumber(++text, end)) return false;
        if (text[0] != L',' || text[1] <= L' ' || text[1] >= 0x80) return false;
        cursor = text + 1;
        return true;
    }

private:
    static bool ReadNumber(const wchar_t*& text, UINT& number) noexcept {
        std::uint64_t value = 0;
        text += ReadEightDigits(text, value);
        number = static_cast<UINT>(value);
        return number != 0 && !IsDigit(*text);
    }
};

/// The point number of a value, 0 when it is out of range.
UINT ToNumber(std::uint64_t value) noexcept {
    return value > lastNumber ? 0 : static_cast<UINT>(value);
}

/// Writes the numbers of a range that the set does not hold, in the range's direction. The set can hold neither 0 nor
/// the numbers above its last.
void WriteFree(PointSequenceWriter& out, const PointNumberSet& set, std::uint64_t start, std::uint64_t end) {
    const auto add = [&out](std::uint64_t from, std::uint64_t to) {
        out.AddRun(static_cast<UINT>(from), static_cast<UINT>(to));
    };
    if (start == 0 || std::min(start, end) > PointNumberSet::last) return add(start, end);
    if (start <= end) {
        const std::uint64_t high = std::min<std::uint64_t>(end, PointNumberSet::last);
        for (std::uint64_t from = set.NextFree(start, high); from <= high;) {
            const std::uint64_t next = std::min(set.NextHeld(from, high), high + 1);
            add(from, next - 1);
            from = set.NextFree(next, high);
        }
        if (end > high) add(high + 1, end);
    } else {
        const std::uint64_t high = std::min<std::uint64_t>(start, PointNumberSet::last);
        if (start > high) add(start, high + 1);
        for (std::uint64_t from = set.PreviousFree(high, end); from >= end;) {
            const std::uint64_t next = std::max(set.PreviousHeld(from, end), end - 1);
            add(from, next + 1);
            from = set.PreviousFree(next, end);
        }
    }
}

} // namespace

UINT OrvaPointStringParseNumber(const wchar_t* text) noexcept {
    if (text == nullptr) return 0;
    while (IsSpace(*text))
        ++text;
    // One expects wcstoul's signs: they give 0, since hosts rely on a dash never being part of a number.
    if (*text == L'-' || *text == L'+') return 0;
    return ToNumber(std::wcstoul(text, nullptr, 10));
}

OrvaPointString::OrvaPointString() = default;

OrvaPointString::OrvaPointString(const wchar_t* text) : m_text(text) {}

OrvaPointString::OrvaPointString(const CString& text) : m_text(text) {}

OrvaPointString::OrvaPointString(const OrvaPointString& other)
    : m_text(other.m_text)
    , m_walk(other.m_walk)
    , m_walkText(m_walk.GetString())
    , m_position(other.m_position)
    , m_walkEnd(other.m_walkEnd)
    , m_label(other.m_label)
    , m_tokenStart(other.m_tokenStart)
    , m_tokenEnd(other.m_tokenEnd)
    , m_rangeStart(other.m_rangeStart)
    , m_rangeEnd(other.m_rangeEnd)
    , m_current(other.m_current)
    , m_done(other.m_done)
    , m_descending(other.m_descending)
    , m_error(other.m_error)
    , m_count(other.m_count) {
    std::copy(std::begin(other.m_numberBuffer), std::end(other.m_numberBuffer), m_numberBuffer);
}

OrvaPointString& OrvaPointString::operator=(const OrvaPointString& other) {
    Assign(other);
    return *this;
}

OrvaPointString::~OrvaPointString() = default;

void OrvaPointString::ResetWalk() noexcept {
    m_walk.Empty();
    m_walkText = m_walk.GetString();
    m_position = m_walkEnd = m_tokenStart = m_tokenEnd = 0;
    m_rangeStart = m_rangeEnd = m_current = m_count = 0;
    m_done = m_descending = m_error = FALSE;
    m_numberBuffer[0] = 0;
}

void OrvaPointString::Assign(const OrvaPointString& other) {
    if (this == &other) return;
    m_text = other.m_text;
    m_label.Empty();
    ResetWalk();
    m_modified = TRUE;
}

void OrvaPointString::SetText(const CString& text) {
    m_text = text;
    ResetWalk();
    m_modified = TRUE;
}

// The walk

bool OrvaPointString::StartWalk() {
    m_walk = m_text;
    return StartWalkOver(m_walk.GetString(), m_walk.GetLength());
}

bool OrvaPointString::StartWalkOver(const wchar_t* text, int length) noexcept {
    m_error = m_done = m_descending = FALSE;
    m_walkText = text;
    m_walkEnd = length;
    m_tokenStart = m_tokenEnd = 0;
    m_position = 0;
    while (m_walkEnd > 0 && IsSpace(text[m_walkEnd - 1]))
        --m_walkEnd;
    while (m_position < m_walkEnd && IsSpace(text[m_position]))
        ++m_position;
    if (m_position == m_walkEnd) {
        m_done = TRUE;
        return false;
    }
    m_rangeStart = m_rangeEnd = m_current = 0;
    CutToken();
    return true;
}

void OrvaPointString::Fail() noexcept {
    m_error = m_done = TRUE;
}

void OrvaPointString::AcceptRange(UINT start, UINT end) noexcept {
    m_rangeStart = start;
    m_rangeEnd = end;
    if (start == 0 || end == 0) Fail();
}

void OrvaPointString::CutToken() noexcept {
    const wchar_t* const text = m_walkText;
    const wchar_t* cursor = text + m_position;
    PlainToken token;
    if (m_walkEnd - m_position < PlainToken::reach || !token.Read(cursor)) return CutAnyToken();
    m_tokenStart = m_position;
    m_position = static_cast<int>(cursor - text);
    m_tokenEnd = m_position - 1;
    m_rangeStart = token.start;
    m_rangeEnd = token.end;
    if (token.isRange) m_descending = token.start > token.end;
}

template <class Take>
void OrvaPointString::CutPlainTokens(Take take) {
    const wchar_t* const text = m_walkText;
    const wchar_t* const end = text + m_walkEnd;
    const wchar_t* cursor = text + m_position;
    bool isDescending = m_descending != FALSE;
    PlainToken token;
    PlainToken last{m_rangeStart, m_rangeEnd};
    while (end - cursor >= PlainToken::reach && token.Read(cursor)) {
        take(token.start, token.end);
        if (token.isRange) isDescending = token.start > token.end;
        last = token;
    }
    m_position = static_cast<int>(cursor - text);
    m_rangeStart = last.start;
    m_rangeEnd = last.end;
    m_descending = isDescending;
}

template <class Take>
void OrvaPointString::TakeRanges(Take take) {
    for (; !m_done; CutToken()) {
        take(m_rangeStart, m_rangeEnd);
        CutPlainTokens(take);
    }
}

void OrvaPointString::CutAnyToken() noexcept {
    const wchar_t* const text = m_walkText;
    const wchar_t* const end = text + m_walkEnd;
    const wchar_t* cursor = text + m_position;
    // The rest never begins with white space: an item is empty when it begins with the comma behind it.
    const auto skipComma = [end](const wchar_t* comma) {
        do
            ++comma;
        while (comma != end && IsSpace(*comma));
        return comma;
    };
    if (cursor == end) {
        m_done = TRUE;
        return;
    }
    while (*cursor == L',') {
        cursor = skipComma(cursor);
        if (cursor == end) {
            m_position = m_tokenStart = m_tokenEnd = m_walkEnd;
            m_done = TRUE;
            return;
        }
    }
    const wchar_t* const token = cursor;
    m_tokenStart = static_cast<int>(token - text);

    const wchar_t* const comma = std::find(token, end, L',');
    const wchar_t* tokenEnd = comma;
    while (IsSpace(tokenEnd[-1]))
        --tokenEnd;
    m_tokenEnd = static_cast<int>(tokenEnd - text);
    m_position = static_cast<int>((comma == end ? end : skipComma(comma)) - text);
    CheckToken(m_tokenStart, m_tokenEnd);
}

void OrvaPointString::CheckToken(int start, int end) noexcept {
    enum { notBegun, inDigits, ended } firstNumber = notBegun, secondNumber = notBegun;
    bool dash = false;
    bool comparison = false;
    const wchar_t* const text = m_walkText;
    int dashAt = start;
    for (int index = start; index < end; ++index) {
        const wchar_t character = text[index];
        bool allowed = false;
        if (character == L' ') {
            if (firstNumber == inDigits) firstNumber = ended;
            if (secondNumber == inDigits) secondNumber = ended;
            allowed = true;
        } else if (character == L'-') {
            allowed = firstNumber != notBegun && secondNumber == notBegun && !dash && !comparison;
            firstNumber = ended;
            dash = true;
            dashAt = index;
        } else if (IsDigit(character)) {
            allowed = true;
            if (firstNumber == notBegun) {
                firstNumber = inDigits;
            } else if (firstNumber == ended) {
                allowed = dash && secondNumber != ended;
                secondNumber = inDigits;
            }
        } else if (character == L'<' || character == L'>') {
            allowed = firstNumber == notBegun; // a dash or a second number has a first one before it
            comparison = true;
        } else if (character == L'=') {
            allowed = comparison && firstNumber == notBegun;
        }
        if (!allowed) return Fail();
    }
    if (comparison) {
        // One expects "<5" to be refused or to name numbers; it names the number 0. Hosts rely on it to let such filter
        // texts through validation.
        m_rangeStart = m_rangeEnd = 0;
        return;
    }
    const auto convert = [text](int from) {
        while (IsSpace(text[from]))
            ++from;
        const wchar_t* digits = text + from;
        return ToNumber(ReadDigits(digits));
    };
    const UINT first = convert(start);
    // Without digits behind the dash the conversion ends at once, at the comma or the end of the text.
    AcceptRange(first, dash ? (secondNumber == notBegun ? 0 : convert(dashAt + 1)) : first);
    if (dash) m_descending = m_rangeStart > m_rangeEnd;
}

void OrvaPointString::GetFirst(UINT* number) {
    if (!StartWalk()) return;
    m_current = m_rangeStart;
    if (number != nullptr) *number = m_current;
}

void OrvaPointString::GetNext(UINT* number) {
    if (m_descending && m_current > m_rangeEnd) {
        --m_current;
    } else if (!m_descending && m_current < m_rangeEnd) {
        ++m_current;
    } else {
        CutToken();
        m_current = m_rangeStart;
    }
    if (number != nullptr) *number = m_current;
}

void OrvaPointString::GetFirstRange(UINT* start, UINT* end) {
    if (!StartWalk()) return;
    if (start != nullptr) *start = m_rangeStart;
    if (end != nullptr) *end = m_rangeEnd;
}

void OrvaPointString::GetNextRange(UINT* start, UINT* end) {
    CutToken();
    if (start != nullptr) *start = m_rangeStart;
    if (end != nullptr) *end = m_rangeEnd;
}

BOOL OrvaPointString::IsDone() const {
    return m_done;
}

BOOL OrvaPointString::IsValid() {
    if (m_error) {
        m_error = FALSE;
        return FALSE;
    }
    StartWalk();
    TakeRanges([](UINT, UINT) {});
    const BOOL valid = !m_error;
    m_error = FALSE;
    return valid;
}

UINT OrvaPointString::GetCount() {
    UINT count = 0;
    StartWalk();
    // One expects the length of a downward range; its difference wraps. Hosts rely on the sum as it is.
    TakeRanges([&count](UINT start, UINT end) { count += end - start + 1; });
    return m_count = count;
}

// The label

void OrvaPointString::SetLabel(const wchar_t* text) {
    try {
        m_label = text;
    } catch (...) {
        // Out of memory: the label stays as it was.
    }
}

BOOL OrvaPointString::HasLabel() const {
    return !m_label.IsEmpty();
}

const CString& OrvaPointString::GetLabel() const {
    return m_label;
}

// Rewriting the text

namespace {

/// Writes the numbers that one set holds and another does not, ascending.
void WriteDifference(PointTextWriter& out, const PointNumberSet& held, const PointNumberSet& removed) {
    held.TakeRunsWithout(removed, [&out](UINT low, UINT high) { out.Run(low, high); });
}

} // namespace

void OrvaPointString::InsertRanges(PointNumberSet& set) {
    TakeRanges([&set](UINT start, UINT end) {
        if (start == end && start >= PointNumberSet::first && start <= PointNumberSet::last) {
            set.Insert(start);
        } else {
            set.InsertRange(std::min(start, end), std::max(start, end));
        }
    });
}

void OrvaPointString::Subtract(const wchar_t* points, BOOL sorted) {
    try {
        const std::size_t length = points != nullptr ? std::wcslen(points) : 0;
        if (length > INT_MAX) return;
        OrvaPointString named;
        named.StartWalkOver(points, static_cast<int>(length));
        PointNumberSet removed;
        named.InsertRanges(removed);
        if (named.m_error) return;

        OrvaPointString walk(m_text);
        walk.StartWalk();
        PointTextWriter text(CString(), m_text.GetLength());
        if (sorted) {
            PointNumberSet held;
            walk.InsertRanges(held);
            WriteDifference(text, held, removed);
        } else {
            PointSequenceWriter sequence(text);
            walk.TakeRanges([&](UINT start, UINT end) { WriteFree(sequence, removed, start, end); });
            sequence.Close();
        }
        Assign(OrvaPointString(text.Finish()));
    } catch (...) {
        // Out of memory: the text stays as it was.
    }
}

void OrvaPointString::Normalize(BOOL sorted) {
    try {
        OrvaPointString walk(m_text);
        walk.StartWalk();
        PointTextWriter text(CString(), m_text.GetLength());
        PointNumberSet seen;
        if (sorted) {
            walk.InsertRanges(seen);
            WriteDifference(text, seen, PointNumberSet());
        } else {
            PointSequenceWriter sequence(text);
            walk.TakeRanges([&](UINT start, UINT end) {
                if (start == end && start >= PointNumberSet::first && start <= PointNumberSet::last) {
                    if (seen.Insert(start)) sequence.Add(start);
                    return;
                }
                WriteFree(sequence, seen, start, end);
                seen.InsertRange(std::min(start, end), std::max(start, end));
            });
            sequence.Close();
        }
        Assign(OrvaPointString(text.Finish()));
    } catch (...) {
        // Out of memory: the text stays as it was.
    }
}
