#pragma once

#include <cstdint>
#include <string_view>

namespace TALVEK::MCE {

/// A running 64-bit hash of texts, the same in every process. Different texts can have the same hash: whoever
/// finds something by it compares the texts themselves.
class CTextHash {
 public:
  CTextHash& Add(std::wstring_view strText);
  /// Texts that differ in case only give the same hash.
  CTextHash& AddNoCase(std::wstring_view strText);

  std::uint32_t GetHigh() const { return static_cast<std::uint32_t>(m_nHash >> 32U); }
  std::uint32_t GetLow() const { return static_cast<std::uint32_t>(m_nHash); }

 private:
  void Mix(std::uint64_t nValue);
  template <class TMap>
  CTextHash& AddMapped(std::wstring_view strText, TMap fnMap);

  std::uint64_t m_nHash = 0x9E3779B97F4A7C15U;
};

}  // namespace TALVEK::MCE
