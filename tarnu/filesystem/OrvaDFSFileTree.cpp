#include "tarnu/filesystem/OrvaDFSFileTree.h"

#include "tarnu/filesystem/FileTreeWalkInternal.h"

using Walk = FileTreeWalk<OrvaDFSDirectoryTree>;

OrvaDFSFileTree::OrvaDFSFileTree() = default;

OrvaDFSFileTree::~OrvaDFSFileTree() {
    OrvaDFSFileTree::Close();
}

void OrvaDFSFileTree::Close() {
    m_matcher.Close();
    m_tree.Close();
    m_pattern = OrvaPath();
    m_error = ERROR_SUCCESS;
}

void OrvaDFSFileTree::Open(const wchar_t* root, const wchar_t* pattern, DWORD attributeFilter) {
    const OrvaPath newRoot(root); // copies first: the texts may be this tree's own
    const OrvaPath newPattern(pattern);
    Close();
    m_pattern = newPattern;
    m_attributeFilter = attributeFilter;
    Walk::Open(m_tree, m_matcher, newRoot, m_pattern, m_attributeFilter, m_error);
}

void OrvaDFSFileTree::Next() {
    Walk::Next(m_tree, m_matcher, m_pattern, m_attributeFilter, m_error);
}

BOOL OrvaDFSFileTree::IsFound() const {
    return m_tree.IsFound() && m_matcher.IsFound();
}

OrvaPath& OrvaDFSFileTree::GetPath(OrvaPath& path) const {
    return Walk::Join(m_tree.GetPath(path), m_matcher);
}

OrvaPath& OrvaDFSFileTree::GetName(OrvaPath& name) const {
    return Walk::Join(m_tree.GetName(name), m_matcher);
}

OrvaPath& OrvaDFSFileTree::GetDirectory(OrvaPath& directory) const {
    return m_tree.GetDirectory(directory);
}
