#include "exact/ordering.h"

#include <algorithm>
#include <functional>
#include <queue>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

namespace TALVEK::EXACT {

namespace {

struct TSetKey {
  std::int64_t nTime = 0;
  TIndex nStream = 0;
  TIndex nFile = NONE;
  TIndex nRank = NONE;

  auto operator<=>(const TSetKey&) const = default;  // NOLINT(modernize-use-nullptr): a false alarm
};

class COrdering {
 public:
  COrdering(const CEvents& oEvents, TChangesets& tSets) : m_oEvents(oEvents), m_tSets(tSets) {}

  TOrder Run() {
    m_atKeys.resize(m_tSets.Count());
    m_anPending.resize(m_tSets.Count());
    m_abDone.resize(m_tSets.Count());
    for (TIndex nSet = 0; nSet < m_tSets.Count(); ++nSet)
      Enter(nSet);
    for (;;) {
      TakeReady();
      if (m_tOrder.anChangesets.size() == m_tSets.Count()) return std::move(m_tOrder);
      OpenCircle();
    }
  }

 private:
  struct TWaiting {
    TSetKey tKey;
    TIndex nSet;
    bool operator<(const TWaiting& tOther) const {
      return tOther.tKey < tKey;
    }  // the heap's top is the smallest
  };
  using THeap = std::priority_queue<TWaiting>;

  TIndex* Begin(TIndex nSet) { return m_tSets.anEvents.data() + m_tSets.atRanges[nSet].nFirst; }
  TIndex* End(TIndex nSet) { return m_tSets.anEvents.data() + m_tSets.atRanges[nSet].nEnd; }

  /// The changeset that has to come before this event; NONE: none that is left.
  TIndex NeededSet(TIndex nEvent) const {
    const TIndex nNeeded = m_oEvents.Needs(nEvent);
    if (nNeeded == NONE) return NONE;
    const TIndex nSet = m_tSets.anOf[nNeeded];
    return m_abDone[nSet] ? NONE : nSet;
  }

  /// A changeset that is new, or has changed.
  void Enter(TIndex nSet) {
    TSetKey tKey;
    tKey.nTime = m_oEvents.Time(*Begin(nSet));
    TIndex nPending = 0;
    for (const TIndex* pnEvent = Begin(nSet); pnEvent != End(nSet); ++pnEvent) {
      tKey.nTime = std::max(tKey.nTime, m_oEvents.Time(*pnEvent));
      tKey.nStream = m_oEvents.Stream(*pnEvent);
      if (const TIndex nFile = m_oEvents.File(*pnEvent); nFile < tKey.nFile) {
        tKey.nFile = nFile;
        tKey.nRank = m_oEvents.Rank(*pnEvent);
      }
      if (NeededSet(*pnEvent) != NONE) ++nPending;
    }
    m_atKeys[nSet] = tKey;
    m_anPending[nSet] = nPending;
    if (nPending == 0) m_oReady.push({tKey, nSet});
    if (m_bHasLeft) m_oLeft.push({tKey, nSet});
  }

  void TakeReady() {
    while (!m_oReady.empty()) {
      const TIndex nSet = m_oReady.top().nSet;
      m_oReady.pop();
      m_abDone[nSet] = true;
      m_tOrder.anChangesets.push_back(nSet);
      for (const TIndex* pnEvent = Begin(nSet); pnEvent != End(nSet); ++pnEvent) {
        m_oEvents.ForEachWaiting(*pnEvent, [this](TIndex nWaiting) {
          const TIndex nWaitingSet = m_tSets.anOf[nWaiting];
          if (--m_anPending[nWaitingSet] == 0) m_oReady.push({m_atKeys[nWaitingSet], nWaitingSet});
        });
      }
    }
  }

  TIndex SmallestLeft() {
    if (!m_bHasLeft) {
      m_bHasLeft = true;
      for (TIndex nSet = 0; nSet < m_tSets.Count(); ++nSet) {
        if (!m_abDone[nSet]) m_oLeft.push({m_atKeys[nSet], nSet});
      }
    }
    while (m_abDone[m_oLeft.top().nSet] || m_atKeys[m_oLeft.top().nSet] != m_oLeft.top().tKey)
      m_oLeft.pop();
    return m_oLeft.top().nSet;
  }

  TIndex SmallestNeeded(TIndex nSet) {
    TIndex nSmallest = NONE;
    for (const TIndex* pnEvent = Begin(nSet); pnEvent != End(nSet); ++pnEvent) {
      const TIndex nNeeded = NeededSet(*pnEvent);
      if (nNeeded != NONE && (nSmallest == NONE || m_atKeys[nNeeded] < m_atKeys[nSmallest]))
        nSmallest = nNeeded;
    }
    return nSmallest;
  }

  /// The changesets of a circle; each needs something of the one behind it, the last of the first.
  std::vector<TIndex> FindCircle() {
    std::vector<TIndex> anWay;
    std::unordered_map<TIndex, std::size_t> anSteps;
    TIndex nSet = SmallestLeft();
    while (anSteps.emplace(nSet, anWay.size()).second) {
      anWay.push_back(nSet);
      nSet = SmallestNeeded(nSet);
    }
    anWay.erase(anWay.begin(), anWay.begin() + static_cast<std::ptrdiff_t>(anSteps[nSet]));
    return anWay;
  }

