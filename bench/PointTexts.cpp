// Point texts: a million numbers and a hundred thousand ranges walked, counted, normalised and subtracted.

#include "bench/Harness.h"

#include "tarnu/geometry/OrvaPointString.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <random>
#include <set>
#include <string_view>

namespace {

using tarnu::bench::Subject;
using tarnu::bench::Work;

constexpr std::uint32_t highest = 5'000'000;

/// Numbers up to `highest` in random order, every eleventh item a range of up to 20 numbers.
std::wstring MakeText(std::uint64_t items, unsigned seed) {
    std::mt19937 engine(seed);
    std::wstring text;
    for (std::uint64_t item = 0; item < items; ++item) {
        const std::uint32_t number = static_cast<std::uint32_t>(engine() % (highest - 20) + 1);
        if (item > 0) text += L',';
        text += std::to_wstring(number);
        if (item % 11 == 10) text += L'-' + std::to_wstring(number + engine() % 20 + 1);
    }
    return text;
}

/// Enough of a text to tell it from any other that comes into question, at no cost.
std::uint64_t Sample(std::wstring_view text) {
    std::uint64_t hash = text.size();
    for (std::size_t index = 0; index < text.size(); index += 997)
        hash = hash * 31 + text[index];
    return hash;
}
std::uint64_t Sample(const CString& text) {
    return Sample(std::wstring_view(text.GetString(), static_cast<std::size_t>(text.GetLength())));
}

std::uint64_t CountCommas(const std::wstring& text) {
    std::uint64_t count = 0;
    const wchar_t* const end = text.data() + text.size();
    for (const wchar_t* comma = text.data(); (comma = std::find(comma, end, L',')) != end; ++comma)
        ++count;
    return count;
}

/// A parser for texts that are known to be good.
template <class Deliver>
void Parse(const std::wstring& text, Deliver deliver) {
    const wchar_t* cursor = text.c_str();
    const auto number = [&cursor] {
        std::uint32_t value = 0;
        for (; *cursor >= L'0' && *cursor <= L'9'; ++cursor)
            value = value * 10 + static_cast<std::uint32_t>(*cursor - L'0');
        return value;
    };
    for (;;) {
        const std::uint32_t start = number();
        std::uint32_t end = start;
        if (*cursor == L'-') {
            ++cursor;
            end = number();
        }
        deliver(start, end);
        if (*cursor != L',') return;
        ++cursor;
    }
}

/// Joins ascending numbers to runs and writes them.
class RunWriter {
public:
    explicit RunWriter(std::size_t expected) : m_text(expected + 32, L'\0') {}
    void Add(std::uint32_t number) {
        if (number == m_end + 1) {
            m_end = number;
            return;
        }
        Flush();
        m_start = m_end = number;
    }
    std::wstring Finish() {
        Flush();
        m_text.resize(m_length);
        return std::move(m_text);
    }

private:
    void Flush() {
        if (m_start == 0) return;
        if (m_length + 32 > m_text.size()) m_text.resize(m_text.size() * 2);
        if (m_length > 0) m_text[m_length++] = L',';
        Write(m_start);
        if (m_end == m_start) return;
        m_text[m_length++] = L'-';
        Write(m_end);
    }
    void Write(std::uint32_t number) {
        wchar_t digits[10];
        wchar_t* begin = digits + 10;
        do {
            *--begin = static_cast<wchar_t>(L'0' + number % 10);
            number /= 10;
        } while (number != 0);
        std::copy(begin, digits + 10, m_text.data() + m_length);
        m_length += static_cast<std::size_t>(digits + 10 - begin);
    }

