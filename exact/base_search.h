#pragma once

#include <unordered_map>
#include <vector>

#include "exact/records.h"
#include "exact/state_sum.h"
#include "exact/stream_states.h"

namespace TALVEK::EXACT {

/// Where a stream hangs: after a change of another stream.
struct TBase {
  TIndex nStream = NONE;    ///< NONE: nowhere
  TKey nKey = 0;            ///< of the change
  bool bExact = false;      ///< the change leaves its stream exactly in the wanted state
  bool bTakesAway = false;  ///< there are files in the base's state that aren't wanted
};

/// Finds the change whose state is nearest to a wanted one, among the changes of all streams that have their
/// place.
///
/// The nearest is the one in which most of the wanted files stand as they are wanted; then the one with the
/// fewest files that aren't wanted; then one of the trunk; then the earliest; then that of the stream placed
/// first. Where no wanted file stands anywhere, there is none. Tags count only where they have exactly the
/// wanted state.
///
/// Exact states are found by their sums. Otherwise each stream's changes are swept: a wanted file stands in a
/// stream from one event to the next, so that two ends for each file give the number of files in place after
/// every change.
///
/// Cost     For each name n log n of its files, and to look through the entries of branches that could be
/// nearer
///          than the best so far. Not the length of the history.
class CBaseSearch {
 public:
  explicit CBaseSearch(const CStreamStates& oStates) : m_oStates(oStates) {}

  /// The stream has its place: from now on, its changes count. The sums are those after its changes.
  void AddStream(TIndex nStream, bool bTag, const std::vector<TStateSum>& tSums);
  /// The base for a wanted state (ascending by file), before a key.
  TBase Find(const std::vector<TFileState>& atWanted, TKey nBefore) const;

 private:
  struct TPlace {
    TKey nKey = 0;
    TIndex nStream = NONE;
  };
  struct TNearest;
  class CSweep;

  TBase FindExact(const std::vector<TFileState>& atWanted, TKey nBefore) const;
  bool CanReach(TIndex nStream, const std::vector<TFileState>& atWanted,
                const std::vector<TIndex>& nStreamsOfWanted, std::size_t nNeeded) const;

  const CStreamStates& m_oStates;
  std::vector<TIndex> m_anCandidates;  ///< streams that aren't tags, in the order in which they were placed
  std::unordered_map<TStateSum, TKey, TStateSum::THash>
      m_nOnTrunk;  ///< the first change of the trunk with this state
  std::unordered_map<TStateSum, TPlace, TStateSum::THash>
      m_tElsewhere;  ///< the first change of any other stream
};

}  // namespace TALVEK::EXACT
