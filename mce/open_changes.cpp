#include "mce/open_changes.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace TALVEK::MCE {

namespace {

constexpr std::size_t FIRST_SETS = 1024;

}  // namespace

CChangeGroup* COpenChanges::Find(const TChangeGroupKey& tKey) {
  if (m_nGroups == 0) return nullptr;
  const std::size_t nHash = tKey.GetHash();
  TSlot* const ptSet = SetOf(nHash);
  for (TSlot* ptSlot = ptSet; ptSlot != ptSet + WAYS; ++ptSlot) {
    if (ptSlot->nHash != static_cast<std::uint32_t>(nHash >> 32U) || !ptSlot->poGroup) continue;
    if (!ptSlot->poGroup->IsOf(tKey)) continue;
    ptSlot->nLastUse = ++m_nUses;
    return ptSlot->poGroup.get();
  }
  return nullptr;
}

std::unique_ptr<CChangeGroup> COpenChanges::Insert(const TChangeGroupKey& tKey,
                                                   std::unique_ptr<CChangeGroup> poGroup) {
  // At most one group for each set on the average: hardly any set then has to hold more than it has room for.
  if (4 * m_nGroups >= m_atSlots.size() && m_atSlots.size() < m_nMostSets * WAYS) Grow();
  const std::size_t nHash = tKey.GetHash();
  TSlot& tSlot = WorstOf(nHash);
  std::unique_ptr<CChangeGroup> poLeaving = Take(tSlot);
  m_nBytes += poGroup->GetBytes();
  ++m_nGroups;
  tSlot = {static_cast<std::uint32_t>(nHash >> 32U), ++m_nUses, std::move(poGroup)};
  return poLeaving;
}

COpenChanges::TSlot& COpenChanges::WorstOf(std::size_t nHash) {
  TSlot* const ptSet = SetOf(nHash);
  return *std::min_element(ptSet, ptSet + WAYS, [](const TSlot& tLeft, const TSlot& tRight) {
    return std::make_tuple(tLeft.poGroup != nullptr, tLeft.nLastUse) <
           std::make_tuple(tRight.poGroup != nullptr, tRight.nLastUse);
  });
}

// Twice as many sets: the groups of one come into two, so there is room for each.
void COpenChanges::Grow() {
  std::vector<TSlot> atFormer(m_atSlots.empty() ? std::min(FIRST_SETS, m_nMostSets) * WAYS
                                                : 2 * m_atSlots.size());
  std::swap(m_atSlots, atFormer);
  for (TSlot& tFormer : atFormer) {
    if (tFormer.poGroup) WorstOf(tFormer.poGroup->GetNumbers().GetHash()) = std::move(tFormer);
  }
}

void COpenChanges::Add(CChangeGroup& oGroup, const TOpenChange& tChange) {
  oGroup.Add(tChange);
  m_nBytes += sizeof(TOpenChange);
}

std::unique_ptr<CChangeGroup> COpenChanges::TakeSurplus() {
  if (m_nBytes <= m_nMostBytes) return nullptr;
  while (!m_atSlots[m_nHand %= m_atSlots.size()].poGroup)
    ++m_nHand;
  return Take(m_atSlots[m_nHand]);
}

std::vector<std::unique_ptr<CChangeGroup>> COpenChanges::TakeAll() {
  std::vector<std::unique_ptr<CChangeGroup>> apoGroups;
  if (m_nGroups == 0) return apoGroups;
  apoGroups.reserve(m_nGroups);
  for (TSlot& tSlot : m_atSlots) {
    if (tSlot.poGroup) apoGroups.push_back(Take(tSlot));
  }
  return apoGroups;
}

std::unique_ptr<CChangeGroup> COpenChanges::Take(TSlot& tSlot) {
  if (!tSlot.poGroup) return nullptr;
  m_nBytes -= tSlot.poGroup->GetBytes();
  --m_nGroups;
  return std::move(tSlot.poGroup);
}

}  // namespace TALVEK::MCE
