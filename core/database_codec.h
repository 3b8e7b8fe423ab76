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

/// Encodes records as rows of bytes and decodes them, by a table's definitions.
///
/// Shape    Numbers take 4 bytes and times 8, most significant first. Texts (EncodeStored), paths (as text,
///          with a leading '/' when absolute) and property sets follow their length, a number. CSchema says
///          in which order the fields are stored. The same record always gives the same bytes.
/// Errors   Decode accepts only what Encode produces.
/// Cost     Buffers are reused, so after some rows numbers, times and ASCII texts cost no allocation.
class TALVEK_CORE_API CRecordCodec {
 public:
  explicit CRecordCodec(std::shared_ptr<const CSchema> poSchema);

  /// The row, good until the next encoding.
  std::string_view Encode(void* const* papFields);
  /// Encodes `strFormer` with these fields replaced by the record's. False when `strFormer` is no row of this
  /// table.
  bool EncodeAltered(std::string_view strFormer, void* const* papFields, TFieldSet nAltered,
                     std::string_view& strRow);
  /// False when the bytes are no row of this table; the record then stays as it was. Texts, paths and
  /// property sets that aren't wanted are neither checked nor changed.
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
