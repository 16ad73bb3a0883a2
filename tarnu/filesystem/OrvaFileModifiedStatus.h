/// @file
/// OrvaFileModifiedStatus: a file status as the modification tracking remembers it.
#ifndef TARNU_FILESYSTEM_ORVAFILEMODIFIEDSTATUS_H
#define TARNU_FILESYSTEM_ORVAFILEMODIFIEDSTATUS_H

#include "tarnu/framework/framework.h"

/// A CFileStatus with value semantics of its own: times, size, attribute byte and full name of one file.
///
/// Thread rule: a plain value; one thread at a time. Ownership: it holds everything itself.
struct TARNU_API OrvaFileModifiedStatus : public CFileStatus {
    /// All zero, with an empty name.
    OrvaFileModifiedStatus() noexcept;
    /// Takes over all six values of a file status.
    /// @param status copied
    OrvaFileModifiedStatus(const CFileStatus& status) noexcept; // NOLINT: implicit on purpose
    /// Copies all six values.
    /// @param other stays as it is
    OrvaFileModifiedStatus(const OrvaFileModifiedStatus& other) noexcept;
    virtual ~OrvaFileModifiedStatus();

    /// Takes over name, creation time, modification time and size. Access time and attribute byte stay as they were.
    /// @param other stays as it is
    /// @return this status
    OrvaFileModifiedStatus& operator=(const OrvaFileModifiedStatus& other) noexcept;

    /// True only for an object and itself; two distinct statuses are never equal, whatever they hold. Compare the
    /// members to compare what they hold.
    /// @param other the other status
    /// @return whether they are the same object
    bool operator==(const OrvaFileModifiedStatus& other) const noexcept;
    /// The opposite of ==, so true for any two objects.
    /// @param other the other status
    /// @return whether they are two objects
    bool operator!=(const OrvaFileModifiedStatus& other) const noexcept;
};

#endif // TARNU_FILESYSTEM_ORVAFILEMODIFIEDSTATUS_H
