#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace TALVEK::VCM {

// One character and its bytes, both ways. core/text_codec.h does the same for whole texts.

/// True for the characters of Unicode: U+0000 to U+10FFFF without the surrogates.
constexpr bool IsScalarValue(std::uint32_t nCode) {
  return nCode <= 0x10FFFF && (nCode & 0xFFFFF800U) != 0xD800;
}

/// The replacement character: written in UTF-8 in place of a number that is no character.
inline constexpr std::uint32_t REPLACEMENT = 0xFFFD;

/// One sequence of UTF-8. A length of 0 means: no whole sequence was found.
struct TUtf8Sequence {
  std::uint32_t nCode = 0;
  std::size_t nLength = 0;
};

/// Reads the sequence at the start of `strBytes`, which isn't empty.
///
/// Accepts every 32-bit number, surrogates too, in up to seven bytes: more than UTF-8 proper. Check
/// IsScalarValue where only characters may pass. Overlong forms are refused.
TUtf8Sequence ReadUtf8(std::string_view strBytes);

/// Appends the sequence that ReadUtf8 reads as `nCode`.
void AppendUtf8(std::string& strOut, std::uint32_t nCode);

/// The encoding of the process's locale (LC_CTYPE).
///
/// Lifetime  The constructor reads the locale. Make a new one for each text, because the locale may change.
class CLocaleCodec {
 public:
  CLocaleCodec();

  /// Decodes the character at the start of `strBytes`, which isn't empty. Returns the number of its bytes; 0
  /// when the encoding has no such character, or when its last bytes are missing.
  std::size_t Decode(std::string_view strBytes, wchar_t& ch) const;

  /// Appends the character's bytes. False, and nothing appended, when the encoding doesn't have it.
  bool Encode(wchar_t ch, std::string& strOut) const;

 private:
  bool m_bUtf8;
};

}  // namespace TALVEK::VCM