    std::wstring m_text;
    std::size_t m_length = 0;
    std::uint32_t m_start = 0;
    std::uint32_t m_end = 0xFFFFFFFE; // in front of no number
};

/// A plain bit set over the numbers.
class Bits {
public:
    void Set(std::uint32_t number) { m_words[number / 64] |= std::uint64_t{1} << (number % 64); }
    bool IsSet(std::uint32_t number) const { return (m_words[number / 64] >> (number % 64) & 1) != 0; }
    void SetRange(std::uint32_t start, std::uint32_t end) {
        for (std::uint32_t number = start; number <= end; ++number)
            Set(number);
    }
    void Remove(const Bits& other) {
        for (std::size_t index = 0; index < m_words.size(); ++index)
            m_words[index] &= ~other.m_words[index];
    }
    std::wstring Write(std::size_t expected) const {
        RunWriter writer(expected);
        for (std::size_t index = 0; index < m_words.size(); ++index) {
            for (std::uint64_t word = m_words[index]; word != 0; word &= word - 1)
                writer.Add(static_cast<std::uint32_t>(index * 64) + static_cast<std::uint32_t>(std::countr_zero(word)));
        }
        return writer.Finish();
    }

private:
    std::vector<std::uint64_t> m_words = std::vector<std::uint64_t>(highest / 64 + 1);
};

Bits BitsOf(const std::wstring& text) {
    Bits bits;
    Parse(text, [&bits](std::uint32_t start, std::uint32_t end) { bits.SetRange(start, end); });
    return bits;
}

std::vector<std::uint32_t> SortedVectorOf(const std::wstring& text) {
    std::vector<std::uint32_t> numbers;
    Parse(text, [&numbers](std::uint32_t start, std::uint32_t end) {
        for (std::uint32_t number = start; number <= end; ++number)
            numbers.push_back(number);
    });
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return numbers;
}

std::set<std::uint32_t> SetOf(const std::wstring& text) {
    std::set<std::uint32_t> numbers;
    Parse(text, [&numbers](std::uint32_t start, std::uint32_t end) {
        for (std::uint32_t number = start; number <= end; ++number)
            numbers.insert(number);
    });
    return numbers;
}

template <class Numbers>
std::wstring Write(const Numbers& numbers, std::size_t expected) {
    RunWriter writer(expected);
    for (const std::uint32_t number : numbers)
        writer.Add(number);
    return writer.Finish();
}

std::uint64_t SumOfWalk(OrvaPointString& points) {
    std::uint64_t sum = 0;
    UINT number = 0;
    for (points.GetFirst(&number); !points.IsDone(); points.GetNext(&number))
        sum += number;
    return sum;
}

void AddReading(Subject& subject, const std::wstring& text, OrvaPointString& points) {
    // The scan knows the commas only; one that it missed would show.
    const std::uint64_t commas = CountCommas(text);
    std::uint64_t sum = 0, count = 0;
    Parse(text, [&sum, &count](std::uint32_t start, std::uint32_t end) {
        count += end - start + 1;
        sum += std::uint64_t{end - start + 1} * (std::uint64_t{start} + end) / 2;
    });
    const auto scan = [&text, commas](std::uint64_t expected) -> Work {
        return [&text, commas, expected] { return expected + CountCommas(text) - commas; };
    };
    subject.AddCase("walk all numbers", "item", commas + 1)
        .Limit("scan for commas", scan(sum))
        .Library("OrvaPointString::GetNext", [&points] { return SumOfWalk(points); })
        .Peer("hand-written parser",
              [&text] {
                  std::uint64_t total = 0;
                  Parse(text, [&total](std::uint32_t start, std::uint32_t end) {
                      for (std::uint32_t number = start; number <= end; ++number)
                          total += number;
                  });
                  return total;
              })
        .Goal(3.5);
    subject.AddCase("validate and count", "item", commas + 1)
        .Limit("scan for commas", scan(count))
        .Library("IsValid, GetCount", [&points] { return points.IsValid() ? points.GetCount() : 0; })
        .Goal(5);
}

} // namespace

int main() {
    const std::wstring text = MakeText(1'100'000, 1);
    const std::wstring other = MakeText(1'100'000, 2);
    const std::size_t length = text.size();
    const CString original(text.c_str());
    OrvaPointString points(original);
    Subject subject("Point texts: 1M numbers and 100 000 ranges");

    AddReading(subject, text, points);
    OrvaPointString work;
    subject.AddCase("normalise, sorted", "item", 1'100'000)
        .Limit("parser and bit set", [&] { return Sample(BitsOf(text).Write(length)); })
        .Library(
            "Normalize(TRUE)",
            [&] {
                work.Normalize(TRUE);
                return Sample(work.GetText());
            },
            [&] { work.SetText(original); })
        .Peer("parser and sorted vector", [&] { return Sample(Write(SortedVectorOf(text), length)); })
        .Peer("parser and std::set", [&] { return Sample(Write(SetOf(text), length)); })
        .Goal(1.1)
        .Rounds(5);
    subject.AddCase("subtract, sorted", "item", 2'200'000)
        .Limit("parser and bit sets",
               [&] {
                   Bits bits = BitsOf(text);
                   bits.Remove(BitsOf(other));
                   return Sample(bits.Write(length));
               })
        .Library(
            "Subtract(other, TRUE)",
            [&] {
                work.Subtract(other.c_str(), TRUE);
                return Sample(work.GetText());
            },
            [&] { work.SetText(original); })
        .Peer("parser and sorted vectors",
              [&] {
                  const std::vector<std::uint32_t> from = SortedVectorOf(text), numbers = SortedVectorOf(other);
                  std::vector<std::uint32_t> rest;
                  std::set_difference(from.begin(), from.end(), numbers.begin(), numbers.end(),
                                      std::back_inserter(rest));
                  return Sample(Write(rest, length));
              })
        .Goal(1.1)
        .Rounds(7);

    for (const bool sorted : {true, false}) {
        subject.AddGrowth(sorted ? "normalising, sorted" : "normalising in the given order", "item", 11'000,
                          [sorted](std::uint64_t items) -> Work {
                              const CString some(MakeText(items, 1).c_str());
                              auto grown = std::make_shared<OrvaPointString>();
                              return [some, grown, sorted] {
                                  grown->SetText(some);
                                  grown->Normalize(sorted);
                                  return std::uint64_t{0};
                              };
                          });
    }
    return subject.Run();
}
