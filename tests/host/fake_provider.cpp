/// A provider whose streams, changesets and items come from a script. It shares no code with a real provider,
/// so what the host can do with it, it can do with any provider.
///
/// Lines of the script, fields separated by tabs, \xNN for any byte:
///   stream  ID PARENT NAME [BASE [tag]]
///   change  ID STREAM USER TIME COMMENT
///   item    CHANGE TYPE PATH [KIND [CONTENT]]   KIND: file (default) exec link folder pipe missing fail
///   log     TEXT              a line of the import log, written while the streams are looked for
///   warn    TEXT              what CheckEnvironment says
///   fail    OPERATION [ID]    streams, changesets, process ID, clients
///   claim   COUNT             the number of changesets said to be there
///   whole   CHANGE            the changeset's files are retrieved all at once, by OnProcessChange
///   signal  CHANGE NUMBER     sends that signal to the process when the changeset's files are retrieved
/// It appends the operations that are called to the file that the property "TracePath" names.

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "core/text_codec.h"
#include "mce/provider.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;
using VCM::CString;

constexpr MCE::TPropertyInfo PROPERTIES[] = {
    {L"Path of the script", L"ScriptPath", L"", MCE::TPropertyInfo::TYPE_TEXT},
    {L"File that notes the calls", L"TracePath", L"", MCE::TPropertyInfo::TYPE_TEXT},
    {L"Keep nothing back", L"KeepNothingBack", L"1", MCE::TPropertyInfo::TYPE_SWITCH},
    {L"Work upside down", L"UpsideDown", L"", MCE::TPropertyInfo::TYPE_SWITCH},
    {L"Fetching program", L"FETCHProgram", L"true", MCE::TPropertyInfo::TYPE_EXECUTABLE},
    {L"Named as an option of the host", L"Quiet", L"", MCE::TPropertyInfo::TYPE_TEXT},
    {L"Refuses all but x", L"OnlyX", L"x", MCE::TPropertyInfo::TYPE_TEXT},
    {nullptr, nullptr, nullptr, 0}};

std::string Unescape(const std::string& strText) {
  std::string strBytes;
  for (std::size_t nIndex = 0; nIndex < strText.size(); ++nIndex) {
    if (strText.compare(nIndex, 2, "\\x") == 0) {
      strBytes += static_cast<char>(std::stoi(strText.substr(nIndex + 2, 2), nullptr, 16));
      nIndex += 3;
    } else {
      strBytes += strText[nIndex];
    }
  }
  return strBytes;
}

std::vector<std::string> SplitFields(const std::string& strLine) {
  std::vector<std::string> astrFields;
  std::istringstream oStream(strLine);
  std::string strField;
  while (std::getline(oStream, strField, '\t'))
    astrFields.push_back(Unescape(strField));
  astrFields.resize(std::max<std::size_t>(astrFields.size(), 6));
  return astrFields;
}

unsigned ToNumber(const std::string& strField) {
  return strField.empty() ? 0 : static_cast<unsigned>(std::stoul(strField));
}

struct TItem {
  unsigned nChange = 0;
  MCE::CProvider::TChangeItemInfo tInfo;
  std::string strPath;
  std::string strKind;
  std::string strContent;
};

struct TChange {
  unsigned nStream = 0;
  MCE::CProvider::TChangeInfo tInfo;
};

class CFakeProvider : public MCE::CProvider {
 public:
  ~CFakeProvider() override = default;

  void Destroy() override {
    Trace("Destroy");
    delete this;
  }
  void ResetStreams() override {}

  int GetNextStream(MCE::POSITION*& poPosition, TStreamInfo& tStream, unsigned int nParentID) override {
    bool bKnown = false;
    for (const TStreamInfo& tKnown : m_atStreams)
      bKnown = bKnown || tKnown.nID == nParentID;
    const unsigned nWanted = bKnown ? nParentID : 0;
    auto nIndex = reinterpret_cast<std::size_t>(poPosition);
    while (nIndex < m_atStreams.size()) {
      tStream = m_atStreams[nIndex++];
      poPosition = reinterpret_cast<MCE::POSITION*>(nIndex);
      if (tStream.nParentID == nWanted) return MCE::RESULT_OK;
    }
    return MCE::RESULT_END;
  }

