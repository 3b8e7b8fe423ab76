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

/// Map from a file and a change to the change's item of that file.
///
/// Shape    Select a file first; Add and Find are about it. A history usually comes file by file, so only the
///          selected file has a map; at the next Select its items move to the end of one long list. A file
///          that is selected again gets a map that stays.
/// Keys     Only a hash of the path is kept: the caller compares the path in the row of the item found.
/// Memory   About 8 bytes for each item, 40 for each file, and 32 for each item of a file that was selected
///          again. CChangeGroups has the figures of a plain map.
class CChangesByFile {
 public:
  CChangesByFile() = default;
  CChangesByFile(const CChangesByFile&) = delete;
  CChangesByFile& operator=(const CChangesByFile&) = delete;

  /// Makes this the file that Add and Find are about.
  void Select(const VCM::CFilePath& oPath);
  /// Adds an item of the file.
  void Add(std::uint32_t nChange, std::uint32_t nItem);
  /// The lowest number of the file's items in a change; null when it has none. Valid until the next call.
  const std::uint32_t* Find(std::uint32_t nChange) const;
  void Clear();

  using THash = std::size_t (*)(std::wstring_view strText);
  /// For tests only, before anything is added: replaces the hash, by one that gives many collisions.
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
  // Also by hash: the maps of files that were selected again.
  std::pmr::unordered_map<std::size_t, TItems> m_atReturned{&m_oMemory};
  std::deque<std::pair<std::uint32_t, std::uint32_t>> m_anList;  // change and item
  std::size_t m_nSelected = 0;                                   // hash of the selected file's path
  bool m_bSelected = false;
  THash m_fnHash = [](std::wstring_view strText) { return std::hash<std::wstring_view>()(strText); };
  TItems m_anNew{&m_oMemory};   // the selected file's items if it is selected for the first time
  TItems* m_pItems = &m_anNew;  // the selected file's items: m_anNew or one of m_atReturned
};

}  // namespace TALVEK::MCE
