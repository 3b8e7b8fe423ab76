#pragma once

#include "exact/events.h"
#include "exact/grouping.h"
#include "exact/moments.h"
#include "exact/place_names.h"
#include "exact/plan.h"

namespace TALVEK::EXACT {

/// Numbers the changes of all streams in the order of writing, and writes streams, changes and items into the
/// plan.
///
/// A change's time is that of the repository, or that of an earlier change of its stream or of its base if
/// that is later: the host walks changes by time. Clocks that ran backwards are noted.
void WriteChanges(const CEvents& oEvents, const TChangesets& tSets, const CMoments& oMoments,
                  const TPlacements& tPlacements, CPlan& oPlan, TPlanNotes& tNotes);

}  // namespace TALVEK::EXACT
