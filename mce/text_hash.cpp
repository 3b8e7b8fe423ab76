#include "mce/text_hash.h"

#include "core/case_map.h"

namespace TALVEK::MCE {

void CTextHash::Mix(std::uint32_t nValue) {
  m_nHash = (m_nHash ^ nValue) * 0x9FB21C651E98DF25U;
  m_nHash ^= m_nHash >> 32U;
}

// The length comes last, so that two texts added one after the other aren't one text cut elsewhere.
CTextHash& CTextHash::Add(std::wstring_view strText) {
  for (const wchar_t ch : strText)
    Mix(static_cast<std::uint32_t>(ch));
  Mix(static_cast<std::uint32_t>(strText.size()));
  return *this;
}

CTextHash& CTextHash::AddNoCase(std::wstring_view strText) {
  for (const wchar_t ch : strText)
    Mix(static_cast<std::uint32_t>(VCM::ToLower(ch)));
  Mix(static_cast<std::uint32_t>(strText.size()));
  return *this;
}

}  // namespace TALVEK::MCE
