#include "host/command_line.h"

#include <algorithm>
#include <map>

#include <CLI/CLI.hpp>

#include "core/text_codec.h"
#include "host/exit_status.h"
#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

constexpr const char* DESCRIPTION =
    "Imports the history of a foreign version-control system into Git, through an import provider.";

constexpr const char* EXAMPLES = R"(Examples:
  What can be set, and how:
    talvek-import properties

  Is everything there, and what would be imported?
    talvek-import check --repos-path /var/cvs --module-name tools

  Look at the branches first, from a log that was saved with 'cvs rlog':
    talvek-import preview --log-file tools.rlog --module-name tools --repos-path /var/cvs

  Import, without the nightly tags:
    talvek-import run --repos-path :pserver:anonymous@cvs.example.org:/cvs --module-name tools \
        --exclude-tags 'NIGHTLY_*' --into tools.git

  Write the stream for another program instead:
    talvek-import run --repos-path /var/cvs --module-name tools --fast-export - | less

  Prove that the repository equals the CVS module, at any later time too:
    talvek-import verify tools.git

Exit status: 0 all imported, 1 failed, 2 wrong use, 3 imported with losses or differences.)";

constexpr const char* VERSION_TEXT = "talvek-import " TALVEK_VERSION;

// CLI11 reads "--name=" as an option without a value, and takes the next word for its value.
std::vector<std::string> SplitEmptyValues(const std::vector<std::string>& astrArguments) {
  std::vector<std::string> astrSplit;
  for (const std::string& strArgument : astrArguments) {
    const bool bEmptyValue = strArgument.starts_with("--") && strArgument.find('=') + 1 == strArgument.size();
    if (bEmptyValue) {
      astrSplit.push_back(strArgument.substr(0, strArgument.size() - 1));
      astrSplit.emplace_back();
    } else {
      astrSplit.push_back(strArgument);
    }
  }
  return astrSplit;
}

/// The options of all commands.
class CGrammar {
 public:
  explicit CGrammar(CPropertyTable& oTable) : m_oTable(oTable), m_oApp(DESCRIPTION, "talvek-import") {
    m_oApp.footer(EXAMPLES);
    m_oApp.set_version_flag("--version", VERSION_TEXT);
    m_oApp.require_subcommand(1);
    AddGlobalOptions();
    AddProperties();
    AddCheck();
    AddPreview();
    AddRun();
    AddVerify();
  }

  TCommandLine Parse(const std::vector<std::string>& astrArguments) {
    std::vector<std::string> astrReversed = SplitEmptyValues(astrArguments);
    std::reverse(astrReversed.begin(), astrReversed.end());
    try {
      m_oApp.parse(astrReversed);
    } catch (const CLI::CallForHelp&) {
      m_tResult.strShow = m_oApp.help();  // of the command, once one was named
      return m_tResult;
    } catch (const CLI::CallForVersion&) {
      m_tResult.strShow = std::string(VERSION_TEXT) + '\n';
      return m_tResult;
    } catch (const CLI::ParseError& oError) {
      throw EHostError(STATUS_WRONG_USE, ShowBytes(Complaint(oError)),
                       "'talvek-import" + CommandName() + " --help' shows the options");
    }
    TakeProperties();
    return m_tResult;
  }

 private:
  void AddGlobalOptions() {
    m_oApp.add_option("--provider", m_strUnused, "The import provider (the NAME of talvek-em-NAME.so)")
        ->type_name("NAME")
        ->default_str("cvsexact");
    m_oApp.add_option("--provider-path", m_strUnused, "The provider's file, or the folder it is in")
        ->type_name("PATH");
    m_oApp.add_flag("--quiet,-q", m_tResult.bQuiet,
                    "Show no progress, only errors, losses, changes and the summary");
    m_oApp
        .add_option("--set", m_astrSet,
                    "Set a property by its key; the option of the property overrides this")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
  }

  CLI::App* AddCommand(TCommandLine::TCommand eCommand, const char* pszName, const char* pszDescription) {
    CLI::App* poCommand = m_oApp.add_subcommand(pszName, pszDescription);
    poCommand->fallthrough();
    poCommand->callback([this, eCommand] { m_tResult.eCommand = eCommand; });
    return poCommand;
  }

