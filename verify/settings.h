#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/import_record.h"
#include "verify/cvs_module.h"
#include "verify/log_facts.h"

namespace TALVEK::VERIFY {

/// What the administrator asks for.
struct TCommandLine {
  std::string strShow;  ///< help or version; not empty: nothing else counts
  std::filesystem::path oFolder = ".";
  std::map<std::string, std::string> astrProperties;  ///< those given, by key
  std::optional<std::string> strProvider;
  std::optional<std::string> strTrunkBranch;
  std::size_t nDates = 0;  ///< moments to compare of the trunk and each branch
  bool bAll = false;       ///< every tag by a whole export
  bool bJson = false;
  bool bBrief = false;  ///< rows that aren't equal only
  std::size_t nMostShown = 3;
  bool bQuiet = false;
  std::filesystem::path oCommandLog;
};

/// EHostError (STATUS_WRONG_USE) when the arguments (without the program's name) can't be understood.
TCommandLine ParseCommandLine(const std::vector<std::string>& astrArguments);

/// What is verified.
struct TSettings {
  TModuleSource tSource;
  TScope tScope;
  std::string strProvider = "cvsexact";
  bool bByRules = false;  ///< made by the provider cvs
  bool bNested = false;   ///< of that provider: branches have branches for parents
  std::string strTrunkRef = "refs/heads/main";
  /// The import's record of streams and references; none: names are looked for by themselves.
  std::optional<std::vector<HOST::TRecordedRef>> atRefs;
};

/// Puts the command line over the import's record. EHostError (STATUS_WRONG_USE) when it isn't said what the
/// repository is to equal, or when it can't equal anything.
TSettings MakeSettings(const TCommandLine& tCommandLine, const std::optional<HOST::TImportRecord>& tRecord);

}  // namespace TALVEK::VERIFY
