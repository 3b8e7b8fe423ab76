#include "exact/grouping.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace TALVEK::EXACT {

namespace {

constexpr std::int64_t LONGEST_PAUSE_SECONDS = 300;

/// An event and what decides about its place. Kept together for sorting: to look each up is five times as
/// slow.
struct TSorted {
  TIndex nStream;
  TIndex nCommitId;  ///< NONE where the server notes none
  TIndex nAuthor;
  TIndex nMessage;
  TIndex nFile;
  std::int64_t nTime;
  TIndex nRank;
  TIndex nEvent;

  bool IsGroupOf(const TSorted& tOther) const { return GroupKey() == tOther.GroupKey(); }
  bool operator<(const TSorted& tOther) const {
    return std::tuple_cat(GroupKey(), std::tie(nTime, nFile, nRank)) <
           std::tuple_cat(tOther.GroupKey(), std::tie(tOther.nTime, tOther.nFile, tOther.nRank));
  }

 private:
  std::tuple<const TIndex&, const TIndex&, const TIndex&, const TIndex&> GroupKey() const {
    return std::tie(nStream, nCommitId, nAuthor, nMessage);
  }
};

std::vector<TSorted> Sorted(const CEvents& oEvents) {
  std::vector<TSorted> atSorted;
  for (TIndex nEvent = 0; nEvent < oEvents.Count(); ++nEvent) {
    if (!oEvents.IsEvent(nEvent)) continue;
    const TRevision& tRevision = oEvents.History().Revisions()[oEvents.Revision(nEvent)];
    atSorted.push_back({oEvents.Stream(nEvent), tRevision.nCommitId, tRevision.nAuthor, tRevision.nMessage,
                        oEvents.File(nEvent), tRevision.nTime, oEvents.Rank(nEvent), nEvent});
  }
  std::sort(atSorted.begin(), atSorted.end());
  return atSorted;
}

/// Finds where a run of events has to be cut so that no file comes twice. Looks at each event once: the gaps
/// that may still be the widest from some event on lie on a stack, each at most as wide as the one before it.
class CTwiceCutter {
 public:
  static constexpr std::size_t NO_CUT = static_cast<std::size_t>(-1);

  explicit CTwiceCutter(std::size_t nFiles) : m_anLast(nFiles, NO_CUT) {}

  /// Takes the next event of the run. Returns where a changeset has to begin before it, else NO_CUT.
  std::size_t Add(std::size_t nPlace, const TSorted& tEvent, std::size_t nFirst, std::int64_t nTimeBefore) {
    if (nPlace != nFirst) {
      const std::int64_t nGap = tEvent.nTime - nTimeBefore;
      while (!m_atGaps.empty() && m_atGaps.back().nGap < nGap)
        m_atGaps.pop_back();
      m_atGaps.push_back({nPlace, nGap});
    }
    const std::size_t nLast = std::exchange(m_anLast[tEvent.nFile], nPlace);
    if (nLast == NO_CUT || nLast < m_nBegin) return NO_CUT;
    const auto itWidest = std::upper_bound(m_atGaps.begin(), m_atGaps.end(), nLast,
                                           [](std::size_t n, const TGap& tGap) { return n < tGap.nPlace; });
    m_nBegin = itWidest->nPlace;
    return m_nBegin;
  }

  void Restart(std::size_t nPlace) {
    m_atGaps.clear();
    m_nBegin = nPlace;
  }

 private:
  struct TGap {
    std::size_t nPlace;  ///< of the event behind the gap
    std::int64_t nGap;
  };
  std::vector<TGap> m_atGaps;
  std::vector<std::size_t> m_anLast;  ///< by file: the last place of all, which may be in another changeset
  std::size_t m_nBegin = 0;           ///< where the changeset begins that the next event would join
};

}  // namespace

TChangesets GroupEvents(const CEvents& oEvents) {
  const std::vector<TSorted> atSorted = Sorted(oEvents);
  TChangesets tSets;
  tSets.anEvents.reserve(atSorted.size());
  tSets.anOf.assign(oEvents.Count(), NONE);

  std::vector<std::size_t> anBegins;
  CTwiceCutter oCutter(oEvents.History().Files().size());
  std::size_t nRun = 0;
  for (std::size_t n = 0; n < atSorted.size(); ++n) {
    const TSorted& tEvent = atSorted[n];
    const bool bSame = n != 0 && tEvent.IsGroupOf(atSorted[n - 1]);
    const bool bPause =
        bSame && tEvent.nCommitId == NONE && tEvent.nTime - atSorted[n - 1].nTime > LONGEST_PAUSE_SECONDS;
    if (!bSame || bPause) {
      nRun = n;
      anBegins.push_back(n);
      oCutter.Restart(n);
    }
    const std::size_t nCut = oCutter.Add(n, tEvent, nRun, n == 0 ? 0 : atSorted[n - 1].nTime);
    if (nCut != CTwiceCutter::NO_CUT) {
      anBegins.push_back(nCut);
      ++tSets.nCutTwice;
    }
    tSets.anEvents.push_back(tEvent.nEvent);
  }

  for (std::size_t n = 0; n < anBegins.size(); ++n) {
    const std::size_t nEnd = n + 1 < anBegins.size() ? anBegins[n + 1] : atSorted.size();
    for (std::size_t nEvent = anBegins[n]; nEvent < nEnd; ++nEvent)
      tSets.anOf[tSets.anEvents[nEvent]] = tSets.Count();
    tSets.atRanges.push_back({static_cast<TIndex>(anBegins[n]), static_cast<TIndex>(nEnd)});
  }
  return tSets;
}

}  // namespace TALVEK::EXACT
