#include "hostile/ArchiveMutator.h"

#include <algorithm>
#include <cstring>

namespace tarnu::test::hostile {
namespace {

std::uint64_t Value(const std::string& bytes, const Field& field) {
    std::uint64_t value = 0;
    std::memcpy(&value, bytes.data() + field.at, field.width);
    return value;
}

/// A lie that suits the field.
std::uint64_t Lie(Random& random, const Specimen& specimen, const Field& field) {
    const std::uint64_t truth = Value(specimen.bytes, field);
    constexpr std::uint64_t limits[] = {
        0,          1,          2,          0x7F,        0x80,      0xFF,       0x100,
        0x7FFF,     0x8000,     0xFFFE,     0xFFFF,      0x10000,   0x7FFFFFFF, 0x80000000,
        0xFFFFFFF0, 0xFFFFFFFE, 0xFFFFFFFF, 0x100000000, INT64_MAX, UINT64_MAX, UINT64_MAX - 30};
    constexpr std::uint64_t methods[] = {0, 1, 6, 8, 8, 9, 12, 14, 93, 95, 97, 98, 99, 0xFFFF};
    if (field.kind == FieldKind::Method && !random.OneIn(4)) return random.Pick(methods);
    if (field.kind == FieldKind::Flags && !random.OneIn(4)) return truth ^ (std::uint64_t{1} << random.Below(16));
    switch (random.Below(5)) {
    case 0:
        return random.Pick(limits);
    case 1:
        return truth + random.Below(65) - 32;
    case 2:
        return specimen.bytes.size() + random.Below(65) - 32;
    case 3:
        return Value(specimen.bytes, random.Pick(specimen.fields));
    default:
        return random.Bits();
    }
}

void ChangeFields(Random& random, const Specimen& specimen, std::string& bytes) {
    for (std::size_t count = 1 + random.Below(3); count-- > 0;) {
        const Field& field = random.Pick(specimen.fields);
        const std::uint64_t lie = Lie(random, specimen, field);
        const bool both = field.twin != Field::noTwin && !random.OneIn(3);
        std::memcpy(bytes.data() + field.at, &lie, field.width);
        if (both) std::memcpy(bytes.data() + field.twin, &lie, field.width);
    }
}

/// A name of the same length that leads elsewhere, in both headers.
void ChangeNames(Random& random, const Specimen& specimen, std::string& bytes) {
    static const std::string evil[] = {"../",
                                       "..\\",
                                       "/",
                                       "\\",
                                       "C:",
                                       "C:\\",
                                       "\\\\?\\",
                                       "//x/y/",
                                       "con",
                                       "nul.",
                                       "aux/",
                                       ":",
                                       "::$DATA",
                                       ".",
                                       " ",
                                       "./",
                                       "~",
                                       "*",
                                       "?",
                                       "\x01",
                                       "a/../",
                                       "\xFF",
                                       "\xC0\xAF",
                                       "\xED\xA0\x80",
                                       "\xE2\x80\xAE",
                                       std::string(1, '\0')};
    for (std::size_t count = 1 + random.Below(4); count-- > 0;) {
        const NamePlace& name = random.Pick(specimen.names);
        const std::string& piece = random.Pick(evil);
        const std::size_t size = std::min(piece.size(), name.size);
        const std::size_t at = random.OneIn(2) ? 0 : random.Below(name.size - size + 1);
        std::memcpy(bytes.data() + name.central + at, piece.data(), size);
        if (!random.OneIn(8)) std::memcpy(bytes.data() + name.local + at, piece.data(), size);
    }
}

void ChangeBytes(Random& random, std::string& bytes) {
    constexpr char values[] = {'\0', '\x01', '\x7F', '\x80', '\xFF', 'P', 'K', '/', '\\', ':'};
    for (std::size_t count = 1 + random.Below(8); count-- > 0;) {
        char& byte = bytes[random.Below(bytes.size())];
        byte = random.OneIn(2) ? random.Pick(values) : static_cast<char>(byte ^ (1 << random.Below(8)));
    }
}

/// Moves, repeats or removes a block.
void ChangeBlocks(Random& random, std::string& bytes) {
    const std::size_t from = random.Below(bytes.size());
    const std::size_t size = 1 + random.Below(std::min<std::size_t>(bytes.size() - from, 200));
    const std::string block = bytes.substr(from, size);
    const std::size_t kind = random.Below(4);
    if (kind <= 1) bytes.erase(from, size);
    if (kind >= 1) {
        const std::size_t to = random.Below(bytes.size() + 1);
        if (kind == 3) {
            bytes.replace(to, std::min(size, bytes.size() - to), block);
        } else {
            bytes.insert(to, block);
        }
    }
}

/// The beginning of one archive and the end of another one, cut anywhere or before a header.
std::string Spliced(Random& random, const std::string& head, const std::string& tail) {
    const auto cut = [&random](const std::string& bytes) {
        std::size_t at = random.Below(bytes.size() + 1);
        if (random.OneIn(2)) {
            const std::size_t header = bytes.find("PK", at);
            if (header != std::string::npos) at = header;
        }
        return at;
    };
    return head.substr(0, cut(head)) + tail.substr(cut(tail));
}

} // namespace

Mutant Mutate(const std::vector<Specimen>& corpus, std::uint64_t seed) {
    Random random(seed);
    const Specimen& specimen = random.Pick(corpus);
    Mutant mutant{specimen.bytes, specimen.password, specimen.what, "nothing"};
    std::string& bytes = mutant.bytes;
    const bool hasNames = !specimen.names.empty();
    switch (random.Below(16)) {
    case 0:
        break;
    case 1:
    case 2:
    case 3:
        mutant.change = "bytes";
        ChangeBytes(random, bytes);
        break;
    case 4:
        mutant.change = "truncation";
        random.OneIn(4) ? bytes.erase(0, random.Below(bytes.size())) : bytes.erase(random.Below(bytes.size()));
        break;
    case 5:
    case 6:
        mutant.change = "blocks";
        ChangeBlocks(random, bytes);
        break;
    case 7:
        mutant.change = "splice";
        bytes = Spliced(random, bytes, random.Pick(corpus).bytes);
        break;
    case 8:
    case 9:
        mutant.change = "names";
        if (hasNames) ChangeNames(random, specimen, bytes);
        break;
    case 10:
        mutant.change = "names, fields and bytes";
        if (hasNames) ChangeNames(random, specimen, bytes);
        ChangeFields(random, specimen, bytes);
        ChangeBytes(random, bytes);
        break;
    default:
        mutant.change = "fields";
        ChangeFields(random, specimen, bytes);
        break;
    }
    return mutant;
}

} // namespace tarnu::test::hostile
