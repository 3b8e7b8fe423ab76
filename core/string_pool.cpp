#include "core/string_pool.h"

#include <functional>
#include <utility>

namespace TALVEK::VCM {

namespace {

constexpr std::size_t FIRST_SLOTS = 64;

}  // namespace

const CString& CStringRef::EmptyText() {
  static const CString s_strEmpty;
  return s_strEmpty;
}

CStringRef CStringPool::Intern(std::wstring_view strText) {
  if (m_atSlots.size() <= 2 * m_astrTexts.size()) Grow();
  const std::size_t nHash = std::hash<std::wstring_view>()(strText);
  TSlot& tSlot = FindSlot(strText, nHash);
  if (!tSlot.pText) tSlot = {nHash, &m_astrTexts.emplace_back(strText)};
  return CStringRef(tSlot.pText);
}

/// The slot of this text, or the empty one to put it into.
CStringPool::TSlot& CStringPool::FindSlot(std::wstring_view strText, std::size_t nHash) {
  const std::size_t nMask = m_atSlots.size() - 1;
  std::size_t nSlot = nHash & nMask;
  while (true) {
    TSlot& tSlot = m_atSlots[nSlot];
    if (!tSlot.pText || (tSlot.nHash == nHash && tSlot.pText->View() == strText)) return tSlot;
    nSlot = (nSlot + 1) & nMask;
  }
}

void CStringPool::Grow() {
  std::vector<TSlot> atFormer(m_atSlots.empty() ? FIRST_SLOTS : 2 * m_atSlots.size());
  std::swap(m_atSlots, atFormer);
  const std::size_t nMask = m_atSlots.size() - 1;
  for (const TSlot& tFormer : atFormer) {
    if (!tFormer.pText) continue;
    std::size_t nSlot = tFormer.nHash & nMask;
    while (m_atSlots[nSlot].pText)
      nSlot = (nSlot + 1) & nMask;
    m_atSlots[nSlot] = tFormer;
  }
}

}  // namespace TALVEK::VCM
