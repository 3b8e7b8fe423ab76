#include "mcv/checkout.h"

#include "client/client_entries.h"
#include "mce/cvs_revision.h"

namespace TALVEK::MCV {

namespace {

/// A change is checked out file by file up to this "NextItem" (one more than its items), else as a whole.
constexpr std::uint32_t MAX_FILE_BY_FILE = 30;

}  // namespace

CCheckout::CCheckout(CLIENT::CCvsClient& oClient, const MCE::CLogSink& oLog)
    : m_oClient(oClient), m_oFolder(oClient, oLog), m_oFiles(oClient, m_oFolder, oLog) {}

bool CCheckout::Initialise(const VCM::CString& strClientFolder, bool bForceFileByFile) {
  m_bForceFileByFile = bForceFileByFile;
  return m_oFolder.SetPath(strClientFolder);
}

bool CCheckout::WantsModule(const MCE::TChangeRecord& tChange) const {
  return !m_bForceFileByFile && tChange.nNextItem > MAX_FILE_BY_FILE;
}

void CCheckout::BeginChange(bool bFileByFile, std::uint32_t nTime) {
  m_bFileByFile = bFileByFile;
  if (bFileByFile) m_nChangeTime = nTime;
}

void CCheckout::CheckOutModule(const CLIENT::TModule& tModule, const TStreamInfo& tStream, long long nTime) {
  CLIENT::CCommandLine oLine(m_oClient.GetCommand(), tModule, L"checkout");
  if (tStream.nParentID != 0) oLine.Quoted(L"-r", tStream.strName);
  oLine.Quoted(L"-D", CLIENT::FormatUTCDateTime(nTime) + L" UTC").Quoted(L"-d", tStream.strName);
  m_bModuleFailed = m_oFolder.Allows(tStream.strName) && !m_oFolder.Execute(oLine.Module());
}

void CCheckout::RetrieveItem(const CLIENT::TModule& tModule, const TStreamInfo& tStream,
                             const MCE::TChangeItemRecord& tItem, const VCM::CString& strTargetPath) {
  if (m_bFileByFile) {
    m_oFiles.CheckOut({tModule, tStream.strName, tItem.oFilePath, GetRevisionArgument(tItem)}, strTargetPath);
  } else if (m_bModuleFailed && IsUnfinished(tItem, strTargetPath)) {
    m_oFiles.RemoveUnfinished(strTargetPath);
  }
  CLIENT::CFileRetrieval::Stamp(strTargetPath, tItem.oTimestamp);
}

VCM::CString CCheckout::GetRevisionArgument(const MCE::TChangeItemRecord& tItem) const {
  VCM::CString strRevision;
  if (!tItem.oProps.GetProperty(MCE::ITEM_FOREIGN_REVISION, strRevision)) {
    return CLIENT::FormatUTCDateTime(m_nChangeTime);
  }
  return MCE::TCVSRevision(strRevision).GetText();
}

// Changes are retrieved in the order of their times, so a note of an earlier revision is left from an earlier
// change. Any other one is of this checkout: the client takes its own choice for the time, and notes 1.1.1.1
// for an imported file whose item is 1.1.
bool IsUnfinished(const MCE::TChangeItemRecord& tItem, const VCM::CString& strTargetPath) {
  const CLIENT::TClientEntry tEntry = CLIENT::ReadEntry(strTargetPath);
  if (tEntry.nType != CLIENT::ENTRY_FOUND) return tEntry.nType == CLIENT::ENTRY_MISSING;
  VCM::CString strRevision;
  tItem.oProps.GetProperty(MCE::ITEM_FOREIGN_REVISION, strRevision);
  return MCE::CompareRevisions(tEntry.oRevision, MCE::TCVSRevision(strRevision)) < 0;
}

}  // namespace TALVEK::MCV
