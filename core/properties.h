#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VCM {

/// A set of numbered properties, each a byte string.
///
/// Shape    Property numbers are 16-bit and unique. A number is stored as 4 bytes, most significant first; a
///          text as EncodeStored (core/text_codec.h) gives it.
/// Errors   Reading an absent property returns false and leaves the result unchanged.
class TALVEK_CORE_API CProperties {
 public:
  bool IsEmpty() const { return m_atEntries.empty(); }
  int GetCount() const { return static_cast<int>(m_atEntries.size()); }
  bool HasProperty(std::uint16_t nProperty) const;

  /// Adds a property that is not there yet; false when it is.
  bool AddProperty(std::uint16_t nProperty, std::uint32_t nValue);
  /// Replaces the value of a property; false when it is absent.
  bool ChangeProperty(std::uint16_t nProperty, std::uint32_t nValue);
  /// Adds or replaces.
  void SetProperty(std::uint16_t nProperty, const CString& strValue);
  void SetProperty(std::uint16_t nProperty, std::uint32_t nValue);
  void RemoveAll() { m_atEntries.clear(); }

  bool GetProperty(std::uint16_t nProperty, CString& strValue) const;
  /// Also false when the value isn't 4 bytes long.
  bool GetProperty(std::uint16_t nProperty, std::uint32_t& nValue) const;
  /// The number; `nAbsent` when there is none.
  std::uint32_t GetNumber(std::uint16_t nProperty, std::uint32_t nAbsent) const;

  /// Appends the whole set to `strOut` as bytes. Equal sets give equal bytes.
  void Encode(std::string& strOut) const;
  /// Replaces the set by what Encode wrote. False, and the set empty, when `strBytes` is anything else.
  bool Decode(std::string_view strBytes);

  bool operator==(const CProperties&) const = default;

 private:
  using TEntry = std::pair<std::uint16_t, std::string>;

  bool DecodeEntry(std::string_view& strBytes, std::size_t nIndex);
  const std::string* Find(std::uint16_t nProperty) const;
  void Put(std::uint16_t nProperty, std::string strBytes);

  // Sorted by number. Sets hold one or two entries, so a vector is faster than a map.
  std::vector<TEntry> m_atEntries;
};

}  // namespace TALVEK::VCM
