#include "core/text_codec.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "core/locale_codec.h"
#include "core/utf8.h"

namespace TALVEK::VCM {

namespace {

constexpr std::uint32_t ESCAPE_BASE = 0xDC00;
constexpr std::uint32_t REPLACEMENT = 0xFFFD;

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

// Nearly all of what is decoded is ASCII, so eight bytes are looked at together.
constexpr std::size_t BLOCK = 8;
constexpr std::uint64_t HIGH_BITS = 0x8080808080808080U;

bool IsAsciiBlock(const char* pBytes) {
  std::uint64_t nBlock = 0;
  std::memcpy(&nBlock, pBytes, BLOCK);
  return (nBlock & HIGH_BITS) == 0;
}

/// Widens the ASCII at the start of `strBytes`; returns how much there was.
std::size_t WidenAscii(std::string_view strBytes, wchar_t* pOut) {
  std::size_t nDone = 0;
  while (nDone + BLOCK <= strBytes.size() && IsAsciiBlock(strBytes.data() + nDone)) {
    for (std::size_t i = 0; i < BLOCK; ++i) {
      pOut[nDone + i] = static_cast<unsigned char>(strBytes[nDone + i]);
    }
    nDone += BLOCK;
  }
  for (; nDone < strBytes.size() && static_cast<unsigned char>(strBytes[nDone]) < 0x80; ++nDone) {
    pOut[nDone] = static_cast<unsigned char>(strBytes[nDone]);
  }
  return nDone;
}

std::size_t AsciiLength(std::wstring_view strText) {
  std::size_t nLength = 0;
  while (nLength < strText.size() && IsAscii(strText[nLength])) {
    ++nLength;
  }
  return nLength;
}

/// Appends the ASCII at the start of `strText`; returns how much there was.
std::size_t AppendAscii(std::wstring_view strText, std::string& strOut) {
  const std::size_t nLength = AsciiLength(strText);
  const std::size_t nStart = strOut.size();
  strOut.resize(nStart + nLength);
  for (std::size_t i = 0; i < nLength; ++i) {
    strOut[nStart + i] = static_cast<char>(strText[i]);
  }
  return nLength;
}

/// Decodes what `pfnDecode(bytes, ch)` takes (it returns a length, 0 for refused); escapes the other bytes.
template <class TDecode>
void DecodeInto(std::string_view strBytes, std::wstring& strOut, TDecode pfnDecode) {
  strOut.resize(strBytes.size());  // no encoding needs more than one character for a byte
  wchar_t* pOut = strOut.data();
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
  strOut.resize(static_cast<std::size_t>(pOut - strOut.data()));
}

/// Encodes ASCII itself, and every other character by `pfnEncode(ch, out)`.
template <class TEncode>
void EncodeInto(std::wstring_view strText, std::string& strOut, TEncode pfnEncode) {
  while (true) {
    strText.remove_prefix(AppendAscii(strText, strOut));
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

// The encodings that Debian's locales use extend ASCII, so only the bytes from 80 on are asked for.
void DecodeBytes(std::string_view strBytes, CString& strOut) {
  std::wstring strText = strOut.Release();
  const CLocaleCodec oCodec;
  DecodeInto(strBytes, strText,
             [&oCodec](std::string_view strRest, wchar_t& ch) { return oCodec.Decode(strRest, ch); });
  strOut = CString(std::move(strText));
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
  EncodeInto(strText.View(), strBytes, [](wchar_t ch, std::string& strOut) {
    AppendUtf8(strOut, IsScalarValue(Code(ch)) ? Code(ch) : REPLACEMENT);
  });
  return strBytes;
}

void EncodeStored(const CString& strText, std::string& strOut) {
  EncodeInto(strText.View(), strOut,
             [](wchar_t ch, std::string& strBytes) { AppendUtf8(strBytes, Code(ch)); });
}

bool IsAscii(std::string_view strBytes) {
  std::uint64_t nAll = 0;
  for (; strBytes.size() >= BLOCK; strBytes.remove_prefix(BLOCK)) {
    std::uint64_t nBlock = 0;
    std::memcpy(&nBlock, strBytes.data(), BLOCK);
    nAll |= nBlock;
  }
  for (const char chByte : strBytes)
    nAll |= static_cast<unsigned char>(chByte);
  return (nAll & HIGH_BITS) == 0;
}

CString DecodeStored(std::string_view strBytes) {
  std::wstring strText;
  DecodeInto(strBytes, strText, [](std::string_view strRest, wchar_t& ch) {
    const TUtf8Sequence tSequence = ReadUtf8(strRest);
    ch = static_cast<wchar_t>(tSequence.nCode);
    return tSequence.nLength;
  });
  return CString(std::move(strText));
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
