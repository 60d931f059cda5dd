#pragma once
// What a report of the library means, for a host that shows reports to its users (see moxassert.h).

namespace moxsdk {

// The meaning, in one line, of the report pMessage made under the report file pFileName (the file and
// message a MoxAssertProc or MoxAssertCapture receives), for example "a polygon vertex names a negative
// control point; the split stops". Null when the library does not know the pair: a message of another
// file, a host's own report, a null argument. The text is static and lives as long as the program.
// Complexity: linear in the number of texts of the file.
const char* MoxReportMeaning(const char* pFileName, const char* pMessage);

}  // namespace moxsdk
