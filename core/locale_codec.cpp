#include "core/locale_codec.h"

#include <langinfo.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <cwchar>

#include "core/utf8.h"

namespace TALVEK::VCM {

namespace {

constexpr auto CONVERSION_FAILED = static_cast<std::size_t>(-1);

std::size_t DecodeUtf8(std::string_view strBytes, wchar_t& ch) {
  const TUtf8Sequence tSequence = ReadUtf8(strBytes);
  if (!IsScalarValue(tSequence.nCode)) return 0;
  ch = static_cast<wchar_t>(tSequence.nCode);
  return tSequence.nLength;
}

// Some encodings have several byte sequences for one character, or one that stands for two characters. Only
// a sequence that comes back as it was is taken; the bytes of the others pass one by one, as undecodable.
bool ComesBack(wchar_t ch, std::string_view strBytes) {
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
  return ComesBack(ch, strBytes.substr(0, nLength)) ? nLength : 0;
}

}  // namespace

// In a UTF-8 locale the library isn't asked: it takes a call for each character, and the one of Debian 12
// lets sequences beyond U+10FFFF pass.
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
  // In the C locale the library drops the tag characters (from U+E0000 on): success, and no byte.
  if (nLength == CONVERSION_FAILED || nLength == 0) return false;
  strOut.append(szBytes, nLength);
  return true;
}

}  // namespace TALVEK::VCM
