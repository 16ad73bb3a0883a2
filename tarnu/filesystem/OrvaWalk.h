/// @file
/// OrvaWalk: any walk over file-system entries as a range.
#ifndef TARNU_FILESYSTEM_ORVAWALK_H
#define TARNU_FILESYSTEM_ORVAWALK_H

#include "tarnu/filesystem/OrvaBasicFileMatcher.h"
#include "tarnu/filesystem/OrvaBFSFileTree.h"
#include "tarnu/filesystem/OrvaDFSFileTree.h"

#include <cstddef>
#include <iterator>

/// One entry of a walk. Threads: one at a time.
struct OrvaFileEntry {
    OrvaPath path; ///< full path
    OrvaPath name; ///< as OrvaFileMatch::GetName: the bare name, or the path relative to the tree's root
    /// Sizes, times and attributes; null for walks that keep none (directory trees). Valid until the walk moves on.
    const WIN32_FIND_DATAW* findData = nullptr;
};

/// The rest of a walk as an input range, made by OrvaWalk. Only references the walk. Threads: the walk's.
class OrvaWalkRange {
public:
    /// Stands on the entry of a walk; every copy moves with the walk.
    class Iterator {
    public:
        /// @{
        /// What the standard asks of an input iterator.
        using value_type = OrvaFileEntry;
        using difference_type = std::ptrdiff_t;
        using iterator_category = std::input_iterator_tag;
        /// @}

        /// Stands where the walk of a range stands.
        /// @param range  referenced
        explicit Iterator(OrvaWalkRange& range) : m_range(&range) {}
        /// @return the entry, in the range; it changes when the walk moves on
        const OrvaFileEntry& operator*() const { return m_range->m_entry; }
        /// @return the entry, in the range; it changes when the walk moves on
        const OrvaFileEntry* operator->() const { return &m_range->m_entry; }
        /// Moves the walk on. @return this iterator
        Iterator& operator++() {
            m_range->m_matcher->Next();
            m_range->Read();
            return *this;
        }
        /// Moves the walk on.
        void operator++(int) { ++*this; }
        /// @return whether the walk is at its end
        friend bool operator==(const Iterator& iterator, std::default_sentinel_t) { return iterator.IsAtEnd(); }

    private:
        bool IsAtEnd() const { return !m_range->m_matcher->IsFound(); }

        OrvaWalkRange* m_range;
    };

    /// The rest of a walk.
    /// @param matcher   opened; referenced
    /// @param findData  its record, or null
    OrvaWalkRange(OrvaFileMatch& matcher, const WIN32_FIND_DATAW* findData) : m_matcher(&matcher) {
        m_entry.findData = findData;
    }
    /// Goes on where the walk stands; it does not start anew.
    /// @return an iterator on the current entry
    Iterator begin() {
        Read();
        return Iterator(*this);
    }
    /// @return what an iterator equals at the end of the walk
    std::default_sentinel_t end() const { return std::default_sentinel; }

private:
    void Read() {
        if (!m_matcher->IsFound()) return;
        m_matcher->GetPath(m_entry.path);
        m_matcher->GetName(m_entry.name);
    }

    OrvaFileMatch* m_matcher;
    OrvaFileEntry m_entry;
};

namespace tarnu {

/// The record of a walk's current entry, whatever walk is behind the interface.
/// @param matcher any walk
/// @return a record that belongs to the walk, into which the next entries are read; null for a walk that keeps none
inline const WIN32_FIND_DATAW* FindDataOf(const OrvaFileMatch& matcher) {
    if (const auto* basic = dynamic_cast<const OrvaBasicFileMatcher*>(&matcher)) return basic->GetFindData();
    if (const auto* files = dynamic_cast<const OrvaBFSFileTree*>(&matcher)) return files->GetFindData();
    if (const auto* files = dynamic_cast<const OrvaDFSFileTree*>(&matcher)) return files->GetFindData();
    return nullptr;
}

} // namespace tarnu

/// The entries of an opened walk, from the current one on, for a range-based for loop:
/// ~~~
/// OrvaDFSFileTree files;
/// files.Open(root, L"*", 0x20);
/// for (const OrvaFileEntry& entry : OrvaWalk(files)) total += entry.findData->nFileSizeLow;
/// ~~~
/// The entry is one object that moves along. The walk must outlive the range, and is at its end after the loop.
/// @param matcher an opened walk; referenced
/// @return the range
inline OrvaWalkRange OrvaWalk(OrvaFileMatch& matcher) {
    return OrvaWalkRange(matcher, tarnu::FindDataOf(matcher));
}

#endif // TARNU_FILESYSTEM_ORVAWALK_H
