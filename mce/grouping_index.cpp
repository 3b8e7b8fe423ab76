#include "mce/grouping_index.h"

#include <limits>

#include "mce/text_hash.h"

namespace TALVEK::MCE {

namespace {

constexpr unsigned INDEX_ALL_FIELDS = 0;
constexpr std::uint32_t HIGHEST = std::numeric_limits<std::uint32_t>::max();

TChangeKeyRecord MakeChangeKey(std::uint32_t nStreamID, const VCM::CString& strUser,
                               const VCM::CString& strComment) {
  const CTextHash oHash = CTextHash().AddNoCase(strUser.View()).AddNoCase(strComment.View());
  TChangeKeyRecord tKey;
  tKey.nStreamID = nStreamID;
  tKey.nHashHigh = oHash.GetHigh();
  tKey.nHashLow = oHash.GetLow();
  return tKey;
}

TItemPathRecord MakeItemPath(std::uint32_t nChangeID, const VCM::CFilePath& oPath) {
  const CTextHash oHash = CTextHash().Add(oPath.GeneratePath().View());
  TItemPathRecord tPath;
  tPath.nChangeID = nChangeID;
  tPath.nHashHigh = oHash.GetHigh();
  tPath.nHashLow = oHash.GetLow();
  return tPath;
}

}  // namespace

void CGroupingIndex::Open(VDB::CDatabase& oDatabase, VDB::CTransaction& oTransaction) {
  if (!m_oChangeKeyTable.IsOpen()) m_oChangeKeyTable.Open(oDatabase, nullptr, oTransaction, false);
  if (!m_oItemPathTable.IsOpen()) m_oItemPathTable.Open(oDatabase, nullptr, oTransaction, false);
  m_poChangeKeys =
      std::make_unique<VDB::CIterator<TChangeKeyRecord>>(m_oChangeKeyTable, INDEX_ALL_FIELDS, oTransaction);
  m_poItemPaths =
      std::make_unique<VDB::CIterator<TItemPathRecord>>(m_oItemPathTable, INDEX_ALL_FIELDS, oTransaction);
}

void CGroupingIndex::CloseIterators() {
  m_poChangeKeys.reset();
  m_poItemPaths.reset();
}

void CGroupingIndex::CloseTables() {
  m_oChangeKeyTable.Close();
  m_oItemPathTable.Close();
}

bool CGroupingIndex::AddChange(const TChangeRecord& tChange) {
  m_tChangeKey = MakeChangeKey(tChange.nStreamID, tChange.strUser, tChange.strComment);
  m_tChangeKey.nBaseTime = tChange.oProps.GetNumber(CHANGE_BASE_TIME, HIGHEST);
  m_tChangeKey.nChangeID = tChange.nID;
  return m_poChangeKeys->Add(m_tChangeKey);
}

bool CGroupingIndex::AddItem(const TChangeItemRecord& tItem) {
  if (tItem.nItem <= FEW_ITEMS) return true;
  m_tItemPath = MakeItemPath(tItem.nID, tItem.oFilePath);
  m_tItemPath.nItem = tItem.nItem;
  return m_poItemPaths->Add(m_tItemPath);
}

bool CGroupingIndex::FirstChange(std::uint32_t nStreamID, const VCM::CString& strUser,
                                 const VCM::CString& strComment, std::uint32_t nLowTime,
                                 std::uint32_t nHighTime, std::uint32_t& nChangeID) {
  m_tChangeKey = MakeChangeKey(nStreamID, strUser, strComment);
  m_tLastKey = m_tChangeKey;
  m_tChangeKey.nBaseTime = nLowTime;
  m_tLastKey.nBaseTime = nHighTime;
  return TakeChange(m_poChangeKeys->GetGTE(m_tChangeKey), nChangeID);
}

bool CGroupingIndex::NextChange(std::uint32_t& nChangeID) {
  return TakeChange(m_poChangeKeys->GetNext(m_tChangeKey), nChangeID);
}

bool CGroupingIndex::TakeChange(bool bFound, std::uint32_t& nChangeID) const {
  if (!bFound || m_tChangeKey.nStreamID != m_tLastKey.nStreamID ||
      m_tChangeKey.nHashHigh != m_tLastKey.nHashHigh || m_tChangeKey.nHashLow != m_tLastKey.nHashLow ||
      m_tChangeKey.nBaseTime > m_tLastKey.nBaseTime) {
    return false;
  }
  nChangeID = m_tChangeKey.nChangeID;
  return true;
}

bool CGroupingIndex::FirstItem(std::uint32_t nChangeID, const VCM::CFilePath& oPath, std::uint32_t& nItem) {
  m_tItemPath = MakeItemPath(nChangeID, oPath);
  m_tLastPath = m_tItemPath;
  return TakeItem(m_poItemPaths->GetGTE(m_tItemPath), nItem);
}

bool CGroupingIndex::NextItem(std::uint32_t& nItem) {
  return TakeItem(m_poItemPaths->GetNext(m_tItemPath), nItem);
}

bool CGroupingIndex::TakeItem(bool bFound, std::uint32_t& nItem) const {
  if (!bFound || m_tItemPath.nChangeID != m_tLastPath.nChangeID ||
      m_tItemPath.nHashHigh != m_tLastPath.nHashHigh || m_tItemPath.nHashLow != m_tLastPath.nHashLow) {
    return false;
  }
  nItem = m_tItemPath.nItem;
  return true;
}

}  // namespace TALVEK::MCE
