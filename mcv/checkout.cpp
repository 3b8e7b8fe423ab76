#include "mcv/checkout.h"

#include "client/client_entries.h"
#include "mce/cvs_revision.h"

namespace TALVEK::MCV {

namespace {

/// A change is checked out file by file up to this nNextItem, that is up to 29 items.
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
  oLine.Quoted(L"-D", CLIENT::FormatUTCDateTime(nTime) + L" UTC")
      .Quoted(L"-d", CLIENT::CClientFolder::AsArgument(tStream.strName));
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

// Changes are retrieved in the order of their times, so an entry with an earlier revision is left over from
// an earlier change. Any other entry is of this checkout, even with another revision than the item's: for a
// file that `cvs import` made the client enters 1.1.1.1 where the item is 1.1.
bool IsUnfinished(const MCE::TChangeItemRecord& tItem, const VCM::CString& strTargetPath) {
  const CLIENT::TClientEntry tEntry = CLIENT::ReadEntry(strTargetPath);
  if (tEntry.nType != CLIENT::ENTRY_FOUND) return tEntry.nType == CLIENT::ENTRY_MISSING;
  VCM::CString strRevision;
  tItem.oProps.GetProperty(MCE::ITEM_FOREIGN_REVISION, strRevision);
  return MCE::CompareRevisions(tEntry.oRevision, MCE::TCVSRevision(strRevision)) < 0;
}

}  // namespace TALVEK::MCV
