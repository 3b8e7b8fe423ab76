#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace TALVEK::VCM {

/// UTF-8 as first defined: up to seven bytes, for every 32-bit number. Where only characters may pass, ask
/// IsScalarValue too.

/// One sequence. A length of 0 means: what was looked at is none, or not all of one.
struct TUtf8Sequence {
  std::uint32_t nCode = 0;
  std::size_t nLength = 0;
};

/// The sequence at the start of `strBytes`, which isn't empty. Overlong forms are none.
TUtf8Sequence ReadUtf8(std::string_view strBytes);

void AppendUtf8(std::string& strOut, std::uint32_t nCode);

constexpr bool IsSurrogate(std::uint32_t nCode) {
  return (nCode & 0xFFFFF800U) == 0xD800;
}

/// True for what strict UTF-8 can hold: U+0000 to U+10FFFF without the surrogates.
constexpr bool IsScalarValue(std::uint32_t nCode) {
  return nCode <= 0x10FFFF && !IsSurrogate(nCode);
}

}  // namespace TALVEK::VCM
