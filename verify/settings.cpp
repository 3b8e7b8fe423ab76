#include "verify/settings.h"

#include <memory>
#include <utility>

#include "client/cvs_client.h"
#include "client/tag_filters.h"
#include "core/text_codec.h"
#include "exact/end_date.h"
#include "host/exit_status.h"
#include "host/programs.h"
#include "host/text_output.h"

namespace TALVEK::VERIFY {
namespace {

using TProperties = std::map<std::string, std::string>;

constexpr const char* PROVIDER_BY_RULES = "cvs";

std::string Property(const TProperties& astrProperties, const std::string& strKey,
                     const std::string& strDefault) {
  const auto oFound = astrProperties.find(strKey);
  return oFound == astrProperties.end() ? strDefault : oFound->second;
}

bool IsOn(const TProperties& astrProperties, const std::string& strKey) {
  return Property(astrProperties, strKey, "1") == "1";
}

std::string Required(const TProperties& astrProperties, const std::string& strKey,
                     const std::string& strOption) {
  std::string strValue = Property(astrProperties, strKey, "");
  if (!strValue.empty()) return strValue;
  throw HOST::EHostError(HOST::STATUS_WRONG_USE,
                         "the repository doesn't say which CVS module it was imported from",
                         "give it with " + strOption);
}

std::string DefaultClient() {
  const std::string strBundled = HOST::BundledClient(HOST::ProgramFolder());
  return strBundled.empty() ? "cvs" : strBundled;
}

std::function<bool(std::string_view)> MakeFilter(const TProperties& astrProperties) {
  auto poFilters = std::make_shared<CLIENT::CTagFilters>();
  poFilters->Read(VCM::FromBytes(Property(astrProperties, "IncludeTags", "*")),
                  VCM::FromBytes(Property(astrProperties, "ExcludeTags", "")));
  return [poFilters](std::string_view strName) {
    return CLIENT::PassesFilters(VCM::FromBytes(strName).View(), poFilters->GetInclude(),
                                 poFilters->GetExclude());
  };
}

std::optional<std::int64_t> EndTime(const TProperties& astrProperties) {
  const std::string strDate = Property(astrProperties, "EndDate", "");
  if (strDate.empty()) return std::nullopt;
  const std::optional<std::int64_t> nTime = EXACT::ReadEndDate(strDate);
  if (nTime) return nTime;
  throw HOST::EHostError(HOST::STATUS_WRONG_USE, "'" + HOST::ShowBytes(strDate) + "' is no date",
                         "write it as 2004-12-31 or 2004-12-31 23:59:59 (UTC)");
}

TScope MakeScope(const TProperties& astrProperties, bool bByRules) {
  TScope tScope;
  tScope.bBranches = IsOn(astrProperties, "CreateBranches");
  tScope.bTags = IsOn(astrProperties, "StreamsForTags");
  // The provider that goes by rules imports no branch without a name, and knows an end only with a start.
  tScope.bUnnamedBranches = !bByRules && IsOn(astrProperties, "UnnamedBranches");
  tScope.fnWanted = MakeFilter(astrProperties);
  if (!bByRules) tScope.nEndTime = EndTime(astrProperties);
  return tScope;
}

TModuleSource MakeSource(const TProperties& astrProperties) {
  TModuleSource tSource;
  tSource.strClient = Property(astrProperties, "CVSPath", "");
  if (tSource.strClient.empty()) tSource.strClient = DefaultClient();
  tSource.strRoot = Required(astrProperties, "ReposPath", "--repos-path");
  tSource.strModule = Required(astrProperties, "ModuleName", "--module-name");
  tSource.strLogFile = Property(astrProperties, "LogFile", "");
  tSource.nRepeatCount =
      CLIENT::ParseRepeatCount(VCM::FromBytes(Property(astrProperties, "CmdRepeatCount", "5")));
  return tSource;
}

}  // namespace

TSettings MakeSettings(const TCommandLine& tCommandLine, const std::optional<HOST::TImportRecord>& tRecord) {
  TSettings tSettings;
  TProperties astrProperties = tCommandLine.astrProperties;
  if (tRecord) {
    tSettings.strProvider = tRecord->strProvider;
    tSettings.strTrunkRef = tRecord->strTrunkRef;
    tSettings.atRefs = tRecord->atRefs;
    astrProperties.insert(tRecord->astrProperties.begin(), tRecord->astrProperties.end());
  }
  if (tCommandLine.strProvider) tSettings.strProvider = *tCommandLine.strProvider;
  if (tCommandLine.strTrunkBranch) tSettings.strTrunkRef = "refs/heads/" + *tCommandLine.strTrunkBranch;
  if (!Property(astrProperties, "StartDate", "").empty()) {
    throw HOST::EHostError(HOST::STATUS_WRONG_USE,
                           "an import that begins at a date holds no state of the CVS repository",
                           "import without --start-date what is to be verified");
  }
  tSettings.tSource = MakeSource(astrProperties);
  tSettings.bByRules = tSettings.strProvider == PROVIDER_BY_RULES;
  tSettings.bNested = Property(astrProperties, "NestedBranches", "") == "1";
  tSettings.tScope = MakeScope(astrProperties, tSettings.bByRules);
  return tSettings;
}

}  // namespace TALVEK::VERIFY
