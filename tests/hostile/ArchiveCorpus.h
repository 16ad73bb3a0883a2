/// @file
/// Archives to start from: one for each feature and each trick of the format.
#ifndef TARNU_TESTS_HOSTILE_ARCHIVECORPUS_H
#define TARNU_TESTS_HOSTILE_ARCHIVECORPUS_H

#include <cstddef>
#include <string>
#include <vector>

namespace tarnu::test::hostile {

/// What a field says, which decides on the lies that are told there.
enum class FieldKind { Flags, Method, Checksum, Size, Length, Offset, Count, Other };

/// A field of a header or record in an archive.
struct Field {
    std::size_t at;
    std::size_t width;
    FieldKind kind;
    std::size_t twin = noTwin; ///< where the entry's other header says the same

    static constexpr std::size_t noTwin = static_cast<std::size_t>(-1);
};

/// An entry's name in its two headers.
struct NamePlace {
    std::size_t central;
    std::size_t local;
    std::size_t size;
};

struct Specimen {
    const char* what;
    std::string bytes;
    const wchar_t* password = nullptr;
    std::vector<Field> fields{};
    std::vector<NamePlace> names{};
};

/// The same archives each time. None is larger than 32 KiB.
/// @param outside     a folder that absolute names lead to, in UTF-8
/// @param components  that the path of the deepest entry has
std::vector<Specimen> ArchiveCorpus(const std::string& outside, int components);

} // namespace tarnu::test::hostile

#endif // TARNU_TESTS_HOSTILE_ARCHIVECORPUS_H
