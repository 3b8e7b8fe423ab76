#include "client/command_line.h"

#include "core/process_capture.h"
#include "core/timestamp.h"

namespace TALVEK::CLIENT {

VCM::CString GetRootDirectory(const VCM::CString& strRoot) {
  return strRoot.Mid(strRoot.ReverseFind(L':') + 1);
}

VCM::CString FormatUTCDateTime(long long nSeconds) {
  VCM::CTimestamp oTime;
  oTime.Set(nSeconds);
  return oTime.Format(L"%Y/%m/%d %H:%M:%S", VCM::ZONE_GMT0);
}

CCommandLine::CCommandLine(const VCM::CString& strCvsCommand, const TModule& tModule,
                           const wchar_t* pszCommand)
    : m_tModule(tModule) {
  m_strLine.Format(L"%s -d %s %s", strCvsCommand.c_str(), tModule.strRoot.c_str(), pszCommand);
}

CCommandLine& CCommandLine::Word(const VCM::CString& strText) {
  m_strLine.Format(L"%s %s", m_strLine.c_str(), strText.c_str());
  return *this;
}

CCommandLine& CCommandLine::Quoted(const wchar_t* pszOption, const VCM::CString& strArgument) {
  m_strLine.Format(L"%s %s \"%s\"", m_strLine.c_str(), pszOption, VCM::EscapeQuoted(strArgument).c_str());
  return *this;
}

VCM::CString CCommandLine::Module(const VCM::CString& strPathInModule) {
  const VCM::CString strModule = m_tModule.strName + strPathInModule;
  if (strModule.View().starts_with(L'-')) Word(L"--");
  return Word(L"\"" + VCM::EscapeQuoted(strModule.c_str()) + L"\"").m_strLine;
}

}  // namespace TALVEK::CLIENT
