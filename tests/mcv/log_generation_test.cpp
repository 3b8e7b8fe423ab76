#include <gtest/gtest.h>

#include "tests/mcv/provider_fixture.h"

namespace TALVEK::TEST {
namespace {

constexpr char PSZ_FAILED[] =
    "Generating rlog command failed. This usually indicated that your cvs repository is corrupted.\n";

class LogGenerationTest : public ProviderTest {
 protected:
  ~LogGenerationTest() override { m_oProvider.ClearInputStream(); }

  /// The arguments with which the client is run, a line each in brackets.
  std::string Arguments(const std::string& strStart, const std::string& strEnd,
                        const std::string& strRoot = "/repo", const std::string& strModule = "mod") {
    FakeCvs("for a; do printf '[%s]\\n' \"$a\"; done");
    Set(L"StartDate", strStart);
    Set(L"EndDate", strEnd);
    Set(L"ReposPath", strRoot);
    Set(L"ModuleName", strModule);
    m_oProvider.GenerateLog();
    return ReadAll(m_oProvider.m_poInputStream);
  }
};

TEST_F(LogGenerationTest, WithoutDatesTheWholeHistoryIsAskedFor) {
  EXPECT_EQ(Arguments("", ""), "[-d]\n[/repo]\n[rlog]\n[mod]\n");
  EXPECT_EQ(Log(), "Performing command \"" + CvsPath().string() + "\" -d /repo rlog \"mod\"\n");
}

TEST_F(LogGenerationTest, BothDatesGiveARangeWithTheEndFirst) {
  EXPECT_EQ(Arguments("2005-01-01", "2006-01-01"),
            "[-d]\n[/repo]\n[rlog]\n[-d]\n[2006-01-01>2005-01-01]\n[mod]\n");
  EXPECT_EQ(Log(), "Performing command \"" + CvsPath().string() +
                       "\" -d /repo rlog -d \"2006-01-01>2005-01-01\" \"mod\"\n");
}

TEST_F(LogGenerationTest, StartAloneGivesWhatIsLater) {
  EXPECT_EQ(Arguments("2005-01-01", ""), "[-d]\n[/repo]\n[rlog]\n[-d]\n[>2005-01-01]\n[mod]\n");
  EXPECT_EQ(Log(),
            "Performing command \"" + CvsPath().string() + "\" -d /repo rlog -d \">2005-01-01\" \"mod\"\n");
}

TEST_F(LogGenerationTest, EndAloneIsIgnored) {
  EXPECT_EQ(Arguments("", "2006-01-01"), "[-d]\n[/repo]\n[rlog]\n[mod]\n");
}

TEST_F(LogGenerationTest, DatesGoOutAsTyped) {
  EXPECT_EQ(Arguments("last  week", " 1 Jan"), "[-d]\n[/repo]\n[rlog]\n[-d]\n[ 1 Jan>last  week]\n[mod]\n");
}

TEST_F(LogGenerationTest, RootIsNotQuotedAndTheModuleIs) {
  EXPECT_EQ(Arguments("", "", "/my repo", "my mod"), "[-d]\n[/my]\n[repo]\n[rlog]\n[my mod]\n");
  EXPECT_EQ(Log(), "Performing command \"" + CvsPath().string() + "\" -d /my repo rlog \"my mod\"\n");
}

TEST_F(LogGenerationTest, QuotesAndBackslashesReachTheClientAsTheyAre) {
  EXPECT_EQ(Arguments("a\"b", "c\\d", "/repo", "m\"o\\d"),
            "[-d]\n[/repo]\n[rlog]\n[-d]\n[c\\d>a\"b]\n[m\"o\\d]\n");
}

// Behind "--" nothing is an option.
TEST_F(LogGenerationTest, ModuleThatBeginsWithAHyphenIsNoOption) {
  EXPECT_EQ(Arguments("", "", "/repo", "-x"), "[-d]\n[/repo]\n[rlog]\n[--]\n[-x]\n");
  EXPECT_EQ(Arguments("-s", "", "/repo", "--help"), "[-d]\n[/repo]\n[rlog]\n[-d]\n[>-s]\n[--]\n[--help]\n");
  EXPECT_EQ(Arguments("-s", "-e", "/repo", "-"), "[-d]\n[/repo]\n[rlog]\n[-d]\n[-e>-s]\n[--]\n[-]\n");
  EXPECT_EQ(Arguments("", "", "/repo", "m-x -N"), "[-d]\n[/repo]\n[rlog]\n[m-x -N]\n");
}

TEST_F(LogGenerationTest, NoShellSeesTheCommand) {
  EXPECT_EQ(Arguments("", "", "/repo;touch", "$(touch x) `y` *"),
            "[-d]\n[/repo;touch]\n[rlog]\n[$(touch x) `y` *]\n");
}

TEST_F(LogGenerationTest, LogFileMeansThatNothingElseIsReadAndNothingRuns) {
  WriteFile(m_oFolder / "saved.rlog", "saved\n");
  Set(L"LogFile", (m_oFolder / "saved.rlog").string());
  FakeCvs("record \"$@\"");
  Set(L"StartDate", "2005-01-01");
  Set(L"EndDate", "2006-01-01");
  Set(L"ReposPath", "/repo");
  Set(L"ModuleName", "mod");
  m_oProvider.GenerateLog();
  EXPECT_EQ(ReadAll(m_oProvider.m_poInputStream), "saved\n");
  EXPECT_TRUE(m_oProvider.m_bOwnInputStream);
  EXPECT_EQ(Calls(), "");
  EXPECT_EQ(Log(), "Using log file '" + (m_oFolder / "saved.rlog").string() +
                       "'.\nSuccessfully created file input stream.\n");
}

TEST_F(LogGenerationTest, LogFileThatCannotBeOpenedGivesNoStream) {
  FakeCvs("record");
  for (const std::string& strFile : {std::string("/nonexistent/log"), m_oFolder.Path().string()}) {
    const std::string strBefore = Log();
    Set(L"LogFile", strFile);
    m_oProvider.GenerateLog();
    EXPECT_EQ(m_oProvider.m_poInputStream, nullptr);
    EXPECT_FALSE(m_oProvider.m_bOwnInputStream);
    EXPECT_EQ(Log(), strBefore + "Using log file '" + strFile + "'.\nFailed to create file input stream.\n");
  }
  EXPECT_EQ(Calls(), "");
}

TEST_F(LogGenerationTest, CommandThatFailsEveryTimeKeepsTheLastOutput) {
  Set(L"ModuleName", "mod");
  Set(L"ReposPath", "/repo");
  FakeCvs("echo output $(count); echo 'no such module' >&2; exit 1");
  m_oProvider.m_nCmdRepeatCount = 2;
  m_oProvider.GenerateLog();
  EXPECT_EQ(ReadAll(m_oProvider.m_poInputStream), "output 1\n");
  EXPECT_EQ(Log(), "Performing command \"" + CvsPath().string() +
                       "\" -d /repo rlog \"mod\"\n    ** no such module\n    ** no such module\n" +
                       PSZ_FAILED);
}

TEST_F(LogGenerationTest, ClientThatCannotBeStartedIsAFailingCommand) {
  m_oProvider.m_strCvsCommand = L"\"/nonexistent/cvs\"";
  m_oProvider.m_nCmdRepeatCount = 1;
  m_oProvider.GenerateLog();
  EXPECT_EQ(Log(), std::string("Performing command \"/nonexistent/cvs\" -d  rlog \"\"\n"
                               "    ** can't start '/nonexistent/cvs': No such file or directory\n") +
                       PSZ_FAILED);
  EXPECT_EQ(ReadAll(m_oProvider.m_poInputStream), "");
}

TEST_F(LogGenerationTest, SecondCallReplacesTheStreamOfTheFirst) {
  WriteFile(m_oFolder / "first", "first");
  WriteFile(m_oFolder / "second", "second");
  Set(L"LogFile", (m_oFolder / "first").string());
  m_oProvider.GenerateLog();
  Set(L"LogFile", (m_oFolder / "second").string());
  m_oProvider.GenerateLog();
  EXPECT_EQ(ReadAll(m_oProvider.m_poInputStream), "second");
  Set(L"LogFile", "");
  EXPECT_EQ(Arguments("", ""), "[-d]\n[/repo]\n[rlog]\n[mod]\n");
  EXPECT_FALSE(m_oProvider.m_bOwnInputStream);
}

/// The descriptors that this process holds on a file.
int OpenDescriptors(const std::filesystem::path& oFile) {
  int nCount = 0;
  for (const auto& oEntry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code oError;
    nCount += std::filesystem::read_symlink(oEntry.path(), oError) == oFile ? 1 : 0;
  }
  return nCount;
}

TEST_F(LogGenerationTest, SecondCallClosesTheLogFileOfTheFirst) {
  WriteFile(m_oFolder / "saved.rlog", "saved");
  Set(L"LogFile", (m_oFolder / "saved.rlog").string());
  m_oProvider.GenerateLog();
  m_oProvider.GenerateLog();
  EXPECT_EQ(OpenDescriptors(m_oFolder / "saved.rlog"), 1);
  m_oProvider.CleanUpLog();
  EXPECT_EQ(OpenDescriptors(m_oFolder / "saved.rlog"), 0);
}

}  // namespace
}  // namespace TALVEK::TEST
