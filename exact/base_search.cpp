#include "exact/base_search.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace TALVEK::EXACT {

namespace {

constexpr TKey NEVER = NONE;

struct TDelta {
  TKey nKey;
  int nMatch;    ///< wanted files that from here on stand as wanted
  int nPresent;  ///< wanted files that from here on are there at all
};

}  // namespace

/// The nearest change so far.
struct CBaseSearch::TNearest {
  TIndex nMatch = 0;
  TIndex nExtra = 0;
  TIndex nStream = NONE;
  TKey nKey = 0;

  /// Streams are tried in the order in which they were placed, so an equally near one of a later stream is
  /// farther.
  bool IsNearerThan(const TNearest& tOther) const {
    if (nStream == NONE || tOther.nStream == NONE) return nStream != NONE;
    const auto fnRank = [](const TNearest& t) {
      return std::make_tuple(~t.nMatch, t.nExtra, t.nStream != TRUNK, t.nKey);
    };
    return fnRank(*this) < fnRank(tOther);
  }
};

/// Goes through the changes of one stream.
class CBaseSearch::CSweep {
 public:
  CSweep(const CStreamStates& oStates, TIndex nStream, const std::vector<TFileState>& atWanted)
      : m_oStates(oStates), m_nStream(nStream) {
    if (nStream == TRUNK) {
      AddTrunk(atWanted);
    } else {
      AddBranch(atWanted);
    }
    std::sort(m_atDeltas.begin(), m_atDeltas.end(),
              [](const TDelta& tLeft, const TDelta& tRight) { return tLeft.nKey < tRight.nKey; });
  }

  TNearest Nearest(TKey nBefore) const {
    TIndex nMost = 0;
    ForEachStretch(nBefore, [&](TKey, TKey, TIndex nMatch, TIndex) { nMost = std::max(nMost, nMatch); });
    TNearest tNearest;
    if (nMost == 0) return tNearest;
    ForEachStretch(nBefore, [&](TKey nFrom, TKey nTo, TIndex nMatch, TIndex nPresent) {
      if (nMatch == nMost) Look(nFrom, nTo, nMatch, nPresent, tNearest);
    });
    return tNearest;
  }

 private:
  const CEvents& Events() const { return m_oStates.Events(); }
  TKey KeyOfEvent(TIndex nEvent) const {
    return nEvent == NONE ? NEVER : KeyOf(m_oStates.Moments().OfEvent(nEvent));
  }

  void Add(TKey nFrom, TKey nTo, int nMatch, int nPresent) {
    if (nFrom >= nTo) return;
    m_atDeltas.push_back({nFrom, nMatch, nPresent});
    if (nTo != NEVER) m_atDeltas.push_back({nTo, -nMatch, -nPresent});
  }

  /// The file's own events in the stream: when it is there, and when it stands as wanted. Up to nEnd.
  void AddChain(TIndex nLine, TIndex nWanted, TKey nEnd) {
    const CEvents::TChain tChain = Events().ChainOf(nLine);
    const TIndex nFirst = Events().FirstInChain(tChain);
    if (nFirst == NONE) return;
    if (const TIndex nEvent = Events().InChain(tChain, nWanted); nEvent != NONE) {
      Add(KeyOfEvent(nEvent), std::min(nEnd, KeyOfEvent(Events().After(nEvent))), 1, 0);
    }
    // The last one that is shown is on the vendor line; the first one can be 1.1.
    const bool bDeadShown = tChain.nShownFirst != tChain.nShownEnd &&
                            m_oStates.History().LineOf(Events().Revision(tChain.nShownEnd - 1)).bHasDead;
    if (!m_oStates.History().Lines()[nLine].bHasDead && !bDeadShown) {
      Add(KeyOfEvent(nFirst), nEnd, 0, 1);
      return;
    }
    for (TIndex nEvent = nFirst; nEvent != NONE;) {
      const TIndex nAfter = Events().After(nEvent);
      if (m_oStates.History().IsAlive(Events().Revision(nEvent))) {
        Add(KeyOfEvent(nEvent), std::min(nEnd, KeyOfEvent(nAfter)), 0, 1);
      }
      nEvent = nAfter;
    }
  }

