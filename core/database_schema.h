#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "core/database.h"
#include "core/export.h"

namespace TALVEK::VDB {

/// An index key: numbers of four bytes each, most significant first, so that keys sort bytewise as the
/// numbers do.
class CKey {
 public:
  void Clear() { m_nSize = 0; }
  void AppendNumber(std::uint32_t nNumber);
  /// The first number; 0 when there is none.
  std::uint32_t GetFirstNumber() const;
  void Append(std::string_view strBytes);
  void Assign(std::string_view strBytes);
  /// Appends `nBytes` bytes FF: no key with the same beginning sorts behind it.
  void AppendHighest(std::size_t nBytes);

  std::size_t GetSize() const { return m_nSize; }
  std::string_view View() const { return {m_achBytes.data(), m_nSize}; }
  bool operator==(const CKey& oOther) const { return View() == oOther.View(); }

 private:
  // An index entry holds the index's own fields and those of index 0.
  static constexpr std::size_t MAX_SIZE = std::size_t{2} * TIndexDef::MAX_FIELDS * sizeof(std::uint32_t);

  std::array<char, MAX_SIZE> m_achBytes;
  std::size_t m_nSize = 0;
};

/// A table's checked definitions, and the layout of its rows.
///
/// A row is stored in two parts: first the numbers and times, each at a fixed place, then the texts, paths
/// and property sets, each after its length. So key fields are read without decoding the row.
class TALVEK_CORE_API CSchema {
 public:
  struct TField {
    TFieldType nType;
    std::size_t nOffset;  ///< in the row's fixed part; of no meaning for fields of variable size
  };

  /// Null, with the reason in `strError`, when the definitions are unsupported.
  static std::shared_ptr<const CSchema> Make(const TFileDef* ptFileDef, const TFieldDef* ptFieldDefs,
                                             const TIndexDef* ptIndexDefs, VCM::CString& strError);

  const std::vector<TField>& GetFields() const { return m_atFields; }
  /// Bytes of the fixed part.
  std::size_t GetFixedSize() const { return m_nFixedSize; }
  bool AssignsIds() const { return m_bAssignsIds; }

  unsigned GetIndexCount() const { return static_cast<unsigned>(m_atIndexes.size()); }
  bool IsUnique(unsigned nIndex) const { return m_atIndexes[nIndex].bUnique; }
  /// Bytes that follow the index's own fields in an entry.
  std::size_t GetSuffixSize(unsigned nIndex) const { return nIndex == 0 ? 0 : GetKeySize(0); }
  std::size_t GetKeySize(unsigned nIndex) const {
    return m_atIndexes[nIndex].anFields.size() * sizeof(std::uint32_t);
  }

  /// The values of the index's own fields in a record.
  void MakeKey(unsigned nIndex, void* const* papFields, CKey& oKey) const;
  /// The index's entry for a record: the index's own fields, then those of index 0, so that rows with equal
  /// keys sort by index 0. In index 0 itself only its own.
  void MakeEntry(unsigned nIndex, void* const* papFields, CKey& oKey) const;
  /// The same for a stored row, which must be at least GetFixedSize() long.
  void MakeEntry(unsigned nIndex, std::string_view strRow, CKey& oKey) const;

 private:
  struct TIndex {
    bool bUnique;
    std::vector<std::uint16_t> anFields;
  };

  CSchema() = default;
  bool ReadFields(const TFieldDef* ptFieldDefs, VCM::CString& strError);
  bool ReadIndexes(const TIndexDef* ptIndexDefs, VCM::CString& strError);
  bool ReadIndex(const TIndexDef& tIndexDef, VCM::CString& strError);
  bool CanAssignIds() const;

  std::vector<TField> m_atFields;
  std::vector<TIndex> m_atIndexes;
  std::size_t m_nFixedSize = 0;
  bool m_bAssignsIds = false;
};

}  // namespace TALVEK::VDB
