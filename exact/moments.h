#pragma once

#include <vector>

#include "exact/events.h"
#include "exact/grouping.h"
#include "exact/ordering.h"
#include "exact/records.h"

namespace TALVEK::EXACT {

/// A moment is the place of a changeset in the order, counted from 1; 0 is before all of them. A key is a
/// place for any change: 2 m is that of the changeset at moment m, 2 m + 1 that of what is made up directly
/// after it. Within a stream, no two changes have the same key.
using TKey = TIndex;

inline TKey KeyOf(TIndex nMoment) {
  return 2 * nMoment;
}
inline TKey KeyAfter(TIndex nMoment) {
  return 2 * nMoment + 1;
}
inline TIndex MomentOf(TKey nKey) {
  return nKey / 2;
}

/// When each event and revision comes.
class CMoments {
 public:
  CMoments(const CEvents& oEvents, const TChangesets& tSets, const TOrder& tOrder);

  /// The last moment.
  TIndex Last() const { return static_cast<TIndex>(m_nChangesets.size()); }
  TIndex Changeset(TIndex nMoment) const { return m_nChangesets[nMoment - 1]; }
  /// Of what is no event: the moment of the event before it in its chain. So moments ascend along each chain.
  TIndex OfEvent(TIndex nEvent) const { return m_anMoments[nEvent]; }
  /// 0: no changeset has it (its line is left out), so it counts as being there from the start.
  TIndex OfRevision(TIndex nRevision) const {
    const TIndex nEvent = m_oEvents.FirstOf(nRevision);
    return nEvent == NONE ? 0 : m_anMoments[nEvent];
  }
  /// A stream's own changesets, as moments, ascending.
  const std::vector<TIndex>& OfStream(TIndex nStream) const { return m_anOfStream[nStream]; }

 private:
  const CEvents& m_oEvents;
  const std::vector<TIndex>& m_nChangesets;
  std::vector<TIndex> m_anMoments;
  std::vector<std::vector<TIndex>> m_anOfStream;
};

}  // namespace TALVEK::EXACT
