#include "tests/mcv/provider_fixture.h"

#include <map>
#include <vector>

#include "core/text_codec.h"
#include "tests/support/import_log.h"

namespace TALVEK::TEST {

namespace {

constexpr std::uint32_t NEVER = 0xFFFFFFFF;
constexpr const char* APSZ_TYPES[] = {"add", "edit", "delete", "readd"};

std::string TimeText(std::uint32_t nTime) {
  return nTime == NEVER ? "never" : std::to_string(nTime);
}

std::string RevisionText(const MCE::TChangeItemRecord& tItem) {
  VCM::CString strRevision;
  tItem.oProps.GetProperty(MCE::ITEM_FOREIGN_REVISION, strRevision);
  return Narrow(strRevision);
}

}  // namespace

std::string COpenProvider::Streams() const {
  std::string strText;
  for (const TStreamInfo& tStream : m_oStreams) {
    strText += std::to_string(tStream.nID) + " " + Narrow(tStream.strName) + " below " +
               std::to_string(tStream.nParentID) + " [" +
               std::to_string(tStream.oProps.GetNumber(MCE::STREAM_CREATED, 0)) + "," +
               std::to_string(tStream.oProps.GetNumber(MCE::STREAM_MAX_CREATED, 0)) + "]\n";
  }
  return strText;
}

std::string COpenProvider::StreamName(unsigned nStreamID) const {
  TStreamInfo tStream;
  return nStreamID != 0 && GetStreamByID(nStreamID, tStream) ? Narrow(tStream.strName) : "?";
}

std::vector<MCE::TChangeRecord> COpenProvider::ReadChanges() {
  PrepareForChanges(false);
  std::vector<MCE::TChangeRecord> atChanges;
  MCE::TChangeRecord tChange;
  for (bool bFound = m_poChangeIterator->GetGTE(tChange); bFound;
       bFound = m_poChangeIterator->GetNext(tChange)) {
    atChanges.push_back(tChange);
  }
  return atChanges;
}

std::vector<MCE::TChangeItemRecord> COpenProvider::ReadItems() {
  PrepareForChanges(false);
  std::vector<MCE::TChangeItemRecord> atItems;
  MCE::TChangeItemRecord tItem;
  for (bool bFound = m_poChangeItemIterator->GetGTE(tItem); bFound;
       bFound = m_poChangeItemIterator->GetNext(tItem)) {
    atItems.push_back(tItem);
  }
  return atItems;
}

std::string COpenProvider::Items() {
  std::map<std::uint32_t, MCE::TChangeRecord> oChanges;
  for (const MCE::TChangeRecord& tChange : ReadChanges())
    oChanges[tChange.nID] = tChange;
  std::string strText;
  for (const MCE::TChangeItemRecord& tItem : ReadItems()) {
    const MCE::TChangeRecord& tChange = oChanges.at(tItem.nID);
    strText += Narrow(tItem.oFilePath.GeneratePath()) + " " + RevisionText(tItem) + " " +
               APSZ_TYPES[tItem.nType] + " on " + StreamName(tChange.nStreamID) + " " +
               std::to_string(tItem.oTimestamp.GetUTC()) + ".." +
               TimeText(tChange.oProps.GetNumber(MCE::CHANGE_MAX_TIME, 0)) + "\n";
  }
  return strText;
}

std::string COpenProvider::Changes() {
  const std::vector<MCE::TChangeItemRecord> atItems = ReadItems();
  std::string strText;
  for (const MCE::TChangeRecord& tChange : ReadChanges()) {
    strText += StreamName(tChange.nStreamID) + " " + std::to_string(tChange.nTime) + " " +
               Narrow(tChange.strUser) + " [" + Narrow(tChange.strComment) + "]";
    const char* pszSeparator = " ";
    for (const MCE::TChangeItemRecord& tItem : atItems) {
      if (tItem.nID != tChange.nID) continue;
      strText += pszSeparator + Narrow(tItem.oFilePath.GeneratePath()) + " " + RevisionText(tItem);
      pszSeparator = ", ";
    }
    strText += "\n";
  }
  return strText;
}

ProviderTest::ProviderTest() {
  Set(L"CreateBranches", "1");
  m_oProvider.OpenLog(true);
}

void ProviderTest::Set(const wchar_t* pszKey, const std::string& strValue) {
  m_oProvider.SetProperty(pszKey, VCM::FromBytes(strValue));
}

std::string ProviderTest::Log() const {
  std::string strLog;
  for (const auto& oEntry : std::filesystem::directory_iterator(m_oTemporaryFiles.Path())) {
    if (oEntry.path().filename().string().starts_with("Talvek")) strLog += ReadFile(oEntry.path());
  }
  strLog = WithoutSeconds(strLog);
  const std::string strFirst = "Beginning Import with CVS\n";
  EXPECT_EQ(strLog.substr(0, strFirst.size()), strFirst);
  return strLog.substr(std::min(strLog.size(), strFirst.size()));
}

void ProviderTest::FakeCvs(const std::string& strScript, std::uint16_t nRepeatCount) {
  m_oCvs.Make(strScript);
  Set(L"CVSPath", CvsPath().string());
  m_oProvider.m_oClient.SetCommand(VCM::FromBytes(CvsPath().string()), nRepeatCount);
}

bool ProviderTest::Search(const std::string& strLog) {
  const std::filesystem::path oLogFile = m_oFolder / "saved.rlog";
  WriteFile(oLogFile, strLog);
  Set(L"LogFile", oLogFile.string());
  Set(L"ModuleName", "mod");
  Set(L"ReposPath", "/repo");
  return m_oProvider.SearchForStreams();
}

}  // namespace TALVEK::TEST
