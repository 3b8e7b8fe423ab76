// How single file revisions become changesets.

#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <tuple>
#include <utility>

#include "mce/provider_base.h"

namespace TALVEK::MCE {

namespace {

constexpr std::uint32_t NO_TIME_LIMIT = std::numeric_limits<std::uint32_t>::max();

/// Tens of megabytes.
constexpr std::size_t MANY_GROUPS = 100'000;

/// What joining alters in a change's row.
constexpr VDB::TFieldSet ALTERED_FIELDS = VDB::FieldBit(CHANGE_FIELD_TIME) |
                                          VDB::FieldBit(CHANGE_FIELD_NEXT_ITEM) |
                                          VDB::FieldBit(CHANGE_FIELD_PROPS);

TOpenChange ToOpenChange(const TChangeRecord& tChange, bool bListed) {
  TOpenChange tOpen;
  tOpen.nID = tChange.nID;
  tOpen.nTime = tChange.nTime;
  tOpen.nBaseTime = tChange.oProps.GetNumber(CHANGE_BASE_TIME, NO_TIME_LIMIT);
  tOpen.nMaxTime = tChange.oProps.GetNumber(CHANGE_MAX_TIME, NO_TIME_LIMIT);
  tOpen.nNextItem = tChange.nNextItem;
  tOpen.bListed = bListed;
  return tOpen;
}

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

// A busy hour can hold thousands of changes: those with the same user and comment stand in groups, of which
// the window touches two at most.
bool CProviderBase::FindOpenChange(std::uint32_t nStreamID, const VCM::CString& strUser,
                                   const VCM::CString& strComment, const TGroupingWindow& tWindow,
                                   TPlace& tPlace) {
  tPlace = {};
  // A change is at no time before its base time, so an item that ends before that can't join it.
  const std::uint32_t nHighBase = std::min(tWindow.nHigh, tWindow.nEndTime);
  if (tWindow.nLow > nHighBase) return false;
  TChangeGroupKey tKey(nStreamID, strUser.View(), strComment.View());
  for (tKey.nPeriod = tWindow.nLow / TChangeGroupNumbers::PERIOD_SECONDS;
       tKey.nPeriod <= nHighBase / TChangeGroupNumbers::PERIOD_SECONDS; ++tKey.nPeriod) {
    CChangeGroup* const poGroup = FetchGroup(tKey);
    if (!poGroup) return false;
    const int nFound = poGroup->FindFirst(tWindow, m_nChangesLookedAt);
    if (nFound < 0) continue;
    const TOpenChange& tFound = poGroup->GetChanges()[static_cast<std::size_t>(nFound)];
    const bool bEarlier =
        !tPlace.poGroup || std::tie(tFound.nTime, tFound.nID) < std::tie(m_tChange.nTime, m_tChange.nID);
    if (!bEarlier) continue;
    tPlace = {poGroup, nFound};
    m_tChange.nID = tFound.nID;
    m_tChange.nTime = tFound.nTime;
    m_tChange.nNextItem = tFound.nNextItem;
  }
  return tPlace.poGroup != nullptr;
}

/// The group, read from the database if need be; null when a group that leaves for it can't be written.
CChangeGroup* CProviderBase::FetchGroup(const TChangeGroupKey& tKey) {
  if (CChangeGroup* const poKnown = m_oOpenChanges.Find(tKey)) return poKnown;
  auto poGroup = std::make_unique<CChangeGroup>(tKey);
  std::uint32_t nID = 0;
  for (bool bFound = m_oGroupingIndex.FirstChange(tKey, nID); bFound;
       bFound = m_oGroupingIndex.NextChange(nID)) {
    m_tCandidate.nID = nID;
    if (!m_poChangeByIdIterator->GetEqual(m_tCandidate)) continue;
    const bool bSame = m_tCandidate.strUser.EqualsNoCase(tKey.strUser) &&
                       m_tCandidate.strComment.EqualsNoCase(tKey.strComment);
    if (bSame) poGroup->Add(ToOpenChange(m_tCandidate, true));
  }
  CChangeGroup* const poFetched = poGroup.get();
  const std::unique_ptr<CChangeGroup> poLeaving = m_oOpenChanges.Insert(tKey, std::move(poGroup));
  return !poLeaving || WriteBack({poLeaving.get()}) ? poFetched : nullptr;
}

/// Tells the database what only the groups know. The rows of changes are updated in the order in which they
/// lie.
bool CProviderBase::WriteBack(const std::vector<const CChangeGroup*>& apoGroups) {
  std::vector<TOpenChange> atAltered;
  for (const CChangeGroup* const poGroup : apoGroups) {
    for (const TOpenChange& tChange : poGroup->GetChanges()) {
      if (!tChange.bListed && !m_oGroupingIndex.AddChange(poGroup->GetNumbers(), tChange.nID)) return false;
      if (tChange.bAltered) atAltered.push_back(tChange);
    }
  }
  std::sort(atAltered.begin(), atAltered.end(),
            [](const TOpenChange& tLeft, const TOpenChange& tRight) { return tLeft.nID < tRight.nID; });
  return std::all_of(atAltered.begin(), atAltered.end(), [this](const TOpenChange& tChange) {
    m_tCandidate.nID = tChange.nID;
    if (!m_poChangeByIdIterator->GetEqual(m_tCandidate, VDB::FieldBit(CHANGE_FIELD_PROPS))) return false;
    m_tCandidate.nTime = tChange.nTime;
    m_tCandidate.nNextItem = tChange.nNextItem;
    m_tCandidate.oProps.SetProperty(CHANGE_MAX_TIME, tChange.nMaxTime);
    return m_poChangeByIdIterator->Update(m_tCandidate, ALTERED_FIELDS);
  });
}

bool CProviderBase::WriteBackOpenChanges() {
  if (m_oOpenChanges.IsEmpty()) return true;
  std::vector<std::unique_ptr<CChangeGroup>> apoGroups = m_oOpenChanges.TakeAll();
  std::vector<const CChangeGroup*> apoLeaving;
  apoLeaving.reserve(apoGroups.size());
  for (const std::unique_ptr<CChangeGroup>& poGroup : apoGroups)
    apoLeaving.push_back(poGroup.get());
  const bool bWritten = WriteBack(apoLeaving);
  const bool bMany = apoGroups.size() > MANY_GROUPS;
  apoGroups.clear();
  if (bMany)
    malloc_trim(0);  // or the heap would keep them for small pieces, while pages are what is needed next
  return bWritten;
}

bool CProviderBase::WriteBackSurplus() {
  while (const std::unique_ptr<CChangeGroup> poLeaving = m_oOpenChanges.TakeSurplus()) {
    if (!WriteBack({poLeaving.get()})) return false;
  }
  return true;
}

/// The rule as it reads, row by row. `pstrComment` may be null.
bool CProviderBase::FindChangeByTime(std::uint32_t nStreamID, const VCM::CString& strUser,
                                     const VCM::CString* pstrComment, const TGroupingWindow& tWindow) {
  m_tChange.nStreamID = nStreamID;
  m_tChange.nTime = tWindow.nLow;
  for (bool bFound = m_poChangeIterator->GetGTE(m_tChange); bFound;
       bFound = m_poChangeIterator->GetNext(m_tChange)) {
    if (m_tChange.nStreamID != nStreamID || m_tChange.nTime > tWindow.nHigh) return false;
    const bool bAdmitted =
        tWindow.Admits(m_tChange.nTime, m_tChange.oProps.GetNumber(CHANGE_BASE_TIME, NO_TIME_LIMIT),
                       m_tChange.oProps.GetNumber(CHANGE_MAX_TIME, NO_TIME_LIMIT));
    if (!bAdmitted || !m_tChange.strUser.EqualsNoCase(strUser.View())) continue;
    if (!pstrComment || m_tChange.strComment.EqualsNoCase(pstrComment->View())) return true;
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
  const TGroupingWindow tWindow{nItemTime, nItemEnd};
  // Changes that AddChange has made have no base time, which counts as the last second of all.
  const bool bByTime = !bMatchComment || tWindow.nHigh == NO_TIME_LIMIT;
  if (!(bByTime ? WriteBackOpenChanges() : WriteBackSurplus())) return false;
  m_oPathHistory.Begin(oPath);

  TPlace tPlace;
  bool bJoins = bByTime
                    ? FindChangeByTime(tStream.nID, strUser, bMatchComment ? &strComment : nullptr, tWindow)
                    : FindOpenChange(tStream.nID, strUser, strComment, tWindow, tPlace);
  std::int32_t nFormerRevision = 0;
  if (bJoins && FindRank(m_tChange.nID, oPath, nFormerRevision)) {
    const std::uint32_t nChangeTime = std::max(nItemTime, m_tChange.nTime);
    nItemTime = TimeBesideChange(nItemTime, nChangeTime, nFormerRevision < nRevision);
    bJoins = false;
  }
  const bool bStored = !bJoins   ? OpenChange(tStream.nID, strUser, nItemTime, nItemEnd, strComment)
                       : bByTime ? JoinChange(nItemTime, nItemEnd, strComment)
                                 : JoinOpenChange(tPlace, nItemTime, nItemEnd);
  if (!bStored) return false;

  m_tChangeItem.nID = m_tChange.nID;
  m_tChangeItem.nItem = m_tChange.nNextItem - 1;
  m_tChangeItem.nType = nType;
  m_tChangeItem.oFilePath = oPath;
  m_tChangeItem.nRevision = nRevision;
  m_tChangeItem.oProps.RemoveAll();
  m_tChangeItem.oProps.SetProperty(ITEM_FOREIGN_REVISION, oCVSRevision.GetText());
  m_tChangeItem.oTimestamp.Set(nItemTime);
  m_oPathHistory.Add(m_tChangeItem.nID, nRevision);
  return m_poChangeItemIterator->AddLater(m_tChangeItem);
}

bool CProviderBase::JoinOpenChange(const TPlace& tPlace, std::uint32_t nItemTime, std::uint32_t nItemEnd) {
  tPlace.poGroup->Join(tPlace.nChange, nItemTime, nItemEnd);
  ++m_tChange.nNextItem;
  return true;
}

bool CProviderBase::JoinChange(std::uint32_t nItemTime, std::uint32_t nItemEnd,
                               const VCM::CString& strComment) {
  const TChangeRecord tFormer = m_tChange;
  const bool bEndsEarlier = nItemEnd < m_tChange.oProps.GetNumber(CHANGE_MAX_TIME, NO_TIME_LIMIT);
  if (bEndsEarlier) m_tChange.oProps.SetProperty(CHANGE_MAX_TIME, nItemEnd);
  m_tChange.nTime = std::max(m_tChange.nTime, nItemTime);
  ++m_tChange.nNextItem;
  AddToComment(m_tChange.strComment, strComment);
  if (!m_poChangeByIdIterator->Update(m_tChange)) return false;
  if (m_tChange.strComment == tFormer.strComment) return true;
  return m_oGroupingIndex.RemoveChange(tFormer) && m_oGroupingIndex.AddChange(m_tChange);
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
  TChangeGroupKey tKey(nStreamID, strUser.View(), strComment.View());
  tKey.nPeriod = nItemTime / TChangeGroupNumbers::PERIOD_SECONDS;
  const bool bStored = m_poChangeByIdIterator->Add(m_tChange);
  ++m_nChangesAdded;
  if (!bStored) return false;
  CChangeGroup* const poGroup = m_oOpenChanges.Find(tKey);
  if (!poGroup) return m_oGroupingIndex.AddChange(tKey, m_tChange.nID);
  m_oOpenChanges.Add(*poGroup, ToOpenChange(m_tChange, false));
  return true;
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
  // The path has come now, but not as one of a history that comes file by file.
  m_oPathHistory.Begin(oPath);
  m_oPathHistory.Forget();
  const bool bBehind = nItem > m_oGroupingIndex.GetLastItem(nChangeID) || nItem <= CGroupingIndex::FEW_ITEMS;
  return m_poChangeItemIterator->Add(m_tChangeItem) && (bBehind || m_oGroupingIndex.AddItem(m_tChangeItem));
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

/// The rank of the first item with this path, if the change has one.
bool CProviderBase::FindRank(std::uint32_t nChangeID, const VCM::CFilePath& oPath, std::int32_t& nRevision) {
  const CPathHistory::TAnswer nAnswer = m_oPathHistory.Find(nChangeID, nRevision);
  if (nAnswer != CPathHistory::UNKNOWN) return nAnswer == CPathHistory::PRESENT;
  if (!FindItem(nChangeID, oPath, VDB::FieldBit(ITEM_FIELD_PATH))) return false;
  nRevision = m_tChangeItem.nRevision;
  return true;
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
  if (!bFound || m_tChangeItem.nID != nChangeID || !IndexItems(nChangeID)) return false;
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

/// Sees to it that all items of a change but the first few can be found by their paths.
bool CProviderBase::IndexItems(std::uint32_t nChangeID) {
  const std::uint32_t nKnown = m_oGroupingIndex.GetLastItem(nChangeID);
  std::uint32_t nLast = nKnown;
  m_tNewItem.nID = nChangeID;
  m_tNewItem.nItem = nKnown + 1;
  const VDB::TFieldSet nWanted = VDB::FieldBit(ITEM_FIELD_PATH);
  for (bool bFound = m_poChangeItemIterator->GetGTE(m_tNewItem, nWanted);
       bFound && m_tNewItem.nID == nChangeID; bFound = m_poChangeItemIterator->GetNext(m_tNewItem, nWanted)) {
    if (!m_oGroupingIndex.AddItem(m_tNewItem)) return false;
    nLast = m_tNewItem.nItem;
  }
  return nLast == nKnown || m_oGroupingIndex.SetLastItem(nChangeID, nLast);
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
