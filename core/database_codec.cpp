#include "core/database_codec.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/text_codec.h"
#include "core/timestamp.h"

namespace TALVEK::VDB {

using VCM::CFilePath;
using VCM::CProperties;
using VCM::CString;
using VCM::CTimestamp;

namespace {

constexpr std::size_t LENGTH_SIZE = sizeof(std::uint32_t);

template <class TNumber>
void PutBigEndian(TNumber nNumber, char* pOut) {
  for (std::size_t i = sizeof nNumber; i-- > 0; nNumber >>= 8)
    pOut[i] = static_cast<char>(nNumber);
}

std::uint64_t GetBigEndian(std::string_view strBytes) {
  std::uint64_t nNumber = 0;
  for (const char chByte : strBytes) {
    nNumber = nNumber << 8 | static_cast<unsigned char>(chByte);
  }
  return nNumber;
}

bool IsFixed(TFieldType nType) {
  return nType == FIELD_UINT32 || nType == FIELD_TIMESTAMP;
}
std::size_t FixedSize(TFieldType nType) {
  return nType == FIELD_UINT32 ? 4 : 8;
}

bool IsWanted(TFieldSet nWanted, std::size_t nField) {
  return nWanted == ALL_FIELDS || (nWanted & FieldBit(static_cast<unsigned>(nField))) != 0;
}

/// True when the items are joined as CFilePath joins them: no item is empty.
bool HasOnlyItems(std::wstring_view strItems) {
  if (strItems.empty()) return true;
  return strItems.front() != L'/' && strItems.back() != L'/' &&
         strItems.find(L"//") == std::wstring_view::npos;
}

void EncodeFixed(TFieldType nType, const void* pField, char* pOut) {
  if (nType == FIELD_TIMESTAMP) {
    PutBigEndian(static_cast<std::uint64_t>(static_cast<const CTimestamp*>(pField)->GetUTC()), pOut);
    return;
  }
  std::uint32_t nNumber = 0;
  std::memcpy(&nNumber, pField, sizeof nNumber);  // the member may be a signed number
  PutBigEndian(nNumber, pOut);
}

/// Cuts a length and that many bytes off the front.
bool CutSized(std::string_view& strRest, std::string_view& strBytes) {
  if (strRest.size() < LENGTH_SIZE) return false;
  const std::uint64_t nLength = GetBigEndian(strRest.substr(0, LENGTH_SIZE));
  strRest.remove_prefix(LENGTH_SIZE);
  if (strRest.size() < nLength) return false;
  strBytes = strRest.substr(0, nLength);
  strRest.remove_prefix(nLength);
  return true;
}

}  // namespace

CRecordCodec::CRecordCodec(std::shared_ptr<const CSchema> poSchema)
    : m_poSchema(std::move(poSchema)), m_atValues(m_poSchema->GetFields().size()) {}

std::string_view CRecordCodec::Encode(void* const* papFields) {
  m_strRow.resize(m_poSchema->GetFixedSize());
  const std::vector<CSchema::TField>& atFields = m_poSchema->GetFields();
  for (std::size_t i = 0; i < atFields.size(); ++i) {
    if (IsFixed(atFields[i].nType)) {
      EncodeFixed(atFields[i].nType, papFields[i], m_strRow.data() + atFields[i].nOffset);
    } else {
      EncodeSized(atFields[i].nType, papFields[i]);
    }
  }
  return m_strRow;
}

bool CRecordCodec::EncodeAltered(std::string_view strFormer, void* const* papFields, TFieldSet nAltered,
                                 std::string_view& strRow) {
  if (strFormer.size() < m_poSchema->GetFixedSize()) return false;
  m_strRow.assign(strFormer.substr(0, m_poSchema->GetFixedSize()));
  std::string_view strRest = strFormer.substr(m_strRow.size());
  for (std::size_t i = 0; i < m_atValues.size(); ++i) {
    const CSchema::TField& tField = m_poSchema->GetFields()[i];
    const bool bAltered = IsWanted(nAltered, i);
    if (IsFixed(tField.nType)) {
      if (bAltered) EncodeFixed(tField.nType, papFields[i], m_strRow.data() + tField.nOffset);
      continue;
    }
    const std::string_view strBegin = strRest;
    std::string_view strBytes;
    if (!CutSized(strRest, strBytes)) return false;
    if (bAltered) {
      EncodeSized(tField.nType, papFields[i]);
    } else {
      m_strRow += strBegin.substr(0, strBegin.size() - strRest.size());
    }
  }
  strRow = m_strRow;
  return strRest.empty();
}

void CRecordCodec::EncodeSized(TFieldType nType, const void* pField) {
  const std::size_t nStart = m_strRow.size() + LENGTH_SIZE;
  m_strRow.resize(nStart);
  if (nType == FIELD_PROPERTIES) {
    static_cast<const CProperties*>(pField)->Encode(m_strRow);
  } else if (nType == FIELD_FILE_PATH) {
    const auto* const poPath = static_cast<const CFilePath*>(pField);
    if (poPath->IsAbsolute()) m_strRow.push_back('/');
    VCM::EncodeStored(poPath->GetItems(), m_strRow);
  } else {
    VCM::EncodeStored(static_cast<const CString*>(pField)->View(), m_strRow);
  }
  // If the length doesn't fit into four bytes, the store refuses the row as too large.
  PutBigEndian(static_cast<std::uint32_t>(m_strRow.size() - nStart), m_strRow.data() + nStart - LENGTH_SIZE);
}

bool CRecordCodec::Decode(std::string_view strRow, void* const* papFields, TFieldSet nWanted) {
  if (strRow.size() < m_poSchema->GetFixedSize()) return false;
  std::string_view strRest = strRow.substr(m_poSchema->GetFixedSize());
  for (std::size_t i = 0; i < m_atValues.size(); ++i) {
    const CSchema::TField& tField = m_poSchema->GetFields()[i];
    if (IsFixed(tField.nType)) {
      m_atValues[i].nNumber = GetBigEndian(strRow.substr(tField.nOffset, FixedSize(tField.nType)));
      continue;
    }
    std::string_view strBytes;
    if (!CutSized(strRest, strBytes)) return false;
    if (IsWanted(nWanted, i) && !DecodeSized(tField.nType, strBytes, m_atValues[i])) return false;
  }
  if (!strRest.empty()) return false;
  Give(papFields, nWanted);
  return true;
}

bool CRecordCodec::DecodeSized(TFieldType nType, std::string_view strBytes, TValue& tValue) {
  if (nType == FIELD_PROPERTIES) return tValue.oProperties.Decode(strBytes);
  if (nType == FIELD_FILE_PATH) return DecodePath(strBytes, tValue.oPath);
  return DecodeText(strBytes, tValue.strText);
}

bool CRecordCodec::DecodeText(std::string_view strBytes, CString& strText) {
  if (VCM::IsAscii(strBytes)) {
    strText.AssignLatin1(strBytes);
    return true;
  }
  VCM::DecodeStored(strBytes, strText);
  // DecodeStored accepts any bytes. Only undamaged ones come out the same when the text is encoded again.
  m_strAgain.clear();
  VCM::EncodeStored(strText.View(), m_strAgain);
  return m_strAgain == strBytes;
}

// Parse makes the path absolute, which Add can't. Add takes the items, because Parse would refuse a NUL in
// them.
bool CRecordCodec::DecodePath(std::string_view strBytes, CFilePath& oPath) {
  const bool bAbsolute = !strBytes.empty() && strBytes.front() == '/';
  if (bAbsolute) strBytes.remove_prefix(1);
  if (!DecodeText(strBytes, m_strPath) || !HasOnlyItems(m_strPath.View())) return false;
  oPath.Clear();
  if (bAbsolute) oPath.Parse(L"/");
  oPath.Add(m_strPath);
  return true;
}

// Swaps instead of copying: the next row is decoded into the record's old buffers.
void CRecordCodec::Give(void* const* papFields, TFieldSet nWanted) {
  for (std::size_t i = 0; i < m_atValues.size(); ++i) {
    TValue& tValue = m_atValues[i];
    const TFieldType nType = m_poSchema->GetFields()[i].nType;
    if (!IsFixed(nType) && !IsWanted(nWanted, i)) continue;
    switch (nType) {
      case FIELD_TIMESTAMP:
        static_cast<CTimestamp*>(papFields[i])->Set(static_cast<long long>(tValue.nNumber));
        break;
      case FIELD_FILE_PATH:
        std::swap(*static_cast<CFilePath*>(papFields[i]), tValue.oPath);
        break;
      case FIELD_PROPERTIES:
        std::swap(*static_cast<CProperties*>(papFields[i]), tValue.oProperties);
        break;
      case FIELD_UINT32: {
        const auto nNumber = static_cast<std::uint32_t>(tValue.nNumber);
        std::memcpy(papFields[i], &nNumber, sizeof nNumber);
        break;
      }
      default:
        std::swap(*static_cast<CString*>(papFields[i]), tValue.strText);
    }
  }
}

}  // namespace TALVEK::VDB
