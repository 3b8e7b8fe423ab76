#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "exact/rcs_file.h"
#include "verify/quiet_moments.h"

namespace TALVEK::VERIFY {

/// What is compared: an import may have left things out.
struct TScope {
  bool bBranches = true;
  bool bTags = true;
  bool bUnnamedBranches = true;
  std::function<bool(std::string_view strName)> fnWanted;  ///< none: all names
  std::optional<std::int64_t> nEndTime;                    ///< nothing after it
};

/// A symbolic name, over all files.
struct TNameFacts {
  std::uint32_t nBranchFiles = 0;
  std::uint32_t nTagFiles = 0;
  bool bAfterEnd = false;  ///< a tag of a revision after the end time

  /// As an import sees it: a branch when it is one in any file.
  bool IsBranch() const { return nBranchFiles > 0; }
};

/// What the verification takes from the log: the names, the branches without one, and the times. Nothing
/// else: what the names give is the server's to say.
class CLogFacts {
 public:
  /// `bTimes`: moments are wanted.
  CLogFacts(TScope tScope, bool bTimes) : m_tScope(std::move(tScope)), m_bTimes(bTimes) {}

  void Add(const EXACT::TRcsFile& tFile);
  /// After the last file.
  void Finish();

  const TScope& Scope() const { return m_tScope; }
  /// A name that the client gives a meaning of its own, whatever a file says.
  static bool IsClientsOwn(const std::string& strName) { return strName == "HEAD" || strName == "BASE"; }

  /// All that are in scope.
  const std::map<std::string, TNameFacts>& Names() const { return m_atNames; }
  /// By number ("1.2.2") the files, by path in the module, in which such a branch has revisions and no name.
  /// Nothing when such branches aren't in scope.
  const std::map<std::string, std::set<std::string>>& UnnamedBranches() const;
  /// The files, by path in the module.
  const std::set<std::string>& Paths() const { return m_astrPaths; }
  /// Of the trunk ("") or a branch; empty when there is none.
  std::vector<std::int64_t> Moments(const std::string& strName, std::size_t nCount);
  /// The files that have a revision on the branch by then.
  std::vector<std::string> ChangedBy(const std::string& strBranch, std::int64_t nTime) const;
  bool HasChanged(const std::string& strBranch, const std::string& strPath) const;
  /// True when that branch of the file has no name, whatever is in scope.
  bool IsUnnamed(const std::string& strNumber, const std::string& strPath) const;

 private:
  struct TLine;

  void AddNames(const EXACT::TRcsFile& tFile, const std::map<std::string, TLine>& atLines);
  void AddTimes(const std::string& strStream, const TLine& tLine);
  bool IsInScope(const std::string& strName, const TNameFacts& tFacts) const;

  TScope m_tScope;
  bool m_bTimes;
  std::map<std::string, TNameFacts> m_atNames;
  std::map<std::string, std::set<std::string>> m_astrUnnamed;
  std::set<std::string> m_astrPaths;
  std::map<std::string, CQuietMoments> m_aoMoments;
  /// By branch and path, the time of the first revision on it.
  std::map<std::string, std::map<std::string, std::int64_t>> m_anFirstTimes;
  /// By stream and commit id, the first and the last time.
  std::map<std::pair<std::string, std::string>, std::pair<std::int64_t, std::int64_t>> m_anCommits;
};

/// "1.2.2"
std::string NumberText(const EXACT::TNumber& nNumber);

}  // namespace TALVEK::VERIFY
