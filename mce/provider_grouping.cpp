// How single file revisions become changesets.

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

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
  if (m_poChangeIterator && m_poChangeIterator->Add(m_tChange)) m_oGroupingIndex.AddChange(m_tChange);
  ++m_nChangesAdded;
  return m_tChange.nID;
}

/// What an item's times ask of a change. The times of a change wander with its items, but the window stays
/// where its first item was: so its base time is tested as well.
struct CProviderBase::TWindow {
  std::uint32_t nTime;
  std::uint32_t nEndTime;
  std::uint32_t nLow = nTime - WINDOW_SECONDS;
  std::uint32_t nHigh = nTime + WINDOW_SECONDS;

  bool Admits(const TChangeRecord& tChange) const {
    if (tChange.nTime < nLow || tChange.nTime > nHigh || nEndTime < tChange.nTime) return false;
    if (nTime >= tChange.oProps.GetNumber(CHANGE_MAX_TIME, NO_TIME_LIMIT)) return false;
    const std::uint32_t nBaseTime = tChange.oProps.GetNumber(CHANGE_BASE_TIME, NO_TIME_LIMIT);
    return nBaseTime >= nLow && nBaseTime <= nHigh;
  }
};

bool CProviderBase::FindChangeForItem(const TStreamInfo& tStream, const VCM::CString& strUser,
                                      std::uint32_t nTime, const VCM::CString& strComment, bool bMatchComment,
                                      std::uint32_t nEndTime) {
  const TWindow tWindow{nTime, nEndTime};
  return bMatchComment ? FindChangeWithComment(tStream.nID, strUser, strComment, tWindow)
                       : FindChangeOfUser(tStream.nID, strUser, tWindow);
}

bool CProviderBase::FindChangeOfUser(std::uint32_t nStreamID, const VCM::CString& strUser,
                                     const TWindow& tWindow) {
  m_tChange.nStreamID = nStreamID;
  m_tChange.nTime = tWindow.nLow;
  for (bool bFound = m_poChangeIterator->GetGTE(m_tChange); bFound;
       bFound = m_poChangeIterator->GetNext(m_tChange)) {
    if (m_tChange.nStreamID != nStreamID || m_tChange.nTime > tWindow.nHigh) return false;
    if (tWindow.Admits(m_tChange) && m_tChange.strUser.EqualsNoCase(strUser.View())) return true;
  }
  return false;
}

// A busy hour can hold thousands of changes: those with the same user and comment are found by a hash. They
// come in any order; the one wanted is the first by time and ID.
bool CProviderBase::FindChangeWithComment(std::uint32_t nStreamID, const VCM::CString& strUser,
                                          const VCM::CString& strComment, const TWindow& tWindow) {
  bool bMatched = false;
  std::uint32_t nID = 0;
  // A change is at no time before its base time, so an item that ends before that can't join it.
  const std::uint32_t nHighBase = std::min(tWindow.nHigh, tWindow.nEndTime);
  for (bool bFound = m_oGroupingIndex.FirstChange(nStreamID, strUser, strComment, tWindow.nTime, tWindow.nLow,
                                                  nHighBase, nID);
       bFound; bFound = m_oGroupingIndex.NextChange(nID)) {
    m_tCandidate.nID = nID;
    if (!m_poChangeByIdIterator->GetEqual(m_tCandidate) || !tWindow.Admits(m_tCandidate)) continue;
    if (!m_tCandidate.strUser.EqualsNoCase(strUser.View())) continue;
    if (!m_tCandidate.strComment.EqualsNoCase(strComment.View())) continue;
    const bool bEarlier = !bMatched || std::tie(m_tCandidate.nTime, m_tCandidate.nID) <
                                           std::tie(m_tChange.nTime, m_tChange.nID);
    if (bEarlier) std::swap(m_tChange, m_tCandidate);
    bMatched = true;
  }
  return bMatched;
}

bool CProviderBase::AddChangeItem(const TStreamInfo& tStream, const VCM::CString& strUser,
                                  TChangeItemType nType, const VCM::CFilePath& oPath, long nTime,
                                  const VCM::CString& strComment, int nRevision, TCVSRevision oCVSRevision,
                                  bool bMatchComment, long nEndTime) {
  if (!m_poChangeIterator && !PrepareForChanges(false)) return false;

  auto nItemTime = static_cast<std::uint32_t>(nTime);
  const auto nItemEnd = static_cast<std::uint32_t>(nEndTime);
  bool bJoins = FindChangeForItem(tStream, strUser, nItemTime, strComment, bMatchComment, nItemEnd);
  if (bJoins && FindItem(m_tChange.nID, oPath, VDB::FieldBit(ITEM_FIELD_PATH))) {
    const std::uint32_t nChangeTime = std::max(nItemTime, m_tChange.nTime);
    nItemTime = TimeBesideChange(nItemTime, nChangeTime, m_tChangeItem.nRevision < nRevision);
    bJoins = false;
  }
  const bool bStored = bJoins ? JoinChange(nItemTime, nItemEnd, strComment)
                              : OpenChange(tStream.nID, strUser, nItemTime, nItemEnd, strComment);
  if (!bStored) return false;

  m_tChangeItem.nID = m_tChange.nID;
  m_tChangeItem.nItem = m_tChange.nNextItem - 1;
  m_tChangeItem.nType = nType;
  m_tChangeItem.oFilePath = oPath;
  m_tChangeItem.nRevision = nRevision;
  m_tChangeItem.oProps.RemoveAll();
  m_tChangeItem.oProps.SetProperty(ITEM_FOREIGN_REVISION, oCVSRevision.GetText());
  m_tChangeItem.oTimestamp.Set(nItemTime);
  return StoreChangeItem();
}