  int CheckEnvironment(CString& strMessage) override {
    Trace("CheckEnvironment");
    ReadScript();
    if (m_strWarning.IsEmpty()) return 0;
    strMessage = m_strWarning;
    return 1;
  }

  int EstablishStreams(unsigned int& nCount) override {
    Trace("EstablishStreams");
    for (const std::string& strLine : m_astrLog)
      WriteLog(L"%s", VCM::FromBytes(strLine).c_str());
    nCount = static_cast<unsigned>(m_atStreams.size());
    return m_astrFailures.contains("streams") ? MCE::RESULT_FAILED : MCE::RESULT_OK;
  }

  int ResolveStreamLinkage() override {
    Trace("ResolveStreamLinkage");
    for (TStreamInfo& tStream : m_atStreams)
      tStream.nBaseChangeID = m_anBases[tStream.nID];
    return 0;
  }

  int OnBeginStream(unsigned int nStreamID, const wchar_t* pszFolder) override {
    m_nStream = nStreamID;
    m_strFolder = VCM::ToBytes(pszFolder);
    return 0;
  }

  int OnFirstChangeset(TChangeInfo& tChange) override {
    m_nNextChange = 0;
    return OnNextChangeset(tChange);
  }

  int OnNextChangeset(TChangeInfo& tChange) override {
    while (m_nNextChange < m_atChanges.size()) {
      const TChange& tNext = m_atChanges[m_nNextChange++];
      if (tNext.nStream != m_nStream) continue;
      tChange = tNext.tInfo;
      m_nChange = tChange.nID;
      m_bRetrieving = false;
      return MCE::RESULT_OK;
    }
    return MCE::RESULT_END;
  }

  int OnProcessChange(TChangeInfo& /*tChange*/) override {
    Trace("OnProcessChange " + std::to_string(m_nChange));
    m_bRetrieving = !m_anWhole.contains(m_nChange);
    for (const TItem& tItem : m_atItems) {
      if (!m_bRetrieving && tItem.nChange == m_nChange) Retrieve(tItem);
    }
    const auto oSignal = m_anSignals.find(m_nChange);
    if (oSignal != m_anSignals.end()) kill(getpid(), oSignal->second);
    return m_astrFailures.contains("process " + std::to_string(m_nChange)) ? MCE::RESULT_FAILED
                                                                           : MCE::RESULT_OK;
  }

  int OnFirstChangeItem(TChangeItemInfo& tItem) override {
    m_nNextItem = 0;
    return OnNextChangeItem(tItem);
  }

  int OnNextChangeItem(TChangeItemInfo& tItem) override {
    while (m_nNextItem < m_atItems.size()) {
      const TItem& tNext = m_atItems[m_nNextItem++];
      if (tNext.nChange != m_nChange) continue;
      tItem = tNext.tInfo;
      return m_bRetrieving ? Retrieve(tNext) : MCE::RESULT_OK;
    }
    return MCE::RESULT_END;
  }

  int EstablishChangesets(unsigned int& nCount) override {
    Trace("EstablishChangesets");
    nCount = m_nClaim ? *m_nClaim : static_cast<unsigned>(m_atChanges.size());
    return m_astrFailures.contains("changesets") ? MCE::RESULT_FAILED : MCE::RESULT_OK;
  }

  void SetProperty(const CString& strKey, const CString& strValue) override {
    m_astrProperties[VCM::ToBytes(strKey)] = VCM::ToBytes(strValue);
    Trace("SetProperty " + VCM::ToBytes(strKey) + "=" + VCM::ToBytes(strValue));
  }

