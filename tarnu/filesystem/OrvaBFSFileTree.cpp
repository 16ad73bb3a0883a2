#include "tarnu/filesystem/OrvaBFSFileTree.h"

#include "tarnu/filesystem/FileTreeWalkInternal.h"

using Walk = FileTreeWalk<OrvaBFSDirectoryTree>;

OrvaBFSFileTree::OrvaBFSFileTree() = default;

OrvaBFSFileTree::~OrvaBFSFileTree() {
    OrvaBFSFileTree::Close();
}

void OrvaBFSFileTree::Close() {
    m_matcher.Close();
    m_tree.Close();
    m_pattern = OrvaPath();
    m_error = ERROR_SUCCESS;
}

void OrvaBFSFileTree::Open(const wchar_t* root, const wchar_t* pattern, DWORD attributeFilter) {
    const OrvaPath newRoot(root); // copies first: the texts may be this tree's own
    const OrvaPath newPattern(pattern);
    Close();
    m_pattern = newPattern;
    m_attributeFilter = attributeFilter;
    Walk::Open(m_tree, m_matcher, newRoot, m_pattern, m_attributeFilter, m_error);
}

void OrvaBFSFileTree::Next() {
    Walk::Next(m_tree, m_matcher, m_pattern, m_attributeFilter, m_error);
}

BOOL OrvaBFSFileTree::IsFound() const {
    return m_tree.IsFound() && m_matcher.IsFound();
}

OrvaPath& OrvaBFSFileTree::GetPath(OrvaPath& path) const {
    return Walk::Join(m_tree.GetPath(path), m_matcher);
}

OrvaPath& OrvaBFSFileTree::GetName(OrvaPath& name) const {
    return Walk::Join(m_tree.GetName(name), m_matcher);
}

OrvaPath& OrvaBFSFileTree::GetDirectory(OrvaPath& directory) const {
    return m_tree.GetDirectory(directory);
}