bool CProviderBase::JoinChange(std::uint32_t nItemTime, std::uint32_t nItemEnd,
                               const VCM::CString& strComment) {
  const bool bEndsEarlier = nItemEnd < m_tChange.oProps.GetNumber(CHANGE_MAX_TIME, NO_TIME_LIMIT);
  const bool bMovesOn = nItemTime > m_tChange.nTime;
  const bool bOtherKey = bEndsEarlier || m_tChange.strComment != strComment ||
                         (bMovesOn && !m_tChange.oProps.HasProperty(CHANGE_BASE_TIME));
  if (bOtherKey && !m_oGroupingIndex.RemoveChange(m_tChange)) return false;
  if (bEndsEarlier) m_tChange.oProps.SetProperty(CHANGE_MAX_TIME, nItemEnd);
  ++m_tChange.nNextItem;
  AddToComment(m_tChange.strComment, strComment);
  if (bMovesOn) m_tChange.nTime = nItemTime;
  return m_poChangeByIdIterator->Update(m_tChange) && (!bOtherKey || m_oGroupingIndex.AddChange(m_tChange));
}

bool CProviderBase::OpenChange(std::uint32_t nStreamID, const VCM::CString& strUser, std::uint32_t nItemTime,
                               std::uint32_t nItemEnd, const VCM::CString& strComment) {
  m_tChange.nID = 0;
  m_tChange.nProviderID = 0;
  m_tChange.nStreamID = nStreamID;
  m_tChange.strUser = strUser;
  m_tChange.nTime = nItemTime;
  m_tChange.strComment = strComment;
  m_tChange.nNextItem = 2;
  m_tChange.oProps.RemoveAll();
  m_tChange.oProps.AddProperty(CHANGE_BASE_TIME, nItemTime);
  m_tChange.oProps.AddProperty(CHANGE_MAX_TIME, nItemEnd);
  const bool bStored = m_poChangeByIdIterator->Add(m_tChange) && m_oGroupingIndex.AddChange(m_tChange);
  ++m_nChangesAdded;
  return bStored;
}

bool CProviderBase::StoreChangeItem() {
  return m_poChangeItemIterator->Add(m_tChangeItem) && m_oGroupingIndex.AddItem(m_tChangeItem);
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
  return StoreChangeItem();
}

// The item record and its iterator move as if every item of the change were looked at: to the item found,
// else to the first item of the next change, else to the last one of all.
bool CProviderBase::CheckForExistingItem(const TChangeRecord& tChange, const VCM::CFilePath& oPath,
                                         int& nRevision) {
  if (!m_poChangeItemIterator) return false;
  const std::uint32_t nChangeID = tChange.nID;
  if (FindItem(nChangeID, oPath, VDB::ALL_FIELDS)) {
    nRevision = m_tChangeItem.nRevision;
    return true;
  }
  if (m_tChangeItem.nID != nChangeID || m_tChangeItem.nItem <= CGroupingIndex::FEW_ITEMS) return false;
  m_tChangeItem.nID = nChangeID + 1;
  m_tChangeItem.nItem = 0;
  if (m_poChangeItemIterator->GetGTE(m_tChangeItem)) return false;
  m_tChangeItem.nID = nChangeID;
  m_tChangeItem.nItem = std::numeric_limits<std::uint32_t>::max();
  m_poChangeItemIterator->GetLTE(m_tChangeItem);
  return false;
}

/// Puts the wanted fields of the first item with this path into the item record. A change can hold tens of
/// thousands of items: so all but the first few are found by a hash.
bool CProviderBase::FindItem(std::uint32_t nChangeID, const VCM::CFilePath& oPath, VDB::TFieldSet nWanted) {
  m_tChangeItem.nID = nChangeID;
  m_tChangeItem.nItem = 0;
  bool bFound = m_poChangeItemIterator->GetGTE(m_tChangeItem, nWanted);
  while (bFound && m_tChangeItem.nID == nChangeID && m_tChangeItem.nItem <= CGroupingIndex::FEW_ITEMS) {
    if (m_tChangeItem.oFilePath.IsEqualTo(oPath, true)) return true;
    bFound = m_poChangeItemIterator->GetNext(m_tChangeItem, nWanted);
  }
  if (!bFound || m_tChangeItem.nID != nChangeID) return false;
  std::uint32_t nItem = 0;
  for (bFound = m_oGroupingIndex.FirstItem(nChangeID, oPath, nItem); bFound;
       bFound = m_oGroupingIndex.NextItem(nItem)) {
    m_tChangeItem.nID = nChangeID;
    m_tChangeItem.nItem = nItem;
    if (!m_poChangeItemIterator->GetEqual(m_tChangeItem, nWanted)) continue;
    if (m_tChangeItem.oFilePath.IsEqualTo(oPath, true)) return true;
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
  // Of a text that differs only in case every sentence is there; to look for each would take forever with the
  // messages that some tools paste.
  if (strComment.EqualsNoCase(strAddition.View())) return;
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
