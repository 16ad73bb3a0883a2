/// @file
/// OrvaUnsortedPointString: a point string built from numbers in the order in which they were added.
#ifndef TARNU_GEOMETRY_ORVAUNSORTEDPOINTSTRING_H
#define TARNU_GEOMETRY_ORVAUNSORTEDPOINTSTRING_H

#include "tarnu/geometry/OrvaPointString.h"

/// Collects numbers and appends them to its text when asked to.
///
///     OrvaUnsortedPointString points;
///     for (UINT number : {3u, 4u, 5u, 9u, 8u, 7u, 2u}) points.Add(number);
///     points.BuildText(); // "3-5,9-7,2"
///
/// Threads: one object belongs to one thread at a time.
/// Ownership: owns its text and its numbers.
class TARNU_API OrvaUnsortedPointString : public OrvaPointString {
public:
    OrvaUnsortedPointString();
    ~OrvaUnsortedPointString() override;
    OrvaUnsortedPointString(const OrvaUnsortedPointString&) = delete;
    OrvaUnsortedPointString& operator=(const OrvaUnsortedPointString&) = delete;

    /// As Add, with OrvaPointStringParseNumber of the text: one number, not a range.
    /// @param number a text; null gives 0
    virtual void AddString(const wchar_t* number);
    /// Adds a number to those that wait for BuildText; it is dropped when memory runs out.
    /// @param number any number, also 0
    virtual void Add(UINT number);
    /// Appends the waiting numbers to the text: neighbours, upward or downward, as ranges, repetitions as they are. The
    /// text's trailing white space goes, even when no number waits.
    virtual void BuildText();
    /// Empties the text and forgets the waiting numbers.
    virtual void Clear();

private:
    CList<UINT, UINT> m_pending{10}; ///< added since the text was last built
};

#endif // TARNU_GEOMETRY_ORVAUNSORTEDPOINTSTRING_H
