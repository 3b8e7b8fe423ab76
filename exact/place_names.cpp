#include "exact/place_names.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace TALVEK::EXACT {

namespace {

class CPlacing {
 public:
  CPlacing(CStreamStates& oStates, const TChangesets& tSets, CPlan& oPlan)
      : m_oStates(oStates),
        m_oHistory(oStates.History()),
        m_tSets(tSets),
        m_oPlan(oPlan),
        m_oSearch(oStates) {
    m_tPlacements.atBases.resize(m_oHistory.Streams().size());
    m_tPlacements.anPlaces.resize(m_oHistory.Streams().size());
  }

  TPlacements Run() {
    TIndex nPlace = 0;
    for (const TIndex nStream : OrderOfPlacing()) {
      m_tPlacements.anPlaces[nStream] = nPlace++;
      if (nStream == TRUNK) {
        PlaceTrunk();
      } else {
        Place(nStream);
      }
    }
    return std::move(m_tPlacements);
  }

 private:
  TIndex FirstOwn(TIndex nStream) const {
    const std::vector<TIndex>& nMoments = m_oStates.Moments().OfStream(nStream);
    return nMoments.empty() ? NONE : nMoments.front();
  }

  std::vector<TIndex> OrderOfPlacing() const {
    std::vector<TIndex> nOrder(m_oHistory.Streams().size());
    std::iota(nOrder.begin(), nOrder.end(), TIndex{0});
    const auto fnRank = [this](TIndex n) {
      const bool bTag = m_oHistory.Streams()[n].bTag;
      return std::make_tuple(n != TRUNK, bTag, bTag ? 0 : FirstOwn(n), n);
    };
    std::sort(nOrder.begin(), nOrder.end(),
              [&](TIndex nLeft, TIndex nRight) { return fnRank(nLeft) < fnRank(nRight); });
    return nOrder;
  }

  void PlaceTrunk() {
    TPlacedStream& tPlaced = m_oStates.Placed(TRUNK);
    tPlaced.nFirstOwn = FirstOwn(TRUNK);
    BeginRow({});
    AppendOwnAndJoins(TRUNK, {});
    const std::vector<TTrunkEnd>& atEnds = m_oStates.Events().View().atEnds;
    if (!atEnds.empty()) {
      BeginMadeUp(TRUNK, TChangeKind::END_OF_TRUNK, m_oStates.EndKey());
      for (const TTrunkEnd& tEnd : atEnds)
        AppendItem({tEnd.nFile, tEnd.nRevision, tEnd.nBefore});
      AppendToRow(TRUNK, m_oStates.EndKey());
    }
    m_oSearch.AddStream(TRUNK, false, m_atSums);
  }

  void Place(TIndex nStream) {
    TPlacedStream& tPlaced = m_oStates.Placed(nStream);
    tPlaced.nFirstOwn = FirstOwn(nStream);
    std::vector<TFileState> atWanted;
    std::vector<TJoin> atJoins;
    TIndex nLatest = 0;
    m_oHistory.ForEachEntry(nStream, [&](TIndex nFile, TIndex nRevision) {
      ++tPlaced.nEntries;
      const TIndex nMoment = m_oStates.Moments().OfRevision(nRevision);
      if (nMoment < tPlaced.nFirstOwn) {
        atWanted.push_back({nFile, nRevision});
        nLatest = std::max(nLatest, nMoment);
      } else {
        atJoins.push_back({nMoment, nFile, nRevision});
      }
    });
    std::sort(atJoins.begin(), atJoins.end());

    TBase& tBase = m_tPlacements.atBases[nStream];
    const TKey nBefore = tPlaced.nFirstOwn == NONE ? NONE : KeyOf(tPlaced.nFirstOwn);
    if (!m_oHistory.Streams()[nStream].IsVendor()) tBase = m_oSearch.Find(atWanted, nBefore);
    BeginRow(atWanted);
    if (!tBase.bExact && !atWanted.empty()) {
      tPlaced.nStartKey = KeyAfter(std::max(nLatest, MomentOf(tBase.nKey)));
      MakeStart(nStream, tBase, atWanted);
      AppendToRow(nStream, tPlaced.nStartKey);
    } else {
      tPlaced.nStartKey = nBefore;
    }
    AppendOwnAndJoins(nStream, atJoins);
    m_oSearch.AddStream(nStream, m_oHistory.Streams()[nStream].bTag, m_atSums);
  }

  struct TJoin {
    TIndex nMoment, nFile, nRevision;
    bool operator<(const TJoin& tOther) const {
      return std::tie(nMoment, nFile) < std::tie(tOther.nMoment, tOther.nFile);
    }
  };

  // The row of the stream that is being placed: size and sum of its state after each change.

  void BeginRow(const std::vector<TFileState>& atState) {
    m_atSums.clear();
    m_tSum = {};
    m_nSize = static_cast<TIndex>(atState.size());
    for (const TFileState& tState : atState)
      m_tSum.Add(tState.nRevision);
  }

  void AppendToRow(TIndex nStream, TKey nKey) {
    m_oStates.Placed(nStream).anKeys.push_back(nKey);
    m_oStates.Placed(nStream).oSizes.Append(m_nSize);
    m_atSums.push_back(m_tSum);
  }

