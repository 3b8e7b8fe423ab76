// CString::Format and FormatV.

#include "core/string.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace TALVEK::VCM {

namespace {

bool Contains(std::wstring_view strSet, wchar_t ch) {
  return strSet.find(ch) != std::wstring_view::npos;
}

/// Our format as the C library's. "%s" and "%c" take wide text there as "%ls" and "%lc". "%n" would write
/// through a pointer, and what is no directive would fail the whole format: these become plain text.
std::wstring ToLibraryFormat(std::wstring_view strRest) {
  std::wstring strResult;
  while (!strRest.empty()) {
    const std::size_t nPercent = strRest.find(L'%');
    strResult += strRest.substr(0, nPercent);
    if (nPercent == std::wstring_view::npos) break;
    strRest.remove_prefix(nPercent + 1);

    // A directive: flags, width and precision; a length; one letter.
    const std::size_t nLength = strRest.find_first_not_of(L"-+ #'I0123456789*.$");
    const std::size_t nLetter = strRest.find_first_not_of(L"hlqLjzt", nLength);
    const wchar_t chLetter = nLetter < strRest.size() ? strRest[nLetter] : L'\0';
    if (!Contains(L"diouxXaAeEfFgGcCsSpm%", chLetter)) {
      strResult += L"%%";
      continue;
    }
    strResult += L'%';
    strResult += strRest.substr(0, nLetter);
    if (nLength == nLetter && Contains(L"cs", chLetter)) strResult += L'l';
    strResult += chLetter;
    strRest.remove_prefix(nLetter + 1);
  }
  return strResult;
}

}  // namespace

void CString::Format(const wchar_t* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  FormatV(pszFormat, args);
  va_end(args);
}

void CString::FormatV(const wchar_t* pszFormat, va_list args) {
  if (!pszFormat) pszFormat = L"";
  const std::wstring strFormat = ToLibraryFormat(pszFormat);
  wchar_t* pszResult = nullptr;
  std::size_t nResult = 0;
  // A stream in memory grows with the text; vswprintf doesn't say how much room a text needs.
  std::FILE* const pStream = ::open_wmemstream(&pszResult, &nResult);
  if (!pStream) throw std::bad_alloc();
  const bool bWritten = std::vfwprintf(pStream, strFormat.c_str(), args) >= 0;
  std::fclose(pStream);
  const std::unique_ptr<wchar_t, decltype(&std::free)> poResult(pszResult, &std::free);
  // Assigned last, because arguments may point into this text.
  m_strText = bWritten ? std::wstring(pszResult, nResult) : std::wstring(pszFormat);
}

}  // namespace TALVEK::VCM
