/// @file
/// Registry names and texts that are reserved for checking builds of the host.
///
/// No function of the library reads these values or shows these texts; hosts that do find the agreed spelling here.
#ifndef TARNU_FRAME_ORVACHECKINGBUILDS_H
#define TARNU_FRAME_ORVACHECKINGBUILDS_H

namespace tarnu::checking {

/// Key below HKEY_LOCAL_MACHINE, for OrvaReadRegistryDword.
inline constexpr wchar_t HeapDebugKey[] = L"SOFTWARE\\Velmoran\\ORV\\OrvaHeapDebugFlags";
inline constexpr wchar_t DoHeapCheck[] = L"DoHeapCheck";
inline constexpr wchar_t DoCheckMemory[] = L"DoCheckMemory";
inline constexpr wchar_t CrtDebugFlags[] = L"CRTDebugFlags";
inline constexpr wchar_t CrtAssertMode[] = L"CRTAssertMode";
inline constexpr wchar_t AlwaysBreakInAssert[] = L"AlwaysBreakInOrvaAssert";

/// An assertion's line in the debugger: head (file, line), the condition, tail.
inline constexpr wchar_t AssertLogHead[] = L"%s(%d) : Assert failed (";
inline constexpr wchar_t AssertLogTail[] = L")\n";
/// The parts of an assertion's box.
inline constexpr wchar_t AssertText[] = L"Assert: %s";
inline constexpr wchar_t AssertFile[] = L"File: ";
inline constexpr wchar_t AssertLine[] = L"Line: ";
inline constexpr wchar_t AssertNumber[] = L"%d";

} // namespace tarnu::checking

#endif // TARNU_FRAME_ORVACHECKINGBUILDS_H
