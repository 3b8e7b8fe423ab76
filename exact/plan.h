#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "exact/history.h"
#include "exact/records.h"
#include "exact/spool.h"

namespace TALVEK::EXACT {

enum class TStreamKind : std::uint8_t {
  MAIN,    ///< the trunk
  BRANCH,  ///< a name that is a branch in some file, or a branch line without a name ("unnamed-1.2.2")
  VENDOR,  ///< a branch that `cvs import` made: it never has a parent
  TAG,
};

/// A stream of the plan. It begins with the state of its base change (no base: with no file) and goes on with
/// its own changes. A stream without changes is a name for its base; one with neither has no file at all.
struct TPlanStream {
  std::string strName;  ///< bytes of the log; the trunk's is "Main"
  TStreamKind nKind = TStreamKind::BRANCH;
  TIndex nParent = NONE;          ///< stream of the base change
  TIndex nBase = NONE;            ///< change of the plan; comes before each change of this stream
  std::vector<TIndex> anChanges;  ///< changes of the plan, ascending
};

enum class TChangeKind : std::uint8_t {
  OWN,           ///< a changeset of CVS
  START,         ///< made up: turns the base's state into the state with which the branch or tag starts
  JOIN,          ///< made up: files that joined the branch after its first own change
  END_OF_TRUNK,  ///< made up: files whose trunk is a default branch that shows something else than the
                 ///< trunk's dates do
};

/// A change of the plan. Changes are numbered in the order in which they are to be written.
struct TPlanChange {
  TIndex nStream = TRUNK;
  TChangeKind nKind = TChangeKind::OWN;
  std::int64_t nTime =
      0;  ///< seconds since 1970 UTC; never before the stream's change before it, nor before its base
  std::int64_t nCvsTime =
      0;  ///< the time that the repository gives: later changes of the stream may have an earlier one
  TIndex nLead = NONE;  ///< a revision that has the author and the message of an own change; NONE: made up
  std::uint64_t nItems = 0;      ///< how many items it has; 0 for no change but those of damaged plans
  std::uint64_t nFirstItem = 0;  ///< place of its items, for the plan's own use
};

/// What a change does to one file.
struct TPlanItem {
  TIndex nFile = NONE;
  TIndex nRevision = NONE;  ///< the file's revision after the change; NONE: the file is deleted
  TIndex nBefore = NONE;    ///< the file's revision in the stream before the change; NONE: it isn't there
};

/// "1 file", "3 files".
std::string CountText(std::uint64_t nCount, const std::string& strNoun);

/// What an import log has to tell about the plan.
struct TPlanNotes {
  std::vector<std::string>
      astrLines;  ///< whole sentences, UTF-8 not guaranteed (names and paths are bytes of the log)
  std::uint64_t nClocks = 0;   ///< changes whose time is before that of an earlier change of their stream
  std::uint64_t nCircles = 0;  ///< changesets cut because they would have had to come before each other
  std::uint64_t nTwice = 0;    ///< changesets cut because a file would have come twice
  std::uint64_t nNamesLeftOut = 0;  ///< names that the options or the end time leave out
  std::uint64_t nExactNames = 0;    ///< branches and tags that start exactly as some change leaves its stream
  std::uint64_t nStartChanges = 0;
  std::uint64_t nJoinChanges = 0;
};

/// A difference between plan and history.
struct TPlanDifference {
  TIndex nFile = NONE;
  TIndex nStream = NONE;
  TIndex nExpected = NONE;  ///< revision that the history has there; NONE: no file, or none expected
  TIndex nFound = NONE;     ///< revision that the plan has there
  std::string strWhat;      ///< a sentence with the names of file, stream and revisions
};

struct TPlanCheck {
  std::uint64_t nRefs = 0;               ///< trunk, branches and tags whose state was compared
  std::uint64_t nRevisions = 0;          ///< living revisions looked for
  std::uint64_t nDifferences = 0;        ///< 0: the plan equals the history
  std::vector<TPlanDifference> atFirst;  ///< at most 100 of them
};

/// The plan of an import: streams, and changes in the order of writing. Points into the history, which must
/// outlive it.
///
/// Cost     Items lie in memory up to a limit and then in an unlinked temporary file, 12 bytes each.
/// Errors   Reading items throws std::system_error where the temporary file can't be read.
/// Threads  One.
class CPlan {
 public:
  explicit CPlan(const CHistory& oHistory) : m_poHistory(&oHistory) {}

  const CHistory& History() const { return *m_poHistory; }
  const std::vector<TPlanStream>& Streams() const { return m_atStreams; }
  const std::vector<TPlanChange>& Changes() const { return m_atChanges; }

  /// Calls fnItem(const TPlanItem&) for the items of a change, in ascending order of files.
  template <class TFunction>
  void ForEachItem(TIndex nChange, TFunction fnItem) const {
    const TPlanChange& tChange = m_atChanges[nChange];
    TPlanItem atBlock[512];
    for (std::uint64_t nItem = 0; nItem < tChange.nItems;) {
      const std::size_t nCount =
          static_cast<std::size_t>(std::min<std::uint64_t>(512, tChange.nItems - nItem));
      m_oItems.Read((tChange.nFirstItem + nItem) * sizeof(TPlanItem), atBlock, nCount * sizeof(TPlanItem));
      for (std::size_t n = 0; n < nCount; ++n)
        fnItem(static_cast<const TPlanItem&>(atBlock[n]));
      nItem += nCount;
    }
  }

  /// Author and message: of the changeset; of made-up changes "cvsexact" and what the change does and why,
  /// with counts and the first 50 files.
  std::string Author(TIndex nChange) const;
  std::string Message(TIndex nChange) const;

  // For the passes that make the plan.
  std::vector<TPlanStream>& EditStreams() { return m_atStreams; }
  std::vector<TPlanChange>& EditChanges() { return m_atChanges; }
  CSpool& EditItems() { return m_oItems; }

 private:
  const CHistory* m_poHistory;
  std::vector<TPlanStream> m_atStreams;
  std::vector<TPlanChange> m_atChanges;
  CSpool m_oItems;
};

}  // namespace TALVEK::EXACT
