#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/console.h"
#include "host/fast_import_stream.h"
#include "host/git_refs.h"
#include "host/history_walk.h"
#include "host/live_tree.h"

namespace TALVEK::HOST {

/// Writes the streams of a history as branches and tags, and knows from which commit each starts.
///
/// Shape    For each stream: Begin, any number of Commit, End. A stream should come after the one from which
///          it branches; if it comes before its base change, it becomes a root, and that is reported.
/// Errors   Those of the fast-import stream.
/// Owns     Nothing of its arguments, which must outlive it.
/// Cost     Memory for the tree of each changeset from which a stream branches. Trees share equal folders.
class CGitStreams {
 public:
  CGitStreams(const std::vector<TStream>& atStreams, const TRefOptions& tRefOptions,
              CFastImportStream& oStream, CReport& oReport);
  CGitStreams(const CGitStreams&) = delete;
  CGitStreams& operator=(const CGitStreams&) = delete;

  /// `tStream` must stay until End.
  void Begin(const TStream& tStream);
  /// The files at the tip of the current stream. Apply a changeset to it before its Commit.
  CLiveTree& GetTree() { return m_oTree; }
  /// Sets the commit's reference and parent and writes it. The tree must have its changes already.
  void Commit(std::uint32_t nChangeID, CFastImportStream::TCommit tCommit);
  void End();

  /// For each branch or tag with commits of its own, the number of commits from its root to its tip, both
  /// counted.
  const std::map<std::string, std::uint64_t>& GetDepths() const { return m_anDepths; }
  /// The references of the branches and tags written so far.
  const std::vector<TRecordedRef>& GetRefs() const { return m_oRefs.GetRecorded(); }

 private:
  using TMark = CFastImportStream::TMark;

  /// A commit from which a stream branches.
  struct TBase {
    TMark nCommit = 0;
    CLiveTree oTree;
    std::uint64_t nDepth = 0;
  };

  const TBase* FindBase(const TStream& tStream) const;
  void ReportMissingBase() const;

  CFastImportStream& m_oStream;
  CReport& m_oReport;
  CGitRefs m_oRefs;
  std::set<std::uint32_t> m_anBaseChanges;            // from which some stream branches
  std::unordered_map<std::uint32_t, TBase> m_aBases;  // those written so far
  std::map<std::string, std::uint64_t> m_anDepths;

  // Of the current stream:
  const TStream* m_poStream = nullptr;
  CLiveTree m_oTree;
  std::optional<TMark> m_nParent;  // of its first commit
  bool m_bHasCommits = false;
  std::uint64_t m_nDepth = 0;  // of its last commit
};

}  // namespace TALVEK::HOST
