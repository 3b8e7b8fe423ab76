#include "core/properties.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "core/text_codec.h"

namespace TALVEK::VCM {

namespace {

constexpr std::size_t NUMBER_LENGTH = 4;

std::string NumberBytes(std::uint32_t nValue) {
  return {static_cast<char>(nValue >> 24U), static_cast<char>(nValue >> 16U), static_cast<char>(nValue >> 8U),
          static_cast<char>(nValue)};
}

std::uint32_t ReadNumber(std::string_view strBytes) {
  std::uint32_t nValue = 0;
  for (const char ch : strBytes) {
    nValue = nValue << 8U | static_cast<unsigned char>(ch);
  }
  return nValue;
}

/// Seven bits a byte, the lowest first; the top bit is set when more bytes follow.
void AppendLength(std::string& strOut, std::size_t nLength) {
  for (; nLength >= 0x80; nLength >>= 7U) {
    strOut.push_back(static_cast<char>(0x80U | (nLength & 0x7FU)));
  }
  strOut.push_back(static_cast<char>(nLength));
}

/// Accepts the shortest form only, so that a set has one encoding.
bool TakeLength(std::string_view& strBytes, std::size_t& nLength) {
  constexpr unsigned LIMIT = 56;  // bits: enough for any length, and no shift overflows
  nLength = 0;
  for (unsigned nShift = 0; nShift < LIMIT && !strBytes.empty(); nShift += 7) {
    const auto nByte = static_cast<unsigned char>(strBytes[0]);
    strBytes.remove_prefix(1);
    nLength |= static_cast<std::size_t>(nByte & 0x7FU) << nShift;
    if (nByte < 0x80) return nByte != 0 || nShift == 0;
  }
  return false;
}

bool Take(std::string_view& strBytes, std::size_t nLength, std::string_view& strTaken) {
  if (strBytes.size() < nLength) return false;
  strTaken = strBytes.substr(0, nLength);
  strBytes.remove_prefix(nLength);
  return true;
}

}  // namespace

bool CProperties::HasProperty(std::uint16_t nProperty) const {
  return Find(nProperty) != nullptr;
}

bool CProperties::AddProperty(std::uint16_t nProperty, std::uint32_t nValue) {
  if (HasProperty(nProperty)) return false;
  Put(nProperty, NumberBytes(nValue));
  return true;
}

bool CProperties::ChangeProperty(std::uint16_t nProperty, std::uint32_t nValue) {
  if (!HasProperty(nProperty)) return false;
  Put(nProperty, NumberBytes(nValue));
  return true;
}

void CProperties::SetProperty(std::uint16_t nProperty, const CString& strValue) {
  std::string strBytes;
  EncodeStored(strValue.View(), strBytes);
  Put(nProperty, std::move(strBytes));
}

void CProperties::SetProperty(std::uint16_t nProperty, std::uint32_t nValue) {
  Put(nProperty, NumberBytes(nValue));
}

bool CProperties::GetProperty(std::uint16_t nProperty, CString& strValue) const {
  const std::string* pstrBytes = Find(nProperty);
  if (!pstrBytes) return false;
  strValue = DecodeStored(*pstrBytes);
  return true;
}

bool CProperties::GetProperty(std::uint16_t nProperty, std::uint32_t& nValue) const {
  const std::string* pstrBytes = Find(nProperty);
  if (!pstrBytes || pstrBytes->size() != NUMBER_LENGTH) return false;
  nValue = ReadNumber(*pstrBytes);
  return true;
}

std::uint32_t CProperties::GetNumber(std::uint16_t nProperty, std::uint32_t nAbsent) const {
  std::uint32_t nValue = nAbsent;
  GetProperty(nProperty, nValue);
  return nValue;
}

// Each entry: the property's number in 2 bytes, most significant first; the length; the bytes.
void CProperties::Encode(std::string& strOut) const {
  for (const auto& [nProperty, strBytes] : m_atEntries) {
    strOut.push_back(static_cast<char>(nProperty >> 8U));
    strOut.push_back(static_cast<char>(nProperty));
    AppendLength(strOut, strBytes.size());
    strOut += strBytes;
  }
}

bool CProperties::Decode(std::string_view strBytes) {
  std::size_t nCount = 0;
  for (; !strBytes.empty(); ++nCount) {
    if (DecodeEntry(strBytes, nCount)) continue;
    m_atEntries.clear();
    return false;
  }
  m_atEntries.resize(nCount);
  return true;
}

/// Cuts the first entry off `strBytes` and decodes it into m_atEntries[nIndex]. An old entry there is
/// overwritten to reuse its memory: most sets that are decoded one after another have the same size.
bool CProperties::DecodeEntry(std::string_view& strBytes, std::size_t nIndex) {
  std::string_view strNumber;
  std::string_view strValue;
  std::size_t nLength = 0;
  if (!Take(strBytes, 2, strNumber) || !TakeLength(strBytes, nLength)) return false;
  if (!Take(strBytes, nLength, strValue)) return false;
  const auto nProperty = static_cast<std::uint16_t>(ReadNumber(strNumber));
  if (nIndex > 0 && nProperty <= m_atEntries[nIndex - 1].first) return false;
  if (nIndex == m_atEntries.size()) m_atEntries.emplace_back();
  m_atEntries[nIndex].first = nProperty;
  m_atEntries[nIndex].second.assign(strValue);
  return true;
}

const std::string* CProperties::Find(std::uint16_t nProperty) const {
  for (const auto& [nEntry, strBytes] : m_atEntries) {
    if (nEntry == nProperty) return &strBytes;
  }
  return nullptr;
}

void CProperties::Put(std::uint16_t nProperty, std::string strBytes) {
  const auto it = std::find_if(m_atEntries.begin(), m_atEntries.end(),
                               [nProperty](const TEntry& tEntry) { return tEntry.first >= nProperty; });
  if (it != m_atEntries.end() && it->first == nProperty) {
    it->second = std::move(strBytes);
  } else {
    m_atEntries.emplace(it, nProperty, std::move(strBytes));
  }
}

}  // namespace TALVEK::VCM
