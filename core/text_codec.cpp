#include "core/text_codec.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/character_codec.h"

namespace TALVEK::VCM {

namespace {

constexpr std::uint32_t ESCAPE_BASE = 0xDC00;

constexpr std::uint32_t Code(wchar_t ch) {
  return static_cast<std::uint32_t>(ch);
}
constexpr bool IsAscii(wchar_t ch) {
  return Code(ch) < 0x80;
}
constexpr bool IsEscape(wchar_t ch) {
  return Code(ch) >= ESCAPE_BASE + 0x80 && Code(ch) <= ESCAPE_BASE + 0xFF;
}
constexpr wchar_t Escape(char chByte) {
  return static_cast<wchar_t>(ESCAPE_BASE + static_cast<unsigned char>(chByte));
}

constexpr bool IsAscii(char chByte) {
  return static_cast<unsigned char>(chByte) < 0x80;
}

/// Number of ASCII characters at the start of `strText`. Nearly always they are all.
template <class TChar>
std::size_t AsciiLength(std::basic_string_view<TChar> strText) {
  const auto itEnd = std::find_if_not(strText.begin(), strText.end(), [](TChar ch) { return IsAscii(ch); });
  return static_cast<std::size_t>(itEnd - strText.begin());
}

/// Decodes by `pfnDecode(bytes, ch)`, which returns the length of the first character, 0 when it can't decode
/// it. A byte that can't be decoded becomes its escape.
template <class TDecode>
void DecodeInto(std::string_view strBytes, CString& strOut, TDecode pfnDecode) {
  std::wstring strText = strOut.Release();
  strText.resize(strBytes.size());  // a byte becomes one character at most
  wchar_t* pOut = strText.data();
  while (true) {
    const std::size_t nAscii = WidenAscii(strBytes, pOut);
    pOut += nAscii;
    strBytes.remove_prefix(nAscii);
    if (strBytes.empty()) break;
    std::size_t nLength = pfnDecode(strBytes, *pOut);
    if (nLength == 0) {
      *pOut = Escape(strBytes[0]);
      nLength = 1;
    }
    ++pOut;
    strBytes.remove_prefix(nLength);
  }
  strText.resize(static_cast<std::size_t>(pOut - strText.data()));
  strOut = CString(std::move(strText));
}

/// Copies ASCII, and encodes every other character by `pfnEncode(ch, out)`.
template <class TEncode>
void EncodeInto(std::wstring_view strText, std::string& strOut, TEncode pfnEncode) {
  while (true) {
    const std::wstring_view strAscii = strText.substr(0, AsciiLength(strText));
    strOut.append(strAscii.begin(), strAscii.end());
    strText.remove_prefix(strAscii.size());
    if (strText.empty()) break;
    pfnEncode(strText[0], strOut);
    strText.remove_prefix(1);
  }
}

bool IsConvertible(std::wstring_view strText) {
  strText.remove_prefix(AsciiLength(strText));
  if (strText.empty()) return true;
  const CLocaleCodec oCodec;
  std::string strIgnored;
  for (const wchar_t ch : strText) {
    if (!oCodec.Encode(ch, strIgnored)) return false;
    strIgnored.clear();
  }
  return true;
}

}  // namespace

std::size_t WidenAscii(std::string_view strBytes, wchar_t* pOut) {
  const std::size_t nLength = AsciiLength(strBytes);
  std::copy_n(strBytes.begin(), nLength, pOut);
  return nLength;
}

// Every encoding of Debian's locales extends ASCII, so the locale is asked about bytes from 80 on only.
void DecodeBytes(std::string_view strBytes, CString& strOut) {
  const CLocaleCodec oCodec;
  DecodeInto(strBytes, strOut,
             [&oCodec](std::string_view strRest, wchar_t& ch) { return oCodec.Decode(strRest, ch); });
}

CString FromBytes(std::string_view strBytes) {
  CString strText;
  DecodeBytes(strBytes, strText);
  return strText;
}

std::string ToBytes(const CString& strText) {
  std::string strBytes;
  const CLocaleCodec oCodec;
  EncodeInto(strText.View(), strBytes, [&oCodec](wchar_t ch, std::string& strOut) {
    if (IsEscape(ch)) {
      strOut.push_back(static_cast<char>(Code(ch) - ESCAPE_BASE));
    } else if (!oCodec.Encode(ch, strOut)) {
      AppendUtf8(strOut, Code(ch));
    }
  });
  return strBytes;
}

bool ToSystemPath(const CString& strText, std::string& strOut) {
  if (strText.Find(L'\0') >= 0) return false;
  strOut = ToBytes(strText);
  return true;
}

std::string ToUtf8(const CString& strText) {
  std::string strBytes;
  strBytes.reserve(strText.View().size());
  EncodeInto(strText.View(), strBytes, [](wchar_t ch, std::string& strOut) {
    AppendUtf8(strOut, IsScalarValue(Code(ch)) ? Code(ch) : REPLACEMENT);
  });
  return strBytes;
}

void EncodeStored(std::wstring_view strText, std::string& strOut) {
  EncodeInto(strText, strOut, [](wchar_t ch, std::string& strBytes) { AppendUtf8(strBytes, Code(ch)); });
}

bool IsAscii(std::string_view strBytes) {
  return AsciiLength(strBytes) == strBytes.size();
}

CString DecodeStored(std::string_view strBytes) {
  CString strResult;
  DecodeStored(strBytes, strResult);
  return strResult;
}

void DecodeStored(std::string_view strBytes, CString& strOut) {
  DecodeInto(strBytes, strOut, [](std::string_view strRest, wchar_t& ch) {
    const TUtf8Sequence tSequence = ReadUtf8(strRest);
    ch = static_cast<wchar_t>(tSequence.nCode);
    return tSequence.nLength;
  });
}

long ParseNumber(const CString& strText) {
  if (!IsConvertible(strText.View())) return 0;
  std::wstring_view strRest = strText.View();
  while (!strRest.empty() && IsWhiteSpace(strRest[0])) {
    strRest.remove_prefix(1);
  }
  const bool bNegative = !strRest.empty() && strRest[0] == L'-';
  if (!strRest.empty() && (strRest[0] == L'-' || strRest[0] == L'+')) strRest.remove_prefix(1);

  long nValue = 0;
  for (; !strRest.empty() && strRest[0] >= L'0' && strRest[0] <= L'9'; strRest.remove_prefix(1)) {
    const long nDigit = bNegative ? L'0' - strRest[0] : strRest[0] - L'0';
    if (__builtin_mul_overflow(nValue, 10L, &nValue) || __builtin_add_overflow(nValue, nDigit, &nValue)) {
      return bNegative ? LONG_MIN : LONG_MAX;
    }
  }
  return nValue;
}

}  // namespace TALVEK::VCM
