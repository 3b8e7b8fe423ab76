// import-dump: prints the whole import database of a CVS module as JSON Lines, for people who debug an
// import.

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "core/descriptor.h"
#include "core/json_text.h"
#include "core/text_codec.h"
#include "mcv/cvs_provider.h"

namespace TALVEK::MCV {

namespace {

enum TExitStatus : int { EXIT_DONE = 0, EXIT_FAILED = 1, EXIT_WRONG_USE = 2 };

constexpr std::uint32_t ABSENT_TIME = 0xFFFFFFFF;

void Print(const std::string& strLine) {
  std::fwrite(strLine.data(), 1, strLine.size(), stdout);
}

/// The provider with access to its database.
class CDumpingProvider : public CProvider {
 public:
  void SetDefaults() {
    for (const MCE::TPropertyInfo* ptInfo = GetPropertyInfo(); ptInfo->pszLabel; ++ptInfo) {
      SetProperty(ptInfo->pszKey, ptInfo->pszDefault);
    }
  }

  /// Prints everything. False when the database returns fewer changes or items than were added.
  bool Dump() {
    DumpStreams();
    if (!PrepareForChanges(false)) return false;
    return DumpChanges() == m_nChangesAdded && DumpItems() == m_nItemsExpected;
  }

 private:
  void DumpStreams() const {
    for (const TStreamInfo& tStream : m_oStreams) {
      Print(VCM::CJsonLine("stream")
                .Number("id", tStream.nID)
                .Number("parent", tStream.nParentID)
                .Text("name", tStream.strName)
                .Number("created", tStream.oProps.GetNumber(MCE::STREAM_CREATED, 0))
                .Number("max_created", tStream.oProps.GetNumber(MCE::STREAM_MAX_CREATED, 0))
                .Number("base_change", tStream.nBaseChangeID)
                .Take());
    }
  }

  std::uint32_t DumpChanges() {
    std::uint32_t nChanges = 0;
    MCE::TChangeRecord tChange;
    for (bool bFound = m_poChangeIterator->GetGTE(tChange); bFound;
         bFound = m_poChangeIterator->GetNext(tChange)) {
      Print(VCM::CJsonLine("change")
                .Number("id", tChange.nID)
                .Number("stream", tChange.nStreamID)
                .Text("user", tChange.strUser)
                .Number("time", tChange.nTime)
                .Text("comment", tChange.strComment)
                .Number("next_item", tChange.nNextItem)
                .Number("base_time", tChange.oProps.GetNumber(MCE::CHANGE_BASE_TIME, ABSENT_TIME))
                .Number("max_time", tChange.oProps.GetNumber(MCE::CHANGE_MAX_TIME, ABSENT_TIME))
                .Take());
      ++nChanges;
      m_nItemsExpected += tChange.nNextItem - 1;
    }
    return nChanges;
  }

  std::uint64_t DumpItems() {
    std::uint64_t nItems = 0;
    MCE::TChangeItemRecord tItem;
    for (bool bFound = m_poChangeItemIterator->GetGTE(tItem); bFound;
         bFound = m_poChangeItemIterator->GetNext(tItem)) {
      VCM::CString strRevision;
      tItem.oProps.GetProperty(MCE::ITEM_FOREIGN_REVISION, strRevision);
      Print(VCM::CJsonLine("item")
                .Number("change", tItem.nID)
                .Number("item", tItem.nItem)
                .Number("type", tItem.nType)
                .Text("path", tItem.oFilePath.GeneratePath())
                .Text("revision", strRevision)
                .Number("time", static_cast<std::uint32_t>(tItem.oTimestamp.GetUTC()))
                .Take());
      ++nItems;
    }
    return nItems;
  }

