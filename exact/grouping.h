#pragma once

#include <cstdint>
#include <vector>

#include "exact/events.h"
#include "exact/records.h"

namespace TALVEK::EXACT {

/// Events that belong together: changesets of CVS. A changeset is a part of anEvents, in order of time, of
/// files, and of the revisions of a file.
struct TChangesets {
  struct TRange {
    TIndex nFirst = 0;
    TIndex nEnd = 0;
  };
  std::vector<TIndex> anEvents;
  std::vector<TRange> atRanges;  ///< by changeset
  std::vector<TIndex> anOf;      ///< by event: its changeset; NONE: no event
  std::uint64_t nCutTwice = 0;   ///< cuts because a file would have come twice

  TIndex Count() const { return static_cast<TIndex>(atRanges.size()); }
};

/// Forms changesets, within each stream:
///
/// - Revisions of one commit id, one author and one message are one changeset. (`cvs admin -m` alters the
///   message of a single revision later, and each revision keeps its own.)
/// - Those without a commit id are a changeset if they have one author and one message and each is at most
///   300 s after the one before it.
/// - No file comes twice: where it would (at i and again at j), the changeset ends at the widest gap between
///   consecutive events from i to j, the first of those that are equally wide.
TChangesets GroupEvents(const CEvents& oEvents);

}  // namespace TALVEK::EXACT
