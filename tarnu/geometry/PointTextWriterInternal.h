/// @file
/// Writes point texts: numbers, ranges and sequences, into a buffer that grows geometrically.
#ifndef TARNU_GEOMETRY_POINTTEXTWRITERINTERNAL_H
#define TARNU_GEOMETRY_POINTTEXTWRITERINTERNAL_H

#include "tarnu/framework/framework.h"

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

namespace tarnu::support {

/// The two digits of every number below 100.
inline constexpr auto digitPairs = [] {
    std::array<wchar_t, 200> pairs{};
    for (std::size_t number = 0; number < 100; ++number) {
        pairs[2 * number] = static_cast<wchar_t>(L'0' + number / 10);
        pairs[2 * number + 1] = static_cast<wchar_t>(L'0' + number % 10);
    }
    return pairs;
}();

/// Digits of a number.
inline std::size_t CountDigits(std::uint32_t number) noexcept {
    constexpr std::uint32_t powers[] = {0,       10,        100,        1'000,       10'000,
                                        100'000, 1'000'000, 10'000'000, 100'000'000, 1'000'000'000};
    const auto estimate = static_cast<std::size_t>(std::bit_width(number | 1)) * 1233 / 4096; // of log10
    return estimate + (number >= powers[estimate] ? 1u : 0u);
}

/// Writes a number as "%ld" does: above 2147483647 it is negative. At most 11 characters, no terminator.
/// @return the end of what was written
inline wchar_t* WritePointNumber(wchar_t* out, std::uint32_t number) noexcept {
    if (number > INT_MAX) {
        *out++ = L'-';
        number = 0 - number;
    }
    wchar_t* const end = out + CountDigits(number);
    wchar_t* begin = end;
    for (; number >= 100; number /= 100) {
        begin -= 2;
        std::copy_n(&digitPairs[std::size_t{2} * (number % 100)], 2, begin);
    }
    if (number >= 10) {
        std::copy_n(&digitPairs[std::size_t{2} * number], 2, out);
    } else {
        *out = static_cast<wchar_t>(L'0' + number);
    }
    return end;
}

/// A point text that grows at its end. Running out of memory, or of the length that a string can have, throws
/// std::bad_alloc.
class PointTextWriter {
public:
    /// Continues @p text, with room for about @p expected characters more.
    PointTextWriter(const CString& text, int expected) : m_text(text) {
        const int length = m_text.GetLength();
        Open(length, expected < INT_MAX - slack - length ? length + expected + slack : length + slack);
    }
    PointTextWriter(const PointTextWriter&) = delete;
    PointTextWriter& operator=(const PointTextWriter&) = delete;

    /// A number behind a comma; no comma at the beginning of the text.
    void Item(std::uint32_t number) {
        Reserve();
        if (m_cursor != m_begin) *m_cursor++ = L',';
        Write(number);
    }
    /// The end of a range that the item before began.
    void RangeEnd(std::uint32_t number) {
        Reserve();
        *m_cursor++ = L'-';
        Write(number);
    }
    /// A number or range of an ascending text.
    void Run(std::uint32_t low, std::uint32_t high) {
        Item(low);
        if (high > low) RangeEnd(high);
    }

    /// The text; ends the use of the writer.
    CString Finish() {
        const int length = static_cast<int>(m_cursor - m_begin);
        m_text.ReleaseBufferSetLength(length);
        if (m_text.GetAllocLength() / 2 > length + slack) m_text.FreeExtra();
        return std::move(m_text);
    }
    bool HasWritten() const noexcept { return m_hasWritten; }
    std::uint32_t GetLastNumber() const noexcept { return m_lastNumber; }

private:
    static constexpr int slack = 16; // more than a separator and a number

    void Open(int length, int capacity) {
        m_begin = m_text.GetBuffer(capacity);
        m_cursor = m_begin + length;
        m_limit = m_begin + capacity - slack;
    }
    void Reserve() {
        if (m_cursor > m_limit) Grow();
    }
    void Grow() {
        const auto length = static_cast<int>(m_cursor - m_begin);
        if (length > INT_MAX / 2 - slack) throw std::bad_alloc();
        m_text.ReleaseBufferSetLength(length);
        Open(length, 2 * length + 4 * slack);
    }
    void Write(std::uint32_t number) noexcept {
        m_cursor = WritePointNumber(m_cursor, number);
        m_lastNumber = number;
        m_hasWritten = true;
    }

    CString m_text;
    wchar_t* m_begin = nullptr;
    wchar_t* m_cursor = nullptr;
    wchar_t* m_limit = nullptr; ///< at or before it there is room for one more piece
    std::uint32_t m_lastNumber = 0;
    bool m_hasWritten = false;
};

/// Writes numbers in the order given, and runs of neighbours, upward or downward, as ranges.
class PointSequenceWriter {
public:
    explicit PointSequenceWriter(PointTextWriter& text) noexcept : m_text(text) {}

    void Add(std::uint32_t number) {
        const std::uint32_t difference = number - m_previous;
        if (!m_begun) {
            m_text.Item(number);
            m_begun = true;
        } else if ((m_run == up && difference != up) || (m_run == down && difference != down)) {
            m_text.RangeEnd(m_previous);
            m_text.Item(number);
            m_run = 0;
        } else if (m_run == 0) {
            if (difference == up || difference == down) {
                m_run = difference;
            } else {
                m_text.Item(number);
            }
        }
        m_previous = number;
    }
    /// All numbers from @p start to @p end, upward or downward. Behind the third number of such a run the writer is in
    /// a range of that direction whatever went before, and the others only move its end.
    void AddRun(std::uint32_t start, std::uint32_t end) {
        const std::uint32_t step = start <= end ? up : down;
        const std::uint32_t steps = start <= end ? end - start : start - end;
        for (std::uint32_t count = 0; count <= std::min<std::uint32_t>(steps, 2); ++count)
            Add(start + count * step);
        m_previous = end;
    }
    /// Ends an open range.
    void Close() {
        if (m_run != 0) m_text.RangeEnd(m_previous);
        m_run = 0;
    }

private:
    static constexpr std::uint32_t up = 1;
    static constexpr std::uint32_t down = 0xFFFFFFFF;

    PointTextWriter& m_text;
    std::uint32_t m_previous = 0;
    std::uint32_t m_run = 0; ///< the step of the open range, 0 for none
    bool m_begun = false;
};

} // namespace tarnu::support

#endif // TARNU_GEOMETRY_POINTTEXTWRITERINTERNAL_H