  const MCE::TPropertyInfo* GetPropertyInfo() override { return PROPERTIES; }

  bool ValidateStringProperty(const wchar_t* pszKey, CString& strValue, CString& strMessage) override {
    if (CString(pszKey) != L"OnlyX" || strValue == L"x") return true;
    strMessage = L"it must be x";
    return false;
  }

  bool InitialiseClients(const CString& strClientFolder) override {
    Trace("InitialiseClients");
    return !strClientFolder.IsEmpty() && !m_astrFailures.contains("clients");
  }

  bool RemoveClients() override {
    Trace("RemoveClients");
    return true;
  }

  void LogToConnection() override {
    Trace("LogToConnection");
    m_bLogToConnection = true;
  }

  void OpenLog(bool bOpen) override {
    Trace("OpenLog");
    if (!bOpen) return;
    std::string strTemplate = (fs::temp_directory_path() / "TalvekFakeXXXXXX").string();
    close(mkstemp(strTemplate.data()));
    m_strLogPath = strTemplate;
  }

  bool IsLogOpen() const override { return !m_strLogPath.empty(); }

  CString GetLogPath() override {
    Trace("GetLogPath");
    return VCM::FromBytes(m_strLogPath);
  }

  void WriteLog(const wchar_t* pszFormat, ...) override {
    CString strText;
    va_list args;
    va_start(args, pszFormat);
    strText.FormatV(pszFormat, args);
    va_end(args);
    CString strLine;
    strLine.Format(L"%d: %s\n", 42, strText.c_str());
    std::ofstream(m_strLogPath, std::ios::app) << VCM::ToBytes(strLine);
    if (m_bLogToConnection) m_oReposView->GetConnection()->Message(L"%s", strLine.c_str());
  }

  void LogStreamsAndChanges() override { Trace("LogStreamsAndChanges"); }

 private:
  void Trace(const std::string& strCall) {
    const std::string& strPath = m_astrProperties["TracePath"];
    if (!strPath.empty()) std::ofstream(strPath, std::ios::app) << strCall << '\n';
  }

  void ReadScript() {
    std::ifstream oScript(m_astrProperties["ScriptPath"]);
    std::string strLine;
    while (std::getline(oScript, strLine))
      ReadLine(SplitFields(strLine));
    for (TChange& tChange : m_atChanges) {
      tChange.tInfo.nItemCount = 1;
      for (const TItem& tItem : m_atItems)
        tChange.tInfo.nItemCount += tItem.nChange == tChange.tInfo.nID;
    }
  }

  void ReadLine(const std::vector<std::string>& astrFields) {
    const std::string& strKind = astrFields[0];
    if (strKind == "stream") AddStream(astrFields);
    if (strKind == "change") AddChange(astrFields);
    if (strKind == "item") AddItem(astrFields);
    if (strKind == "log") m_astrLog.push_back(astrFields[1]);
    if (strKind == "warn") m_strWarning = VCM::FromBytes(astrFields[1]);
    if (strKind == "fail")
      m_astrFailures.insert(astrFields[1] + (astrFields[2].empty() ? "" : " " + astrFields[2]));
    if (strKind == "claim") m_nClaim = ToNumber(astrFields[1]);
    if (strKind == "whole") m_anWhole.insert(ToNumber(astrFields[1]));
    if (strKind == "signal") m_anSignals[ToNumber(astrFields[1])] = static_cast<int>(ToNumber(astrFields[2]));
  }

  void AddStream(const std::vector<std::string>& astrFields) {
    TStreamInfo tStream(ToNumber(astrFields[1]), ToNumber(astrFields[2]), {}, {},
                        VCM::FromBytes(astrFields[3]).c_str());
    m_anBases[tStream.nID] = ToNumber(astrFields[4]);  // set in ResolveStreamLinkage
    if (astrFields[5] == "tag") tStream.oProps.SetProperty(MCE::STREAM_IS_TAG, std::uint32_t{1});
    m_atStreams.push_back(tStream);
  }

