/// @file
/// Makes hostile archives of good ones.
#ifndef TARNU_TESTS_HOSTILE_ARCHIVEMUTATOR_H
#define TARNU_TESTS_HOSTILE_ARCHIVEMUTATOR_H

#include "hostile/ArchiveCorpus.h"
#include "hostile/Random.h"

namespace tarnu::test::hostile {

/// A changed archive, and how it came to be.
struct Mutant {
    std::string bytes;
    const wchar_t* password;
    const char* specimen;
    const char* change;
};

/// One mutation of one of the corpus; @p seed alone decides which.
Mutant Mutate(const std::vector<Specimen>& corpus, std::uint64_t seed);

} // namespace tarnu::test::hostile

#endif // TARNU_TESTS_HOSTILE_ARCHIVEMUTATOR_H
