#include "exact/write_changes.h"

#include <algorithm>
#include <tuple>
#include <vector>

namespace TALVEK::EXACT {

namespace {

/// How many clocks that ran backwards are named.
constexpr std::uint64_t CLOCKS_NAMED = 20;

class CWriting {
 public:
  CWriting(const CEvents& oEvents, const TChangesets& tSets, const CMoments& oMoments,
           const TPlacements& tPlacements, CPlan& oPlan, TPlanNotes& tNotes)
      : m_oEvents(oEvents),
        m_oHistory(oEvents.History()),
        m_tSets(tSets),
        m_oMoments(oMoments),
        m_tPlacements(tPlacements),
        m_oPlan(oPlan),
        m_tNotes(tNotes) {}

  void Run() {
    AddStreams();
    AddChanges();
    AddBases();
    SetTimes();
    AddNotes();
  }

 private:
  void AddStreams() {
    for (TIndex nStream = 0; nStream < m_oHistory.Streams().size(); ++nStream) {
      const TStreamName& tName = m_oHistory.Streams()[nStream];
      TPlanStream tStream;
      tStream.strName = tName.strName;
      tStream.nKind = nStream == TRUNK   ? TStreamKind::MAIN
                      : tName.IsVendor() ? TStreamKind::VENDOR
                      : tName.bTag       ? TStreamKind::TAG
                                         : TStreamKind::BRANCH;
      m_oPlan.EditStreams().push_back(std::move(tStream));
    }
  }

  void AddChanges() {
    std::vector<TMadeUp> atMadeUp = m_tPlacements.atMadeUp;
    std::sort(atMadeUp.begin(), atMadeUp.end(), [this](const TMadeUp& tLeft, const TMadeUp& tRight) {
      return std::make_tuple(tLeft.nKey, m_tPlacements.anPlaces[tLeft.nStream]) <
             std::make_tuple(tRight.nKey, m_tPlacements.anPlaces[tRight.nStream]);
    });
    auto itMadeUp = atMadeUp.begin();
    for (TIndex nMoment = 0; nMoment <= m_oMoments.Last(); ++nMoment) {
      if (nMoment != 0) AddOwn(nMoment);
      for (; itMadeUp != atMadeUp.end() && MomentOf(itMadeUp->nKey) == nMoment; ++itMadeUp)
        AddMadeUp(*itMadeUp);
    }
  }

  void Add(const TPlanChange& tChange, TKey nKey) {
    m_oPlan.EditStreams()[tChange.nStream].anChanges.push_back(static_cast<TIndex>(m_oPlan.Changes().size()));
    m_oPlan.EditChanges().push_back(tChange);
    m_anKeys.push_back(nKey);
  }

  void AddMadeUp(const TMadeUp& tMadeUp) {
    TPlanChange tChange;
    tChange.nStream = tMadeUp.nStream;
    tChange.nKind = tMadeUp.nKind;
    // One that only deletes takes the time of what it follows.
    tChange.nTime = tChange.nCvsTime = tMadeUp.bSets ? tMadeUp.nNewest : NO_TIME;
    tChange.nItems = tMadeUp.nItems;
    tChange.nFirstItem = tMadeUp.nFirstItem;
    Add(tChange, tMadeUp.nKey);
  }

  void AddOwn(TIndex nMoment) {
    const TChangesets::TRange tRange = m_tSets.atRanges[m_oMoments.Changeset(nMoment)];
    m_atItems.clear();
    TPlanChange tChange;
    tChange.nLead = m_oEvents.Revision(m_tSets.anEvents[tRange.nFirst]);
    tChange.nStream = m_oEvents.Stream(m_tSets.anEvents[tRange.nFirst]);
    tChange.nTime = m_oEvents.Time(m_tSets.anEvents[tRange.nFirst]);
    for (TIndex n = tRange.nFirst; n < tRange.nEnd; ++n) {
      const TIndex nEvent = m_tSets.anEvents[n];
      const TIndex nRevision = m_oEvents.Revision(nEvent);
      tChange.nTime = std::max(tChange.nTime, m_oEvents.Time(nEvent));
      m_atItems.push_back({m_oEvents.File(nEvent), m_oHistory.IsAlive(nRevision) ? nRevision : NONE,
                           m_oEvents.StateBefore(nEvent)});
    }
    std::sort(m_atItems.begin(), m_atItems.end(),
              [](const TPlanItem& tLeft, const TPlanItem& tRight) { return tLeft.nFile < tRight.nFile; });
    tChange.nCvsTime = tChange.nTime;
    tChange.nItems = m_atItems.size();
    tChange.nFirstItem = m_oPlan.EditItems().Size() / sizeof(TPlanItem);
    m_oPlan.EditItems().Append(m_atItems.data(), m_atItems.size() * sizeof(TPlanItem));
    Add(tChange, KeyOf(nMoment));
  }