  void Step(TIndex nBefore, TIndex nAfter) {
    m_tSum.Remove(nBefore);
    m_tSum.Add(nAfter);
    if (nBefore != NONE) --m_nSize;
    if (nAfter != NONE) ++m_nSize;
  }

  void AppendOwn(TIndex nStream, TIndex nMoment) {
    const TChangesets::TRange tRange = m_tSets.atRanges[m_oStates.Moments().Changeset(nMoment)];
    for (TIndex n = tRange.nFirst; n < tRange.nEnd; ++n) {
      const TIndex nEvent = m_tSets.anEvents[n];
      const TIndex nRevision = m_oStates.Events().Revision(nEvent);
      Step(m_oStates.Events().StateBefore(nEvent), m_oHistory.IsAlive(nRevision) ? nRevision : NONE);
    }
    AppendToRow(nStream, KeyOf(nMoment));
  }

  void AppendOwnAndJoins(TIndex nStream, const std::vector<TJoin>& atJoins) {
    const std::vector<TIndex>& nMoments = m_oStates.Moments().OfStream(nStream);
    auto itOwn = nMoments.begin();
    for (auto it = atJoins.begin(); it != atJoins.end();) {
      const TIndex nMoment = it->nMoment;
      for (; itOwn != nMoments.end() && *itOwn <= nMoment; ++itOwn)
        AppendOwn(nStream, *itOwn);
      BeginMadeUp(nStream, TChangeKind::JOIN, KeyAfter(nMoment));
      for (; it != atJoins.end() && it->nMoment == nMoment; ++it)
        AppendItem({it->nFile, it->nRevision, NONE});
      AppendToRow(nStream, KeyAfter(nMoment));
    }
    for (; itOwn != nMoments.end(); ++itOwn)
      AppendOwn(nStream, *itOwn);
  }

  // Changes that are made up, and their items.

  void BeginMadeUp(TIndex nStream, TChangeKind nKind, TKey nKey) {
    TMadeUp tMadeUp;
    tMadeUp.nStream = nStream;
    tMadeUp.nKind = nKind;
    tMadeUp.nKey = nKey;
    tMadeUp.nFirstItem = m_oPlan.EditItems().Size() / sizeof(TPlanItem);
    m_tPlacements.atMadeUp.push_back(tMadeUp);
  }

  void WriteItem(const TPlanItem& tItem) {
    TMadeUp& tMadeUp = m_tPlacements.atMadeUp.back();
    m_oPlan.EditItems().Append(&tItem, sizeof tItem);
    ++tMadeUp.nItems;
    if (tItem.nRevision == NONE) return;
    const std::int64_t nTime = m_oHistory.Revisions()[tItem.nRevision].nTime;
    tMadeUp.nNewest = tMadeUp.bSets ? std::max(tMadeUp.nNewest, nTime) : nTime;
    tMadeUp.bSets = true;
  }

  /// An item that changes the row's state, too.
  void AppendItem(const TPlanItem& tItem) {
    WriteItem(tItem);
    Step(tItem.nBefore, tItem.nRevision);
  }

  void MakeStart(TIndex nStream, const TBase& tBase, const std::vector<TFileState>& atWanted) {
    BeginMadeUp(nStream, TChangeKind::START, m_oStates.Placed(nStream).nStartKey);
    if (tBase.nStream == TRUNK && !tBase.bTakesAway) {
      // The trunk of a large module has far more files than most names, and none of the others is in the way.
      for (const TFileState& tWanted : atWanted) {
        const TIndex nBefore = m_oStates.TrunkAt(tWanted.nFile, tBase.nKey);
        if (nBefore != tWanted.nRevision) WriteItem({tWanted.nFile, tWanted.nRevision, nBefore});
      }
      return;
    }
    std::vector<TFileState> atBefore;
    if (tBase.nStream != NONE) atBefore = m_oStates.StateAt(tBase.nStream, tBase.nKey);
    auto itBefore = atBefore.begin();
    for (const TFileState& tWanted : atWanted) {
      for (; itBefore != atBefore.end() && itBefore->nFile < tWanted.nFile; ++itBefore) {
        WriteItem({itBefore->nFile, NONE, itBefore->nRevision});
      }
      TIndex nBefore = NONE;
      if (itBefore != atBefore.end() && itBefore->nFile == tWanted.nFile) nBefore = (itBefore++)->nRevision;
      if (nBefore != tWanted.nRevision) WriteItem({tWanted.nFile, tWanted.nRevision, nBefore});
    }
    for (; itBefore != atBefore.end(); ++itBefore)
      WriteItem({itBefore->nFile, NONE, itBefore->nRevision});
  }

  CStreamStates& m_oStates;
  const CHistory& m_oHistory;
  const TChangesets& m_tSets;
  CPlan& m_oPlan;
  CBaseSearch m_oSearch;
  TPlacements m_tPlacements;

  std::vector<TStateSum> m_atSums;
  TStateSum m_tSum;
  TIndex m_nSize = 0;
};

}  // namespace

TPlacements PlaceNames(CStreamStates& oStates, const TChangesets& tSets, CPlan& oPlan) {
  return CPlacing(oStates, tSets, oPlan).Run();
}

}  // namespace TALVEK::EXACT
