#include "mce/open_changes.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace TALVEK::MCE {

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
  if (m_atSlots.empty()) m_atSlots.resize(m_nSets * WAYS);
  const std::size_t nHash = tKey.GetHash();
  TSlot* const ptSet = SetOf(nHash);
  TSlot& tSlot = *std::min_element(ptSet, ptSet + WAYS, [](const TSlot& tLeft, const TSlot& tRight) {
    return std::make_tuple(tLeft.poGroup != nullptr, tLeft.nLastUse) <
           std::make_tuple(tRight.poGroup != nullptr, tRight.nLastUse);
  });
  std::unique_ptr<CChangeGroup> poLeaving = Take(tSlot);
  m_nBytes += poGroup->GetBytes();
  ++m_nGroups;
  tSlot = {static_cast<std::uint32_t>(nHash >> 32U), ++m_nUses, std::move(poGroup)};
  return poLeaving;
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
