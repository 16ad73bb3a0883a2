/// @file
/// The file attribute record and the query that fills it.
#ifndef TARNU_PATHS_ORVAFILEATTRIBUTES_H
#define TARNU_PATHS_ORVAFILEATTRIBUTES_H

#include "tarnu/framework/framework.h"

/// Attributes, creation, last access and last write time, and the size in bytes (high half, then low half) of one file:
/// the system's own record, so it can be handed to and taken from any other code that uses it.
using OrvaFileAttributeData = WIN32_FILE_ATTRIBUTE_DATA;

/// Reads the attributes, times and size of a file.
///
/// The file is opened for reading and shared with other readers and writers, so a file that somebody holds exclusively
/// is reported as a failure, with its attributes filled. The same goes for every directory: it can't be opened this
/// way.
/// @param path       the file; borrowed for the call
/// @param infoLevel  must be 0
/// @param data       receives the record
/// @return true when every field was filled. On false: null @p data or another level leaves @p data untouched; a file
///         that does not exist leaves its attributes at INVALID_FILE_ATTRIBUTES (0xFFFFFFFF); otherwise the attributes
///         are valid and the other fields are filled as far as the file could be read.
/// @note Any thread; keeps no state.
TARNU_API bool OrvaGetFileAttributeData(const wchar_t* path, int infoLevel, OrvaFileAttributeData* data);

#endif // TARNU_PATHS_ORVAFILEATTRIBUTES_H
