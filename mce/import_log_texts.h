#pragma once

#include <string_view>

/// Lines of the import log by which a host follows what a provider does. The provider writes them with these
/// formats; the host recognises them by the text before the first argument.
namespace TALVEK::MCE {

inline constexpr wchar_t LOG_COMMAND[] = L"Performing command %s";
/// A line that the foreign client wrote on its standard error.
inline constexpr wchar_t LOG_CLIENT_LINE[] = L"    ** %s";
/// A file of the history was read; the number counts those before it.
inline constexpr wchar_t LOG_FILE[] = L"Processing file '%s' (count=%d)";
/// A file's log was odd; the second argument tells how it was read.
inline constexpr wchar_t LOG_FILE_REPAIRED[] = L"Repaired the log of '%s': %s";
/// Revisions of a file are lost, because its log doesn't hold what it counts.
inline constexpr wchar_t LOG_FILE_INCOMPLETE[] = L"Incomplete log of '%s': %s";
/// How an import that equals the repository comes about: what had to be made up, how many names need nothing.
inline constexpr wchar_t LOG_PLAN[] = L"Plan: %s";
/// The history could not be read to its end. Another sentence may follow.
inline constexpr wchar_t LOG_HISTORY_CUT_SHORT[] = L"Generating rlog command failed.";

/// True when `strText`, a line without its number, has been written by the format.
inline bool IsLogLine(std::wstring_view strText, std::wstring_view strFormat) {
  return strText.starts_with(strFormat.substr(0, strFormat.find(L'%')));
}

/// The rest of such a line: the first argument and what follows it. Only after IsLogLine.
inline std::wstring_view LogLineArgument(std::wstring_view strText, std::wstring_view strFormat) {
  return strText.substr(strFormat.substr(0, strFormat.find(L'%')).size());
}

}  // namespace TALVEK::MCE
