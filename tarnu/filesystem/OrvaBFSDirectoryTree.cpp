#include "tarnu/filesystem/OrvaBFSDirectoryTree.h"

#include "tarnu/filesystem/FileListingInternal.h"
#include "tarnu/filesystem/LinkGuardInternal.h"
#include "tarnu/filesystem/WalkErrorInternal.h"

#include <utility>

namespace {

constexpr DWORD directoriesOnly = 0x10;

} // namespace

OrvaBFSDirectoryTree::OrvaBFSDirectoryTree() {
    m_matcher.SetSkipDots(1);
}

OrvaBFSDirectoryTree::~OrvaBFSDirectoryTree() {
    OrvaBFSDirectoryTree::Close();
}

void OrvaBFSDirectoryTree::Close() {
    m_root = OrvaPath();
    m_queue.clear();
    m_matcher.Close();
    m_error = ERROR_SUCCESS;
}

void OrvaBFSDirectoryTree::Open(const wchar_t* root, const wchar_t* pattern, DWORD /*attributeFilter*/) {
    const OrvaPath newRoot(root); // a copy first: the text may be this tree's own
    const OrvaPath newPattern(pattern);
    Close();
    m_root = newRoot;
    // One expects the argument to choose among the directories. All of them are visited; hosts rely on a copied or
    // deleted tree being complete, hidden branches included.
    m_attributeFilter = directoriesOnly;
    m_queue.push_back({OrvaPath(), /*canEnter=*/true});
    PushSubdirectories(m_root, OrvaPath(), newPattern);
}

void OrvaBFSDirectoryTree::Next() {
    if (m_queue.empty()) return;
    m_queue.pop_front();
    if (!CanEnter()) return;
    // One expects the pattern here too. It chooses the top-level branches only: hosts rely on those being walked whole.
    const OrvaPath relative = m_queue.front().relative;
    PushSubdirectories(m_root / relative, relative, L"*");
}

void OrvaBFSDirectoryTree::PushSubdirectories(const OrvaPath& directory, const OrvaPath& relative,
                                              const wchar_t* pattern) {
    OrvaPath name;
    m_matcher.m_kept = m_listing.get();
    for (m_matcher.Open(directory, pattern, m_attributeFilter); m_matcher.IsFound(); m_matcher.Next()) {
        const bool canEnter = !tarnu::support::LeadsToAncestor(m_matcher);
        m_queue.push_back({relative / m_matcher.GetName(name), canEnter});
    }
    tarnu::support::WalkError::Keep(m_error, m_matcher.m_error);
    m_matcher.Close();
}

BOOL OrvaBFSDirectoryTree::IsFound() const {
    return !m_queue.empty();
}

OrvaPath& OrvaBFSDirectoryTree::GetPath(OrvaPath& path) const {
    path = m_root;
    if (!m_queue.empty()) path.JoinInPlace(m_queue.front().relative);
    return path;
}

OrvaPath& OrvaBFSDirectoryTree::GetName(OrvaPath& name) const {
    name = m_queue.empty() ? OrvaPath() : m_queue.front().relative;
    return name;
}

OrvaPath& OrvaBFSDirectoryTree::GetDirectory(OrvaPath& directory) const {
    directory = m_root;
    return directory;
}
