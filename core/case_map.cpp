#include "core/case_map.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace TALVEK::VCM {

namespace {

/// Every `nStep`th character from `nFirst` to `nLast` maps to itself plus `nDelta`.
struct TCaseRange {
  std::uint32_t nFirst;
  std::uint32_t nLast;
  std::uint32_t nStep;
  std::int32_t nDelta;
};

constexpr TCaseRange CASE_RANGES[] = {
#include "core/case_map_table.inc"
};

}  // namespace

wchar_t ToLowerByTable(wchar_t ch) {
  const auto nCode = static_cast<std::uint32_t>(ch);  // NOLINT(bugprone-signed-char-misuse): not a char
  const auto* pRange = std::lower_bound(
      std::begin(CASE_RANGES), std::end(CASE_RANGES), nCode,
      [](const TCaseRange& tRange, std::uint32_t nWanted) { return tRange.nLast < nWanted; });
  if (pRange == std::end(CASE_RANGES) || nCode < pRange->nFirst) return ch;
  if ((nCode - pRange->nFirst) % pRange->nStep != 0) return ch;
  return ch + pRange->nDelta;
}

}  // namespace TALVEK::VCM
