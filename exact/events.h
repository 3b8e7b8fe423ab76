#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "exact/history.h"
#include "exact/records.h"
#include "exact/trunk_view.h"

namespace TALVEK::EXACT {

/// An event is a revision that changes the state of a stream: it sets or deletes the file there.
///
/// Event numbers below the number of revisions are revisions in the stream that owns their line; those above
/// are those that the trunk's view shows. Not every revision is an event: a dead one of a file that
/// isn't in the stream's state changes nothing, 1.1 is none where 1.1.1.1 stands in its place, and lines can
/// be left out.
///
/// The events of a file in a stream follow each other as the chain says (Before, After). The only other thing
/// that an event has to wait for is the revision that its line sprouts from.
class CEvents {
 public:
  CEvents(const CHistory& oHistory, const TTrunkView& tView);

  const CHistory& History() const { return m_oHistory; }
  const TTrunkView& View() const { return m_tView; }

  /// One more than the highest event number.
  TIndex Count() const { return static_cast<TIndex>(m_abEvent.size()); }
  bool IsEvent(TIndex nEvent) const { return m_abEvent[nEvent]; }
  bool IsShown(TIndex nEvent) const { return nEvent >= m_nRevisions; }
  TIndex Revision(TIndex nEvent) const {
    return IsShown(nEvent) ? m_tView.anShown[nEvent - m_nRevisions] : nEvent;
  }
  TIndex Stream(TIndex nEvent) const { return IsShown(nEvent) ? TRUNK : m_oHistory.LineOf(nEvent).nStream; }
  TIndex File(TIndex nEvent) const { return m_oHistory.FileOf(Revision(nEvent)); }
  std::int64_t Time(TIndex nEvent) const { return m_oHistory.Revisions()[Revision(nEvent)].nTime; }
  /// Ascends along the chain of a file in a stream.
  TIndex Rank(TIndex nEvent) const {
    return IsShown(nEvent) ? nEvent - m_nRevisions : nEvent + Count() - m_nRevisions;
  }

  /// The event before this one, or after it, of the same file in the same stream; NONE: there is none.
  TIndex Before(TIndex nEvent) const;
  TIndex After(TIndex nEvent) const;
  /// The event that has to come before this one: the one before it in its chain; for a line's first event
  /// that of the revision which the line sprouts from.
  TIndex Needs(TIndex nEvent) const;
  /// Calls fnEvent(event) for each event that needs this one.
  template <class TFunction>
  void ForEachWaiting(TIndex nEvent, TFunction fnEvent) const;

  /// The file's revision in the stream before the event; NONE: it isn't there.
  TIndex StateBefore(TIndex nEvent) const;
  /// The event with which a revision comes to be: in the stream that owns its line, else on the trunk; NONE:
  /// no event.
  TIndex FirstOf(TIndex nRevision) const;

  /// The chain of a file's line: [first, end) of the revisions that the trunk's view shows (empty off the
  /// trunk), then [first, end) of its own. Between the events of the second part are revisions that are none.
  struct TChain {
    TIndex nShownFirst, nShownEnd, nFirst, nEnd;
  };
  TChain ChainOf(TIndex nLine) const;
  TIndex FirstInChain(const TChain& tChain) const;
  /// The event of this chain that sets the file to the revision; NONE: there is none.
  TIndex InChain(const TChain& tChain, TIndex nRevision) const;

 private:
  /// The event of a revision in [nFirst, nEnd) of the view's; NONE: there is none.
  TIndex Shown(TIndex nRevision, TIndex nFirst, TIndex nEnd) const;
  /// The line whose chain the event is in.
  TIndex LineOf(TIndex nEvent) const;
  void MarkEvents(TIndex nLine);
  void MakeSprouts();

  const CHistory& m_oHistory;
  const TTrunkView& m_tView;
  TIndex m_nRevisions;
  std::vector<bool> m_abEvent;
  std::vector<std::pair<TIndex, TIndex>>
      m_anSprouts;  ///< (event, first event of a line that sprouts from it), sorted
};

template <class TFunction>
void CEvents::ForEachWaiting(TIndex nEvent, TFunction fnEvent) const {
  if (const TIndex nAfter = After(nEvent); nAfter != NONE) fnEvent(nAfter);
  for (auto it = std::lower_bound(m_anSprouts.begin(), m_anSprouts.end(), std::make_pair(nEvent, TIndex{0}));
       it != m_anSprouts.end() && it->first == nEvent; ++it) {
    fnEvent(it->second);
  }
}

}  // namespace TALVEK::EXACT