  /// One changeset of a circle.
  struct TLink {
    TIndex nSet = NONE;
    std::vector<bool> abIn, abOut;  ///< by place in the changeset: the circle comes in by it, goes out by it
  };

  TLink MakeLink(TIndex nSet, TIndex nEarlier, TIndex nLater) {
    TLink tLink;
    tLink.nSet = nSet;
    std::unordered_set<TIndex> anOut;
    for (const TIndex* pnEvent = Begin(nLater); pnEvent != End(nLater); ++pnEvent) {
      if (NeededSet(*pnEvent) == nSet) anOut.insert(m_oEvents.Needs(*pnEvent));
    }
    for (const TIndex* pnEvent = Begin(nSet); pnEvent != End(nSet); ++pnEvent) {
      tLink.abIn.push_back(NeededSet(*pnEvent) == nEarlier);
      tLink.abOut.push_back(anOut.count(*pnEvent) != 0);
    }
    return tLink;
  }

  void OpenCircle() {
    const std::vector<TIndex> anCircle = FindCircle();
    std::vector<TLink> atLinks;
    for (std::size_t n = 0; n < anCircle.size(); ++n) {
      const TIndex nEarlier = anCircle[(n + 1) % anCircle.size()];
      const TIndex nLater = anCircle[(n + anCircle.size() - 1) % anCircle.size()];
      atLinks.push_back(MakeLink(anCircle[n], nEarlier, nLater));
    }
    std::sort(atLinks.begin(), atLinks.end(), [this](const TLink& tLeft, const TLink& tRight) {
      return m_atKeys[tLeft.nSet] < m_atKeys[tRight.nSet];
    });
    ++m_tOrder.nCircles;
    if (!CutInTime(atLinks)) CutByNeed(atLinks);
  }

  bool CutInTime(const std::vector<TLink>& atLinks) {
    TIndex nBest = NONE;
    std::size_t nBestCut = 0;
    std::int64_t nWidest = -1;
    for (const TLink& tLink : atLinks) {
      const std::size_t nFirstIn = static_cast<std::size_t>(
          std::find(tLink.abIn.begin(), tLink.abIn.end(), true) - tLink.abIn.begin());
      const std::size_t nLastOut = static_cast<std::size_t>(
          tLink.abOut.rend() - std::find(tLink.abOut.rbegin(), tLink.abOut.rend(), true) - 1);
      for (std::size_t nCut = nLastOut + 1; nCut <= nFirstIn; ++nCut) {
        const TIndex* pnEvent = Begin(tLink.nSet) + nCut;
        const std::int64_t nGap = m_oEvents.Time(*pnEvent) - m_oEvents.Time(*(pnEvent - 1));
        if (nGap <= nWidest) continue;
        nWidest = nGap;
        nBest = tLink.nSet;
        nBestCut = nCut;
      }
    }
    if (nBest != NONE) Split(nBest, nBestCut);
    return nBest != NONE;
  }

  void CutByNeed(const std::vector<TLink>& atLinks) {
    for (const TLink& tLink : atLinks) {
      std::vector<TIndex> anEarly, anLate;
      for (std::size_t n = 0; n < tLink.abIn.size(); ++n) {
        (tLink.abOut[n] && !tLink.abIn[n] ? anEarly : anLate).push_back(Begin(tLink.nSet)[n]);
      }
      if (anEarly.empty()) continue;
      std::copy(anLate.begin(), anLate.end(), std::copy(anEarly.begin(), anEarly.end(), Begin(tLink.nSet)));
      Split(tLink.nSet, anEarly.size());
      return;
    }
  }

  /// The events from this place on become a changeset of their own.
  void Split(TIndex nSet, std::size_t nPlace) {
    TChangesets::TRange& tRange = m_tSets.atRanges[nSet];
    const TChangesets::TRange tLate{tRange.nFirst + static_cast<TIndex>(nPlace), tRange.nEnd};
    tRange.nEnd = tLate.nFirst;
    const TIndex nLate = m_tSets.Count();
    m_tSets.atRanges.push_back(tLate);
    for (const TIndex* pnEvent = Begin(nLate); pnEvent != End(nLate); ++pnEvent)
      m_tSets.anOf[*pnEvent] = nLate;
    m_atKeys.emplace_back();
    m_anPending.push_back(0);
    m_abDone.push_back(false);
    Enter(nSet);
    Enter(nLate);
  }

  const CEvents& m_oEvents;
  TChangesets& m_tSets;
  std::vector<TSetKey> m_atKeys;
  std::vector<TIndex> m_anPending;  ///< needs of its events that aren't met yet
  std::vector<bool> m_abDone;
  THeap m_oReady;
  THeap m_oLeft;  ///< made when the first circle is found; holds old keys and finished changesets, too
  bool m_bHasLeft = false;
  TOrder m_tOrder;
};

}  // namespace

TOrder OrderChangesets(const CEvents& oEvents, TChangesets& tSets) {
  return COrdering(oEvents, tSets).Run();
}

}  // namespace TALVEK::EXACT
