#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory_resource>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace TALVEK::MCE {

/// The times that a change must have so that an item may join it. Seconds since 1970 UTC, in unsigned 32-bit
/// arithmetic: near either end of that range a border wraps around, and no change is admitted.
struct TGroupingWindow {
  static constexpr std::uint32_t SECONDS = 300;

  std::uint32_t nTime;     ///< of the item
  std::uint32_t nEndTime;  ///< when the item's revision is replaced; 0xFFFFFFFF: never
  std::uint32_t nLow = nTime - SECONDS;
  std::uint32_t nHigh = nTime + SECONDS;

  /// True when the change's first item (base time) and its latest one (change time) are both within the
  /// window, the change is not after the item's end, and the item is before the end of the change's items.
  bool Admits(std::uint32_t nChangeTime, std::uint32_t nBaseTime, std::uint32_t nMaxTime) const {
    return nChangeTime >= nLow && nChangeTime <= nHigh && nChangeTime <= nEndTime && nTime < nMaxTime &&
           nBaseTime >= nLow && nBaseTime <= nHigh;
  }
};

/// What joining looks at and alters in a change that was opened for an item. Seconds as in TGroupingWindow.
struct TChangeState {
  std::uint32_t nBaseTime;      ///< of its first item
  std::uint32_t nTime;          ///< of its latest item, so never before the base time
  std::uint32_t nMaxTime;       ///< when the first of its items' revisions is replaced
  std::uint32_t nNextItem = 0;  ///< number of the item that joins next
};

/// Map from (stream, user, comment), case ignored, to the group of changes that have these in common.
///
/// Keys     Only a hash of the three is kept, of 96 bits: the probability that two of ten million keys share
///          one is 10^-15. (An author who makes up such texts only spoils the import of their own history.)
///          With 64 bits each change that Find returned had to be compared with its row, and reading it took
///          15 % of an import of 1.6 million revisions.
/// Shape    Each group is a treap (a search tree that random priorities keep balanced) in the order of base
///          time, time and ID. Each node has the largest maximum time of its subtree, so that the search
///          skips subtrees in which no change takes any more items.
/// Cost     Add, Remove, Set: logarithmic. Find: usually one logarithmic search, at most one for each second
///          of the window.
/// Memory   32 bytes for each change and 36 for each group, about. With the texts as keys, and one plain map
///          with an entry for each item in CChangesByFile, an import of 6.4 million items in 1.3 million
///          changes took 420 MB more.
class CChangeGroups {
 public:
  /// Adds a change to the group of its key. `nChange` is its ID: not 0, and not in a group yet.
  void Add(std::uint32_t nChange, std::uint32_t nStreamID, std::wstring_view strUser,
           std::wstring_view strComment, const TChangeState& tState);
  /// False for a change that isn't in a group.
  bool Has(std::uint32_t nChange) const;
  /// Remove and Set: the change must be in a group.
  void Remove(std::uint32_t nChange);
  const TChangeState& Get(std::uint32_t nChange) const { return m_atNodes[nChange].tState; }
  /// The base time stays.
  void Set(std::uint32_t nChange, const TChangeState& tState);
  /// The first change of the group, by time and ID, that the window admits; 0 when there is none.
  std::uint32_t Find(std::uint32_t nStreamID, std::wstring_view strUser, std::wstring_view strComment,
                     const TGroupingWindow& tWindow);
  void Clear();

 private:
  using TKey = std::array<std::uint32_t, 3>;
  struct THashOfKey {
    std::size_t operator()(const TKey& tKey) const noexcept { return std::size_t{tKey[0]} << 32U | tKey[1]; }
  };

  struct TNode {
    TChangeState tState;
    std::uint32_t nMaxTimeOfTree;
    std::uint32_t nLeft;
    std::uint32_t nRight;
    std::uint32_t nGroup = 0;  ///< 0: not in a group
  };

  static TKey MakeKey(std::uint32_t nStreamID, std::wstring_view strUser, std::wstring_view strComment);
  bool IsBefore(std::uint32_t nLeft, std::uint32_t nRight) const;
  void UpdateTree(std::uint32_t nTree);
  void Split(std::uint32_t nTree, std::uint32_t nChange, std::uint32_t& nBefore, std::uint32_t& nRest);
  std::uint32_t Merge(std::uint32_t nLeft, std::uint32_t nRight);
  void Insert(std::uint32_t nChange);
  void Erase(std::uint32_t& nTree, std::uint32_t nChange);
  std::uint32_t FindOpen(std::uint32_t nTree, std::uint32_t nLowestBase, std::uint32_t nTime) const;

  std::pmr::unsynchronized_pool_resource m_oMemory;  // for the map's nodes
  std::pmr::unordered_map<TKey, std::uint32_t, THashOfKey> m_anGroups{&m_oMemory};
  std::vector<std::uint32_t> m_anTrees = {0};  // the tree's root by number of the group
  std::vector<TNode> m_atNodes;                // by ID of the change; 0 stands for no node
};

}  // namespace TALVEK::MCE
