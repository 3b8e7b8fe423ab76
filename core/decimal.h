#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace TALVEK::VCM {

/// A number in plain decimal, for texts that are put together from many: the C library's wide functions go
/// through printf and take ten times as long.
class CDecimal {
 public:
  explicit CDecimal(std::intmax_t nNumber) {
    const auto nBits = static_cast<std::uintmax_t>(nNumber);
    std::uintmax_t nRest = nNumber < 0 ? 0 - nBits : nBits;
    do {
      *--m_pFirst = static_cast<wchar_t>(L'0' + nRest % 10);
      nRest /= 10;
    } while (nRest > 0);
    if (nNumber < 0) *--m_pFirst = L'-';
  }
  CDecimal(const CDecimal&) = delete;
  CDecimal& operator=(const CDecimal&) = delete;

  /// Good as long as this object.
  std::wstring_view View() const {
    return {m_pFirst, static_cast<std::size_t>(std::end(m_achDigits) - m_pFirst)};
  }

 private:
  wchar_t m_achDigits[20];  // "-9223372036854775808"
  wchar_t* m_pFirst = std::end(m_achDigits);
};

}  // namespace TALVEK::VCM
