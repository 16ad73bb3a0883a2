/// @file
/// tarnu::Faces: the faces of a reader for range-for.
#ifndef TARNU_GEOMETRY_FACES_H
#define TARNU_GEOMETRY_FACES_H

#include "tarnu/geometry/OrvaFaceReader.h"
#include "tarnu/geometry/OrvaPointArray.h"

#include <cstddef>
#include <iterator>

namespace tarnu {

/// The faces of a reader, from the first one on: begin() resets the reader, whose cursor is the range's own, so only
/// one walk is under way at a time. Refers to the reader, which must outlive it. The face is one object that is filled
/// anew; copy what is to be kept. Threads: the reader's.
///
///     for (const OrvaPointArray& face : tarnu::Faces(reader)) area += AreaOf(face);
class Faces {
public:
    /// Stands on a face.
    class Iterator {
    public:
        /// @{
        /// What the standard asks of an input iterator.
        using iterator_concept = std::input_iterator_tag;
        using value_type = OrvaPointArray;
        using difference_type = std::ptrdiff_t;
        /// @}

        /// Stands where a range stands.
        /// @param faces  the range, referenced
        explicit Iterator(Faces& faces) : m_faces(&faces) {}
        /// @return the face, in the range; filled anew when the range moves on
        const OrvaPointArray& operator*() const noexcept { return m_faces->m_face; }
        /// @return the face, in the range; filled anew when the range moves on
        const OrvaPointArray* operator->() const noexcept { return &m_faces->m_face; }
        /// Reads the next face. @return this iterator
        Iterator& operator++() {
            m_faces->Read();
            return *this;
        }
        /// Reads the next face.
        void operator++(int) { ++*this; }
        /// @return whether there are no more faces
        bool operator==(std::default_sentinel_t) const noexcept { return !m_faces->m_isRead; }

    private:
        Faces* m_faces;
    };

    /// The faces of a reader.
    /// @param reader  referenced
    explicit Faces(OrvaFaceReader& reader) : m_reader(&reader) {}

    /// Resets the reader and reads its first face.
    /// @return an iterator on it
    Iterator begin() {
        m_reader->Reset();
        Read();
        return Iterator(*this);
    }
    /// @return what an iterator equals behind the last face
    std::default_sentinel_t end() const noexcept { return {}; }

private:
    void Read() { m_isRead = m_reader->ReadFace(m_face); }

    OrvaFaceReader* m_reader;
    OrvaPointArray m_face;
    bool m_isRead = false;
};

} // namespace tarnu

#endif // TARNU_GEOMETRY_FACES_H
