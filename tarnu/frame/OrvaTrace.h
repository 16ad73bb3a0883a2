/// @file
/// Trace texts and log lines for the debugger.
///
/// Both functions write through OutputDebugStringW and nowhere else. Formats follow the wide printf rules of the
/// Windows runtime: `%s` takes a wide text, `%S` a narrow one. Both may be called from any thread; all pointers are
/// borrowed for the call.
#ifndef TARNU_FRAME_ORVATRACE_H
#define TARNU_FRAME_ORVATRACE_H

#include "tarnu/framework/framework.h"

/// Writes a formatted text to the debugger, as it is: the caller supplies line ends.
///
/// @param format printf format; null writes an empty text. What the arguments make of it is cut at 2047 characters.
TARNU_API void OrvaTrace(const wchar_t* format, ...);

/// Writes a log line that names the source location and the calling thread to the debugger.
///
/// The head of the line, `file(line): LOG `, is filled up with dots and ends in the thread tag (`TID=` and eight
/// hexadecimal digits) at column 110; a blank, the message and a line end follow. A head without room for the tag (a
/// location of more than 98 characters) has neither dots nor limit: the tag follows it directly.
/// ~~~
/// survey.cpp(42): LOG ....................................................................TID=00000A2C 17 points read
/// ~~~
/// (The dots are shortened here.)
/// @param file source file of the call; null is written as `(null)`
/// @param line line number in it
/// @param format printf format of the message; null is an empty message. A message is cut at 1023 characters.
TARNU_API void OrvaLog(const wchar_t* file, int line, const wchar_t* format, ...);

/// The name of the source file that is being compiled, as a wide text.
#define ORVA_WIDE_FILE ORVA_WIDE_FILE_STEP1(__FILE__)
#define ORVA_WIDE_FILE_STEP1(file) ORVA_WIDE_FILE_STEP2(file) ///< a step of ORVA_WIDE_FILE
#define ORVA_WIDE_FILE_STEP2(file) L##file                    ///< a step of ORVA_WIDE_FILE

/// OrvaLog at the place where it stands: `ORVA_LOG(L"%d points read", count);`
#define ORVA_LOG(...) ::OrvaLog(ORVA_WIDE_FILE, __LINE__, __VA_ARGS__)

#endif // TARNU_FRAME_ORVATRACE_H