  std::uint64_t m_nItemsExpected = 0;
};

int Fail(const std::string& strReason, TExitStatus nStatus) {
  std::cerr << "import-dump: " << strReason << '\n';
  return nStatus;
}

/// Moves the import log to `strTarget`. False when that can't be written; the log is deleted all the same.
bool KeepLog(CProvider& oProvider, const std::string& strTarget) {
  const std::string strLog = VCM::ToBytes(oProvider.GetLogPath());
  std::error_code oError;
  std::filesystem::copy_file(strLog, strTarget, std::filesystem::copy_options::overwrite_existing, oError);
  std::error_code oIgnored;
  std::filesystem::remove(strLog, oIgnored);
  return !oError;
}

int Run(const std::vector<std::string>& astrSettings, const std::string& strImportLog) {
  CDumpingProvider oProvider;
  oProvider.SetDefaults();
  for (const std::string& strSetting : astrSettings) {
    const std::size_t nEquals = strSetting.find('=');
    if (nEquals == std::string::npos || nEquals == 0) {
      return Fail("'" + strSetting + "' is no Key=Value; see import-dump --help", EXIT_WRONG_USE);
    }
    oProvider.SetProperty(VCM::FromBytes(strSetting.substr(0, nEquals)),
                          VCM::FromBytes(strSetting.substr(nEquals + 1)));
  }
  if (!strImportLog.empty()) oProvider.OpenLog(true);

  unsigned nStreams = 0;
  unsigned nChanges = 0;
  const bool bEstablished = oProvider.EstablishStreams(nStreams) == MCE::RESULT_OK &&
                            oProvider.EstablishChangesets(nChanges) == MCE::RESULT_OK;
  bool bDumped = false;
  if (bEstablished) {
    oProvider.ResolveStreamLinkage();
    bDumped = oProvider.Dump();
  }
  if (!strImportLog.empty() && !KeepLog(oProvider, strImportLog)) {
    return Fail("can't write " + strImportLog, EXIT_FAILED);
  }
  if (!bEstablished) return Fail("the history can't be read; --import-log FILE tells more", EXIT_FAILED);
  if (!bDumped) return Fail("the import database has lost records; is the disk of /tmp full?", EXIT_FAILED);
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) return Fail("can't write the output", EXIT_FAILED);
  return EXIT_DONE;
}

/// Reads the command line and does what it says.
int RunCommandLine(int argc, char** argv) {
  CLI::App oApp(
      "Prints the import database of a CVS module as JSON Lines: streams, changes, change items.\n"
      "Properties not set have their defaults; `talvek-import properties` lists them.\n"
      "Example: import-dump --set ReposPath=/var/cvs --set ModuleName=proj --set NestedBranches=1");
  std::vector<std::string> astrSettings;
  std::string strImportLog;
  oApp.add_option("--set", astrSettings, "sets a property")->type_name("Key=Value")->allow_extra_args(false);
  oApp.add_option("--import-log", strImportLog, "keeps the import log in this file")->type_name("FILE");
  try {
    oApp.parse(argc, argv);
  } catch (const CLI::ParseError& eParse) {
    return oApp.exit(eParse) == 0 ? 0 : EXIT_WRONG_USE;
  }
  return Run(astrSettings, strImportLog);
}

}  // namespace

}  // namespace TALVEK::MCV

int main(int argc, char** argv) {
  TALVEK::VCM::OpenStandardDescriptors();
  // A limit on the size of files then is a failed write, as on a full disk. CProcessCapture gives children
  // the default action again.
  std::signal(SIGXFSZ, SIG_IGN);
  // The same history must give the same database in every locale and time zone. A `cvs` client prints dates
  // in its caller's zone, and the parser reads only the whole hours of an offset.
  std::setlocale(LC_CTYPE, "C.UTF-8");
  setenv("TZ", "UTC", 1);
  try {
    return TALVEK::MCV::RunCommandLine(argc, argv);
  } catch (const std::exception& eFailure) {
    return TALVEK::MCV::Fail(eFailure.what(), TALVEK::MCV::EXIT_FAILED);
  }
}
