#include "exact/moments.h"

namespace TALVEK::EXACT {

CMoments::CMoments(const CEvents& oEvents, const TChangesets& tSets, const TOrder& tOrder)
    : m_oEvents(oEvents),
      m_nChangesets(tOrder.nChangesets),
      m_nMoments(oEvents.Count()),
      m_nOfStream(oEvents.History().Streams().size()) {
  for (TIndex nMoment = 1; nMoment <= Last(); ++nMoment) {
    const TChangesets::TRange tRange = tSets.atRanges[Changeset(nMoment)];
    for (TIndex n = tRange.nFirst; n < tRange.nEnd; ++n)
      m_nMoments[tSets.nEvents[n]] = nMoment;
    m_nOfStream[oEvents.Stream(tSets.nEvents[tRange.nFirst])].push_back(nMoment);
  }
  for (TIndex nLine = 0; nLine < oEvents.History().Lines().size(); ++nLine) {
    const CEvents::TChain tChain = oEvents.ChainOf(nLine);
    TIndex nLast = 0;
    const auto Fill = [&](TIndex nEvent) {
      if (oEvents.IsEvent(nEvent)) nLast = m_nMoments[nEvent];
      m_nMoments[nEvent] = nLast;
    };
    for (TIndex nEvent = tChain.nShownFirst; nEvent < tChain.nShownEnd; ++nEvent)
      Fill(nEvent);
    for (TIndex nEvent = tChain.nFirst; nEvent < tChain.nEnd; ++nEvent)
      Fill(nEvent);
  }
}

}  // namespace TALVEK::EXACT
