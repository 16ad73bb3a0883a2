#include "tarnu/filesystem/OrvaDFSDirectoryTree.h"

#include "tarnu/filesystem/FileListingInternal.h"
#include "tarnu/filesystem/LinkGuardInternal.h"
#include "tarnu/filesystem/WalkErrorInternal.h"

#include <memory>

namespace {

constexpr DWORD directoriesOnly = 0x10;

std::unique_ptr<OrvaBasicFileMatcher> NewMatcher() {
    auto matcher = std::make_unique<OrvaBasicFileMatcher>();
    matcher->SetSkipDots(1);
    return matcher;
}

} // namespace

OrvaDFSDirectoryTree::OrvaDFSDirectoryTree() = default;

OrvaDFSDirectoryTree::~OrvaDFSDirectoryTree() {
    OrvaDFSDirectoryTree::Close();
}

void OrvaDFSDirectoryTree::Close() {
    m_root = OrvaPath();
    m_pattern.Empty();
    while (!m_stack.IsEmpty()) {
        const std::unique_ptr<OrvaFileMatch> matcher(m_stack.RemoveHead());
    }
    m_canEnter = true;
    m_error = ERROR_SUCCESS;
}

void OrvaDFSDirectoryTree::Open(const wchar_t* root, const wchar_t* pattern, DWORD /*attributeFilter*/) {
    const OrvaPath newRoot(root); // copies first: the texts may be this tree's own
    const CString newPattern(pattern);
    Close();
    m_root = newRoot;
    m_pattern = newPattern;
    // As in the breadth-first tree: hosts rely on a deleted tree being complete, hidden branches included.
    m_attributeFilter = directoriesOnly;

    auto matcher = NewMatcher();
    matcher->m_kept = m_listing.get();
    matcher->Open(m_root, m_pattern, m_attributeFilter);
    m_stack.AddTail(matcher.get());
    (void)matcher.release(); // the stack owns it
    Descend();
}

void OrvaDFSDirectoryTree::Next() {
    if (m_stack.IsEmpty()) return;
    m_canEnter = true;
    if (!m_stack.GetTail()->IsFound()) {
        const std::unique_ptr<OrvaBasicFileMatcher> finished(m_stack.RemoveTail());
        tarnu::support::WalkError::Keep(m_error, finished->m_error);
    }
    if (m_stack.IsEmpty()) return;
    // What the parent's listing still holds is only a part of it.
    if (m_listing) m_listing->Drop();
    m_stack.GetTail()->Next();
    Descend();
}

/// Goes down to the first directory that has no subdirectories left.
void OrvaDFSDirectoryTree::Descend() {
    OrvaPath path;
    while (m_stack.GetTail()->IsFound()) {
        const OrvaBasicFileMatcher& parent = *m_stack.GetTail();
        parent.GetPath(path);
        m_canEnter = !tarnu::support::LeadsToAncestor(parent);
        auto matcher = NewMatcher();
        matcher->m_kept = m_listing.get();
        if (m_canEnter)
            matcher->Open(path, m_pattern, m_attributeFilter);
        else
            matcher->m_directory = path;
        m_stack.AddTail(matcher.get());
        (void)matcher.release(); // the stack owns it
    }
}

BOOL OrvaDFSDirectoryTree::IsFound() const {
    return !m_stack.IsEmpty();
}

OrvaPath& OrvaDFSDirectoryTree::GetPath(OrvaPath& path) const {
    if (m_stack.IsEmpty()) return path = OrvaPath();
    return m_stack.GetTail()->GetDirectory(path);
}

OrvaPath& OrvaDFSDirectoryTree::GetName(OrvaPath& name) const {
    OrvaPath part;
    OrvaPath joined;
    for (POSITION position = m_stack.GetHeadPosition(); position != nullptr;) {
        joined.JoinInPlace(m_stack.GetNext(position)->GetName(part));
    }
    return name = joined;
}

OrvaPath& OrvaDFSDirectoryTree::GetDirectory(OrvaPath& directory) const {
    directory = m_root;
    return directory;
}
