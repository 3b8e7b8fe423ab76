#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace TALVEK::HOST {

/// Which reference of Git a stream has become.
struct TRecordedRef {
  std::string strStream;
  std::string strRef;  ///< "refs/heads/NAME", "refs/tags/NAME"
};

/// What an import was asked for, and what it made. A verification needs nothing else to repeat the question.
struct TImportRecord {
  std::string strProvider;
  std::map<std::string, std::string> astrProperties;  ///< by key
  std::string strTrunkRef;
  std::vector<TRecordedRef> atRefs;  ///< of branches and tags
};

/// Writes it into the Git repository, readable for its owner only: a root may hold a password. False when
/// that can't be done.
bool WriteImportRecord(const std::filesystem::path& oGitFolder, const TImportRecord& tRecord);

/// None when the repository has none. EHostError (STATUS_FAILED) when it can't be read.
std::optional<TImportRecord> ReadImportRecord(const std::filesystem::path& oGitFolder);

}  // namespace TALVEK::HOST
