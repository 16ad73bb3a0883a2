/// @file
/// OrvaSortedPointString: a point string built from a set of numbers, ascending and without duplicates.
#ifndef TARNU_GEOMETRY_ORVASORTEDPOINTSTRING_H
#define TARNU_GEOMETRY_ORVASORTEDPOINTSTRING_H

#include "tarnu/geometry/OrvaPointMarker.h"
#include "tarnu/geometry/OrvaPointString.h"

/// Collects numbers in a set and writes them as a text when asked to.
///
///     OrvaSortedPointString points;
///     for (UINT number : {7u, 2u, 1u}) points.Add(number);
///     points.BuildText(); // "1-2,7"
///
/// The set and the text are apart: a change of the text by other operations leaves the set alone.
///
/// Threads: one object belongs to one thread at a time.
/// Ownership: owns its text and its set.
class TARNU_API OrvaSortedPointString : public OrvaPointString {
public:
    OrvaSortedPointString();
    ~OrvaSortedPointString() override;
    OrvaSortedPointString(const OrvaSortedPointString&) = delete;
    OrvaSortedPointString& operator=(const OrvaSortedPointString&) = delete;

    /// As Add, with OrvaPointStringParseNumber of the text: one number, not a range.
    /// @param number a text; null gives 0
    virtual void AddString(const wchar_t* number);
    /// Puts a number into the set.
    /// @param number 0 and numbers above 0xFFFFFBFF are ignored
    virtual void Add(UINT number);
    /// Replaces the text by the numbers of the set. Numbers above 2147483647 are written as negative ones.
    virtual void BuildText();
    /// Empties the text and the set.
    virtual void Clear();
    /// Takes a number out of the set.
    /// @param number one that the set does not hold is ignored
    virtual void Remove(UINT number);

private:
    OrvaPointMarker m_marker;
};

#endif // TARNU_GEOMETRY_ORVASORTEDPOINTSTRING_H