  void AddTrunk(const std::vector<TFileState>& atWanted) {
    const std::vector<TTrunkEnd>& atEnds = Events().View().atEnds;
    auto itEnd = atEnds.begin();
    for (const TFileState& tWanted : atWanted) {
      while (itEnd != atEnds.end() && itEnd->nFile < tWanted.nFile)
        ++itEnd;
      TKey nEnd = NEVER;
      if (itEnd != atEnds.end() && itEnd->nFile == tWanted.nFile) {
        nEnd = m_oStates.EndKey();
        if (itEnd->nRevision != NONE) Add(nEnd, NEVER, itEnd->nRevision == tWanted.nRevision ? 1 : 0, 1);
      }
      AddChain(m_oStates.History().Files()[tWanted.nFile].nFirstLine, tWanted.nRevision, nEnd);
    }
  }

  void AddBranch(const std::vector<TFileState>& atWanted) {
    std::vector<TFileState> atEntries;
    if (m_oStates.Placed(m_nStream).nEntries != 0) {
      atEntries.reserve(m_oStates.Placed(m_nStream).nEntries);
      m_oStates.History().ForEachEntry(m_nStream, [&](TIndex nFile, TIndex nEntry) {
        atEntries.push_back({nFile, nEntry});
      });
    }
    const std::vector<TLine>& atLines = m_oStates.History().Lines();
    const std::span<const TIndex> nLines = m_oStates.LinesOf(m_nStream);
    auto itEntry = atEntries.begin();
    auto itLine = nLines.begin();
    for (const TFileState& tWanted : atWanted) {
      while (itEntry != atEntries.end() && itEntry->nFile < tWanted.nFile)
        ++itEntry;
      while (itLine != nLines.end() && atLines[*itLine].nFile < tWanted.nFile)
        ++itLine;
      const bool bLine = itLine != nLines.end() && atLines[*itLine].nFile == tWanted.nFile;
      if (itEntry != atEntries.end() && itEntry->nFile == tWanted.nFile) {
        const TIndex nFirst = bLine ? Events().FirstInChain(Events().ChainOf(*itLine)) : NONE;
        Add(m_oStates.Arrival(m_nStream, itEntry->nRevision), KeyOfEvent(nFirst),
            itEntry->nRevision == tWanted.nRevision ? 1 : 0, 1);
      }
      if (bLine) AddChain(*itLine, tWanted.nRevision, NEVER);
    }
  }

  /// Calls fnStretch(from, to, files in place, files present) for each stretch of keys with the same counts.
  template <class TFunction>
  void ForEachStretch(TKey nBefore, TFunction fnStretch) const {
    TIndex nMatch = 0, nPresent = 0;
    for (std::size_t n = 0; n < m_atDeltas.size() && m_atDeltas[n].nKey < nBefore;) {
      const TKey nKey = m_atDeltas[n].nKey;
      for (; n < m_atDeltas.size() && m_atDeltas[n].nKey == nKey; ++n) {
        nMatch += static_cast<TIndex>(m_atDeltas[n].nMatch);
        nPresent += static_cast<TIndex>(m_atDeltas[n].nPresent);
      }
      const TKey nNext = n < m_atDeltas.size() ? m_atDeltas[n].nKey : NEVER;
      fnStretch(nKey, std::min(nNext, nBefore), nMatch, nPresent);
    }
  }

  /// Of the stream's changes in a stretch of keys the first one with the fewest files.
  void Look(TKey nFrom, TKey nTo, TIndex nMatch, TIndex nPresent, TNearest& tNearest) const {
    const TPlacedStream& tPlaced = m_oStates.Placed(m_nStream);
    const auto itFirst = std::lower_bound(tPlaced.anKeys.begin(), tPlaced.anKeys.end(), nFrom);
    const auto itEnd = std::lower_bound(itFirst, tPlaced.anKeys.end(), nTo);
    if (itFirst == itEnd) return;
    const std::size_t nSmallest =
        tPlaced.oSizes.FirstSmallest(static_cast<std::size_t>(itFirst - tPlaced.anKeys.begin()),
                                     static_cast<std::size_t>(itEnd - tPlaced.anKeys.begin()));
    const TIndex nExtra = tPlaced.oSizes.At(nSmallest) - nPresent;
    if (tNearest.nStream != NONE && tNearest.nExtra <= nExtra) return;
    tNearest = {nMatch, nExtra, m_nStream, tPlaced.anKeys[nSmallest]};
  }

