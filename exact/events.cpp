#include "exact/events.h"

namespace TALVEK::EXACT {

CEvents::CEvents(const CHistory& oHistory, const TTrunkView& tView)
    : m_oHistory(oHistory),
      m_tView(tView),
      m_nRevisions(static_cast<TIndex>(oHistory.Revisions().size())),
      m_abEvent(oHistory.Revisions().size() + tView.anShown.size()) {
  for (TIndex nLine = 0; nLine < oHistory.Lines().size(); ++nLine) {
    if (oHistory.Lines()[nLine].nStream != NONE) MarkEvents(nLine);
  }
  MakeSprouts();
}

CEvents::TChain CEvents::ChainOf(TIndex nLine) const {
  const TLine& tLine = m_oHistory.Lines()[nLine];
  TChain tChain{NONE, NONE, tLine.nFirstRevision, tLine.nEndRevision};
  tChain.nShownFirst = tChain.nShownEnd = m_nRevisions;
  if (m_oHistory.Files()[tLine.nFile].nFirstLine == nLine) {
    tChain.nShownFirst = m_nRevisions + m_tView.anFirstShown[tLine.nFile];
    tChain.nShownEnd = m_nRevisions + m_tView.anFirstShown[tLine.nFile + 1];
    if (tChain.nShownFirst != tChain.nShownEnd) ++tChain.nFirst;
  }
  return tChain;
}

TIndex CEvents::FirstInChain(const TChain& tChain) const {
  for (TIndex nEvent = tChain.nShownFirst; nEvent < tChain.nShownEnd; ++nEvent) {
    if (m_abEvent[nEvent]) return nEvent;
  }
  for (TIndex nEvent = tChain.nFirst; nEvent < tChain.nEnd; ++nEvent) {
    if (m_abEvent[nEvent]) return nEvent;
  }
  return NONE;
}

TIndex CEvents::InChain(const TChain& tChain, TIndex nRevision) const {
  if (nRevision >= tChain.nFirst && nRevision < tChain.nEnd) return m_abEvent[nRevision] ? nRevision : NONE;
  return Shown(nRevision, tChain.nShownFirst - m_nRevisions, tChain.nShownEnd - m_nRevisions);
}

TIndex CEvents::Shown(TIndex nRevision, TIndex nFirst, TIndex nEnd) const {
  const auto itEnd = m_tView.anShown.begin() + nEnd;
  const auto it = std::lower_bound(m_tView.anShown.begin() + nFirst, itEnd, nRevision);
  if (it == itEnd || *it != nRevision) return NONE;
  const TIndex nEvent = m_nRevisions + static_cast<TIndex>(it - m_tView.anShown.begin());
  return m_abEvent[nEvent] ? nEvent : NONE;
}

void CEvents::MarkEvents(TIndex nLine) {
  const TChain tChain = ChainOf(nLine);
  bool bThere = m_oHistory.LineEntry(m_oHistory.Lines()[nLine]) != NONE;
  const auto fnMark = [&](TIndex nEvent) {
    const bool bAlive = m_oHistory.IsAlive(Revision(nEvent));
    m_abEvent[nEvent] = bAlive || bThere;
    bThere = bAlive;
  };
  for (TIndex nEvent = tChain.nShownFirst; nEvent < tChain.nShownEnd; ++nEvent)
    fnMark(nEvent);
  for (TIndex nEvent = tChain.nFirst; nEvent < tChain.nEnd; ++nEvent)
    fnMark(nEvent);
}

void CEvents::MakeSprouts() {
  for (TIndex nLine = 0; nLine < m_oHistory.Lines().size(); ++nLine) {
    const TLine& tLine = m_oHistory.Lines()[nLine];
    if (tLine.nSprout == NONE) continue;
    TIndex nFirst = tLine.nFirstRevision;
    while (nFirst < tLine.nEndRevision && !m_abEvent[nFirst])
      ++nFirst;
    const TIndex nSprout = FirstOf(tLine.nSprout);
    if (nFirst < tLine.nEndRevision && nSprout != NONE) m_anSprouts.emplace_back(nSprout, nFirst);
  }
  std::sort(m_anSprouts.begin(), m_anSprouts.end());
}

TIndex CEvents::FirstOf(TIndex nRevision) const {
  if (m_abEvent[nRevision]) return nRevision;
  const TLine& tLine = m_oHistory.LineOf(nRevision);
  const TFile& tFile = m_oHistory.Files()[tLine.nFile];
  const TIndex nFirst = m_tView.anFirstShown[tLine.nFile];
  const TIndex nEnd = m_tView.anFirstShown[tLine.nFile + 1];
  if (nFirst == nEnd) return NONE;
  // 1.1 counts with the 1.1.1.1 that stands in its place.
  const bool bInPlace = nRevision == m_oHistory.Lines()[tFile.nFirstLine].nFirstRevision;
  return Shown(bInPlace ? m_tView.anShown[nFirst] : nRevision, nFirst, nEnd);
}

TIndex CEvents::LineOf(TIndex nEvent) const {
  return IsShown(nEvent) ? m_oHistory.Files()[File(nEvent)].nFirstLine : m_oHistory.Revisions()[nEvent].nLine;
}

TIndex CEvents::Before(TIndex nEvent) const {
  const TChain tChain = ChainOf(LineOf(nEvent));
  TIndex nShownEnd = tChain.nShownEnd;
  if (IsShown(nEvent)) {
    nShownEnd = nEvent;
  } else {
    while (nEvent > tChain.nFirst) {
      if (m_abEvent[--nEvent]) return nEvent;
    }
  }
  while (nShownEnd > tChain.nShownFirst) {
    if (m_abEvent[--nShownEnd]) return nShownEnd;
  }
  return NONE;
}

TIndex CEvents::After(TIndex nEvent) const {
  const TChain tChain = ChainOf(LineOf(nEvent));
  TIndex nNext = tChain.nFirst;
  if (IsShown(nEvent)) {
    while (++nEvent < tChain.nShownEnd) {
      if (m_abEvent[nEvent]) return nEvent;
    }
  } else {
    nNext = nEvent + 1;
  }
  for (; nNext < tChain.nEnd; ++nNext) {
    if (m_abEvent[nNext]) return nNext;
  }
  return NONE;
}

TIndex CEvents::Needs(TIndex nEvent) const {
  if (const TIndex nBefore = Before(nEvent); nBefore != NONE) return nBefore;
  if (IsShown(nEvent)) return NONE;
  const TIndex nSprout = m_oHistory.LineOf(nEvent).nSprout;
  return nSprout == NONE ? NONE : FirstOf(nSprout);
}

TIndex CEvents::StateBefore(TIndex nEvent) const {
  if (const TIndex nBefore = Before(nEvent); nBefore != NONE) {
    return m_oHistory.IsAlive(Revision(nBefore)) ? Revision(nBefore) : NONE;
  }
  return IsShown(nEvent) ? NONE : m_oHistory.LineEntry(m_oHistory.LineOf(nEvent));
}

}  // namespace TALVEK::EXACT
