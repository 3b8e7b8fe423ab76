#include "core/text_hash.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "core/case_map.h"

namespace TALVEK::VCM {

namespace {

// Nearly all text is ASCII: eight characters, two in each number, then fit into one number.
constexpr std::size_t BLOCK = 8;
using TPairs = std::array<std::uint64_t, BLOCK / 2>;

constexpr std::uint64_t ASCII_PAIR = 0x0000007F0000007FU;

constexpr std::uint64_t InAllBytes(unsigned nByte) {
  return 0x0101010101010101U * nByte;
}

/// The first block, filled up with zeros. A whole one is copied by a known number of bytes, which takes no
/// call.
TPairs FirstPairs(std::wstring_view strText) {
  TPairs anPairs = {};
  if (strText.size() >= BLOCK) {
    std::memcpy(anPairs.data(), strText.data(), BLOCK * sizeof(wchar_t));
  } else {
    std::memcpy(anPairs.data(), strText.data(), strText.size() * sizeof(wchar_t));
  }
  return anPairs;
}

bool IsAscii(const TPairs& anPairs) {
  return ((anPairs[0] | anPairs[1] | anPairs[2] | anPairs[3]) & ~ASCII_PAIR) == 0;
}

std::uint64_t PackAscii(const TPairs& anPairs) {
  return anPairs[0] | anPairs[1] << 8U | anPairs[2] << 16U | anPairs[3] << 24U;
}

/// Adds 20 to the bytes from 41 to 5A; all bytes are below 80.
std::uint64_t LowerAscii(std::uint64_t nBytes) {
  const std::uint64_t nFromA = nBytes + InAllBytes(0x80 - 'A');
  const std::uint64_t nBeyondZ = nBytes + InAllBytes(0x80 - 'Z' - 1);
  return nBytes + ((nFromA & ~nBeyondZ & InAllBytes(0x80)) >> 2U);
}

std::uint64_t LowerPair(std::uint64_t nPair) {
  const auto fnLower = [](std::uint64_t nCode) {
    return std::uint64_t{static_cast<std::uint32_t>(ToLower(static_cast<wchar_t>(nCode)))};
  };
  return fnLower(nPair >> 32U) << 32U | fnLower(nPair & 0xFFFFFFFFU);
}

void Mix(std::uint64_t& nHash, std::uint64_t nValue) {
  nHash = (nHash ^ nValue) * 0x9FB21C651E98DF25U;
  nHash ^= nHash >> 32U;
}

}  // namespace

// The length comes last, so that two texts added one after the other aren't one text cut elsewhere.
template <bool NO_CASE>
CTextHash& CTextHash::AddBlocks(std::wstring_view strText) {
  for (std::size_t nStart = 0; nStart < strText.size(); nStart += BLOCK) {
    const TPairs anPairs = FirstPairs(strText.substr(nStart));
    if (IsAscii(anPairs)) {
      Mix(m_nHash, NO_CASE ? LowerAscii(PackAscii(anPairs)) : PackAscii(anPairs));
    } else {
      for (const std::uint64_t nPair : anPairs)
        Mix(m_nHash, NO_CASE ? LowerPair(nPair) : nPair);
    }
  }
  Mix(m_nHash, strText.size());
  return *this;
}

CTextHash& CTextHash::Add(std::wstring_view strText) {
  return AddBlocks<false>(strText);
}

CTextHash& CTextHash::AddNoCase(std::wstring_view strText) {
  return AddBlocks<true>(strText);
}

}  // namespace TALVEK::VCM
