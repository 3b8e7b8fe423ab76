#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory_resource>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace TALVEK::MCE {

/// What an item's times ask of a change that it joins. Unsigned 32-bit seconds since 1970 UTC.
struct TGroupingWindow {
  static constexpr std::uint32_t SECONDS = 300;

  std::uint32_t nTime;
  std::uint32_t nEndTime;
  std::uint32_t nLow = nTime - SECONDS;
  std::uint32_t nHigh = nTime + SECONDS;

  /// The base time is tested too: a change moves with its items, but its window stays where its first item
  /// was.
  bool Admits(std::uint32_t nChangeTime, std::uint32_t nBaseTime, std::uint32_t nMaxTime) const {
    return nChangeTime >= nLow && nChangeTime <= nHigh && nChangeTime <= nEndTime && nTime < nMaxTime &&
           nBaseTime >= nLow && nBaseTime <= nHigh;
  }
};

/// The three times of a change that was opened for an item.
struct TChangeTimes {
  std::uint32_t nBaseTime;  ///< of its first item
  std::uint32_t nTime;      ///< of its latest item, so never before the base time
  std::uint32_t nMaxTime;   ///< the smallest time until which one of its items stays current
};

/// Map from (stream, user, comment) to the changes that have these in common. Case doesn't count.
///
/// Keys     Only a hash of the three is kept. So a group can hold, very rarely, changes with another key: the
///          caller compares what Find gives with the change's row.
/// Shape    Each group is a treap (a search tree that random priorities keep flat) in the order of base time,
///          time and ID. Each node knows the largest maximum time below it, so that the search steps over
///          changes that take no more items.
/// Cost     Add, Remove, Set: logarithmic. Find: mostly one logarithmic search, never more than one for each
///          second of the window.
/// Memory   32 bytes for each change and 32 for each group, about. With the texts as keys, and one plain map
///          with an entry for each item in CChangesByFile, an import of 6.4 million items in 1.3 million
///          changes took 1430 MB instead of 1010.
class CChangeGroups {
 public:
  /// `nChange` is the change's ID: not 0, and not in a group.
  void Add(std::uint32_t nChange, std::uint32_t nStreamID, std::wstring_view strUser,
           std::wstring_view strComment, const TChangeTimes& tTimes);
  /// False for a change that isn't in a group.
  bool Has(std::uint32_t nChange) const;
  /// These take a change that is in a group.
  void Remove(std::uint32_t nChange);
  void Set(std::uint32_t nChange, std::uint32_t nTime, std::uint32_t nMaxTime);
  /// The first change of the group, by time and ID, that the window admits; 0 when there is none.
  std::uint32_t Find(std::uint32_t nStreamID, std::wstring_view strUser, std::wstring_view strComment,
                     const TGroupingWindow& tWindow);
  void Clear();

  using THash = std::size_t (*)(std::wstring_view strText);
  /// For tests only, with nothing added yet: a hash that many texts share.
  void SetHash(THash fnHash) { m_fnHash = fnHash; }

 private:
  struct TNode {
    TChangeTimes tTimes;
    std::uint32_t nMaxTimeOfTree;
    std::uint32_t nLeft;
    std::uint32_t nRight;
    std::uint32_t* pnRoot = nullptr;  ///< of the group's tree; null: not in a group
  };

  std::size_t MakeKey(std::uint32_t nStreamID, std::wstring_view strUser, std::wstring_view strComment) const;
  bool IsBefore(std::uint32_t nLeft, std::uint32_t nRight) const;
  void UpdateTree(std::uint32_t nTree);
  void Split(std::uint32_t nTree, std::uint32_t nChange, std::uint32_t& nBefore, std::uint32_t& nRest);
  std::uint32_t Merge(std::uint32_t nLeft, std::uint32_t nRight);
  void Insert(std::uint32_t nChange);
  void Erase(std::uint32_t& nTree, std::uint32_t nChange);
  std::uint32_t FindOpen(std::uint32_t nTree, std::uint32_t nLowestBase, std::uint32_t nTime) const;

  std::pmr::unsynchronized_pool_resource m_oMemory;                           // for the map's nodes
  std::pmr::unordered_map<std::size_t, std::uint32_t> m_anRoots{&m_oMemory};  // by hash; nodes never move
  std::vector<TNode> m_atNodes;  // by ID of the change; 0 stands for no node
  THash m_fnHash = [](std::wstring_view strText) { return std::hash<std::wstring_view>()(strText); };
};

}  // namespace TALVEK::MCE