  void AddChange(const std::vector<std::string>& astrFields) {
    TChange tChange;
    tChange.tInfo.nID = ToNumber(astrFields[1]);
    tChange.nStream = ToNumber(astrFields[2]);
    tChange.tInfo.strUser = VCM::FromBytes(astrFields[3]);
    tChange.tInfo.nTime = ToNumber(astrFields[4]);
    tChange.tInfo.strComment = VCM::FromBytes(astrFields[5]);
    m_atChanges.push_back(tChange);
  }

  void AddItem(const std::vector<std::string>& astrFields) {
    TItem tItem;
    tItem.nChange = ToNumber(astrFields[1]);
    tItem.tInfo.nChangeID = tItem.nChange;
    tItem.tInfo.nType = ToNumber(astrFields[2]);
    tItem.strPath = astrFields[3];
    tItem.tInfo.oFilePath.Parse(VCM::FromBytes(tItem.strPath));
    tItem.strKind = astrFields[4].empty() ? "file" : astrFields[4];
    tItem.strContent = astrFields[5];
    m_atItems.push_back(tItem);
  }

  int Retrieve(const TItem& tItem) {
    if (tItem.tInfo.nType == MCE::CHANGE_ITEM_DELETE) return MCE::RESULT_OK;
    const fs::path oFile = fs::path(m_strFolder) / tItem.strPath;
    std::error_code oIgnored;
    fs::create_directories(oFile.parent_path(), oIgnored);
    if (tItem.strKind == "missing")
      WriteLog(L"    ** fake: no %s here", VCM::FromBytes(tItem.strPath).c_str());
    if (tItem.strKind == "link") fs::create_symlink(tItem.strContent, oFile, oIgnored);
    if (tItem.strKind == "folder") fs::create_directory(oFile, oIgnored);
    if (tItem.strKind == "pipe") mkfifo(oFile.c_str(), 0600);
    if (tItem.strKind == "file" || tItem.strKind == "exec")
      std::ofstream(oFile, std::ios::binary) << tItem.strContent;
    if (tItem.strKind == "exec") chmod(oFile.c_str(), 0755);
    return tItem.strKind == "fail" ? MCE::RESULT_FAILED : MCE::RESULT_OK;
  }

  std::map<std::string, std::string> m_astrProperties;
  std::vector<TStreamInfo> m_atStreams;
  std::vector<TChange> m_atChanges;
  std::vector<TItem> m_atItems;
  std::vector<std::string> m_astrLog;
  std::set<std::string> m_astrFailures;
  std::map<unsigned, unsigned> m_anBases;
  std::map<unsigned, int> m_anSignals;
  std::set<unsigned> m_anWhole;
  std::optional<unsigned> m_nClaim;
  CString m_strWarning;
  std::string m_strLogPath;
  std::string m_strFolder;
  unsigned m_nStream = 0;
  unsigned m_nChange = 0;
  std::size_t m_nNextChange = 0;
  std::size_t m_nNextItem = 0;
  bool m_bRetrieving = false;
  bool m_bLogToConnection = false;
};

}  // namespace
}  // namespace TALVEK::TEST

extern "C" {
__attribute__((visibility("default"))) TALVEK_EM_GETOPTIONS talvek_em_fake_getoptions;
__attribute__((visibility("default"))) TALVEK_EM_CREATEPROVIDER talvek_em_fake_createprovider;

void talvek_em_fake_getoptions(wchar_t* pszName, wchar_t* pszDisplayName, unsigned int* pnFlags) {
  std::wstring(L"fake").copy(pszName, 5);
  std::wstring(L"Fake").copy(pszDisplayName, 5);
  pszName[4] = pszDisplayName[4] = L'\0';
  *pnFlags = 0;
}

TALVEK::MCE::CProvider* talvek_em_fake_createprovider() {
  return new TALVEK::TEST::CFakeProvider;
}
}
