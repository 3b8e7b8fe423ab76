#include "mce/grouping_index.h"

#include <limits>

#include "mce/text_hash.h"

namespace TALVEK::MCE {

namespace {

constexpr unsigned INDEX_CHANGE_KEY = 0;
constexpr unsigned INDEX_ITEM_PATH = 0;
constexpr std::uint32_t NO_TIME_LIMIT = std::numeric_limits<std::uint32_t>::max();

TChangeKeyRecord MakeChangeKey(std::uint32_t nStreamID, const VCM::CString& strUser,
                               const VCM::CString& strComment) {
  const CTextHash oHash = CTextHash().AddNoCase(strUser.View()).AddNoCase(strComment.View());
  TChangeKeyRecord tKey;
  tKey.nStreamID = nStreamID;
  tKey.nHashHigh = oHash.GetHigh();
  tKey.nHashLow = oHash.GetLow();
  return tKey;
}

TChangeKeyRecord MakeChangeKey(const TChangeRecord& tChange) {
  TChangeKeyRecord tKey = MakeChangeKey(tChange.nStreamID, tChange.strUser, tChange.strComment);
  tKey.nChangeID = tChange.nID;
  tKey.nBaseTime = tChange.oProps.GetNumber(CHANGE_BASE_TIME, tChange.nTime);
  tKey.nPeriod = tKey.nBaseTime / CGroupingIndex::PERIOD_SECONDS;
  tKey.nMaxTime = tChange.oProps.GetNumber(CHANGE_MAX_TIME, NO_TIME_LIMIT);
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
      std::make_unique<VDB::CIterator<TChangeKeyRecord>>(m_oChangeKeyTable, INDEX_CHANGE_KEY, oTransaction);
  m_poItemPaths =
      std::make_unique<VDB::CIterator<TItemPathRecord>>(m_oItemPathTable, INDEX_ITEM_PATH, oTransaction);
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
  m_tChangeKey = MakeChangeKey(tChange);
  return m_poChangeKeys->Add(m_tChangeKey);
}

bool CGroupingIndex::RemoveChange(const TChangeRecord& tChange) {
  m_tChangeKey = MakeChangeKey(tChange);
  return m_poChangeKeys->Remove(m_tChangeKey);
}

bool CGroupingIndex::AddItem(const TChangeItemRecord& tItem) {
  if (tItem.nItem <= FEW_ITEMS) return true;
  m_tItemPath = MakeItemPath(tItem.nID, tItem.oFilePath);
  m_tItemPath.nItem = tItem.nItem;
  return m_poItemPaths->Add(m_tItemPath);
}

bool CGroupingIndex::FirstChange(std::uint32_t nStreamID, const VCM::CString& strUser,
                                 const VCM::CString& strComment, std::uint32_t nTime, std::uint32_t nLowBase,
                                 std::uint32_t nHighBase, std::uint32_t& nChangeID) {
  if (nTime == NO_TIME_LIMIT) return false;  // no change takes an item of that time
  m_tWantedKey = MakeChangeKey(nStreamID, strUser, strComment);
  m_tWantedKey.nPeriod = nLowBase / PERIOD_SECONDS;
  m_tWantedKey.nMaxTime = nTime + 1;
  m_tWantedKey.nBaseTime = nLowBase;
  m_nHighBase = nHighBase;
  if (nLowBase > nHighBase) return false;
  m_tChangeKey = m_tWantedKey;
  return TakeChange(m_poChangeKeys->GetGTE(m_tChangeKey), nChangeID);
}

bool CGroupingIndex::NextChange(std::uint32_t& nChangeID) {
  return TakeChange(m_poChangeKeys->GetNext(m_tChangeKey), nChangeID);
}

bool CGroupingIndex::TakeChange(bool bFound, std::uint32_t& nChangeID) {
  while (true) {
    if (bFound && IsOfWantedPeriod()) {
      nChangeID = m_tChangeKey.nChangeID;
      if (m_tChangeKey.nBaseTime >= m_tWantedKey.nBaseTime && m_tChangeKey.nBaseTime <= m_nHighBase)
        return true;
      bFound = m_poChangeKeys->GetNext(m_tChangeKey);
      continue;
    }
    if (m_tWantedKey.nPeriod == m_nHighBase / PERIOD_SECONDS) return false;
    ++m_tWantedKey.nPeriod;
    m_tChangeKey = m_tWantedKey;
    bFound = m_poChangeKeys->GetGTE(m_tChangeKey);
  }
}

bool CGroupingIndex::IsOfWantedPeriod() const {
  return m_tChangeKey.nStreamID == m_tWantedKey.nStreamID &&
         m_tChangeKey.nHashHigh == m_tWantedKey.nHashHigh && m_tChangeKey.nHashLow == m_tWantedKey.nHashLow &&
         m_tChangeKey.nPeriod == m_tWantedKey.nPeriod;
}

bool CGroupingIndex::FirstItem(std::uint32_t nChangeID, const VCM::CFilePath& oPath, std::uint32_t& nItem) {
  m_tItemPath = MakeItemPath(nChangeID, oPath);
  m_tWantedPath = m_tItemPath;
  return TakeItem(m_poItemPaths->GetGTE(m_tItemPath), nItem);
}

bool CGroupingIndex::NextItem(std::uint32_t& nItem) {
  return TakeItem(m_poItemPaths->GetNext(m_tItemPath), nItem);
}

bool CGroupingIndex::TakeItem(bool bFound, std::uint32_t& nItem) const {
  if (!bFound || m_tItemPath.nChangeID != m_tWantedPath.nChangeID ||
      m_tItemPath.nHashHigh != m_tWantedPath.nHashHigh || m_tItemPath.nHashLow != m_tWantedPath.nHashLow) {
    return false;
  }
  nItem = m_tItemPath.nItem;
  return true;
}

}  // namespace TALVEK::MCE
