#pragma once

#include "exact/plan.h"
#include "exact/trunk_view.h"

namespace TALVEK::EXACT {

/// Proves from revision numbers alone that a plan equals the history:
///
/// - the trunk, each branch and each tag end with the files and revisions that the client gives for them,
/// - each living revision is in exactly one change of the stream that owns its line, and a vendor revision
/// that the
///   trunk shows in exactly one of the trunk, too (1.1 counts with the 1.1.1.1 in its place),
/// - each item finds its file in the revision that it says, no file comes twice in a change, and no stream
/// begins
///   before its base.
///
/// Replays the plan's items, and shares with the passes before it nothing but the records that it compares.
///
/// Cost     Memory of 4 bytes a file and 1 byte a revision; time of all items and all name places.
TPlanCheck CheckPlan(const CPlan& oPlan, const TTrunkView& tView);

}  // namespace TALVEK::EXACT
