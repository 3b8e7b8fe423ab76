// The walks of the host: streams by parent, changesets of the current stream, items of the current changeset.

#include "core/file_system.h"
#include "mce/provider_base.h"

namespace TALVEK::MCE {

namespace {

constexpr unsigned FOLDER_MODE = 0777;

}  // namespace

void CProviderBase::ResetStreams() {
  m_oStreams.RemoveAll();
  m_bStreamsEstablished = false;
  m_oFailure = {};
  m_bChangesLost = false;
}

int CProviderBase::EstablishStreams(unsigned int& nCount) {
  if (!m_bStreamsEstablished) {
    ResetStreams();
    if (!SearchForStreams()) return RESULT_FAILED;
    m_bStreamsEstablished = true;
  }
  if (m_oStreams.IsEmpty()) {
    WriteLog(L"No streams were found.");
    return RESULT_FAILED;
  }
  nCount = static_cast<unsigned int>(m_oStreams.GetCount());
  return RESULT_OK;
}

int CProviderBase::GetNextStream(POSITION*& poPosition, TStreamInfo& tStream, unsigned int nParentID) {
  if (!m_bStreamsEstablished) {
    if (!SearchForStreams()) return RESULT_FAILED;
    m_bStreamsEstablished = true;
  }
  // No stream has the number 0, and to look for it would take a look at each of them.
  const bool bHasParent = nParentID != 0 && m_oStreams.FindByID(nParentID) >= 0;
  const unsigned int nWantedParent = bHasParent ? nParentID : 0;
  // The host's position is the index of the next stream to look at.
  auto nIndex = reinterpret_cast<std::intptr_t>(poPosition);
  if (nIndex < 0 || nIndex >= m_oStreams.GetCount()) return RESULT_END;
  const int nFound = m_oStreams.FindChild(nWantedParent, static_cast<int>(nIndex));
  // At the end the host gets the list's last stream, as from a loop over all of them.
  const int nLast = nFound < 0 ? m_oStreams.GetCount() - 1 : nFound;
  tStream = m_oStreams[nLast];
  // NOLINTNEXTLINE(performance-no-int-to-ptr): to the host it is opaque.
  poPosition = reinterpret_cast<POSITION*>(static_cast<std::intptr_t>(nLast) + 1);
  return nFound < 0 ? RESULT_END : RESULT_OK;
}

int CProviderBase::OnBeginStream(unsigned int nStreamID, const wchar_t* pszFolder) {
  const int nPlace = m_oStreams.FindByID(nStreamID);
  if (nPlace >= 0) m_tCurrentStream = m_oStreams[nPlace];
  m_oWorkFolder.Parse(pszFolder);
  return RESULT_OK;
}

int CProviderBase::EstablishChangesets(unsigned int& nCount) {
  if (!m_bChangesetsEstablished) {
    if (!m_poDatabase && !PrepareForChanges(false)) return RESULT_FAILED;
    if (!EnumerateChanges()) return RESULT_FAILED;
    CommitChanges();
    if (m_oFailure.HasFailed()) ReportLostChanges();
    if (m_bChangesLost) return RESULT_FAILED;
    m_bChangesetsEstablished = true;
  }
  nCount = m_nChangesAdded;
  return RESULT_OK;
}

int CProviderBase::FillChangeInfo(const VCM::CStatus& oFound, TChangeInfo& tChange) {
  if (NoteFailure(oFound).HasFailed()) return RESULT_FAILED;
  if (!oFound || m_tChange.nStreamID != m_tCurrentStream.nID) return RESULT_END;
  tChange.nID = m_tChange.nID;
  tChange.strUser = m_tChange.strUser;
  tChange.nTime = m_tChange.nTime;
  tChange.strComment = m_tChange.strComment;
  tChange.nItemCount = m_tChange.nNextItem;
  return RESULT_OK;
}

int CProviderBase::OnFirstChangeset(TChangeInfo& tChange) {
  if (!PrepareForChanges(false)) return RESULT_FAILED;
  m_tChange.nStreamID = m_tCurrentStream.nID;
  m_tChange.nTime = 0;
  return FillChangeInfo(m_poChangeIterator->GetGTE(m_tChange), tChange);
}

int CProviderBase::OnNextChangeset(TChangeInfo& tChange) {
  return m_poChangeIterator ? FillChangeInfo(m_poChangeIterator->GetNext(m_tChange), tChange) : RESULT_END;
}

int CProviderBase::OnProcessChange(TChangeInfo& /*tChange*/) {
  return RetrieveChangeFiles(m_tChange);
}

int CProviderBase::FillChangeItemInfo(const VCM::CStatus& oFound, TChangeItemInfo& tItem) {
  if (NoteFailure(oFound).HasFailed()) return RESULT_FAILED;
  if (!oFound || m_tChangeItem.nID != m_tChange.nID) return RESULT_END;
  tItem.nChangeID = m_tChangeItem.nID;
  tItem.nType = m_tChangeItem.nType;
  tItem.oFilePath = m_tChangeItem.oFilePath;
  tItem.nRevision = m_tChangeItem.nRevision;
  return RESULT_OK;
}

int CProviderBase::RetrieveCurrentItem() {
  return RetrieveChangeItemFile(m_tChangeItem, m_tChangeItem.oFilePath.GeneratePath(m_oWorkFolder));
}

int CProviderBase::OnFirstChangeItem(TChangeItemInfo& tItem) {
  if (!m_poChangeItemIterator) return RESULT_END;
  m_tChangeItem.nID = m_tChange.nID;
  m_tChangeItem.nItem = 0;
  const int nResult = FillChangeItemInfo(m_poChangeItemIterator->GetGTE(m_tChangeItem), tItem);
  if (nResult != RESULT_OK) return nResult;
  if (!EnsureFolderExists(m_tChangeItem.oFilePath)) return RESULT_FAILED;
  return RetrieveCurrentItem() == RESULT_OK ? RESULT_OK : RESULT_FAILED;
}

int CProviderBase::OnNextChangeItem(TChangeItemInfo& tItem) {
  if (!m_poChangeItemIterator) return RESULT_END;
  const int nResult = FillChangeItemInfo(m_poChangeItemIterator->GetNext(m_tChangeItem), tItem);
  if (nResult != RESULT_OK) return nResult;
  if (!EnsureFolderExists(m_tChangeItem.oFilePath)) {
    WriteLog(L"Failed to create folder for change item '%s'", m_tChangeItem.oFilePath.GeneratePath().c_str());
    return RESULT_FAILED;
  }
  if (RetrieveCurrentItem() != RESULT_OK) {
    WriteLog(L"Failed to retrieve change item file '%s'", m_tChangeItem.oFilePath.GeneratePath().c_str());
    return RESULT_FAILED;
  }
  return RESULT_OK;
}

bool CProviderBase::EnsureFolderExists(const VCM::CFilePath& oPath) {
  if (oPath.GetCount() <= 1) return true;
  // Usually one system call: if the innermost folder exists, so do those above it.
  VCM::CFilePath oLast = oPath;
  oLast.RemoveLastItem();
  if (VCM::FolderExists(oLast.GeneratePath(m_oWorkFolder))) return true;
  VCM::CFilePath oFolder = m_oWorkFolder;
  for (int i = 0; i < oPath.GetCount() - 1; ++i) {
    oFolder.Add(oPath.GetItemText(i));
    const VCM::CString strFolder = oFolder.GeneratePath();
    if (!VCM::FolderExists(strFolder) && !VCM::CreateFolder(strFolder, FOLDER_MODE)) {
      WriteLog(L"Failed to create directory '%s'", strFolder.c_str());
      return false;
    }
  }
  return true;
}

}  // namespace TALVEK::MCE
