#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace TALVEK::VCM {

/// One character of the process's encoding (LC_CTYPE), both ways. See core/text_codec.h for whole texts.
///
/// Lifetime  Looks at the locale once, when made: make one for each text, not one for all.
class CLocaleCodec {
 public:
  CLocaleCodec();

  /// Decodes the character at the start of `strBytes`, which isn't empty. Returns the bytes it takes; 0 when
  /// no character of the encoding stands there, or not all of one.
  std::size_t Decode(std::string_view strBytes, wchar_t& ch) const;

  /// Appends the character's bytes. False, and nothing appended, when the encoding doesn't have it.
  bool Encode(wchar_t ch, std::string& strOut) const;

 private:
  bool m_bUtf8;
};

}  // namespace TALVEK::VCM
