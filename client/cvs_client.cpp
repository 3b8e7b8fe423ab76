#include "client/cvs_client.h"

#include <algorithm>

#include "client/error_lines.h"
#include "core/text_codec.h"
#include "mce/import_log_texts.h"

namespace TALVEK::CLIENT {

std::uint16_t ParseRepeatCount(const VCM::CString& strText) {
  return std::max(static_cast<std::uint16_t>(VCM::ParseNumber(strText)), std::uint16_t{1});
}

void CCvsClient::SetCommand(const VCM::CString& strExecutable, std::uint16_t nRepeatCount) {
  m_strCvsCommand.Format(L"\"%s\"", VCM::EscapeQuoted(strExecutable).c_str());
  m_nCmdRepeatCount = nRepeatCount;
}

bool CCvsClient::Execute(const VCM::CString& strCommandLine) {
  m_oLog.WriteLog(MCE::LOG_COMMAND, strCommandLine.c_str());
  for (unsigned nAttempt = 0; nAttempt < m_nCmdRepeatCount; ++nAttempt) {
    const int nResult = m_oProcess.Execute(strCommandLine);
    LogErrorOutput();
    if (nResult == 0) return true;
  }
  return false;
}

void CCvsClient::LogErrorOutput() {
  wxInputStream* const poErrors = m_oProcess.GetStdErrorStream();
  if (!poErrors) return;
  CErrorLines oLines(*poErrors);
  VCM::CString strLine;
  while (oLines.ReadLine(strLine))
    m_oLog.WriteLog(MCE::LOG_CLIENT_LINE, strLine.c_str());
}

}  // namespace TALVEK::CLIENT
