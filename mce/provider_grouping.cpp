// How single file revisions become changesets.

#include <limits>

#include "mce/provider_base.h"

namespace TALVEK::MCE {

namespace {

constexpr std::uint32_t WINDOW_SECONDS = 300;
constexpr std::uint32_t NO_TIME_LIMIT = std::numeric_limits<std::uint32_t>::max();

/// The time at which a file's second item of one change opens a change of its own: just beside the change
/// that it couldn't join, on the side that keeps the file's revisions in order.
std::uint32_t TimeBesideChange(std::uint32_t nItemTime, std::uint32_t nChangeTime, bool bItemComesLater) {
  if (bItemComesLater) return nItemTime > nChangeTime ? nItemTime : nChangeTime + 1;
  return nItemTime < nChangeTime ? nItemTime : nChangeTime - 1;
}

}  // namespace

unsigned int CProviderBase::AddChange(unsigned int nProviderID, unsigned int nStreamID,
                                      const VCM::CString& strUser, const VCM::CString& strComment,
                                      long nTime) {
  if (!m_poChangeIterator) PrepareForChanges(false);
  m_tChange.nID = 0;
  m_tChange.nProviderID = nProviderID;
  m_tChange.nStreamID = nStreamID;
  m_tChange.strUser = strUser;
  m_tChange.nTime = static_cast<std::uint32_t>(nTime);
  m_tChange.strComment = strComment;
  m_tChange.nNextItem = 0;
  m_tChange.oProps.RemoveAll();
  if (m_poChangeIterator) m_poChangeIterator->Add(m_tChange);
  ++m_nChangesAdded;
  return m_tChange.nID;
}

// The times of a change wander with its items, but the window stays where its first item was: so the search
// spans the window around this item and tests each change's base time as well.
bool CProviderBase::FindChangeForItem(const TStreamInfo& tStream, const VCM::CString& strUser,
                                      std::uint32_t nTime, const VCM::CString& strComment, bool bMatchComment,
                                      std::uint32_t nEndTime) {
  const std::uint32_t nLow = nTime - WINDOW_SECONDS;
  const std::uint32_t nHigh = nTime + WINDOW_SECONDS;
  m_tChange.nStreamID = tStream.nID;
  m_tChange.nTime = nLow;
  for (bool bFound = m_poChangeIterator->GetGTE(m_tChange); bFound;
       bFound = m_poChangeIterator->GetNext(m_tChange)) {
    if (m_tChange.nStreamID != tStream.nID || m_tChange.nTime > nHigh) return false;
    if (!m_tChange.strUser.EqualsNoCase(strUser.View())) continue;
    if (bMatchComment && !m_tChange.strComment.EqualsNoCase(strComment.View())) continue;
    if (nTime >= m_tChange.oProps.GetNumber(CHANGE_MAX_TIME, NO_TIME_LIMIT)) continue;
    if (nEndTime < m_tChange.nTime) continue;
    const std::uint32_t nBaseTime = m_tChange.oProps.GetNumber(CHANGE_BASE_TIME, NO_TIME_LIMIT);
    if (nBaseTime < nLow || nBaseTime > nHigh) continue;
    return true;
  }
  return false;
}

bool CProviderBase::AddChangeItem(const TStreamInfo& tStream, const VCM::CString& strUser,
                                  TChangeItemType nType, const VCM::CFilePath& oPath, long nTime,
                                  const VCM::CString& strComment, int nRevision, TCVSRevision oCVSRevision,
                                  bool bMatchComment, long nEndTime) {
  if (!m_poChangeIterator && !PrepareForChanges(false)) return false;

  auto nItemTime = static_cast<std::uint32_t>(nTime);
  const auto nItemEnd = static_cast<std::uint32_t>(nEndTime);
  bool bJoins = FindChangeForItem(tStream, strUser, nItemTime, strComment, bMatchComment, nItemEnd);
  if (bJoins) {
    if (nItemTime > m_tChange.nTime) m_tChange.nTime = nItemTime;
    if (nItemEnd < m_tChange.oProps.GetNumber(CHANGE_MAX_TIME, NO_TIME_LIMIT)) {
      m_tChange.oProps.SetProperty(CHANGE_MAX_TIME, nItemEnd);
    }
    int nExistingRevision = 0;
    if (CheckForExistingItem(m_tChange, oPath, nExistingRevision)) {
      nItemTime = TimeBesideChange(nItemTime, m_tChange.nTime, nExistingRevision < nRevision);
      bJoins = false;
    }
  }

  bool bStored;
  if (bJoins) {
    ++m_tChange.nNextItem;
    AddToComment(m_tChange.strComment, strComment);
    bStored = m_poChangeIterator->Update(m_tChange);
  } else {
    m_tChange.nID = 0;
    m_tChange.nProviderID = 0;
    m_tChange.nStreamID = tStream.nID;
    m_tChange.strUser = strUser;
    m_tChange.nTime = nItemTime;
    m_tChange.strComment = strComment;
    m_tChange.nNextItem = 2;
    m_tChange.oProps.RemoveAll();
    m_tChange.oProps.AddProperty(CHANGE_BASE_TIME, nItemTime);
    m_tChange.oProps.AddProperty(CHANGE_MAX_TIME, nItemEnd);
    bStored = m_poChangeIterator->Add(m_tChange);
    ++m_nChangesAdded;
  }
  if (!bStored) return false;

  m_tChangeItem.nID = m_tChange.nID;
  m_tChangeItem.nItem = m_tChange.nNextItem - 1;
  m_tChangeItem.nType = nType;
  m_tChangeItem.oFilePath = oPath;
  m_tChangeItem.nRevision = nRevision;
  m_tChangeItem.oProps.RemoveAll();
  m_tChangeItem.oProps.SetProperty(ITEM_FOREIGN_REVISION, oCVSRevision.GetText());
  m_tChangeItem.oTimestamp.Set(nItemTime);
  return m_poChangeItemIterator->Add(m_tChangeItem);
}

bool CProviderBase::AddChangeItem(const TStreamInfo& tStream, const VCM::CString& strUser,
                                  TChangeItemType nType, const VCM::CFilePath& oPath, long nTime,
                                  const VCM::CString& strComment, TCVSRevision oCVSRevision, long nEndTime) {
  return AddChangeItem(tStream, strUser, nType, oPath, nTime, strComment, 0, std::move(oCVSRevision), true,
                       nEndTime);
}

bool CProviderBase::AddChangeItem(const TStreamInfo& tStream, const VCM::CString& strUser,
                                  TChangeItemType nType, const VCM::CFilePath& oPath, long nTime,
                                  const VCM::CString& strComment, int nRevision) {
  return AddChangeItem(tStream, strUser, nType, oPath, nTime, strComment, nRevision, TCVSRevision(), false,
                       -1);
}

bool CProviderBase::AddChangeItem(unsigned int nChangeID, unsigned int nItem, TChangeItemType nType,
                                  const VCM::CFilePath& oPath, unsigned int nRevision) {
  if (!m_poChangeItemIterator && !PrepareForChanges(false)) return false;
  m_tChangeItem.nID = nChangeID;
  m_tChangeItem.nItem = nItem;
  m_tChangeItem.nType = nType;
  m_tChangeItem.oFilePath = oPath;
  m_tChangeItem.nRevision = static_cast<std::int32_t>(nRevision);
  m_tChangeItem.oProps.RemoveAll();
  return m_poChangeItemIterator->Add(m_tChangeItem);
}

bool CProviderBase::CheckForExistingItem(const TChangeRecord& tChange, const VCM::CFilePath& oPath,
                                         int& nRevision) {
  if (!m_poChangeItemIterator) return false;
  m_tChangeItem.nID = tChange.nID;
  m_tChangeItem.nItem = 0;
  for (bool bFound = m_poChangeItemIterator->GetGTE(m_tChangeItem);
       bFound && m_tChangeItem.nID == tChange.nID; bFound = m_poChangeItemIterator->GetNext(m_tChangeItem)) {
    if (m_tChangeItem.oFilePath.IsEqualTo(oPath, true)) {
      nRevision = m_tChangeItem.nRevision;
      return true;
    }
  }
  return false;
}

unsigned int CProviderBase::FindNearestChange(const TStreamInfo& tStream, long nTime) {
  if (!PrepareForChanges(false)) return 0;
  m_tChange.nStreamID = tStream.nID;
  m_tChange.nTime = static_cast<std::uint32_t>(nTime);
  if (!m_poChangeIterator->GetLTE(m_tChange) || m_tChange.nStreamID != tStream.nID) return 0;
  return m_tChange.nID;
}

void CProviderBase::AddToComment(VCM::CString& strComment, const VCM::CString& strAddition) {
  if (strComment == strAddition) return;
  VCM::CString strRest = strAddition;
  do {
    const int nStop = strRest.Find(L'.');
    VCM::CString strSentence = nStop < 0 ? strRest : strRest.Left(nStop);
    strRest = nStop < 0 ? VCM::CString() : strRest.Mid(nStop + 1);
    strSentence.TrimLeft();
    strSentence.TrimRight();
    if (strSentence.IsEmpty()) continue;

    VCM::CString strLowerSentence = strSentence;
    strLowerSentence.MakeLower();
    VCM::CString strLowerComment = strComment;
    strLowerComment.MakeLower();
    if (strLowerComment.Find(strLowerSentence) >= 0) continue;
    if (!strComment.IsEmpty()) strComment += L'\n';
    strComment += strSentence;
  } while (!strRest.IsEmpty());
}

}  // namespace TALVEK::MCE
