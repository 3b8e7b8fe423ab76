#include "mce/text_hash.h"

#include <cstddef>

#include "core/case_map.h"

namespace TALVEK::MCE {

namespace {

struct TAsItIs {
  wchar_t operator()(wchar_t ch) const { return ch; }
};
struct TLower {
  wchar_t operator()(wchar_t ch) const { return VCM::ToLower(ch); }
};

}  // namespace

void CTextHash::Mix(std::uint64_t nValue) {
  m_nHash = (m_nHash ^ nValue) * 0x9FB21C651E98DF25U;
  m_nHash ^= m_nHash >> 32U;
}

// Two characters at a time, as each step waits for the one before. The length comes last, so that two texts
// added one after the other aren't one text cut elsewhere.
template <class TMap>
CTextHash& CTextHash::AddMapped(std::wstring_view strText, TMap fnMap) {
  const auto fnValue = [&](std::size_t i) {
    return std::uint64_t{static_cast<std::uint32_t>(fnMap(strText[i]))};
  };
  std::size_t i = 0;
  for (; i + 1 < strText.size(); i += 2)
    Mix(fnValue(i) << 32U | fnValue(i + 1));
  if (i < strText.size()) Mix(fnValue(i));
  Mix(strText.size());
  return *this;
}

CTextHash& CTextHash::Add(std::wstring_view strText) {
  return AddMapped(strText, TAsItIs());
}

CTextHash& CTextHash::AddNoCase(std::wstring_view strText) {
  return AddMapped(strText, TLower());
}

}  // namespace TALVEK::MCE
