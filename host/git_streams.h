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

/// Writes the streams of a history as branches and tags: where each starts, its commits, where it ends.
///
/// Shape    Begin, any number of Commit, End for one stream after the other, in an order in which the stream
///          from which another one branches comes first. A stream that comes before the changeset from which
///          it branches starts a history of its own, and that is reported.
/// Errors   Those of the fast-import stream.
/// Owns     Nothing of its arguments, which must outlive it.
/// Cost     Memory for each changeset from which some stream branches: its tree, shared with other trees
///          where they are equal.
class CGitStreams {
 public:
  CGitStreams(const std::vector<TStream>& atStreams, const TRefOptions& tRefOptions,
              CFastImportStream& oStream, CReport& oReport);
  CGitStreams(const CGitStreams&) = delete;
  CGitStreams& operator=(const CGitStreams&) = delete;

  /// `tStream` must stay until End.
  void Begin(const TStream& tStream);
  /// The files at the end of the current stream, as they are before the next commit.
  CLiveTree& GetTree() { return m_oTree; }
  /// Writes a commit of the current stream, whose reference and parent it sets. The tree has been brought up
  /// to it.
  void Commit(std::uint32_t nChangeID, CFastImportStream::TCommit tCommit);
  void End();

  /// By branch and tag with commits of its own, how many commits lead to its end, that one counted.
  const std::map<std::string, std::uint64_t>& GetDepths() const { return m_anDepths; }

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
