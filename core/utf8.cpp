#include "core/utf8.h"

#include <bit>

namespace TALVEK::VCM {

namespace {

constexpr std::size_t MAX_LENGTH = 7;

/// Bytes that `nCode` takes: each one behind the first holds six bits.
std::size_t Utf8Length(std::uint64_t nCode) {
  const auto nBits = static_cast<std::size_t>(std::bit_width(nCode));
  return nBits <= 7 ? 1 : nBits <= 11 ? 2 : (nBits - 2) / 5 + 1;
}

}  // namespace

TUtf8Sequence ReadUtf8(std::string_view strBytes) {
  const auto nFirst = static_cast<unsigned char>(strBytes[0]);
  if (nFirst < 0x80) return {nFirst, 1};
  const auto nLength = static_cast<std::size_t>(std::countl_one(nFirst));
  if (nLength < 2 || nLength > MAX_LENGTH || nLength > strBytes.size()) return {};

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
  char szBytes[MAX_LENGTH];
  std::uint64_t nRest = nCode;
  for (std::size_t i = nLength - 1; i > 0; --i) {
    szBytes[i] = static_cast<char>(0x80U | (nRest & 0x3FU));
    nRest >>= 6U;
  }
  const std::uint32_t nMark = 0xFF00U >> nLength & 0xFFU;
  szBytes[0] = static_cast<char>(nMark | nRest);
  strOut.append(szBytes, nLength);
}

}  // namespace TALVEK::VCM
