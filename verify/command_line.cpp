#include <algorithm>

#include <CLI/CLI.hpp>

#include "host/exit_status.h"
#include "host/text_output.h"
#include "verify/settings.h"

namespace TALVEK::VERIFY {
namespace {

constexpr const char* DESCRIPTION =
    "Proves that a Git repository made by 'talvek-import run' equals the CVS module: the trunk, each branch "
    "and "
    "each tag is compared with what the cvs client gives for it (paths, bytes, executable bit).";

constexpr const char* EXAMPLES = R"(Examples:
  talvek-import verify tools.git
  talvek-import verify --dates 20 --format json tools.git > result.json

Exit status: 0 all equal, 1 failed, 2 wrong use, 3 differences.)";

/// An option that stands for a property of the import.
struct TPropertyOption {
  const char* pszOption;
  const char* pszKey;
  const char* pszType;  ///< null: a switch
  const char* pszHelp;
};

constexpr TPropertyOption PROPERTY_OPTIONS[] = {
    {"repos-path", "ReposPath", "TEXT", "The CVS root"},
    {"module-name", "ModuleName", "TEXT", "The module"},
    {"cvs-path", "CVSPath", "FILE", "The client; the default is cvs-session beside this program, else cvs"},
    {"log-file", "LogFile", "FILE", "A saved output of 'cvs rlog' that names branches, tags and files"},
    {"end-date", "EndDate", "TEXT", "The repository as it was then"},
    {"include-tags", "IncludeTags", "TEXT", "Patterns of the branches and tags to compare"},
    {"exclude-tags", "ExcludeTags", "TEXT", "Patterns of those not to compare"},
    {"cmd-repeat-count", "CmdRepeatCount", "N", "How often a command that fails is run in all"},
    {"create-branches", "CreateBranches", nullptr, "Compare branches and tags"},
    {"streams-for-tags", "StreamsForTags", nullptr, "Compare tags"},
    {"unnamed-branches", "UnnamedBranches", nullptr, "Compare branches without a name"},
};

class CGrammar {
 public:
  CGrammar() : m_oApp(DESCRIPTION, "talvek-import verify") {
    m_oApp.footer(EXAMPLES);
    m_oApp.set_version_flag("--version", std::string("talvek-import ") + TALVEK_VERSION);
    AddOptions();
    AddProperties();
  }

  TCommandLine Parse(std::vector<std::string> astrArguments) {
    std::reverse(astrArguments.begin(), astrArguments.end());
    try {
      m_oApp.parse(astrArguments);
    } catch (const CLI::CallForHelp&) {
      m_tResult.strShow = m_oApp.help();
    } catch (const CLI::CallForVersion& oVersion) {
      m_tResult.strShow = std::string(oVersion.what()) + '\n';
    } catch (const CLI::ParseError& oError) {
      throw HOST::EHostError(HOST::STATUS_WRONG_USE, HOST::ShowBytes(oError.what()),
                             "'talvek-import verify --help' shows the options");
    }
    TakeProperties();
    return m_tResult;
  }

 private:
  void AddOptions() {
    m_oApp.add_option("DIR", m_tResult.oFolder, "The Git repository (default: the current folder)");
    m_oApp
        .add_option("--dates", m_tResult.nDates,
                    "Compare the trunk and each branch also at N times over its life")
        ->type_name("N");
    m_oApp.add_flag("--all", m_tResult.bAll, "Export every tag whole, not only some of them");
    m_oApp.add_option("--format", m_strFormat, "The format of the output")
        ->check(CLI::IsMember({"text", "json"}))
        ->default_str("text");
    m_oApp.add_flag("--brief", m_tResult.bBrief, "Leave out of the table what is equal");
    m_oApp.add_option("--files", m_tResult.nMostShown, "Name the first N files of each kind of difference")
        ->type_name("N")
        ->capture_default_str();
    m_oApp
        .add_option("--command-log", m_tResult.oCommandLog,
                    "Add the cvs commands, and what cvs said, to this file")
        ->type_name("FILE");
    m_oApp.add_flag("-q,--quiet", m_tResult.bQuiet, "Show no progress");
    m_oApp.add_option("--provider", m_tResult.strProvider, "The provider that made the import")
        ->type_name("NAME");
    m_oApp.add_option("--trunk-branch", m_tResult.strTrunkBranch, "The name of the trunk in Git")
        ->type_name("NAME");
    m_oApp.add_option("--set", m_astrSet, "A property of the import by its key: Key=Value")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
  }

  void AddProperties() {
    for (const TPropertyOption& tOption : PROPERTY_OPTIONS) {
      const std::string strName = std::string("--") + tOption.pszOption;
      CLI::Option* poOption = tOption.pszType
                                  ? m_oApp.add_option(strName, tOption.pszHelp)->type_name(tOption.pszType)
                                  : m_oApp.add_flag(strName + ",!--no-" + tOption.pszOption, tOption.pszHelp);
      poOption->group("Where they differ from those of the import");
      m_apoProperties.emplace_back(poOption, &tOption);
    }
  }

  void TakeProperties() {
    m_tResult.bJson = m_strFormat == "json";
    for (const std::string& strSet : m_astrSet) {
      const std::size_t nEqual = strSet.find('=');
      if (nEqual == std::string::npos) {
        throw HOST::EHostError(HOST::STATUS_WRONG_USE, "'" + HOST::ShowBytes(strSet) + "' has no '='",
                               "write --set Key=Value");
      }
      m_tResult.astrProperties[strSet.substr(0, nEqual)] = strSet.substr(nEqual + 1);
    }
    for (const auto& [poOption, ptOption] : m_apoProperties) {
      if (poOption->count() == 0) continue;
      m_tResult.astrProperties[ptOption->pszKey] =
          ptOption->pszType ? poOption->results().back() : (poOption->as<bool>() ? "1" : "0");
    }
  }

  TCommandLine m_tResult;
  std::string m_strFormat = "text";
  std::vector<std::string> m_astrSet;
  std::vector<std::pair<CLI::Option*, const TPropertyOption*>> m_apoProperties;
  CLI::App m_oApp;
};

}  // namespace

TCommandLine ParseCommandLine(const std::vector<std::string>& astrArguments) {
  return CGrammar().Parse(astrArguments);
}

}  // namespace TALVEK::VERIFY
