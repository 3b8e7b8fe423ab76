#pragma once

#include <cstdint>
#include <vector>

#include "exact/base_search.h"
#include "exact/plan.h"
#include "exact/records.h"
#include "exact/stream_states.h"

namespace TALVEK::EXACT {

/// A change that CVS doesn't have. Its items lie in the plan.
struct TMadeUp {
  TIndex nStream = TRUNK;
  TChangeKind nKind = TChangeKind::START;
  TKey nKey = 0;
  std::uint64_t nFirstItem = 0;
  std::uint64_t nItems = 0;
  std::int64_t nNewest = 0;  ///< the latest time of the revisions that it sets
  bool bSets = false;        ///< it sets some revision, so that nNewest counts
};

struct TPlacements {
  std::vector<TBase> atBases;    ///< by stream
  std::vector<TIndex> anPlaces;  ///< by stream: its place in the order of placing
  std::vector<TMadeUp> atMadeUp;
};

/// Finds where each stream starts, and what has to be made up so that it starts and goes on exactly.
///
/// Streams are placed one after the other: the trunk, then branches by their first own changeset (those
/// without one last, by the bytes of their names), then tags by the bytes of their names. A stream hangs on
/// one that was placed before it, so parents never form a circle: of two branches that could each be the
/// other's parent, the one with the earlier change is the parent.
///
/// The wanted state of a stream are its entries (CHistory::ForEachEntry) whose revisions come before its
/// first own changeset. The rest are files that joined it later: for each changeset that brings such
/// revisions the stream gets a change directly after it. The base is found by CBaseSearch among changes
/// before the first own changeset; vendor branches have none. Where base and wanted state differ, a start
/// change turns one into the other: it comes directly after the last of the base and the revisions of the
/// wanted state.
TPlacements PlaceNames(CStreamStates& oStates, const TChangesets& tSets, CPlan& oPlan);

}  // namespace TALVEK::EXACT
