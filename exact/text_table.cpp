#include "exact/text_table.h"

#include <functional>

namespace TALVEK::EXACT {

std::string CTextTable::Get(TIndex nText) const {
  const std::uint64_t nBegin = nText == 0 ? 0 : m_atTexts[nText - 1].nEnd;
  std::string strText(static_cast<std::size_t>(m_atTexts[nText].nEnd - nBegin), '\0');
  m_oBytes.Read(nBegin, strText.data(), strText.size());
  return strText;
}

/// The slot in which the text is, or the free one in which it belongs.
std::size_t CTextTable::Slot(std::string_view strText, std::uint64_t nHash) const {
  std::size_t nSlot = static_cast<std::size_t>(nHash) & (m_anSlots.size() - 1);
  while (m_anSlots[nSlot] != NONE &&
         (m_atTexts[m_anSlots[nSlot]].nHash != nHash || Get(m_anSlots[nSlot]) != strText)) {
    nSlot = (nSlot + 1) & (m_anSlots.size() - 1);
  }
  return nSlot;
}

void CTextTable::Grow() {
  m_anSlots.assign(m_anSlots.empty() ? 1024 : m_anSlots.size() * 2, NONE);
  for (TIndex nText = 0; nText < m_atTexts.size(); ++nText) {
    std::size_t nSlot = static_cast<std::size_t>(m_atTexts[nText].nHash) & (m_anSlots.size() - 1);
    while (m_anSlots[nSlot] != NONE)
      nSlot = (nSlot + 1) & (m_anSlots.size() - 1);
    m_anSlots[nSlot] = nText;
  }
}

TIndex CTextTable::Add(std::string_view strText) {
  if (m_atTexts.size() * 2 >= m_anSlots.size()) Grow();
  const std::uint64_t nHash = std::hash<std::string_view>{}(strText);
  const std::size_t nSlot = Slot(strText, nHash);
  if (m_anSlots[nSlot] == NONE) {
    const std::uint64_t nBegin = m_oBytes.Append(strText.data(), strText.size());
    m_anSlots[nSlot] = Count();
    m_atTexts.push_back({nBegin + strText.size(), nHash});
  }
  return m_anSlots[nSlot];
}

TIndex CTextTable::Find(std::string_view strText) const {
  if (m_anSlots.empty()) return NONE;
  return m_anSlots[Slot(strText, std::hash<std::string_view>{}(strText))];
}

}  // namespace TALVEK::EXACT
