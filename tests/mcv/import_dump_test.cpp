#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <vector>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;

const std::string PROGRAM = TALVEK_BIN_DIR "/import-dump";
const fs::path LOGS = TALVEK_TEST_DATA "/logs";

/// Runs the program with "Key=Value" settings, under the caller's environment or the one given.
TShellResult Dump(const std::vector<std::string>& astrSettings, const std::string& strEnvironment = "") {
  std::string strCommand = "env " + strEnvironment + " " + ShellQuote(PROGRAM);
  for (const std::string& strSetting : astrSettings)
    strCommand += " --set " + ShellQuote(strSetting);
  return RunShell(strCommand + " 2>&1");
}

std::vector<std::string> Lines(const std::string& strText) {
  std::vector<std::string> astrLines;
  std::istringstream oLines(strText);
  for (std::string strLine; std::getline(oLines, strLine);)
    astrLines.push_back(strLine);
  return astrLines;
}

/// What the result must not depend on.
constexpr const char* APSZ_ENVIRONMENTS[] = {"TZ=UTC LC_ALL=C", "TZ=UTC LC_ALL=C.UTF-8",
                                             "TZ=America/New_York LC_ALL=C", "TZ=Asia/Kolkata LC_ALL=C.UTF-8",
                                             "-u TZ -u LC_ALL -u LANG -u LC_CTYPE"};

class ImportDumpLogTest : public ::testing::TestWithParam<const char*> {
 protected:
  std::vector<std::string> Settings() const {
    const fs::path oCase = LOGS / GetParam();
    std::vector<std::string> astrSettings = Lines(ReadFile(oCase.string() + ".properties"));
    astrSettings.push_back("LogFile=" + oCase.string() + ".rlog");
    return astrSettings;
  }
};

constexpr const char* APSZ_LOGS[] = {"case_and_bounds", "creation_times", "equal_names",   "nested_branches",
                                     "no_branches",     "odd_messages",   "parent_circle", "removed_restored",
                                     "tag_filters",     "trunk_grouping", "vendor_import"};

INSTANTIATE_TEST_SUITE_P(Logs, ImportDumpLogTest, ::testing::ValuesIn(APSZ_LOGS),
                         [](const auto& tInfo) { return std::string(tInfo.param); });

TEST_P(ImportDumpLogTest, GivesTheDatabaseWorkedOutByHand) {
  const TShellResult tResult = Dump(Settings());
  EXPECT_EQ(tResult.nStatus, 0);
  EXPECT_EQ(tResult.strOutput, ReadFile((LOGS / GetParam()).string() + ".jsonl"));
}

TEST_P(ImportDumpLogTest, GivesTheSameInEveryTimeZoneAndLocale) {
  const TShellResult tResult = Dump(Settings());
  for (const char* pszEnvironment : APSZ_ENVIRONMENTS)
    EXPECT_EQ(Dump(Settings(), pszEnvironment), tResult) << pszEnvironment;
}

TEST(ImportDumpTest, EveryLogOfTheFolderIsTested) {
  std::vector<std::string> astrFound;
  for (const auto& oEntry : fs::directory_iterator(LOGS)) {
    if (oEntry.path().extension() == ".rlog") astrFound.push_back(oEntry.path().stem().string());
  }
  std::sort(astrFound.begin(), astrFound.end());
  EXPECT_EQ(astrFound, std::vector<std::string>(std::begin(APSZ_LOGS), std::end(APSZ_LOGS)));
}

const std::vector<std::string> EXAMPLE = {std::string("ReposPath=") + TALVEK_EXAMPLE_REPOSITORY,
                                          "ModuleName=calculator", "NestedBranches=1", "StreamsForTags=1"};

TEST(ImportDumpTest, ExampleGivesItsGoldenDump) {
  const TShellResult tResult = Dump(EXAMPLE);
  EXPECT_EQ(tResult.nStatus, 0);
  EXPECT_EQ(tResult.strOutput, ReadFile(TALVEK_TEST_DATA "/example.jsonl"));
}

