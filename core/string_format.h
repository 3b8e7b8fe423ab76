#pragma once

#include <cstdarg>
#include <string>

namespace TALVEK::VCM {

/// What CString::FormatV gives. Numbers are formatted by the C library, one directive at a time; texts are
/// placed by us, because the library's own wide printf fails as a whole, and loses everything, at the first
/// narrow argument that the locale can't decode.
std::wstring FormatText(const wchar_t* pszFormat, va_list args);

}  // namespace TALVEK::VCM
