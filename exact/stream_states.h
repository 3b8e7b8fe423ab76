#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "exact/moments.h"
#include "exact/records.h"
#include "exact/size_row.h"

namespace TALVEK::EXACT {

/// A file and its revision in some state.
struct TFileState {
  TIndex nFile = NONE;
  TIndex nRevision = NONE;
};

/// A stream that has its place. Its state doesn't depend on where it hangs: it is the entries that have come,
/// overlaid by the stream's own events.
struct TPlacedStream {
  TIndex nFirstOwn = NONE;   ///< moment of its first own changeset
  TKey nStartKey = 0;        ///< from here on its start entries are seen
  TIndex nEntries = 0;       ///< how many files have an entry
  std::vector<TKey> anKeys;  ///< of its changes, ascending
  CSizeRow oSizes;           ///< files in its state after each of them
};

/// What streams look like after their changes.
class CStreamStates {
 public:
  CStreamStates(const CEvents& oEvents, const CMoments& oMoments);

  const CEvents& Events() const { return m_oEvents; }
  const CMoments& Moments() const { return m_oMoments; }
  const CHistory& History() const { return m_oEvents.History(); }

  const TPlacedStream& Placed(TIndex nStream) const { return m_atPlaced[nStream]; }
  TPlacedStream& Placed(TIndex nStream) { return m_atPlaced[nStream]; }

  /// The lines of a stream, ascending by file.
  std::span<const TIndex> LinesOf(TIndex nStream) const;
  /// When an entry of a placed stream is first seen there.
  TKey Arrival(TIndex nStream, TIndex nRevision) const;
  /// All files of a placed stream after the change with this key, ascending by file.
  std::vector<TFileState> StateAt(TIndex nStream, TKey nKey) const;
  /// The trunk's revision of one file; NONE: it isn't there.
  TIndex TrunkAt(TIndex nFile, TKey nKey) const;
  /// The key of the last change of the trunk, if the trunk's end needs one.
  TKey EndKey() const { return KeyAfter(m_oMoments.Last()); }

 private:
  /// The last event of a line's chain up to the key; NONE: none so far.
  TIndex LastEvent(TIndex nLine, TKey nKey) const;

  const CEvents& m_oEvents;
  const CMoments& m_oMoments;
  std::vector<TPlacedStream> m_atPlaced;
  std::vector<TIndex> m_anLines;       ///< stream by stream
  std::vector<TIndex> m_anFirstLines;  ///< by stream, and one more
};

}  // namespace TALVEK::EXACT