// The client prints dates in its caller's zone, of whose offset only the hours are read: whole hours here.
TEST(ImportDumpTest, ExampleIsTheSameInEveryTimeZoneAndLocale) {
  const TShellResult tResult = Dump(EXAMPLE);
  for (const char* pszEnvironment :
       {"TZ=UTC LC_ALL=C", "TZ=America/New_York LC_ALL=C.UTF-8", "TZ=Europe/Berlin LC_ALL=C"})
    EXPECT_EQ(Dump(EXAMPLE, pszEnvironment), tResult) << pszEnvironment;
}

TEST(ImportDumpTest, SavedLogGivesWhatTheClientGives) {
  CTempFolder oFolder;
  ShellOutput("cvs -d " + ShellQuote(TALVEK_EXAMPLE_REPOSITORY) + " rlog calculator 2>/dev/null > " +
              ShellQuote((oFolder / "saved").string()));
  std::vector<std::string> astrSettings = EXAMPLE;
  astrSettings.push_back("LogFile=" + (oFolder / "saved").string());
  EXPECT_EQ(Dump(astrSettings), Dump(EXAMPLE));
}

TEST(ImportDumpTest, ImportLogIsKeptOnRequest) {
  CTempFolder oFolder;
  const std::string strLog = (oFolder / "import.log").string();
  const TShellResult tResult =
      RunShell("env TMPDIR=" + ShellQuote(oFolder.Path().string()) + " " + ShellQuote(PROGRAM) +
               " --set ReposPath=/repo --set ModuleName=mod --set LogFile=" +
               ShellQuote((LOGS / "trunk_grouping.rlog").string()) + " --import-log " + ShellQuote(strLog));
  EXPECT_EQ(tResult.nStatus, 0);
  const std::string strText = ReadFile(strLog);
  EXPECT_NE(strText.find(": Beginning Import with CVS\n"), std::string::npos);
  EXPECT_NE(strText.find(": Finished Parsing Log\n"), std::string::npos);
  EXPECT_EQ(std::distance(fs::directory_iterator(oFolder.Path()), fs::directory_iterator()), 1);
}

TEST(ImportDumpTest, LogThatCannotBeReadFails) {
  EXPECT_EQ(Dump({"LogFile=/nonexistent/log"}),
            (TShellResult{1, "import-dump: the history can't be read; --import-log FILE tells more\n"}));
}

TEST(ImportDumpTest, SettingWithoutValueIsWrongUse) {
  for (const char* pszSetting : {"ModuleName", "=x"}) {
    EXPECT_EQ(Dump({pszSetting}), (TShellResult{2, std::string("import-dump: '") + pszSetting +
                                                       "' is no Key=Value; see import-dump --help\n"}));
  }
}

TEST(ImportDumpTest, UnknownOptionIsWrongUse) {
  EXPECT_EQ(RunShell(ShellQuote(PROGRAM) + " --nonsense >/dev/null 2>&1").nStatus, 2);
}

TEST(ImportDumpTest, FullDiskIsAFailure) {
  const std::string strCommand = ShellQuote(PROGRAM) +
                                 " --set ReposPath=/repo --set ModuleName=mod --set LogFile=" +
                                 ShellQuote((LOGS / "trunk_grouping.rlog").string()) + " 2>&1 >/dev/full";
  EXPECT_EQ(RunShell(strCommand), (TShellResult{1, "import-dump: can't write the output\n"}));
}

TEST(ImportDumpTest, NoDatabaseIsLeftBehind) {
  CTempFolder oFolder;
  const std::string strPid =
      ShellOutput("sh -c 'echo $$; exec \"$0\" --set ReposPath=/repo --set LogFile=\"$1\" >/dev/null' " +
                  ShellQuote(PROGRAM) + " " + ShellQuote((LOGS / "trunk_grouping.rlog").string()));
  const std::string strDatabase = "/tmp/talvek-em-" + std::to_string(std::stoi(strPid));
  EXPECT_FALSE(fs::exists(strDatabase + ".tdf"));
  EXPECT_FALSE(fs::exists(strDatabase + ".tlf"));
}

}  // namespace
}  // namespace TALVEK::TEST
