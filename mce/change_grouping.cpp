#include "mce/change_grouping.h"

#include <algorithm>
#include <limits>

namespace TALVEK::MCE {

using VCM::CStatus;

namespace {

/// Stands for an absent base time or maximum time, as it is later than every other.
constexpr std::uint32_t LAST_SECOND = std::numeric_limits<std::uint32_t>::max();

/// The fields of a change's row that change when an item joins; the comment may change as well.
constexpr VDB::TFieldSet ALTERED_FIELDS = VDB::FieldBit(CHANGE_FIELD_TIME) |
                                          VDB::FieldBit(CHANGE_FIELD_NEXT_ITEM) |
                                          VDB::FieldBit(CHANGE_FIELD_PROPS);

TChangeState StateOf(const TChangeRecord& tChange) {
  return {tChange.oProps.GetNumber(CHANGE_BASE_TIME, LAST_SECOND), tChange.nTime,
          tChange.oProps.GetNumber(CHANGE_MAX_TIME, LAST_SECOND), tChange.nNextItem};
}

/// m_oGroups lacks the changes that AddChange made. They have no base time, which counts as LAST_SECOND, so
/// only a window that ends there admits them.
bool NeedsRows(const TFileRevision& tRevision) {
  return !tRevision.bMatchComment || tRevision.nTime + TGroupingWindow::SECONDS == LAST_SECOND;
}

/// The time of the new change for a revision whose file the change found has already: the revision's own time
/// if that is on the right side of the change, else one second before or after the change. The right side is
/// the one that keeps the file's revisions in order. `nChangeTime` is what the change's time would be with
/// the revision in it.
std::uint32_t TimeBesideChange(std::uint32_t nItemTime, std::uint32_t nChangeTime, bool bItemComesLater) {
  if (bItemComesLater) return nItemTime > nChangeTime ? nItemTime : nChangeTime + 1;
  return nItemTime < nChangeTime ? nItemTime : nChangeTime - 1;
}

}  // namespace

CStatus CChangeGrouping::AddChange(const TImportRows& tRows, std::uint32_t nProviderID,
                                   std::uint32_t nStreamID, const VCM::CString& strUser,
                                   const VCM::CString& strComment, std::uint32_t nTime) {
  tRows.tChange.nID = 0;
  tRows.tChange.nProviderID = nProviderID;
  tRows.tChange.nStreamID = nStreamID;
  tRows.tChange.strUser = strUser;
  tRows.tChange.nTime = nTime;
  tRows.tChange.strComment = strComment;
  tRows.tChange.nNextItem = 0;
  tRows.tChange.oProps.RemoveAll();
  ++tRows.nChangesAdded;
  return tRows.oChangesById.Add(tRows.tChange);
}

CStatus CChangeGrouping::AddItem(const TImportRows& tRows, const TFileRevision& tRevision) {
  const TGroupingWindow tWindow{tRevision.nTime, tRevision.nEndTime};
  std::uint32_t nItemTime = tRevision.nTime;
  CStatus oChange = FindChange(tRows, tRevision, tWindow);
  if (oChange) {
    CStatus oFormer = FindItem(tRows, tRows.tChange.nID, tRevision.oPath);
    if (oFormer.HasFailed()) return oFormer;
    if (oFormer) {
      const std::uint32_t nChangeTime = std::max(nItemTime, tRows.tChange.nTime);
      nItemTime = TimeBesideChange(nItemTime, nChangeTime, tRows.tItem.nRevision < tRevision.nRevision);
      oChange = CStatus::Absent();
    }
  }
  if (oChange.HasFailed()) return oChange;
  if (!oChange) {
    oChange = OpenChange(tRows, tRevision, nItemTime);
  } else if (NeedsRows(tRevision)) {
    oChange = JoinChangeByRow(tRows, tRevision);
  } else {
    JoinChange(tRows, tRevision);
  }
  if (!oChange) return oChange;

  TChangeItemRecord& tItem = tRows.tItem;
  tItem.nID = tRows.tChange.nID;
  tItem.nItem = tRows.tChange.nNextItem - 1;
  tItem.nType = tRevision.nType;
  tItem.oFilePath = tRevision.oPath;
  tItem.nRevision = tRevision.nRevision;
  tItem.oProps.RemoveAll();
  tItem.oProps.SetProperty(ITEM_FOREIGN_REVISION, tRevision.oCVSRevision.GetText());
  tItem.oTimestamp.Set(nItemTime);
  return AddRow(tRows);
}

CStatus CChangeGrouping::AddItem(const TImportRows& tRows, std::uint32_t nChange, std::uint32_t nItem,
                                 std::uint32_t nType, const VCM::CFilePath& oPath, std::int32_t nRevision) {
  TChangeItemRecord& tItem = tRows.tItem;
  tItem.nID = nChange;
  tItem.nItem = nItem;
  tItem.nType = nType;
  tItem.oFilePath = oPath;
  tItem.nRevision = nRevision;
  tItem.oProps.RemoveAll();
  return AddRow(tRows);
}

/// Adds the item record's row.
CStatus CChangeGrouping::AddRow(const TImportRows& tRows) {
  if (CStatus oAdded = tRows.oItems.Add(tRows.tItem); !oAdded) return oAdded;
  m_oFiles.Select(tRows.tItem.oFilePath);
  m_oFiles.Add(tRows.tItem.nID, tRows.tItem.nItem);
  return {};
}

CStatus CChangeGrouping::FindItem(const TImportRows& tRows, std::uint32_t nChange,
                                  const VCM::CFilePath& oPath) {
  m_oFiles.Select(oPath);
  const std::uint32_t* const pnItem = m_oFiles.Find(nChange);
  if (!pnItem) return CStatus::Absent();
  tRows.tItem.nID = nChange;
  tRows.tItem.nItem = *pnItem;
  if (CStatus oRead = tRows.oItems.GetEqual(tRows.tItem); !oRead) return oRead;
  return tRows.tItem.oFilePath.IsEqualTo(oPath, true) ? CStatus() : FindItemByWalk(tRows, nChange, oPath);
}

/// As FindItem, row by row: for two paths with one hash.
CStatus CChangeGrouping::FindItemByWalk(const TImportRows& tRows, std::uint32_t nChange,
                                        const VCM::CFilePath& oPath) {
  tRows.tItem.nID = nChange;
  tRows.tItem.nItem = 0;
  CStatus oItem = tRows.oItems.GetGTE(tRows.tItem);
  for (; oItem && tRows.tItem.nID == nChange; oItem = tRows.oItems.GetNext(tRows.tItem)) {
    if (tRows.tItem.oFilePath.IsEqualTo(oPath, true)) return {};
  }
  return oItem ? CStatus::Absent() : oItem;
}

/// Puts the change that the item joins, if there is one, into the change record: the whole of its row, or no
/// more than ID, time and next item.
CStatus CChangeGrouping::FindChange(const TImportRows& tRows, const TFileRevision& tRevision,
                                    const TGroupingWindow& tWindow) {
  if (NeedsRows(tRevision)) return FindChangeByTime(tRows, tRevision, tWindow);
  const std::uint32_t nFound =
      m_oGroups.Find(tRevision.nStreamID, tRevision.strUser.View(), tRevision.strComment.View(), tWindow);
  if (nFound == 0) return CStatus::Absent();
  tRows.tChange.nID = nFound;
  tRows.tChange.nTime = m_oGroups.Get(nFound).nTime;
  tRows.tChange.nNextItem = m_oGroups.Get(nFound).nNextItem;
  return {};
}

/// As FindChange, row by row: for what m_oGroups can't find.
CStatus CChangeGrouping::FindChangeByTime(const TImportRows& tRows, const TFileRevision& tRevision,
                                          const TGroupingWindow& tWindow) {
  if (CStatus oWritten = WriteAltered(tRows); !oWritten) return oWritten;
  TChangeRecord& tChange = tRows.tChange;
  tChange.nStreamID = tRevision.nStreamID;
  tChange.nTime = tWindow.nLow;
  CStatus oChange = tRows.oChangesByTime.GetGTE(tChange);
  for (; oChange; oChange = tRows.oChangesByTime.GetNext(tChange)) {
    if (tChange.nStreamID != tRevision.nStreamID || tChange.nTime > tWindow.nHigh) return CStatus::Absent();
    const TChangeState tState = StateOf(tChange);
    if (!tWindow.Admits(tState.nTime, tState.nBaseTime, tState.nMaxTime)) continue;
    if (!tChange.strUser.EqualsNoCase(tRevision.strUser.View())) continue;
    if (!tRevision.bMatchComment || tChange.strComment.EqualsNoCase(tRevision.strComment.View())) return {};
  }
  return oChange;
}

void CChangeGrouping::JoinChange(const TImportRows& tRows, const TFileRevision& tRevision) {
  const std::uint32_t nChange = tRows.tChange.nID;
  TChangeState tState = m_oGroups.Get(nChange);
  tState.nTime = std::max(tState.nTime, tRevision.nTime);
  tState.nMaxTime = std::min(tState.nMaxTime, tRevision.nEndTime);
  tRows.tChange.nNextItem = ++tState.nNextItem;
  m_oGroups.Set(nChange, tState);
  if (nChange >= m_abAltered.size()) m_abAltered.resize(std::size_t{nChange} + 1);
  if (!m_abAltered[nChange]) m_anAltered.push_back(nChange);
  m_abAltered[nChange] = true;
}

CStatus CChangeGrouping::JoinChangeByRow(const TImportRows& tRows, const TFileRevision& tRevision) {
  TChangeRecord& tChange = tRows.tChange;
  const VCM::CString strFormer = tRevision.bMatchComment ? VCM::CString() : tChange.strComment;
  if (tRevision.nEndTime < StateOf(tChange).nMaxTime)
    tChange.oProps.SetProperty(CHANGE_MAX_TIME, tRevision.nEndTime);
  tChange.nTime = std::max(tChange.nTime, tRevision.nTime);
  ++tChange.nNextItem;
  if (!tRevision.bMatchComment) AddToComment(tChange.strComment, tRevision.strComment);
  const bool bRegroup = !tRevision.bMatchComment && !(tChange.strComment == strFormer);
  CStatus oUpdated = tRows.oChangesById.Update(tChange, bRegroup ? VDB::ALL_FIELDS : ALTERED_FIELDS);
  if (!oUpdated || !m_oGroups.Has(tChange.nID)) return oUpdated;
  if (bRegroup) {
    m_oGroups.Remove(tChange.nID);
    AddToGroup(tChange);
  } else {
    m_oGroups.Set(tChange.nID, StateOf(tChange));
  }
  return {};
}

CStatus CChangeGrouping::OpenChange(const TImportRows& tRows, const TFileRevision& tRevision,
                                    std::uint32_t nTime) {
  TChangeRecord& tChange = tRows.tChange;
  tChange.nID = 0;
  tChange.nProviderID = 0;
  tChange.nStreamID = tRevision.nStreamID;
  tChange.strUser = tRevision.strUser;
  tChange.nTime = nTime;
  tChange.strComment = tRevision.strComment;
  tChange.nNextItem = 2;
  tChange.oProps.RemoveAll();
  tChange.oProps.AddProperty(CHANGE_BASE_TIME, nTime);
  tChange.oProps.AddProperty(CHANGE_MAX_TIME, tRevision.nEndTime);
  ++tRows.nChangesAdded;
  if (CStatus oAdded = tRows.oChangesById.Add(tChange); !oAdded) return oAdded;
  AddToGroup(tChange);
  return {};
}

void CChangeGrouping::AddToGroup(const TChangeRecord& tChange) {
  m_oGroups.Add(tChange.nID, tChange.nStreamID, tChange.strUser.View(), tChange.strComment.View(),
                StateOf(tChange));
}

CStatus CChangeGrouping::SetNextItem(const TImportRows& tRows, std::uint32_t nChange,
                                     std::uint32_t nNextItem) {
  if (CStatus oWritten = WriteAltered(tRows); !oWritten) return oWritten;
  TChangeRecord& tChange = tRows.tChange;
  tChange.nID = nChange;
  if (CStatus oRead = tRows.oChangesById.GetEqual(tChange); !oRead) return oRead;
  tChange.nNextItem = nNextItem;
  CStatus oUpdated = tRows.oChangesById.Update(tChange, VDB::FieldBit(CHANGE_FIELD_NEXT_ITEM));
  if (oUpdated && m_oGroups.Has(nChange)) m_oGroups.Set(nChange, StateOf(tChange));
  return oUpdated;
}

/// In the order in which the rows lie.
CStatus CChangeGrouping::WriteAltered(const TImportRows& tRows) {
  std::sort(m_anAltered.begin(), m_anAltered.end());
  TChangeRecord tChange;
  for (const std::uint32_t nChange : m_anAltered) {
    const TChangeState& tState = m_oGroups.Get(nChange);
    tChange.nID = nChange;
    tChange.nTime = tState.nTime;
    tChange.nNextItem = tState.nNextItem;
    tChange.oProps.SetProperty(CHANGE_BASE_TIME, tState.nBaseTime);
    tChange.oProps.SetProperty(CHANGE_MAX_TIME, tState.nMaxTime);
    if (CStatus oUpdated = tRows.oChangesById.Update(tChange, ALTERED_FIELDS); !oUpdated) return oUpdated;
    m_abAltered[nChange] = false;
  }
  m_anAltered.clear();
  return {};
}

CStatus CChangeGrouping::Load(const TImportRows& tRows) {
  m_oGroups.Clear();
  m_oFiles.Clear();
  m_anAltered.clear();
  m_abAltered.clear();
  TChangeRecord tChange;
  CStatus oChange = tRows.oChangesById.GetGTE(tChange);
  for (; oChange; oChange = tRows.oChangesById.GetNext(tChange)) {
    if (tChange.oProps.HasProperty(CHANGE_BASE_TIME)) AddToGroup(tChange);
  }
  if (oChange.HasFailed()) return oChange;
  TChangeItemRecord tItem;
  CStatus oItem = tRows.oItems.GetGTE(tItem);
  for (; oItem; oItem = tRows.oItems.GetNext(tItem)) {
    m_oFiles.Select(tItem.oFilePath);
    m_oFiles.Add(tItem.nID, tItem.nItem);
  }
  return oItem.HasFailed() ? oItem : CStatus();
}

void CChangeGrouping::AddToComment(VCM::CString& strComment, const VCM::CString& strAddition) {
  // The search below is quadratic, and some tools paste messages of megabytes. The common case needs none: a
  // text that differs only in case adds no sentence.
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
