#pragma once

#include <cstdint>
#include <vector>

#include "exact/grouping.h"
#include "exact/records.h"

namespace TALVEK::EXACT {

struct TOrder {
  std::vector<TIndex> anChangesets;  ///< in the order in which they come
  std::uint64_t nCircles = 0;        ///< changesets that were cut because of a circle
};

/// Puts the changesets of all streams into one order, and cuts those that would have to come before each
/// other.
///
/// A changeset comes after those that hold what its events need (CEvents::Needs). Among those that may come
/// next the smallest comes first: by time (that of its last event), then stream, then its first file, then
/// the rank of that file's event.
///
/// Where nothing may come next, there is a circle. To find it, start from the smallest changeset that is left
/// and go to the smallest one left that holds something that the last one needs, until one comes again: those
/// from its first visit on are the circle. In each changeset of the circle some events need something of the
/// one before it (the circle comes in by them), and some are needed by the one behind it (the circle goes out
/// by them). Cutting one changeset so that it goes out by the earlier part and comes in by the later one
/// opens the circle:
///
/// - Of all cuts in order of time that have the whole way out before them and the whole way in behind them,
/// in all
///   changesets of the circle: the one at the widest gap of time; if equal the smallest changeset's, then the
///   first.
/// - If there is none: of the smallest changeset in which there are any, the events by which the circle goes
/// out and
///   doesn't come in become the earlier one. (There are some: if the circle came in by all that it goes out
///   by, a file's revision would need itself.)
///
/// Cost     n log n; a circle costs the events of the changesets visited to find it.
TOrder OrderChangesets(const CEvents& oEvents, TChangesets& tSets);

}  // namespace TALVEK::EXACT
