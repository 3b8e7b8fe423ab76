#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory_resource>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "core/path.h"

namespace TALVEK::MCE {

/// Which changes hold an item of a file.
///
/// Shape    Histories come file by file, so the items of the selected file stand in a small map of their own.
///          When another file is selected they move into one long list. Only a file that comes back gets a
///          map that stays: each of its items is copied there once. Files are told apart by a hash of their
///          paths. The caller looks at the item's row, as two paths can have one hash.
/// Memory   About 8 bytes for each item, 40 for each file, and 32 for each item of a file that has come back.
///          CChangeGroups tells what a plain map took.
class CChangesByFile {
 public:
  CChangesByFile() = default;
  CChangesByFile(const CChangesByFile&) = delete;
  CChangesByFile& operator=(const CChangesByFile&) = delete;

  /// The calls below are about this file from now on.
  void Select(const VCM::CFilePath& oPath);
  /// Notes an item of the file.
  void Add(std::uint32_t nChange, std::uint32_t nItem);
  /// The lowest number of a noted item in a change; null when there is none.
  const std::uint32_t* Find(std::uint32_t nChange) const;
  void Clear();

  using THash = std::size_t (*)(std::wstring_view strText);
  /// For tests only, with nothing added yet: a hash that many paths share.
  void SetHash(THash fnHash) { m_fnHash = fnHash; }

 private:
  using TItems = std::pmr::unordered_map<std::uint32_t, std::uint32_t>;  // lowest item number, by change

  struct TFile {
    std::size_t nBegin = 0;  // of its items in the list
    std::size_t nEnd = 0;
  };

  void MoveToList();

  std::pmr::unsynchronized_pool_resource m_oMemory;                   // for the maps' nodes
  std::pmr::unordered_map<std::size_t, TFile> m_atFiles{&m_oMemory};  // by hash of the path
  // The same, for files that have come back.
  std::pmr::unordered_map<std::size_t, TItems> m_atReturned{&m_oMemory};
  std::deque<std::pair<std::uint32_t, std::uint32_t>> m_anList;  // change and item
  std::size_t m_nSelected = 0;                                   // hash of the selected file's path
  bool m_bSelected = false;
  THash m_fnHash = [](std::wstring_view strText) { return std::hash<std::wstring_view>()(strText); };
  TItems m_anNew{&m_oMemory};   // of the selected file when it comes for the first time
  TItems* m_pItems = &m_anNew;  // of the selected file
};

}  // namespace TALVEK::MCE