  void AddBases() {
    for (TIndex nStream = 0; nStream < m_oHistory.Streams().size(); ++nStream) {
      const TBase& tBase = m_tPlacements.atBases[nStream];
      if (tBase.nStream == NONE) continue;
      TPlanStream& tStream = m_oPlan.EditStreams()[nStream];
      const std::vector<TIndex>& anChanges = m_oPlan.Streams()[tBase.nStream].anChanges;
      tStream.nParent = tBase.nStream;
      tStream.nBase =
          *std::lower_bound(anChanges.begin(), anChanges.end(), tBase.nKey,
                            [this](TIndex nChange, TKey nKey) { return m_anKeys[nChange] < nKey; });
      if (tBase.bExact) ++m_tNotes.nExactNames;
    }
  }

  void SetTimes() {
    std::vector<std::int64_t> nNewest(m_oPlan.Streams().size(), NO_TIME);
    for (TIndex nChange = 0; nChange < m_oPlan.Changes().size(); ++nChange) {
      TPlanChange& tChange = m_oPlan.EditChanges()[nChange];
      const TPlanStream& tStream = m_oPlan.Streams()[tChange.nStream];
      std::int64_t& nBefore = nNewest[tChange.nStream];
      if (tStream.nBase != NONE) nBefore = std::max(nBefore, m_oPlan.Changes()[tStream.nBase].nTime);
      if (tChange.nCvsTime == NO_TIME) tChange.nTime = tChange.nCvsTime = nBefore;
      if (tChange.nTime < nBefore) {
        if (tChange.nKind == TChangeKind::OWN) NoteClock(nChange, nBefore);
        tChange.nTime = nBefore;
      }
      nBefore = tChange.nTime;
      if (tChange.nKind == TChangeKind::START) ++m_tNotes.nStartChanges;
      if (tChange.nKind == TChangeKind::JOIN) ++m_tNotes.nJoinChanges;
    }
  }

  void NoteClock(TIndex nChange, std::int64_t nBefore) {
    if (++m_tNotes.nClocks > CLOCKS_NAMED) return;
    const TIndex nLead = m_oPlan.Changes()[nChange].nLead;
    m_tNotes.astrLines.push_back(
        "The clock ran backwards by " + std::to_string(nBefore - m_oPlan.Changes()[nChange].nCvsTime) +
        " s before " + m_oHistory.Path(m_oHistory.FileOf(nLead)) + " " + m_oHistory.Number(nLead) + " (" +
        m_oPlan.Streams()[m_oPlan.Changes()[nChange].nStream].strName + "): the change gets the later time");
  }

  void AddNotes() {
    for (const TName& tName : m_oHistory.Names()) {
      if (tName.nStream == NONE) ++m_tNotes.nNamesLeftOut;
    }
    const std::vector<std::string>& strNotes = m_oHistory.Notes();
    m_tNotes.astrLines.insert(m_tNotes.astrLines.end(), strNotes.begin(), strNotes.end());
  }

  static constexpr std::int64_t NO_TIME = INT64_MIN;

  const CEvents& m_oEvents;
  const CHistory& m_oHistory;
  const TChangesets& m_tSets;
  const CMoments& m_oMoments;
  const TPlacements& m_tPlacements;
  CPlan& m_oPlan;
  TPlanNotes& m_tNotes;
  std::vector<TKey> m_anKeys;  ///< by change
  std::vector<TPlanItem> m_atItems;
};

}  // namespace

void WriteChanges(const CEvents& oEvents, const TChangesets& tSets, const CMoments& oMoments,
                  const TPlacements& tPlacements, CPlan& oPlan, TPlanNotes& tNotes) {
  CWriting(oEvents, tSets, oMoments, tPlacements, oPlan, tNotes).Run();
}

}  // namespace TALVEK::EXACT
