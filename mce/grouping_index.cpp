#include "mce/grouping_index.h"

#include "core/text_hash.h"

namespace TALVEK::MCE {

namespace {

constexpr unsigned INDEX_CHANGE_KEY = 0;
constexpr unsigned INDEX_ITEM_PATH = 0;

TChangeKeyRecord MakeChangeKey(const TChangeGroupNumbers& tGroup) {
  TChangeKeyRecord tKey;
  tKey.nStreamID = tGroup.nStreamID;
  tKey.nHashHigh = tGroup.nHashHigh;
  tKey.nHashLow = tGroup.nHashLow;
  tKey.nPeriod = tGroup.nPeriod;
  return tKey;
}

TChangeGroupNumbers MakeGroupNumbers(const TChangeRecord& tChange) {
  TChangeGroupKey tGroup(tChange.nStreamID, tChange.strUser.View(), tChange.strComment.View());
  tGroup.nPeriod = tChange.oProps.GetNumber(CHANGE_BASE_TIME, 0) / TChangeGroupNumbers::PERIOD_SECONDS;
  return tGroup;
}

std::uint32_t High(std::size_t nHash) {
  return static_cast<std::uint32_t>(nHash >> 32U);
}
std::uint32_t Low(std::size_t nHash) {
  return static_cast<std::uint32_t>(nHash);
}

TItemPathRecord MakeItemPath(std::uint32_t nChangeID, const VCM::CFilePath& oPath) {
  const VCM::CTextHash oHash = VCM::CTextHash().Add(oPath.GeneratePath().View());
  TItemPathRecord tPath;
  tPath.nChangeID = nChangeID;
  tPath.nHashHigh = oHash.GetHigh();
  tPath.nHashLow = oHash.GetLow();
  if (tPath.nHashHigh == 0 && tPath.nHashLow == 0) tPath.nHashLow = 1;  // another path's hash is as good
  return tPath;
}

TItemPathRecord MakeLastItem(std::uint32_t nChangeID, std::uint32_t nItem) {
  TItemPathRecord tPath;
  tPath.nChangeID = nChangeID;
  tPath.nItem = nItem;
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
  return !tChange.oProps.HasProperty(CHANGE_BASE_TIME) || AddChange(MakeGroupNumbers(tChange), tChange.nID);
}

bool CGroupingIndex::AddChange(const TChangeGroupNumbers& tGroup, std::uint32_t nChangeID) {
  m_oSeenGroups.Note(High(tGroup.GetHash()), Low(tGroup.GetHash()));
  m_tChangeKey = MakeChangeKey(tGroup);
  m_tChangeKey.nChangeID = nChangeID;
  return m_poChangeKeys->AddLater(m_tChangeKey);
}

bool CGroupingIndex::RemoveChange(const TChangeRecord& tChange) {
  if (!tChange.oProps.HasProperty(CHANGE_BASE_TIME)) return true;
  m_tChangeKey = MakeChangeKey(MakeGroupNumbers(tChange));
  m_tChangeKey.nChangeID = tChange.nID;
  return m_poChangeKeys->Remove(m_tChangeKey);
}

bool CGroupingIndex::FirstChange(const TChangeGroupNumbers& tGroup, std::uint32_t& nChangeID) {
  if (!m_oSeenGroups.Has(High(tGroup.GetHash()), Low(tGroup.GetHash()))) return false;
  m_tChangeKey = m_tWantedKey = MakeChangeKey(tGroup);
  return TakeChange(m_poChangeKeys->GetGTE(m_tChangeKey), nChangeID);
}

bool CGroupingIndex::NextChange(std::uint32_t& nChangeID) {
  return TakeChange(m_poChangeKeys->GetNext(m_tChangeKey), nChangeID);
}

bool CGroupingIndex::TakeChange(bool bFound, std::uint32_t& nChangeID) const {
  nChangeID = m_tChangeKey.nChangeID;
  return bFound && m_tChangeKey.nStreamID == m_tWantedKey.nStreamID &&
         m_tChangeKey.nHashHigh == m_tWantedKey.nHashHigh && m_tChangeKey.nHashLow == m_tWantedKey.nHashLow &&
         m_tChangeKey.nPeriod == m_tWantedKey.nPeriod;
}

std::uint32_t CGroupingIndex::GetLastItem(std::uint32_t nChangeID) {
  m_tItemPath = MakeLastItem(nChangeID, 0);
  const bool bFound = m_poItemPaths->GetGTE(m_tItemPath) && m_tItemPath.nChangeID == nChangeID &&
                      m_tItemPath.nHashHigh == 0 && m_tItemPath.nHashLow == 0;
  return bFound ? m_tItemPath.nItem : FEW_ITEMS;
}

bool CGroupingIndex::SetLastItem(std::uint32_t nChangeID, std::uint32_t nItem) {
  TItemPathRecord tFormer = MakeLastItem(nChangeID, GetLastItem(nChangeID));
  if (tFormer.nItem != FEW_ITEMS && !m_poItemPaths->Remove(tFormer)) return false;
  m_tItemPath = MakeLastItem(nChangeID, nItem);
  return m_poItemPaths->Add(m_tItemPath);
}

bool CGroupingIndex::AddItem(const TChangeItemRecord& tItem) {
  m_tItemPath = MakeItemPath(tItem.nID, tItem.oFilePath);
  m_tItemPath.nItem = tItem.nItem;
  return m_poItemPaths->Add(m_tItemPath);
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
