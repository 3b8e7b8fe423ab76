// CString::Format and FormatV.

#include "core/string.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace TALVEK::VCM {

namespace {

bool Contains(std::wstring_view strSet, wchar_t ch) {
  return strSet.find(ch) != std::wstring_view::npos;
}

/// Translates our format into the C library's. There "%s" and "%c" take bytes, so they become "%ls" and
/// "%lc". "%n" would write through a pointer, and a directive that is cut off would make the library refuse
/// the whole format: they become plain text.
std::wstring ToLibraryFormat(std::wstring_view strRest) {
  std::wstring strResult;
  strResult.reserve(2 * strRest.size());
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

/// Formats a short result. False, and `strOut` unchanged, when it is too long or the library refuses the
/// format: vswprintf doesn't say which.
bool FormatShort(const std::wstring& strFormat, va_list args, std::wstring& strOut) {
  wchar_t szResult[4096];  // long, because lines of nested streams can be indented by thousands of characters
  va_list argsCopy;
  va_copy(argsCopy, args);
  const int nLength = std::vswprintf(szResult, std::size(szResult), strFormat.c_str(), argsCopy);
  va_end(argsCopy);
  if (nLength >= 0) strOut.assign(szResult, static_cast<std::size_t>(nLength));
  return nLength >= 0;
}

/// Formats a result of any length, through a stream in memory. False when the library refuses the format. For
/// a short result it takes three times as long as FormatShort.
bool FormatLong(const std::wstring& strFormat, va_list args, std::wstring& strOut) {
  wchar_t* pszResult = nullptr;
  std::size_t nLength = 0;
  std::FILE* const pStream = ::open_wmemstream(&pszResult, &nLength);
  if (!pStream) throw std::bad_alloc();
  const bool bWritten = std::vfwprintf(pStream, strFormat.c_str(), args) >= 0;
  std::fclose(pStream);
  const std::unique_ptr<wchar_t, decltype(&std::free)> poResult(pszResult, &std::free);
  if (bWritten) strOut.assign(pszResult, nLength);
  return bWritten;
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
  std::wstring strResult;
  if (!FormatShort(strFormat, args, strResult) && !FormatLong(strFormat, args, strResult)) {
    strResult = pszFormat;
  }
  m_strText = std::move(strResult);  // only now: arguments may point into this text
}

}  // namespace TALVEK::VCM
