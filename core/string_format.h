#pragma once

#include <cstdarg>
#include <string>

namespace TALVEK::VCM {

/// Appends what CString::FormatV gives; no argument may point into `strOut`. Numbers are formatted by the C
/// library, one directive at a time; texts are placed by us, because the library's own wide printf fails as a
/// whole, and loses everything, at the first narrow argument that the locale can't decode.
void FormatText(const wchar_t* pszFormat, va_list args, std::wstring& strOut);

}  // namespace TALVEK::VCM
