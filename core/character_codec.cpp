#include "core/character_codec.h"

#include <langinfo.h>

#include <bit>
#include <climits>
#include <cstring>
#include <cwchar>

namespace TALVEK::VCM {

namespace {

constexpr std::size_t MAX_UTF8_LENGTH = 7;
constexpr auto CONVERSION_FAILED = static_cast<std::size_t>(-1);

/// Bytes that `nCode` takes in UTF-8. Each byte but the first holds six bits.
std::size_t Utf8Length(std::uint64_t nCode) {
  const auto nBits = static_cast<std::size_t>(std::bit_width(nCode));
  return nBits <= 7 ? 1 : nBits <= 11 ? 2 : (nBits - 2) / 5 + 1;
}

std::size_t DecodeUtf8(std::string_view strBytes, wchar_t& ch) {
  const TUtf8Sequence tSequence = ReadUtf8(strBytes);
  if (!IsScalarValue(tSequence.nCode)) return 0;
  ch = static_cast<wchar_t>(tSequence.nCode);
  return tSequence.nLength;
}

/// True when the library encodes `ch` as these bytes.
bool EncodesAs(wchar_t ch, std::string_view strBytes) {
  char szBytes[MB_LEN_MAX];
  std::mbstate_t tState{};
  const std::size_t nLength = std::wcrtomb(szBytes, ch, &tState);
  return nLength != CONVERSION_FAILED && std::string_view(szBytes, nLength) == strBytes;
}

std::size_t DecodeByLibrary(std::string_view strBytes, wchar_t& ch) {
  if (strBytes[0] == '\0') {
    ch = L'\0';
    return 1;
  }
  std::mbstate_t tState{};
  const std::size_t nLength = std::mbrtowc(&ch, strBytes.data(), strBytes.size(), &tState);
  if (nLength == 0 || nLength > strBytes.size()) return 0;
  if (!IsScalarValue(static_cast<std::uint32_t>(ch))) return 0;
  // Some encodings have several byte sequences for one character. Only the one that the library writes can be
  // restored, so the others count as undecodable.
  return EncodesAs(ch, strBytes.substr(0, nLength)) ? nLength : 0;
}

}  // namespace

TUtf8Sequence ReadUtf8(std::string_view strBytes) {
  const auto nFirst = static_cast<unsigned char>(strBytes[0]);
  if (nFirst < 0x80) return {nFirst, 1};
  const auto nLength = static_cast<std::size_t>(std::countl_one(nFirst));
  if (nLength < 2 || nLength > MAX_UTF8_LENGTH || nLength > strBytes.size()) return {};

  std::uint64_t nCode = nFirst & (0x7FU >> nLength);
  for (std::size_t i = 1; i < nLength; ++i) {
    const auto nNext = static_cast<unsigned char>(strBytes[i]);
    if ((nNext & 0xC0U) != 0x80) return {};
    nCode = nCode << 6U | (nNext & 0x3FU);
  }
  if (nCode > UINT32_MAX || Utf8Length(nCode) != nLength) return {};
  return {static_cast<std::uint32_t>(nCode), nLength};
}

void AppendUtf8(std::string& strOut, std::uint32_t nCode) {
  const std::size_t nLength = Utf8Length(nCode);
  if (nLength == 1) {
    strOut.push_back(static_cast<char>(nCode));
    return;
  }
  char szBytes[MAX_UTF8_LENGTH];
  std::uint64_t nRest = nCode;
  for (std::size_t i = nLength - 1; i > 0; --i) {
    szBytes[i] = static_cast<char>(0x80U | (nRest & 0x3FU));
    nRest >>= 6U;
  }
  // The first byte starts with as many ones as there are bytes.
  const std::uint32_t nMark = 0xFF00U >> nLength & 0xFFU;
  szBytes[0] = static_cast<char>(nMark | nRest);
  strOut.append(szBytes, nLength);
}

// UTF-8 is decoded without the C library, which needs a call per character and, in Debian 12, accepts
// sequences beyond U+10FFFF.
CLocaleCodec::CLocaleCodec() : m_bUtf8(std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0) {}

std::size_t CLocaleCodec::Decode(std::string_view strBytes, wchar_t& ch) const {
  return m_bUtf8 ? DecodeUtf8(strBytes, ch) : DecodeByLibrary(strBytes, ch);
}

bool CLocaleCodec::Encode(wchar_t ch, std::string& strOut) const {
  if (!IsScalarValue(static_cast<std::uint32_t>(ch))) return false;
  if (m_bUtf8) {
    AppendUtf8(strOut, static_cast<std::uint32_t>(ch));
    return true;
  }
  char szBytes[MB_LEN_MAX];
  std::mbstate_t tState{};
  const std::size_t nLength = std::wcrtomb(szBytes, ch, &tState);
  // In the C locale the library answers 0 for the tag characters (from U+E0000 on): success, and no byte.
  if (nLength == CONVERSION_FAILED || nLength == 0) return false;
  strOut.append(szBytes, nLength);
  return true;
}

}  // namespace TALVEK::VCM
