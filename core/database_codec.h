#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/database.h"
#include "core/database_schema.h"
#include "core/export.h"
#include "core/path.h"
#include "core/properties.h"
#include "core/string.h"

namespace TALVEK::VDB {

/// Records to rows of bytes and back, by a table's definitions.
///
/// Shape    Numbers take 4 bytes and times 8, most significant first. Texts (UTF-8 extended to surrogates),
///          paths (as text, with a leading '/' when absolute) and property sets stand behind their length, a
///          number. The same record always gives the same bytes. CSchema tells in which order they stand.
/// Errors   Decode takes nothing but what Encode gives.
/// Cost     Storage is used again, so in the long run numbers, times and ASCII texts cost no allocation.
class TALVEK_CORE_API CRecordCodec {
 public:
  explicit CRecordCodec(std::shared_ptr<const CSchema> poSchema);

  /// The row, good until the next encoding.
  std::string_view Encode(void* const* papFields);
  /// The same for a row that is there, of which only these fields are altered. False for bytes that are no
  /// row of this table.
  bool EncodeAltered(std::string_view strFormer, void* const* papFields, TFieldSet nAltered,
                     std::string_view& strRow);
  /// False for bytes that are no row of this table; the record is then as it was. Texts, paths and property
  /// sets that aren't wanted are left alone and not looked at.
  bool Decode(std::string_view strRow, void* const* papFields, TFieldSet nWanted = ALL_FIELDS);

 private:
  // One field as decoded; only the member of the field's type is used.
  struct TValue {
    std::uint64_t nNumber = 0;
    VCM::CString strText;
    VCM::CFilePath oPath;
    VCM::CProperties oProperties;
  };

  void EncodeSized(TFieldType nType, const void* pField);
  bool DecodeSized(TFieldType nType, std::string_view strBytes, TValue& tValue);
  bool DecodeText(std::string_view strBytes, VCM::CString& strText);
  bool DecodePath(std::string_view strBytes, VCM::CFilePath& oPath);
  void Give(void* const* papFields, TFieldSet nWanted);

  std::shared_ptr<const CSchema> m_poSchema;
  std::string m_strRow;
  // A row is decoded here first, so that a damaged one leaves the record alone.
  std::vector<TValue> m_atValues;
  std::string m_strAgain;
  VCM::CString m_strPath;
};

}  // namespace TALVEK::VDB
