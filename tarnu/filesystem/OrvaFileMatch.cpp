#include "tarnu/filesystem/OrvaFileMatch.h"

namespace {

/// The attribute of each two-bit field, lowest bits first.
constexpr DWORD fieldAttributes[] = {
    FILE_ATTRIBUTE_ARCHIVE, FILE_ATTRIBUTE_COMPRESSED, FILE_ATTRIBUTE_DIRECTORY, FILE_ATTRIBUTE_HIDDEN,
    FILE_ATTRIBUTE_NORMAL,  FILE_ATTRIBUTE_READONLY,   FILE_ATTRIBUTE_SYSTEM,    FILE_ATTRIBUTE_TEMPORARY,
};

} // namespace

OrvaFileMatch::~OrvaFileMatch() = default;

BOOL OrvaMatchFileAttributes(DWORD attributeFilter, DWORD attributes) {
    for (const DWORD attribute : fieldAttributes) {
        const bool isSet = (attributes & attribute) != 0;
        switch (attributeFilter & 3) {
        case 1:
            if (!isSet) return 0;
            break;
        case 2:
            if (isSet) return 0;
            break;
        case 3:
            return 0;
        default:
            break;
        }
        attributeFilter >>= 2;
    }
    return 1;
}
