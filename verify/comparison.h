#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "verify/file_contents.h"
#include "verify/git_side.h"

namespace TALVEK::VERIFY {

/// What CVS gives for a file of a name.
struct TGivenFile {
  std::string strRevision;  ///< empty: not known
  TContent tContent;
  std::string strWords;  ///< the client's, where it refuses the file
};

using TGivenFiles = std::map<std::string, TGivenFile>;  // by the path in Git

/// What a file isn't.
enum class TProblemKind { DIFFERENT, MISSING, EXTRA, REFUSED };
inline constexpr std::size_t PROBLEM_KIND_COUNT = 4;

/// A file that isn't equal.
struct TProblem {
  TProblemKind eKind = TProblemKind::DIFFERENT;
  std::string strPath;
  std::string strRevision;  ///< in CVS; empty where there is none, or it isn't known
  std::string strReason;
};

/// How one name came out.
struct TRow {
  enum TKind { TRUNK, BRANCH, TAG, UNNAMED, ONLY_IN_GIT };
  enum TStatus { EQUAL, DIFFERENT, MISSING_REF, EXTRA_REF, REFUSED };

  TKind eKind = TRUNK;
  std::string strName;  ///< in CVS; empty for ONLY_IN_GIT
  std::string strRef;   ///< in Git; empty where it has none
  std::string strTime;  ///< "2003-05-14 09:30:00 UTC": the state then; empty: the end
  std::string strHow;   ///< how CVS was asked: "export", "rls and file by file"
  TStatus eStatus = EQUAL;
  std::uint64_t nFiles = 0;  ///< that CVS gives
  std::uint64_t nEqual = 0;
  std::uint64_t anProblems[PROBLEM_KIND_COUNT] = {};
  std::vector<TProblem> atFirst;  ///< some of each kind
  std::string strWords;           ///< REFUSED: the client's

  std::uint64_t Count(TProblemKind eProblem) const { return anProblems[static_cast<std::size_t>(eProblem)]; }
};

/// Compares what CVS gives for names with trees of Git.
class CComparison {
 public:
  CComparison(CGitSide& oGit, CFileContents& oContents, std::size_t nMostShown)
      : m_oGit(oGit), m_oContents(oContents), m_nMostShown(nMostShown) {}

  /// Fills counts, first files and status.
  void Compare(const TGivenFiles& atGiven, const TGitTree& atTree, TRow& tRow);

 private:
  bool HasEqualBytes(const TContent& tContent, const TGitFile& tFile);
  std::string Difference(const std::string& strPath, const TGivenFile& tGiven, const TGitFile& tFile);
  void Add(TRow& tRow, TProblem tProblem) const;

  CGitSide& m_oGit;
  CFileContents& m_oContents;
  std::size_t m_nMostShown;
};

}  // namespace TALVEK::VERIFY
