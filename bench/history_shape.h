#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace TALVEK::BENCH {

/// The shape of a made-up history. The same shape and seed give the same history.
///
/// A few imports of many files each make the tree; later commits mostly change files of one folder. The real
/// log that was measured is like that (68 k revisions of 24 k files): the seven largest of its 6103
/// changesets have 79 % of all items, and 44 % of those with 2 to 100 items lie in one folder; by chance
/// hardly any would.
struct TShape {
  std::uint64_t nSeed = 1;
  std::uint32_t nFiles = 1000;
  std::uint32_t nRevisions = 10;       ///< of each file, on the trunk
  std::uint32_t nNames = 20;           ///< tags, each on nearly every file
  std::uint32_t nBranches = 2;         ///< from the trunk
  std::uint32_t nBranchesOfFile = 0;   ///< about how many of the branches each file has; 0: all
  std::uint32_t nBranchRevisions = 1;  ///< of each file, on each branch
  std::uint32_t nNested = 0;           ///< depth of the chain of branches that starts from each branch
  std::uint32_t nAuthors = 20;
  std::uint32_t nCommitSize = 5;       ///< files in a commit, on average; imports have more
  std::uint32_t nImports = 10;         ///< commits that make all first revisions; 0: usual commits make them
  std::uint32_t nImportedPercent = 0;  ///< of the later revisions: how many come by such imports, too
  std::uint32_t nMessageLength = 60;   ///< characters, on average
  std::uint32_t nMessages = 0;         ///< number of different messages; 0: each commit has its own
  std::uint32_t nSpan =
      0;  ///< seconds in which all trunk revisions lie, at random times; 0: 25 years, by commits
};

/// One revision of one file.
struct TRevision {
  std::string strNumber;
  std::uint64_t nCommit = 0;              ///< the commit's number, from which author and message follow
  std::int64_t nTime = 0;                 ///< seconds since 1970 UTC
  std::vector<std::string> astrBranches;  ///< first revisions of the branches that start here
};

/// One file. atLines has the trunk, newest revision first, then each branch, oldest revision first.
struct TFile {
  std::string strPath;  ///< below the module
  struct TName {
    std::string strName;
    std::string strNumber;
  };
  std::vector<TName> atNames;
  std::vector<std::vector<TRevision>> atLines;
};

/// Makes a history file by file, so that one of any size needs little memory.
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

/// One file's part of the output of `cvs rlog`, with times like "2001-02-03 04:05:06 +0000".
std::string LogText(const CHistory& oHistory, const std::string& strRoot, const TFile& tFile);
/// The content of the file's RCS file ("NAME,v").
std::string RcsText(const CHistory& oHistory, const TFile& tFile);

}  // namespace TALVEK::BENCH
