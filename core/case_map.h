#pragma once

#include "core/export.h"

namespace TALVEK::VCM {

/// The lower-case form of one character, or the character itself: what towlower gives in a UTF-8 locale of
/// Debian 12. The mapping is compiled in, so it is the same in every locale and with every C library: which
/// names are equal without regard to case must not depend on where an import runs.
inline wchar_t ToLower(wchar_t ch);

/// ToLower for characters beyond ASCII. Not inline; most text is ASCII and so needs no call.
TALVEK_CORE_API wchar_t ToLowerByTable(wchar_t ch);

inline wchar_t ToLower(wchar_t ch) {
  if (ch >= 0 && ch < 0x80) return ch >= L'A' && ch <= L'Z' ? ch + (L'a' - L'A') : ch;
  return ToLowerByTable(ch);
}

}  // namespace TALVEK::VCM
