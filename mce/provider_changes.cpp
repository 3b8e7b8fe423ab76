// The calls by which a concrete provider adds changes to the import database and searches them.

#include <limits>
#include <utility>

#include "mce/provider_base.h"

namespace TALVEK::MCE {

TImportRows CProviderBase::Rows() {
  return {*m_poChangeIterator, *m_poChangeByIdIterator, *m_poChangeItemIterator,
          m_tChange,           m_tChangeItem,           m_nChangesAdded};
}

unsigned int CProviderBase::AddChange(unsigned int nProviderID, unsigned int nStreamID,
                                      const VCM::CString& strUser, const VCM::CString& strComment,
                                      long nTime) {
  if (!m_poChangeIterator && !PrepareForChanges(false)) return 0;
  NoteFailure(m_oGrouping.AddChange(Rows(), nProviderID, nStreamID, strUser, strComment,
                                    static_cast<std::uint32_t>(nTime)));
  return m_tChange.nID;
}

bool CProviderBase::AddChangeItem(
    const TStreamInfo& tStream, const VCM::CString& strUser, TChangeItemType nType,
    const VCM::CFilePath& oPath, long nTime,
    // NOLINTNEXTLINE(performance-unnecessary-value-param): providers are written against it.
    const VCM::CString& strComment, int nRevision, TCVSRevision oCVSRevision, bool bMatchComment,
    long nEndTime) {
  if (!m_poChangeIterator && !PrepareForChanges(false)) return false;
  return NoteFailure(m_oGrouping.AddItem(
      Rows(), {tStream.nID, strUser, nType, oPath, static_cast<std::uint32_t>(nTime), strComment, nRevision,
               oCVSRevision, bMatchComment, static_cast<std::uint32_t>(nEndTime)}));
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
  return NoteFailure(
      m_oGrouping.AddItem(Rows(), nChangeID, nItem, nType, oPath, static_cast<std::int32_t>(nRevision)));
}

bool CProviderBase::AddChangeItem(unsigned int nChangeID, unsigned int nItem, TChangeItemType nType,
                                  const VCM::CFilePath& oPath, const TCVSRevision& oCVSRevision, long nTime) {
  if (!m_poChangeItemIterator && !PrepareForChanges(false)) return false;
  m_tChangeItem.nID = nChangeID;
  m_tChangeItem.nItem = nItem;
  m_tChangeItem.nType = nType;
  m_tChangeItem.oFilePath = oPath;
  m_tChangeItem.nRevision = 0;
  m_tChangeItem.oProps.RemoveAll();
  m_tChangeItem.oProps.SetProperty(ITEM_FOREIGN_REVISION, oCVSRevision.GetText());
  m_tChangeItem.oTimestamp.Set(nTime);
  return NoteFailure(m_poChangeItemIterator->Add(m_tChangeItem));
}

// The item walk ends up where a loop over the change's items would leave it: on the item found, else on the
// first item of the next change, else on the last item of all.
bool CProviderBase::CheckForExistingItem(const TChangeRecord& tChange, const VCM::CFilePath& oPath,
                                         int& nRevision) {
  if (!m_poChangeItemIterator) return false;
  const std::uint32_t nChangeID = tChange.nID;
  const VCM::CStatus oItem = NoteFailure(m_oGrouping.FindItem(Rows(), nChangeID, oPath));
  if (oItem) nRevision = m_tChangeItem.nRevision;
  if (!oItem.IsAbsent()) return oItem;
  m_tChangeItem.nID = nChangeID + 1;
  m_tChangeItem.nItem = 0;
  if (m_poChangeItemIterator->GetGTE(m_tChangeItem)) return false;
  m_tChangeItem.nID = nChangeID;
  m_tChangeItem.nItem = std::numeric_limits<std::uint32_t>::max();
  m_poChangeItemIterator->GetLTE(m_tChangeItem);
  return false;
}

unsigned int CProviderBase::FindNearestChange(const TStreamInfo& tStream, long nTime) {
  if (!PrepareForChanges(false)) return 0;
  m_tChange.nStreamID = tStream.nID;
  m_tChange.nTime = static_cast<std::uint32_t>(nTime);
  const bool bFound = NoteFailure(m_poChangeIterator->GetLTE(m_tChange));
  return bFound && m_tChange.nStreamID == tStream.nID ? m_tChange.nID : 0;
}

void CProviderBase::AddToComment(VCM::CString& strComment, const VCM::CString& strAddition) {
  CChangeGrouping::AddToComment(strComment, strAddition);
}

}  // namespace TALVEK::MCE