  void AddProperties() {
    CLI::App* poCommand =
        AddCommand(TCommandLine::COMMAND_PROPERTIES, "properties", "List the provider's properties");
    AddFormat(poCommand, {"text", "json"});
  }

  void AddCheck() {
    CLI::App* poCommand = AddCommand(TCommandLine::COMMAND_CHECK, "check",
                                     "Check that everything needed is there, and show what will be imported");
    AddImportLog(poCommand);
    AddPropertyOptions(poCommand);
  }

  void AddPreview() {
    CLI::App* poCommand = AddCommand(TCommandLine::COMMAND_PREVIEW, "preview",
                                     "Show streams, changesets and items without retrieving any file");
    AddFormat(poCommand, {"text", "jsonl"});
    AddImportLog(poCommand);
    AddPropertyOptions(poCommand);
  }

  void AddRun() {
    CLI::App* poCommand = AddCommand(TCommandLine::COMMAND_RUN, "run", "Import into Git");
    poCommand
        ->add_option("--into", m_tResult.strInto,
                     "The Git repository: a folder that doesn't exist, or is empty, or a repository "
                     "without commits")
        ->type_name("DIR");
    poCommand
        ->add_option("--fast-export", m_tResult.strFastExport,
                     "Write the stream for 'git fast-import' to a file instead; - is standard output")
        ->type_name("FILE");
    poCommand->add_flag("--bare", m_tResult.bBare, "Make the repository without checked out files");
    poCommand->add_option("--trunk-branch", m_tResult.strTrunkBranch, "The name of the trunk in Git")
        ->type_name("NAME")
        ->default_str("main");
    poCommand
        ->add_option("--work", m_tResult.strWork,
                     "Check files out into this folder and keep it; the default is a temporary folder")
        ->type_name("DIR");
    poCommand->add_flag("!--no-verify", m_tResult.bVerify,
                        "Don't compare the repository with CVS at the end (see talvek-import verify --help)");
    poCommand
        ->add_option("--max-losses", m_tResult.nMaxLosses,
                     "Fail (status 1) when the first N files are all lost; 0: never")
        ->type_name("N")
        ->check(CLI::Validator(CLI::NonNegativeNumber).description(""))
        ->capture_default_str();
    AddImportLog(poCommand);
    AddPropertyOptions(poCommand);
  }

  // The program takes this command before anything is parsed, where it is the first word.
  void AddVerify() {
    CLI::App* poCommand = m_oApp.add_subcommand(
        "verify",
        "Prove that a repository that 'run' made equals the CVS module (its options: verify --help)");
    poCommand->prefix_command();
    poCommand->callback([] { throw CLI::ValidationError("verify", "options of verify stand behind it"); });
  }

  void AddFormat(CLI::App* poCommand, const std::vector<std::string>& astrFormats) {
    poCommand->add_option("--format", m_tResult.strFormat, "The format of the output")
        ->check(CLI::IsMember(astrFormats))
        ->default_str("text");
  }

  void AddImportLog(CLI::App* poCommand) {
    poCommand->add_option("--import-log", m_tResult.strImportLog, "Keep the import log in this file")
        ->type_name("FILE");
  }

  void AddPropertyOptions(CLI::App* poCommand) {
    for (TProperty& tProperty : m_oTable.GetProperties()) {
      if (IsNameTaken(*poCommand, tProperty)) {
        tProperty.strOption.clear();
        continue;
      }
      CLI::Option* poOption =
          tProperty.IsSwitch() ? AddSwitch(poCommand, tProperty) : AddText(poCommand, tProperty);
      poOption->group("Properties of the import");
      m_atPropertyOptions[poCommand].emplace_back(poOption, &tProperty);
    }
  }

  bool IsNameTaken(const CLI::App& oCommand, const TProperty& tProperty) const {
    if (tProperty.strOption.empty()) return true;
    for (const std::string& strName : {"--" + tProperty.strOption, "--no-" + tProperty.strOption}) {
      if (oCommand.get_option_no_throw(strName) || m_oApp.get_option_no_throw(strName)) return true;
    }
    return false;
  }

