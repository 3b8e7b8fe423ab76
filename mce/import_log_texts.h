#pragma once

#include <string_view>

/// Lines of the import log from which a host sees what a provider is doing. The provider writes them with
/// these formats; the host recognises each by the text before its first argument.
namespace TALVEK::MCE {

inline constexpr wchar_t LOG_COMMAND[] = L"Performing command %s";
/// A line that the foreign client wrote on its standard error.
inline constexpr wchar_t LOG_CLIENT_LINE[] = L"    ** %s";
/// A file of the history was read; the number is that of the files before it.
inline constexpr wchar_t LOG_FILE[] = L"Processing file '%s' (count=%d)";
/// A file's log was malformed; the second argument says how it was read.
inline constexpr wchar_t LOG_FILE_REPAIRED[] = L"Repaired the log of '%s': %s";
/// Revisions of a file are lost: its log has fewer than it says.
inline constexpr wchar_t LOG_FILE_INCOMPLETE[] = L"Incomplete log of '%s': %s";
/// What the summary says of a plan of cvsexact: how many names start exactly at a changeset, what had to be
/// made up.
inline constexpr wchar_t LOG_PLAN[] = L"Plan: %s";
/// The history couldn't be read to its end. Another sentence may follow in the line.
inline constexpr wchar_t LOG_HISTORY_CUT_SHORT[] = L"Generating rlog command failed.";

/// True when `strText`, a line without its prefix, was written with the format.
inline bool IsLogLine(std::wstring_view strText, std::wstring_view strFormat) {
  return strText.starts_with(strFormat.substr(0, strFormat.find(L'%')));
}

/// The rest of such a line: the first argument and what follows it. Requires IsLogLine.
inline std::wstring_view LogLineArgument(std::wstring_view strText, std::wstring_view strFormat) {
  return strText.substr(strFormat.substr(0, strFormat.find(L'%')).size());
}

}  // namespace TALVEK::MCE
