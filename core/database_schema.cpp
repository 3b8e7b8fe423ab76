#include "core/database_schema.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace TALVEK::VDB {

using VCM::CString;

namespace {

bool Refuse(const wchar_t* pszWhy, CString& strError) {
  strError = pszWhy;
  return false;
}

bool IsKnown(unsigned long nType) {
  switch (nType) {
    case FIELD_UINT32:
    case FIELD_STRING:
    case FIELD_LONG_TEXT:
    case FIELD_TIMESTAMP:
    case FIELD_FILE_PATH:
    case FIELD_PROPERTIES:
      return true;
    default:
      return false;
  }
}

std::size_t SizeInFixedPart(TFieldType nType) {
  if (nType == FIELD_UINT32) return sizeof(std::uint32_t);
  return nType == FIELD_TIMESTAMP ? sizeof(std::uint64_t) : 0;
}

bool EndsIndexes(const TIndexDef& tIndexDef) {
  return tIndexDef.nFlags == 0 && tIndexDef.nFieldCount == 0 &&
         std::all_of(std::begin(tIndexDef.anFields), std::end(tIndexDef.anFields),
                     [](std::uint16_t nField) { return nField == 0; });
}

std::uint32_t ReadNumber(const void* pField) {
  std::uint32_t nNumber = 0;
  std::memcpy(&nNumber, pField, sizeof nNumber);  // the member may be a signed number
  return nNumber;
}

}  // namespace

void CKey::AppendNumber(std::uint32_t nNumber) {
  for (int nShift = 24; nShift >= 0; nShift -= 8) {
    m_achBytes[m_nSize++] = static_cast<char>(nNumber >> nShift);
  }
}

std::uint32_t CKey::GetFirstNumber() const {
  std::uint32_t nNumber = 0;
  for (std::size_t i = 0; i < sizeof nNumber && i < m_nSize; ++i) {
    nNumber = nNumber << 8 | static_cast<unsigned char>(m_achBytes[i]);
  }
  return nNumber;
}

void CKey::Append(std::string_view strBytes) {
  std::copy(strBytes.begin(), strBytes.end(), m_achBytes.data() + m_nSize);
  m_nSize += strBytes.size();
}

void CKey::Assign(std::string_view strBytes) {
  Clear();
  Append(strBytes);
}

void CKey::AppendHighest(std::size_t nBytes) {
  std::fill_n(m_achBytes.data() + m_nSize, nBytes, '\xFF');
  m_nSize += nBytes;
}

std::shared_ptr<const CSchema> CSchema::Make(const TFileDef* ptFileDef, const TFieldDef* ptFieldDefs,
                                             const TIndexDef* ptIndexDefs, CString& strError) {
  if (!ptFileDef || !ptFieldDefs || !ptIndexDefs) {
    return Refuse(L"definitions are missing", strError), nullptr;
  }
  std::shared_ptr<CSchema> poSchema(new CSchema);
  if (!poSchema->ReadFields(ptFieldDefs, strError)) return nullptr;
  if (!poSchema->ReadIndexes(ptIndexDefs, strError)) return nullptr;
  poSchema->m_bAssignsIds = (ptFileDef->nFlags & 1) != 0;
  if (poSchema->m_bAssignsIds && !poSchema->CanAssignIds()) {
    return Refuse(L"IDs are to be assigned, but index 0 isn't the first field alone", strError), nullptr;
  }
  return poSchema;
}

bool CSchema::ReadFields(const TFieldDef* ptFieldDefs, CString& strError) {
  for (; ptFieldDefs->pszName; ++ptFieldDefs) {
    if (!IsKnown(ptFieldDefs->nType)) return Refuse(L"a field has an unknown type", strError);
    const auto nType = static_cast<TFieldType>(ptFieldDefs->nType);
    m_atFields.push_back({nType, m_nFixedSize});
    m_nFixedSize += SizeInFixedPart(nType);
  }
  return true;
}

bool CSchema::ReadIndexes(const TIndexDef* ptIndexDefs, CString& strError) {
  for (; !EndsIndexes(*ptIndexDefs); ++ptIndexDefs) {
    if (!ReadIndex(*ptIndexDefs, strError)) return false;
  }
  return (!m_atIndexes.empty() && IsUnique(0)) || Refuse(L"index 0 isn't unique", strError);
}

bool CSchema::ReadIndex(const TIndexDef& tIndexDef, CString& strError) {
  if (tIndexDef.nFieldCount == 0 || tIndexDef.nFieldCount > TIndexDef::MAX_FIELDS) {
    return Refuse(L"an index has no field or too many", strError);
  }
  TIndex tIndex = {(tIndexDef.nFlags & 1) == 0,
                   {tIndexDef.anFields, tIndexDef.anFields + tIndexDef.nFieldCount}};
  for (const std::uint16_t nField : tIndex.anFields) {
    if (nField >= m_atFields.size() || m_atFields[nField].nType != FIELD_UINT32) {
      return Refuse(L"an index has a field that isn't a 32-bit number", strError);
    }
  }
  m_atIndexes.push_back(std::move(tIndex));
  return true;
}

bool CSchema::CanAssignIds() const {
  return m_atIndexes[0].anFields == std::vector<std::uint16_t>{0};
}

void CSchema::MakeKey(unsigned nIndex, void* const* papFields, CKey& oKey) const {
  oKey.Clear();
  for (const std::uint16_t nField : m_atIndexes[nIndex].anFields) {
    oKey.AppendNumber(ReadNumber(papFields[nField]));
  }
}

void CSchema::MakeEntry(unsigned nIndex, void* const* papFields, CKey& oKey) const {
  MakeKey(nIndex, papFields, oKey);
  if (nIndex == 0) return;
  for (const std::uint16_t nField : m_atIndexes[0].anFields) {
    oKey.AppendNumber(ReadNumber(papFields[nField]));
  }
}

void CSchema::MakeEntry(unsigned nIndex, std::string_view strRow, CKey& oKey) const {
  oKey.Clear();
  for (const std::uint16_t nField : m_atIndexes[nIndex].anFields) {
    oKey.Append(strRow.substr(m_atFields[nField].nOffset, sizeof(std::uint32_t)));
  }
  if (nIndex == 0) return;
  for (const std::uint16_t nField : m_atIndexes[0].anFields) {
    oKey.Append(strRow.substr(m_atFields[nField].nOffset, sizeof(std::uint32_t)));
  }
}

}  // namespace TALVEK::VDB
