#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace TALVEK::BENCH {

/// What a made-up history is like. The same shape and seed give the same history.
///
/// The tree comes in by a few imports of many files each; later commits mostly stay in one folder. That is
/// what the measured real log is like (68 k revisions of 24 k files): the seven largest of its 6103
/// changesets hold 79 % of all items, and of those with 2 to 100 items 44 % lie in one folder, where chance
/// would put hardly any.
struct TShape {
  std::uint64_t nSeed = 1;
  std::uint32_t nFiles = 1000;
  std::uint32_t nRevisions = 10;       ///< of each file on the trunk
  std::uint32_t nNames = 20;           ///< tags, each on nearly every file
  std::uint32_t nBranches = 2;         ///< from the trunk
  std::uint32_t nBranchesOfFile = 0;   ///< as many of them each file has, about; 0: all
  std::uint32_t nBranchRevisions = 1;  ///< of each file on each branch
  std::uint32_t nNested = 0;           ///< branches one below the other that start from each branch
  std::uint32_t nAuthors = 20;
  std::uint32_t nCommitSize = 5;  ///< files in a commit, on average, but for the imports
  std::uint32_t nImports = 10;    ///< commits that bring all first revisions; 0: each comes by a usual commit
  std::uint32_t nImportedPercent = 0;  ///< of the later revisions, those that come by as many commits again
  std::uint32_t nMessageLength = 60;   ///< characters, on average
  std::uint32_t nMessages = 0;         ///< so many different ones; 0: each commit has its own
  std::uint32_t nSpan = 0;  ///< seconds over which the trunk's revisions are strewn; 0: 25 years, by commits
};

/// One revision of one file.
struct TRevision {
  std::string strNumber;
  std::uint64_t nCommit = 0;  ///< what tells author and message; the same for all files of the commit
  std::int64_t nTime = 0;     ///< seconds since 1970 UTC
  std::vector<std::string> astrBranches;  ///< first revisions of the branches that start here
};

/// One file: revisions of the trunk, newest first, then those of each branch, oldest first.
struct TFile {
  std::string strPath;  ///< below the module
  struct TName {
    std::string strName;
    std::string strNumber;
  };
  std::vector<TName> atNames;
  std::vector<std::vector<TRevision>> atLines;
};

/// Makes a history file by file, so that its size doesn't matter.
class CHistory {
 public:
  explicit CHistory(const TShape& tShape);

  TFile MakeFile(std::uint32_t nFile) const;
  std::string Author(std::uint64_t nCommit) const;
  std::string Message(std::uint64_t nCommit) const;

 private:
  std::vector<std::uint64_t> TrunkCommits(std::uint32_t nFile) const;
  std::uint32_t FilesOfBranch() const { return m_tShape.nFiles / m_nBranchStep; }
  std::uint64_t PickCommit(std::uint32_t nFile, std::uint64_t nStretch, std::uint64_t nCommits) const;
  bool IsImported(std::uint32_t nFile, std::uint64_t nStretch, std::uint32_t nBranch) const;
  std::uint64_t ImportOf(std::uint32_t nFile, std::uint64_t nCommits) const;
  std::vector<std::int64_t> TrunkTimes(const std::vector<std::uint64_t>& anCommits,
                                       std::uint32_t nFile) const;
  std::uint64_t UsualCommits(std::uint64_t nRevisions) const;
  void AddTags(const std::vector<std::uint64_t>& anCommits, TFile& tFile) const;
  void AddBranches(std::uint32_t nFile, const std::vector<std::uint64_t>& anCommits, TFile& tFile) const;
  void AddBranch(std::uint32_t nFile, std::uint32_t nBranch, std::uint32_t nDepth,
                 const std::string& strNumber, std::int64_t nStart, TFile& tFile) const;

  TShape m_tShape;
  std::uint64_t m_nCommits;
  std::uint32_t m_nBranchStep;  // from one branch of a file to the next
};

/// `cvs rlog`'s text of one file; `nTime` as "2001-02-03 04:05:06 +0000".
std::string LogText(const CHistory& oHistory, const std::string& strRoot, const TFile& tFile);
/// The content of the file's RCS file.
std::string RcsText(const CHistory& oHistory, const TFile& tFile);

}  // namespace TALVEK::BENCH
