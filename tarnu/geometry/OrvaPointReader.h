/// @file
/// OrvaPointReader: points, one at a time, whatever holds them.
#ifndef TARNU_GEOMETRY_ORVAPOINTREADER_H
#define TARNU_GEOMETRY_ORVAPOINTREADER_H

#include "tarnu/framework/framework.h"

/// A forward cursor over points.
///
/// Threads: one reader belongs to one thread at a time.
/// Ownership: each reader says whether it owns its points.
class TARNU_API OrvaPointReader {
public:
    /// A question that both readers answer with false.
    /// @param argument not looked at by them
    /// @return false
    virtual bool Probe(void* argument) = 0;
    /// Delivers the next point. Null pointers are skipped.
    /// @param x,y,z receive the coordinates; each may be null
    /// @param atEnd receives the opposite of the result
    /// @return false, and the coordinates untouched, when there is none
    virtual bool ReadPoint(double* x, double* y, double* z, bool* atEnd) = 0;
    /// Starts again at the first point.
    virtual void Reset() = 0;
    /// @return the points held, read or not
    virtual UINT GetPointCount() const = 0;
    virtual ~OrvaPointReader();
};

#endif // TARNU_GEOMETRY_ORVAPOINTREADER_H
