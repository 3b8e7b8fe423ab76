#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace TALVEK::VCM {

/// A decimal number as wide text. std::to_chars makes narrow text only, and std::to_wstring takes ten times
/// as long.
class CDecimal {
 public:
  explicit CDecimal(std::intmax_t nNumber) {
    char achDigits[MOST_DIGITS];
    const char* const pEnd = std::to_chars(std::begin(achDigits), std::end(achDigits), nNumber).ptr;
    m_nLength = static_cast<std::size_t>(std::copy<const char*>(achDigits, pEnd, m_achDigits) - m_achDigits);
  }

  /// Good as long as this object.
  std::wstring_view View() const { return {m_achDigits, m_nLength}; }

 private:
  static constexpr std::size_t MOST_DIGITS = 20;  // "-9223372036854775808"

  wchar_t m_achDigits[MOST_DIGITS];
  std::size_t m_nLength;
};

}  // namespace TALVEK::VCM