  const CStreamStates& m_oStates;
  TIndex m_nStream;
  std::vector<TDelta> m_atDeltas;
};

void CBaseSearch::AddStream(TIndex nStream, bool bTag, const std::vector<TStateSum>& tSums) {
  if (!bTag) m_anCandidates.push_back(nStream);
  const TPlacedStream& tPlaced = m_oStates.Placed(nStream);
  for (std::size_t n = 0; n < tPlaced.anKeys.size(); ++n) {
    const TPlace tPlace{tPlaced.anKeys[n], nStream};
    if (nStream == TRUNK) {
      m_nOnTrunk.emplace(tSums[n], tPlace.nKey);
      continue;
    }
    const auto [it, bNew] = m_tElsewhere.emplace(tSums[n], tPlace);
    if (!bNew && tPlace.nKey < it->second.nKey) it->second = tPlace;
  }
}

TBase CBaseSearch::FindExact(const std::vector<TFileState>& atWanted, TKey nBefore) const {
  TStateSum tSum;
  for (const TFileState& tWanted : atWanted)
    tSum.Add(tWanted.nRevision);
  if (const auto it = m_nOnTrunk.find(tSum); it != m_nOnTrunk.end() && it->second < nBefore) {
    return {TRUNK, it->second, true, false};
  }
  if (const auto it = m_tElsewhere.find(tSum); it != m_tElsewhere.end() && it->second.nKey < nBefore) {
    return {it->second.nStream, it->second.nKey, true, false};
  }
  return {};
}

TBase CBaseSearch::Find(const std::vector<TFileState>& atWanted, TKey nBefore) const {
  if (atWanted.empty()) return {};
  if (const TBase tExact = FindExact(atWanted, nBefore); tExact.bExact) return tExact;

  std::vector<TIndex> anStreamsOfWanted;
  anStreamsOfWanted.reserve(atWanted.size());
  for (const TFileState& tWanted : atWanted) {
    anStreamsOfWanted.push_back(m_oStates.History().LineOf(tWanted.nRevision).nStream);
  }
  TNearest tNearest;
  for (const TIndex nStream : m_anCandidates) {
    const TPlacedStream& tPlaced = m_oStates.Placed(nStream);
    if (tPlaced.anKeys.empty() || tPlaced.anKeys.front() >= nBefore) continue;
    // Equally near counts, unless the trunk has nothing to take away.
    const bool bBeatsEqual = tNearest.nStream == TRUNK && tNearest.nExtra == 0;
    const std::size_t nNeeded = std::max<std::size_t>(1, tNearest.nMatch + (bBeatsEqual ? 1 : 0));
    if (nStream != TRUNK && !CanReach(nStream, atWanted, anStreamsOfWanted, nNeeded)) continue;
    const TNearest tFound = CSweep(m_oStates, nStream, atWanted).Nearest(nBefore);
    if (tFound.IsNearerThan(tNearest)) tNearest = tFound;
  }
  return {tNearest.nStream, tNearest.nKey, false, tNearest.nExtra != 0};
}

/// Whether enough wanted revisions are entries of the stream or on its own lines. Most branches are of
/// another time than the name, and a few files show it: without this look, 1,500 names on 20,000 files took
/// twice as long.
bool CBaseSearch::CanReach(TIndex nStream, const std::vector<TFileState>& atWanted,
                           const std::vector<TIndex>& anStreamsOfWanted, std::size_t nNeeded) const {
  if (nNeeded > atWanted.size()) return false;
  std::size_t nMayMiss = atWanted.size() - nNeeded;
  std::size_t nNext = 0;
  bool bCan = true;
  const auto fnPass = [&](bool bEntry) {
    if (!bEntry && anStreamsOfWanted[nNext] != nStream && nMayMiss-- == 0) bCan = false;
    ++nNext;
    return bCan;
  };
  m_oStates.History().ForEachEntryWhile(nStream, [&](TIndex nFile, TIndex nEntry) {
    while (nNext < atWanted.size() && atWanted[nNext].nFile < nFile) {
      if (!fnPass(false)) return false;
    }
    if (nNext == atWanted.size()) return false;
    return atWanted[nNext].nFile != nFile || fnPass(atWanted[nNext].nRevision == nEntry);
  });
  while (bCan && nNext < atWanted.size())
    fnPass(false);
  return bCan;
}

}  // namespace TALVEK::EXACT
