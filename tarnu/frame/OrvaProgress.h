/// @file
/// The progress meter: one process-wide channel through which the library reports progress to the host.
///
/// The host installs one callback; the operations below turn into calls of it with an operation code, a value and an
/// optional text. There are two levels, primary and secondary, each with its own position and time stamps; the range is
/// shared.
///
/// Thread rule: none of this is locked. Report, poll and switch from one thread, the one the host expects its callback
/// on. Ownership: the callback and the texts stay the caller's; nothing is kept beyond the call except the pointer to
/// the callback.
/// @code
/// int __cdecl Show(int operation, int value, const wchar_t* text); // the host's
/// OrvaSetProgressCallback(&Show);
/// OrvaBeginProgress(L"Reading", 0, count);
/// for (int i = 0; i < count && !OrvaPollProgress(); ++i) OrvaSetProgressPosition(i);
/// OrvaEndProgress();
/// @endcode
#ifndef TARNU_FRAME_ORVAPROGRESS_H
#define TARNU_FRAME_ORVAPROGRESS_H

#include "tarnu/framework/framework.h"

/// What a call of the progress callback means.
enum OrvaProgressOperation : int {
    OrvaProgressOperationPosition = 1,          ///< value: the primary position
    OrvaProgressOperationPoll = 2,              ///< value 0; a nonzero result asks the running operation to stop
    OrvaProgressOperationBegin = 3,             ///< value and text: those given to OrvaBeginProgress
    OrvaProgressOperationEnd = 4,               ///< value 0
    OrvaProgressOperationText = 5,              ///< value: the primary position; text: the caller's
    OrvaProgressOperationMessage = 6,           ///< value 0; text: the caller's
    OrvaProgressOperationBeginSecondary = 7,    ///< value and text: those given to OrvaBeginSecondaryProgress
    OrvaProgressOperationSecondaryPosition = 8, ///< value: the secondary position
    OrvaProgressOperationNote = 9,              ///< value 0; text: the caller's
    OrvaProgressOperationStatus = 10,           ///< value 0; text: the caller's
};

/// The host's progress handler. @p text is null for operations without one. Only the result of a poll is looked at.
using OrvaProgressHandler = int(__cdecl*)(int operation, int value, const wchar_t* text);

// The state of the meter, open for the host to read.

extern TARNU_API OrvaProgressHandler OrvaProgressCallback; ///< the host's handler; null until one is installed
extern TARNU_API bool OrvaProgressEnabled;                 ///< guarded operations reach the handler only when set
extern TARNU_API int OrvaProgressPosition;                 ///< primary position, the last value reported
extern TARNU_API int OrvaSecondaryProgressPosition;        ///< secondary position, the last value reported
extern TARNU_API int OrvaProgressRange;                    ///< count of the latest begin of either level; 1 at rest
extern TARNU_API DWORD OrvaProgressReportTime;             ///< GetTickCount of the last primary report
extern TARNU_API DWORD OrvaProgressPollTime;               ///< GetTickCount of the last primary poll
extern TARNU_API DWORD OrvaSecondaryProgressReportTime;    ///< GetTickCount of the last secondary report
extern TARNU_API DWORD OrvaSecondaryProgressPollTime;      ///< GetTickCount of the last secondary poll

// Switching

/// Installs the host's handler and enables the meter, also when @p callback is null: a guarded operation then calls
/// through the null pointer. Hosts never install null; to silence the meter, use OrvaSetProgressEnabled(false).
/// @param callback borrowed until another one is installed
TARNU_API void OrvaSetProgressCallback(OrvaProgressHandler callback);

/// Sets the enabled flag when a handler is installed; leaves it alone otherwise.
/// @param enabled whether guarded operations reach the handler from now on
TARNU_API void OrvaSetProgressEnabled(bool enabled) noexcept;

/// The enabled flag, OrvaProgressEnabled.
/// @return whether guarded operations reach the handler
TARNU_API bool OrvaIsProgressEnabled() noexcept;

// Primary level. Everything but the poll and update operations does nothing while the meter is disabled.

/// Starts an operation: the position becomes 0, the range @p count (1 when that is 0).
/// @param text what is being done; handed to the handler
/// @param value handed to the handler; its meaning is between caller and host
/// @param count number of steps
TARNU_API void OrvaBeginProgress(const wchar_t* text, int value, int count);
/// Starts an operation of one step.
/// @param text,value as for the other OrvaBeginProgress
TARNU_API void OrvaBeginProgress(const wchar_t* text, int value);

/// Stores and reports the position.
/// @param position steps done; not checked against the range
TARNU_API void OrvaSetProgressPosition(int position);

/// Asks the host whether to go on. Calls the handler whether or not the meter is enabled: only for use while a handler
/// is installed.
/// @return true when the host asks the operation to stop
TARNU_API bool OrvaPollProgress();

/// Reports the stored position, polls, and reports the position again. The first report is guarded; poll and second
/// report call the handler whether or not the meter is enabled: only for use while a handler is installed.
/// @return true when the host asks the operation to stop
TARNU_API bool OrvaUpdateProgress();

/// Ends the operation; the range becomes 1.
TARNU_API void OrvaEndProgress();

/// Hands a text to the handler together with the primary position.
/// @param text handed on as it is, null too
TARNU_API void OrvaProgressText(const wchar_t* text);
/// Hands a message to the handler.
/// @param text handed on as it is, null too
TARNU_API void OrvaProgressMessage(const wchar_t* text);

// Secondary level: as the primary one, with its own position and times and the same range.

/// Starts a step of the running operation: the secondary position becomes 0, the shared range @p count (1 when that
/// is 0).
/// @param text,value,count as for OrvaBeginProgress
TARNU_API void OrvaBeginSecondaryProgress(const wchar_t* text, int value, int count);
/// Starts a step that is not divided further: a count of 1.
/// @param text,value as for OrvaBeginProgress
TARNU_API void OrvaBeginSecondaryProgress(const wchar_t* text, int value);

/// Stores and reports the secondary position.
/// @param position steps done; not checked against the range
TARNU_API void OrvaSetSecondaryProgressPosition(int position);

/// As OrvaPollProgress, stamping the secondary poll time.
/// @return true when the host asks the operation to stop
TARNU_API bool OrvaPollSecondaryProgress();

/// As OrvaUpdateProgress, for the secondary position.
/// @return true when the host asks the operation to stop
TARNU_API bool OrvaUpdateSecondaryProgress();

// Texts

/// Hands a note to the handler.
/// @param text handed on as it is, null too
TARNU_API void OrvaProgressNote(const wchar_t* text);
/// Hands a status text to the handler.
/// @param text handed on as it is, null too
TARNU_API void OrvaProgressStatus(const wchar_t* text);

#endif // TARNU_FRAME_ORVAPROGRESS_H
