#include "tarnu/filesystem/WalkErrorInternal.h"

#include "tarnu/filesystem/OrvaBFSDirectoryTree.h"
#include "tarnu/filesystem/OrvaBFSFileTree.h"
#include "tarnu/filesystem/OrvaDFSDirectoryTree.h"
#include "tarnu/filesystem/OrvaDFSFileTree.h"

namespace tarnu::support {

DWORD WalkError::Of(const OrvaFileMatch& walk) {
    if (const auto* files = dynamic_cast<const OrvaBasicFileMatcher*>(&walk)) return files->m_error;
    if (const auto* tree = dynamic_cast<const OrvaBFSDirectoryTree*>(&walk)) return tree->m_error;
    if (const auto* tree = dynamic_cast<const OrvaDFSDirectoryTree*>(&walk)) return tree->m_error;
    if (const auto* tree = dynamic_cast<const OrvaBFSFileTree*>(&walk)) {
        return tree->m_error != ERROR_SUCCESS ? tree->m_error : Of(tree->m_tree);
    }
    if (const auto* tree = dynamic_cast<const OrvaDFSFileTree*>(&walk)) {
        return tree->m_error != ERROR_SUCCESS ? tree->m_error : Of(tree->m_tree);
    }
    return ERROR_SUCCESS;
}

} // namespace tarnu::support
