#pragma once

#include <compare>
#include <cstdarg>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "core/export.h"

namespace TALVEK::VCM {

/// Wide text: a sequence of wchar_t (4 bytes on Linux, one Unicode character each), NUL allowed within.
///
/// A character U+DC80 to U+DCFF stands for one input byte 80 to FF that couldn't be decoded in the locale's
/// encoding; core/text_codec.h turns bytes into text and back without loss.
///
/// Errors   An index or count outside the text is moved to its nearest end, except with operator[], which
///          doesn't check. A search that finds nothing returns -1. Only allocation throws.
/// Case     "NoCase" and MakeLower map character by character, the same in every locale (core/case_map.h).
class TALVEK_CORE_API CString {
 public:
  CString() = default;
  CString(const wchar_t* pszText)
      : m_strText(pszText ? pszText : L"") {}  // not explicit: a literal can stand for a CString
  explicit CString(std::wstring_view strText) : m_strText(strText) {}
  explicit CString(std::wstring&& strText) : m_strText(std::move(strText)) {}

  int GetLength() const { return static_cast<int>(m_strText.size()); }
  bool IsEmpty() const { return m_strText.empty(); }
  const wchar_t* c_str() const { return m_strText.c_str(); }
  std::wstring_view View() const { return m_strText; }
  wchar_t operator[](int nIndex) const { return m_strText[static_cast<std::size_t>(nIndex)]; }

  void Clear() { m_strText.clear(); }
  void Assign(std::wstring_view strText) { m_strText.assign(strText); }
  /// Each byte becomes the character of that number.
  void AssignLatin1(std::string_view strBytes);
  /// Moves the text out, and leaves this one empty and without memory.
  std::wstring Release() { return std::exchange(m_strText, {}); }
  CString& operator+=(const CString& strOther);
  CString& operator+=(std::wstring_view strOther);
  CString& operator+=(const wchar_t* pszOther);
  CString& operator+=(wchar_t chOther);

  /// Ordinal, with regard to case.
  auto operator<=>(const CString&) const = default;  // NOLINT(modernize-use-nullptr): a false alarm
  bool operator==(const CString&) const = default;
  bool operator==(const wchar_t* pszOther) const { return m_strText == (pszOther ? pszOther : L""); }
  /// < 0, 0, > 0.
  int CompareNoCase(std::wstring_view strOther) const;
  bool EqualsNoCase(std::wstring_view strOther) const;

  /// Index of the first occurrence at or after `nStart`, or -1.
  int Find(wchar_t chWanted, int nStart = 0) const;
  int Find(const CString& strWanted, int nStart = 0) const;
  /// Index of the last occurrence, or -1.
  int ReverseFind(wchar_t chWanted) const;

  CString Left(int nCount) const;
  CString Right(int nCount) const;
  CString Mid(int nStart) const;
  CString Mid(int nStart, int nCount) const;

  /// White space is blank, tab, line feed, vertical tab, form feed and carriage return, in every locale.
  void TrimLeft();
  void TrimRight();
  void MakeLower();

  /// printf style, of any length: "%s" and "%c" take wide arguments, everything else is as in the C library.
  /// "%n" and unknown directives are copied as they are; so is a whole format that the C library refuses (a
  /// width beyond INT_MAX). The arguments may point into this text.
  void Format(const wchar_t* pszFormat, ...);
  void FormatV(const wchar_t* pszFormat, va_list args);

 private:
  std::wstring m_strText;
};

TALVEK_CORE_API CString operator+(const CString& strLeft, const CString& strRight);

TALVEK_CORE_API bool EqualsNoCase(std::wstring_view strLeft, std::wstring_view strRight);

/// True for the characters that TrimLeft and TrimRight take away.
inline bool IsWhiteSpace(wchar_t ch) {
  return ch == L' ' || (ch >= L'\t' && ch <= L'\r');
}

}  // namespace TALVEK::VCM
