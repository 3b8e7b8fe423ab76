#include "exact/moments.h"

namespace TALVEK::EXACT {

CMoments::CMoments(const CEvents& oEvents, const TChangesets& tSets, const TOrder& tOrder)
    : m_oEvents(oEvents),
      m_nChangesets(tOrder.anChangesets),
      m_anMoments(oEvents.Count()),
      m_anOfStream(oEvents.History().Streams().size()) {
  for (TIndex nMoment = 1; nMoment <= Last(); ++nMoment) {
    const TChangesets::TRange tRange = tSets.atRanges[Changeset(nMoment)];
    for (TIndex n = tRange.nFirst; n < tRange.nEnd; ++n)
      m_anMoments[tSets.anEvents[n]] = nMoment;
    m_anOfStream[oEvents.Stream(tSets.anEvents[tRange.nFirst])].push_back(nMoment);
  }
  for (TIndex nLine = 0; nLine < oEvents.History().Lines().size(); ++nLine) {
    const CEvents::TChain tChain = oEvents.ChainOf(nLine);
    TIndex nLast = 0;
    const auto fnFill = [&](TIndex nEvent) {
      if (oEvents.IsEvent(nEvent)) nLast = m_anMoments[nEvent];
      m_anMoments[nEvent] = nLast;
    };
    for (TIndex nEvent = tChain.nShownFirst; nEvent < tChain.nShownEnd; ++nEvent)
      fnFill(nEvent);
    for (TIndex nEvent = tChain.nFirst; nEvent < tChain.nEnd; ++nEvent)
      fnFill(nEvent);
  }
}

}  // namespace TALVEK::EXACT