  static CLI::Option* AddSwitch(CLI::App* poCommand, const TProperty& tProperty) {
    const std::string strHelp = VCM::ToBytes(tProperty.strLabel) +
                                (tProperty.strHostDefault == L"1" ? " (default: on)" : " (default: off)");
    return poCommand->add_flag("--" + tProperty.strOption + ",!--no-" + tProperty.strOption, strHelp);
  }

  static CLI::Option* AddText(CLI::App* poCommand, const TProperty& tProperty) {
    const bool bPath = tProperty.nType == MCE::TPropertyInfo::TYPE_EXECUTABLE;
    const std::string strLabel = VCM::ToBytes(tProperty.strLabel);
    return poCommand->add_option("--" + tProperty.strOption, strLabel)
        ->type_name(bPath ? "FILE" : "TEXT")
        ->default_str(VCM::ToBytes(tProperty.strHostDefault))
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  }

  // CLI11 says that a command is missing even if there was one that it doesn't know.
  std::string Complaint(const CLI::ParseError& oError) const {
    const std::vector<std::string> astrUnknown = m_oApp.remaining();
    const bool bNoCommand = dynamic_cast<const CLI::RequiredError*>(&oError) && CommandName().empty();
    return bNoCommand && !astrUnknown.empty() ? "There is no command '" + astrUnknown.front() + "'"
                                              : oError.what();
  }

  void TakeProperties() {
    for (const std::string& strSet : m_astrSet)
      m_oTable.SetFromText(strSet);
    for (const CLI::App* poCommand : m_oApp.get_subcommands()) {
      for (const auto& [poOption, ptProperty] : m_atPropertyOptions[poCommand]) {
        if (poOption->count() == 0) continue;
        ptProperty->bGiven = true;
        ptProperty->strValue = ptProperty->IsSwitch() ? VCM::CString(poOption->as<bool>() ? L"1" : L"0")
                                                      : VCM::FromBytes(poOption->results().back());
      }
    }
  }

  std::string CommandName() const {
    const std::vector<CLI::App*> apoCommands = m_oApp.get_subcommands();
    return apoCommands.empty() ? "" : ' ' + apoCommands.front()->get_name();
  }

  CPropertyTable& m_oTable;
  TCommandLine m_tResult;
  std::string m_strUnused;  // of --provider and --provider-path, which FindProviderChoice has read
  std::vector<std::string> m_astrSet;
  std::map<const CLI::App*, std::vector<std::pair<CLI::Option*, TProperty*>>> m_atPropertyOptions;
  CLI::App m_oApp;
};

// Takes the value of "--name value" or "--name=value" at that index. False when there is another argument.
bool MatchOption(const std::vector<std::string>& astrArguments, std::size_t nIndex,
                 const std::string& strName, std::string& strValue) {
  const std::string& strArgument = astrArguments[nIndex];
  if (strArgument == strName && nIndex + 1 < astrArguments.size()) {
    strValue = astrArguments[nIndex + 1];
    return true;
  }
  if (!strArgument.starts_with(strName + '=')) return false;
  strValue = strArgument.substr(strName.size() + 1);
  return true;
}

}  // namespace

TProviderChoice FindProviderChoice(const std::vector<std::string>& astrArguments) {
  TProviderChoice tChoice;
  for (std::size_t nIndex = 0; nIndex < astrArguments.size(); ++nIndex) {
    if (MatchOption(astrArguments, nIndex, "--provider", tChoice.strName)) continue;
    MatchOption(astrArguments, nIndex, "--provider-path", tChoice.strPath);
  }
  return tChoice;
}

bool AsksForHelp(const std::vector<std::string>& astrArguments) {
  return std::any_of(astrArguments.begin(), astrArguments.end(), [](const std::string& strArgument) {
    return strArgument == "--help" || strArgument == "-h" || strArgument == "--version";
  });
}

TCommandLine ParseCommandLine(const std::vector<std::string>& astrArguments, CPropertyTable& oTable) {
  return CGrammar(oTable).Parse(astrArguments);
}

}  // namespace TALVEK::HOST
