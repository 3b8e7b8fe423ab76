// Set-up of the provider, and how it runs `cvs`.

#include "mcv/cvs_provider.h"

#include <wx/tokenzr.h>

#include "core/file_system.h"
#include "core/text_codec.h"
#include "core/timestamp.h"
#include "mce/import_log_texts.h"
#include "mcv/error_lines.h"

namespace TALVEK::MCV {

const MCE::TPropertyInfo CProvider::s_atPropertyInfo[] = {
    {L"CVS Executable Path", L"CVSPath", L"cvs", MCE::TPropertyInfo::TYPE_EXECUTABLE},
    {L"Path to Repository", L"ReposPath", L":pserver:anonymous@cvs.example.org:/cvsroot",
     MCE::TPropertyInfo::TYPE_TEXT},
    {L"Module Name", L"ModuleName", L"example", MCE::TPropertyInfo::TYPE_TEXT},
    {L"Start Date", L"StartDate", L"", MCE::TPropertyInfo::TYPE_TEXT},
    {L"End Date", L"EndDate", L"", MCE::TPropertyInfo::TYPE_TEXT},
    {L"Create streams for tags", L"StreamsForTags", L"", MCE::TPropertyInfo::TYPE_SWITCH},
    {L"Create branches", L"CreateBranches", L"1", MCE::TPropertyInfo::TYPE_SWITCH},
    {L"Create nested branches", L"NestedBranches", L"", MCE::TPropertyInfo::TYPE_SWITCH},
    {L"Force file-by-file Checkout", L"ForceFileByFile", L"0", MCE::TPropertyInfo::TYPE_SWITCH},
    {L"Include Tag Filters (comma separated)", L"IncludeTags", L"*", MCE::TPropertyInfo::TYPE_TEXT},
    {L"Exclude Tag Filters (comma separated)", L"ExcludeTags", L"", MCE::TPropertyInfo::TYPE_TEXT},
    {L"CVS command error repeat count", L"CmdRepeatCount", L"5", MCE::TPropertyInfo::TYPE_TEXT},
    {L"Log File (optional)", L"LogFile", L"", MCE::TPropertyInfo::TYPE_TEXT},
    {nullptr, nullptr, nullptr, 0}};

namespace {

void SplitAtCommas(const VCM::CString& strText, VCM::CArray<VCM::CString>& astrTokens) {
  astrTokens.RemoveAll(true);
  wxStringTokenizer oTokens(wxString(std::wstring(strText.View())), ",");
  while (oTokens.HasMoreTokens())
    astrTokens.Add(VCM::CString(oTokens.GetNextToken().ToStdWstring()));
}

}  // namespace

CProvider::CProvider()
    : CProviderBase(L"cvs", L"CVS", L"Streams originally converted from CVS", true, true) {}

CProvider::~CProvider() = default;

int CProvider::CheckEnvironment(VCM::CString& strMessage) {
  const VCM::CString strCvsPath = GetStringProperty(L"CVSPath");
  if (VCM::FileExists(strCvsPath)) return 0;
  strMessage.Format(L"The file '%s' doesn't seem to exist (ignore if cvs/cvs.exe is somewhere on your PATH)",
                    strCvsPath.c_str());
  return 1;
}

bool CProvider::InitialiseClients(const VCM::CString& strClientFolder) {
  m_bForceFileByFile = GetBooleanProperty(L"ForceFileByFile");
  return m_oClientPath.Parse(strClientFolder);
}

void CProvider::ReadCommandProperties() {
  const VCM::CString strCvsPath = VCM::EscapeQuoted(GetStringProperty(L"CVSPath"));
  m_strCvsCommand.Format(L"\"%s\"", strCvsPath.c_str());
  m_nCmdRepeatCount = static_cast<std::uint16_t>(VCM::ParseNumber(GetStringProperty(L"CmdRepeatCount")));
  if (m_nCmdRepeatCount == 0) m_nCmdRepeatCount = 1;
}

void CProvider::GetTagFilters() {
  SplitAtCommas(GetStringProperty(L"ExcludeTags"), m_astrExcludeTags);
  SplitAtCommas(GetStringProperty(L"IncludeTags"), m_astrIncludeTags);
  if (m_astrIncludeTags.IsEmpty()) m_astrIncludeTags.Add(L"*");
}

// What begins with "-" would else be an option to the client.
VCM::CString CProvider::GetModuleArgument(const VCM::CString& strPathInModule) const {
  const VCM::CString strPath = GetStringProperty(L"ModuleName") + strPathInModule;
  VCM::CString strArgument;
  strArgument.Format(strPath.View().starts_with(L'-') ? L"-- \"%s\"" : L"\"%s\"",
                     VCM::EscapeQuoted(strPath).c_str());
  return strArgument;
}

VCM::CString CProvider::FormatUTCDateTime(long long nSeconds) {
  VCM::CTimestamp oTime;
  oTime.Set(nSeconds);
  return oTime.Format(L"%Y/%m/%d %H:%M:%S", VCM::ZONE_GMT0);
}

void CProvider::ClearInputStream() {
  if (m_bOwnInputStream) delete m_poInputStream;
  m_poInputStream = nullptr;
  m_bOwnInputStream = false;
}

bool CProvider::ExecuteCommand(const VCM::CString& strCommandLine) {
  WriteLog(MCE::LOG_COMMAND, strCommandLine.c_str());
  for (unsigned nAttempt = 0; nAttempt < m_nCmdRepeatCount; ++nAttempt) {
    const int nResult = m_oProcess.Execute(strCommandLine);
    m_poInputStream = m_oProcess.GetStdOutputStream();
    LogErrorOutput();
    if (nResult == 0) return true;
  }
  return false;
}

void CProvider::LogErrorOutput() {
  wxInputStream* const poErrors = m_oProcess.GetStdErrorStream();
  if (!poErrors) return;
  CErrorLines oLines(*poErrors);
  VCM::CString strLine;
  while (oLines.ReadLine(strLine))
    WriteLog(MCE::LOG_CLIENT_LINE, strLine.c_str());
}

}  // namespace TALVEK::MCV
