#include "host/import_log_watch.h"

#include <cstdarg>
#include <fstream>
#include <string>

#include "core/text_codec.h"
#include "host/stop_signal.h"
#include "mce/import_log_texts.h"

namespace TALVEK::HOST {
namespace {

// Removes the prefix "%d: " and the line feed.
std::wstring_view TextOfLine(std::wstring_view strLine) {
  const std::size_t nColon = strLine.find(L": ");
  if (nColon != std::wstring_view::npos) strLine.remove_prefix(nColon + 2);
  while (strLine.ends_with(L'\n'))
    strLine.remove_suffix(1);
  return strLine;
}

// The client names each folder that it works on. That is no error.
bool IsRoutine(std::wstring_view strText) {
  return strText.find(L": Logging ") != std::wstring_view::npos ||
         strText.find(L": Updating ") != std::wstring_view::npos;
}

// "cvs [rlog aborted]: end of file from server (consult above messages if any)"
bool RefersToEarlierWords(std::wstring_view strText) {
  return strText.find(L"consult above messages") != std::wstring_view::npos;
}

bool IsComplaint(std::wstring_view strText) {
  return strText.starts_with(L"Failed ") || strText.starts_with(L"No streams ") ||
         strText.starts_with(L"Unable ");
}

}  // namespace

void CImportLogWatch::Message(const wchar_t* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  m_strLastLine.FormatV(pszFormat, args);
  va_end(args);
  m_nLogBytes += VCM::ToUtf8(m_strLastLine).size();
  TakeLine(TextOfLine(m_strLastLine.View()));
  if (m_bStopping) ThrowIfStopped();
}

// Compares the size and the last line, because reading the whole file would take as long as writing it. The
// file may be larger, by the lines written before LogToConnection.
bool CImportLogWatch::IsKeptIn(const std::filesystem::path& oLog) const {
  std::ifstream oFile(oLog, std::ios::binary | std::ios::ate);
  if (!oFile || static_cast<std::uint64_t>(oFile.tellg()) < m_nLogBytes) return false;
  const std::string strLastLine = VCM::ToUtf8(m_strLastLine);
  std::string strEnd(strLastLine.size(), '\0');
  oFile.seekg(-static_cast<std::streamoff>(strEnd.size()), std::ios::end);
  oFile.read(strEnd.data(), static_cast<std::streamsize>(strEnd.size()));
  return oFile && strEnd == strLastLine;
}

void CImportLogWatch::TakeLine(std::wstring_view strText) {
  if (MCE::IsLogLine(strText, MCE::LOG_CLIENT_LINE)) {
    TakeClientLine(MCE::LogLineArgument(strText, MCE::LOG_CLIENT_LINE));
  } else if (MCE::IsLogLine(strText, MCE::LOG_FILE)) {
    m_oProgress.Advance(++m_nFiles);
  } else if (MCE::IsLogLine(strText, MCE::LOG_COMMAND)) {
    m_strCommand.Assign(MCE::LogLineArgument(strText, MCE::LOG_COMMAND));
  } else if (MCE::IsLogLine(strText, MCE::LOG_HISTORY_CUT_SHORT)) {
    m_bCutShort = true;
  } else if (MCE::IsLogLine(strText, MCE::LOG_FILE_INCOMPLETE)) {
    m_astrIncompleteLogs.emplace_back().Assign(MCE::LogLineArgument(strText, MCE::LOG_FILE_INCOMPLETE));
  } else if (MCE::IsLogLine(strText, MCE::LOG_FILE_REPAIRED)) {
    ++m_nRepairedLogs;
  } else if (MCE::IsLogLine(strText, MCE::LOG_PLAN)) {
    m_strPlan.Assign(MCE::LogLineArgument(strText, MCE::LOG_PLAN));
  } else {
    TakeComplaint(strText);
  }
}

void CImportLogWatch::TakeClientLine(std::wstring_view strText) {
  // "cvs rlog: Logging src": the client has found repository and module.
  if (strText.find(L": Logging ") != std::wstring_view::npos) m_bReachedModule = true;
  if (IsRoutine(strText) || (RefersToEarlierWords(strText) && !m_strClientWords.IsEmpty())) return;
  m_strClientWords.Assign(strText);
}

void CImportLogWatch::TakeComplaint(std::wstring_view strText) {
  if (m_strComplaint.IsEmpty() && IsComplaint(strText)) m_strComplaint.Assign(strText);
}

}  // namespace TALVEK::HOST
