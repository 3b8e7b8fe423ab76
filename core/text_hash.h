#pragma once

#include <cstdint>
#include <string_view>

#include "core/export.h"

namespace TALVEK::VCM {

/// A running 64-bit hash of texts, the same in every process. Different texts can have the same hash: whoever
/// finds something by it compares the texts themselves.
class TALVEK_CORE_API CTextHash {
 public:
  CTextHash& Add(std::wstring_view strText);
  /// Texts that differ in case only give the same hash.
  CTextHash& AddNoCase(std::wstring_view strText);

  std::uint64_t Get() const { return m_nHash; }
  std::uint32_t GetHigh() const { return static_cast<std::uint32_t>(m_nHash >> 32U); }
  std::uint32_t GetLow() const { return static_cast<std::uint32_t>(m_nHash); }

 private:
  template <bool NO_CASE>
  CTextHash& AddBlocks(std::wstring_view strText);

  std::uint64_t m_nHash = 0x9E3779B97F4A7C15U;
};

}  // namespace TALVEK::VCM
