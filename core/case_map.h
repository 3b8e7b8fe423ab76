#pragma once

#include "core/export.h"

namespace TALVEK::VCM {

/// The lower-case form of one character, or the character itself: what towlower gives in a UTF-8 locale of
/// Debian 12. The mapping is compiled in, so it is the same in every locale and with every C library: names
/// that differ in case only must meet the same way wherever an import runs.
TALVEK_CORE_API wchar_t ToLower(wchar_t ch);

}  // namespace TALVEK::VCM
