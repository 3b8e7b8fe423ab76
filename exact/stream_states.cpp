#include "exact/stream_states.h"

#include <algorithm>
#include <numeric>

namespace TALVEK::EXACT {

CStreamStates::CStreamStates(const CEvents& oEvents, const CMoments& oMoments)
    : m_oEvents(oEvents), m_oMoments(oMoments), m_atPlaced(oEvents.History().Streams().size()) {
  const std::vector<TLine>& atLines = History().Lines();
  m_anFirstLines.resize(m_atPlaced.size() + 1);
  for (const TLine& tLine : atLines) {
    if (tLine.nStream != NONE) ++m_anFirstLines[tLine.nStream + 1];
  }
  std::partial_sum(m_anFirstLines.begin(), m_anFirstLines.end(), m_anFirstLines.begin());
  m_anLines.resize(m_anFirstLines.back());
  std::vector<TIndex> nNext(m_anFirstLines.begin(), m_anFirstLines.end() - 1);
  for (TIndex nLine = 0; nLine < atLines.size(); ++nLine) {
    if (atLines[nLine].nStream != NONE) m_anLines[nNext[atLines[nLine].nStream]++] = nLine;
  }
}

std::span<const TIndex> CStreamStates::LinesOf(TIndex nStream) const {
  return {m_anLines.data() + m_anFirstLines[nStream], m_anLines.data() + m_anFirstLines[nStream + 1]};
}

TKey CStreamStates::Arrival(TIndex nStream, TIndex nRevision) const {
  const TIndex nMoment = m_oMoments.OfRevision(nRevision);
  return nMoment < m_atPlaced[nStream].nFirstOwn ? m_atPlaced[nStream].nStartKey : KeyAfter(nMoment);
}

TIndex CStreamStates::LastEvent(TIndex nLine, TKey nKey) const {
  const CEvents::TChain tChain = m_oEvents.ChainOf(nLine);
  const auto fnLastOf = [&](TIndex nFirst, TIndex nEnd) {
    while (nFirst < nEnd) {
      const TIndex nMiddle = nFirst + (nEnd - nFirst) / 2;
      if (KeyOf(m_oMoments.OfEvent(nMiddle)) <= nKey) {
        nFirst = nMiddle + 1;
      } else {
        nEnd = nMiddle;
      }
    }
    return nFirst;
  };
  if (const TIndex n = fnLastOf(tChain.nFirst, tChain.nEnd); n != tChain.nFirst) return n - 1;
  if (const TIndex n = fnLastOf(tChain.nShownFirst, tChain.nShownEnd); n != tChain.nShownFirst) return n - 1;
  return NONE;
}

TIndex CStreamStates::TrunkAt(TIndex nFile, TKey nKey) const {
  if (nKey >= EndKey()) {
    const std::vector<TTrunkEnd>& atEnds = m_oEvents.View().atEnds;
    const auto it = std::lower_bound(atEnds.begin(), atEnds.end(), nFile,
                                     [](const TTrunkEnd& tEnd, TIndex n) { return tEnd.nFile < n; });
    if (it != atEnds.end() && it->nFile == nFile) return it->nRevision;
  }
  const TIndex nEvent = LastEvent(History().Files()[nFile].nFirstLine, nKey);
  if (nEvent == NONE) return NONE;
  const TIndex nRevision = m_oEvents.Revision(nEvent);
  return History().IsAlive(nRevision) ? nRevision : NONE;
}

std::vector<TFileState> CStreamStates::StateAt(TIndex nStream, TKey nKey) const {
  std::vector<TFileState> atState;
  const auto fnPut = [&atState](TIndex nFile, TIndex nRevision) {
    if (nRevision != NONE) atState.push_back({nFile, nRevision});
  };
  if (nStream == TRUNK) {
    for (TIndex nFile = 0; nFile < History().Files().size(); ++nFile)
      fnPut(nFile, TrunkAt(nFile, nKey));
    return atState;
  }

  const std::span<const TIndex> nLines = LinesOf(nStream);
  std::size_t nNext = 0;
  const auto fnPutLine = [&](TIndex nEntry) {
    const TIndex nEvent = LastEvent(nLines[nNext], nKey);
    const TIndex nRevision = nEvent == NONE ? nEntry : History().IsAlive(nEvent) ? nEvent : NONE;
    fnPut(History().Lines()[nLines[nNext]].nFile, nRevision);
    ++nNext;
  };
  History().ForEachEntry(nStream, [&](TIndex nFile, TIndex nEntry) {
    while (nNext < nLines.size() && History().Lines()[nLines[nNext]].nFile < nFile)
      fnPutLine(NONE);
    const TIndex nArrived = Arrival(nStream, nEntry) <= nKey ? nEntry : NONE;
    if (nNext < nLines.size() && History().Lines()[nLines[nNext]].nFile == nFile) {
      fnPutLine(nArrived);
    } else {
      fnPut(nFile, nArrived);
    }
  });
  while (nNext < nLines.size())
    fnPutLine(NONE);
  return atState;
}

}  // namespace TALVEK::EXACT
