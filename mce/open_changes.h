#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "mce/change_group.h"

namespace TALVEK::MCE {

/// The groups looked for last. An item mostly joins a change of late: neighbouring files have been changed
/// together, so what one of them has asked the database for, the next one needs again.
///
/// Memory   No more than it is made for, however long the history is: groups that don't fit leave. Who takes
///          them writes back what is altered.
class COpenChanges {
 public:
  static constexpr std::size_t MANY_SETS = 262144;
  static constexpr std::size_t MOST_BYTES = std::size_t{128} << 20;

  explicit COpenChanges(std::size_t nMostSets = MANY_SETS, std::size_t nMostBytes = MOST_BYTES)
      : m_nMostSets(nMostSets), m_nMostBytes(nMostBytes) {}

  /// Null when the group isn't there. A group stays where it is until it leaves.
  CChangeGroup* Find(const TChangeGroupKey& tKey);
  /// Takes a group in that isn't there. Gives the group that leaves for it, or null; never the one that was
  /// found or inserted last.
  std::unique_ptr<CChangeGroup> Insert(const TChangeGroupKey& tKey, std::unique_ptr<CChangeGroup> poGroup);
  void Add(CChangeGroup& oGroup, const TOpenChange& tChange);
  /// A group that leaves because there is too much, or null.
  std::unique_ptr<CChangeGroup> TakeSurplus();
  std::vector<std::unique_ptr<CChangeGroup>> TakeAll();
  bool IsEmpty() const { return m_nGroups == 0; }

 private:
  static constexpr std::size_t WAYS = 4;

  struct TSlot {
    std::uint32_t nHash = 0;
    std::uint32_t nLastUse = 0;
    std::unique_ptr<CChangeGroup> poGroup;
  };

  TSlot* SetOf(std::size_t nHash) { return &m_atSlots[nHash % (m_atSlots.size() / WAYS) * WAYS]; }
  /// The slot of a set that is empty, or else the one that was used longest ago.
  TSlot& WorstOf(std::size_t nHash);
  void Grow();
  std::unique_ptr<CChangeGroup> Take(TSlot& tSlot);

  std::size_t m_nMostSets;
  std::size_t m_nMostBytes;
  std::vector<TSlot> m_atSlots;  // WAYS for each set
  std::size_t m_nGroups = 0;
  std::size_t m_nBytes = 0;
  std::size_t m_nHand = 0;  // where TakeSurplus goes on
  std::uint32_t m_nUses = 0;
};

}  // namespace TALVEK::MCE
