#pragma once

#include "exact/history.h"
#include "exact/plan.h"

namespace TALVEK::EXACT {

/// What comes out of the passes group, order, place names and check.
struct TMadePlan {
  CPlan oPlan;
  TPlanNotes tNotes;
  TPlanCheck tCheck;
};

/// Runs the passes over a finished history. Use:
///
///     CHistory oHistory(tOptions);
///     while (reader gives tFile) oHistory.AddFile(tFile);
///     oHistory.Finish();
///     TMadePlan tMade = MakePlan(oHistory);   // refers to oHistory
///     if (tMade.tCheck.nDifferences != 0) ...   // tMade.tCheck.atFirst names them
///     for (TIndex n = 0; n < tMade.oPlan.Changes().size(); ++n) tMade.oPlan.ForEachItem(n, ...);
///
/// Errors   std::system_error when a temporary file can't be written or read.
TMadePlan MakePlan(const CHistory& oHistory);

}  // namespace TALVEK::EXACT
