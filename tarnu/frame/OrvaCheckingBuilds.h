/// @file
/// Registry names and texts that are reserved for checking builds of the host.
///
/// No function of the library reads these values or shows these texts; hosts that do find the agreed spelling here.
#ifndef TARNU_FRAME_ORVACHECKINGBUILDS_H
#define TARNU_FRAME_ORVACHECKINGBUILDS_H

namespace tarnu::checking {

/// Key below HKEY_LOCAL_MACHINE, for OrvaReadRegistryDword.
inline constexpr wchar_t HeapDebugKey[] = L"SOFTWARE\\Velmoran\\ORV\\OrvaHeapDebugFlags";
inline constexpr wchar_t DoHeapCheck[] = L"DoHeapCheck";                     ///< name of a value
inline constexpr wchar_t DoCheckMemory[] = L"DoCheckMemory";                 ///< name of a value
inline constexpr wchar_t CrtDebugFlags[] = L"CRTDebugFlags";                 ///< name of a value
inline constexpr wchar_t CrtAssertMode[] = L"CRTAssertMode";                 ///< name of a value
inline constexpr wchar_t AlwaysBreakInAssert[] = L"AlwaysBreakInOrvaAssert"; ///< name of a value

/// An assertion's line in the debugger: head (file, line), the condition, tail.
inline constexpr wchar_t AssertLogHead[] = L"%s(%d) : Assert failed (";
inline constexpr wchar_t AssertLogTail[] = L")\n"; ///< behind the condition
/// The parts of an assertion's box.
inline constexpr wchar_t AssertText[] = L"Assert: %s";
inline constexpr wchar_t AssertFile[] = L"File: "; ///< before the file's name
inline constexpr wchar_t AssertLine[] = L"Line: "; ///< before the line's number
inline constexpr wchar_t AssertNumber[] = L"%d";   ///< the line's number

} // namespace tarnu::checking

#endif // TARNU_FRAME_ORVACHECKINGBUILDS_H
