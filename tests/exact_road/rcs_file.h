#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace TALVEK::TEST {

/// One revision as the history's file holds it.
struct TRcsRevision {
  std::string strNumber;
  std::int64_t nTime = 0;  // seconds since 1970 UTC
  std::string strAuthor;
  std::string strState;
  std::string strCommitId;  // "" where the client was too old to give one
  std::string strLog;
  std::string strText;  // the whole text, keywords as they were committed
  std::string strNext;
  std::vector<std::string> astrBranches;  // first revisions of the branches that sprout here

  bool IsDead() const { return strState == "dead"; }
};

/// One file of the history (`,v`).
struct TRcsFile {
  std::string strPath;  // in a checkout of the module
  std::string strHead;
  std::string strBranch;                                       // the default branch, mostly ""
  std::vector<std::pair<std::string, std::string>> astrNames;  // symbolic name, number
  std::map<std::string, TRcsRevision> atRevisions;             // by number
};

/// Reads one history. A second reader beside the project's own: it shares no code with it, reads the file and
/// not the log, and is written to be obvious. Throws std::runtime_error where the file isn't as rcsfile(5)
/// says.
TRcsFile ReadRcsFile(const std::filesystem::path& oFile);
/// All histories of a module's folder, by path.
std::vector<TRcsFile> ReadRcsFiles(const std::filesystem::path& oFolder);

}  // namespace TALVEK::TEST
