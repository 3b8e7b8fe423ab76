#include "exact/make_plan.h"

#include <utility>

#include "exact/check.h"
#include "exact/events.h"
#include "exact/grouping.h"
#include "exact/moments.h"
#include "exact/ordering.h"
#include "exact/place_names.h"
#include "exact/stream_states.h"
#include "exact/trunk_view.h"
#include "exact/write_changes.h"

namespace TALVEK::EXACT {

TMadePlan MakePlan(const CHistory& oHistory) {
  TMadePlan tMade{CPlan(oHistory), {}, {}};
  const TTrunkView tView = MakeTrunkView(oHistory);
  {
    const CEvents oEvents(oHistory, tView);
    TChangesets tSets = GroupEvents(oEvents);
    const TOrder tOrder = OrderChangesets(oEvents, tSets);
    const CMoments oMoments(oEvents, tSets, tOrder);
    CStreamStates oStates(oEvents, oMoments);
    const TPlacements tPlacements = PlaceNames(oStates, tSets, tMade.oPlan);
    WriteChanges(oEvents, tSets, oMoments, tPlacements, tMade.oPlan, tMade.tNotes);
    tMade.tNotes.nTwice = tSets.nCutTwice;
    tMade.tNotes.nCircles = tOrder.nCircles;
  }
  tMade.tCheck = CheckPlan(tMade.oPlan, tView);
  return tMade;
}

}  // namespace TALVEK::EXACT
