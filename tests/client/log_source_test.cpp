#include "client/log_source.h"

#include <gtest/gtest.h>
#include <wx/mstream.h>

#include "tests/client/client_fixture.h"

namespace TALVEK::TEST {
namespace {

const std::string FAILED =
    "Generating rlog command failed. This usually indicated that your cvs repository is corrupted.\n";

/// A stream whose destructor counts.
class CCountedStream : public wxMemoryInputStream {
 public:
  explicit CCountedStream(int& nDeleted) : wxMemoryInputStream("", 0), m_nDeleted(nDeleted) {}
  ~CCountedStream() override { ++m_nDeleted; }

 private:
  int& m_nDeleted;
};

class LogSourceTest : public ClientTest {
 protected:
  LogSourceTest() { m_tRequest.tModule = {L"/repo", L"mod"}; }
  ~LogSourceTest() override { m_oSource.Clear(); }

  /// Generates the log and returns the client's arguments, a line each in brackets.
  std::string Arguments(const std::string& strStart, const std::string& strEnd,
                        const std::string& strRoot = "/repo", const std::string& strModule = "mod") {
    FakeCvs("for a; do printf '[%s]\\n' \"$a\"; done");
    m_oSource.Generate({m_tRequest.strLogFile,
                        {VCM::FromBytes(strRoot), VCM::FromBytes(strModule)},
                        VCM::FromBytes(strStart),
                        VCM::FromBytes(strEnd)});
    return ReadAll(m_oSource.GetInput());
  }
  void ReadFrom(const std::filesystem::path& oFile) {
    m_tRequest.strLogFile = VCM::FromBytes(oFile.string());
  }

  CLIENT::TLogRequest m_tRequest;
  CLIENT::CLogSource m_oSource{m_oClient, m_oLog};
};

TEST_F(LogSourceTest, ThereIsNoStreamAtFirst) {
  EXPECT_EQ(m_oSource.GetInput(), nullptr);
  EXPECT_FALSE(m_oSource.OwnsInput());
  m_oSource.Clear();
}

TEST_F(LogSourceTest, OwnStreamIsDeletedOnceHoweverOftenItIsCleared) {
  int nDeleted = 0;
  m_oSource.SetInput(new CCountedStream(nDeleted), true);
  m_oSource.Clear();
  m_oSource.Clear();
  EXPECT_EQ(nDeleted, 1);
  EXPECT_EQ(m_oSource.GetInput(), nullptr);
  EXPECT_FALSE(m_oSource.OwnsInput());
}

TEST_F(LogSourceTest, LentStreamIsForgottenAndNotDeleted) {
  int nDeleted = 0;
  CCountedStream oStream(nDeleted);
  m_oSource.SetInput(&oStream, false);
  m_oSource.Clear();
  EXPECT_EQ(nDeleted, 0);
  EXPECT_EQ(m_oSource.GetInput(), nullptr);
}

TEST_F(LogSourceTest, DestructionLeavesTheInputStreamAlone) {
  int nDeleted = 0;
  CCountedStream oStream(nDeleted);
  {
    CLIENT::CLogSource oSource(m_oClient, m_oLog);
    oSource.SetInput(&oStream, true);
  }
  EXPECT_EQ(nDeleted, 0);
}

TEST_F(LogSourceTest, StreamOfACommandBelongsToTheClient) {
  Arguments("", "");
  EXPECT_EQ(m_oSource.GetInput(), m_oClient.GetOutput());
  EXPECT_FALSE(m_oSource.OwnsInput());
}

TEST_F(LogSourceTest, WithoutDatesTheWholeHistoryIsAskedFor) {
  EXPECT_EQ(Arguments("", ""), "[-d]\n[/repo]\n[rlog]\n[mod]\n");
  EXPECT_EQ(Log(), "Performing command FAKE -d /repo rlog \"mod\"\n");
}

TEST_F(LogSourceTest, BothDatesGiveARangeWithTheEndFirst) {
  EXPECT_EQ(Arguments("2005-01-01", "2006-01-01"),
            "[-d]\n[/repo]\n[rlog]\n[-d]\n[2006-01-01>2005-01-01]\n[mod]\n");
  EXPECT_EQ(Log(), "Performing command FAKE -d /repo rlog -d \"2006-01-01>2005-01-01\" \"mod\"\n");
}

TEST_F(LogSourceTest, StartAloneGivesWhatIsLater) {
  EXPECT_EQ(Arguments("2005-01-01", ""), "[-d]\n[/repo]\n[rlog]\n[-d]\n[>2005-01-01]\n[mod]\n");
  EXPECT_EQ(Log(), "Performing command FAKE -d /repo rlog -d \">2005-01-01\" \"mod\"\n");
}

TEST_F(LogSourceTest, EndAloneIsIgnored) {
  EXPECT_EQ(Arguments("", "2006-01-01"), "[-d]\n[/repo]\n[rlog]\n[mod]\n");
}

TEST_F(LogSourceTest, DatesGoOutAsTyped) {
  EXPECT_EQ(Arguments("last  week", " 1 Jan"), "[-d]\n[/repo]\n[rlog]\n[-d]\n[ 1 Jan>last  week]\n[mod]\n");
}

TEST_F(LogSourceTest, RootIsNotQuotedAndTheModuleIs) {
  EXPECT_EQ(Arguments("", "", "/my repo", "my mod"), "[-d]\n[/my]\n[repo]\n[rlog]\n[my mod]\n");
  EXPECT_EQ(Log(), "Performing command FAKE -d /my repo rlog \"my mod\"\n");
}

TEST_F(LogSourceTest, QuotesAndBackslashesReachTheClientAsTheyAre) {
  EXPECT_EQ(Arguments("a\"b", "c\\d", "/repo", "m\"o\\d"),
            "[-d]\n[/repo]\n[rlog]\n[-d]\n[c\\d>a\"b]\n[m\"o\\d]\n");
}

// After "--" there are no options.
TEST_F(LogSourceTest, ModuleThatBeginsWithAHyphenIsNoOption) {
  EXPECT_EQ(Arguments("", "", "/repo", "-x"), "[-d]\n[/repo]\n[rlog]\n[--]\n[-x]\n");
  EXPECT_EQ(Arguments("-s", "", "/repo", "--help"), "[-d]\n[/repo]\n[rlog]\n[-d]\n[>-s]\n[--]\n[--help]\n");
  EXPECT_EQ(Arguments("-s", "-e", "/repo", "-"), "[-d]\n[/repo]\n[rlog]\n[-d]\n[-e>-s]\n[--]\n[-]\n");
  EXPECT_EQ(Arguments("", "", "/repo", "m-x -N"), "[-d]\n[/repo]\n[rlog]\n[m-x -N]\n");
}

TEST_F(LogSourceTest, NoShellSeesTheCommand) {
  EXPECT_EQ(Arguments("", "", "/repo;touch", "$(touch x) `y` *"),
            "[-d]\n[/repo;touch]\n[rlog]\n[$(touch x) `y` *]\n");
}

TEST_F(LogSourceTest, LogFileMeansThatNothingElseIsReadAndNothingRuns) {
  WriteFile(m_oFolder / "saved.rlog", "saved\n");
  ReadFrom(m_oFolder / "saved.rlog");
  FakeCvs("record \"$@\"");
  m_tRequest.strStartDate = L"2005-01-01";
  m_tRequest.strEndDate = L"2006-01-01";
  m_oSource.Generate(m_tRequest);
  EXPECT_EQ(ReadAll(m_oSource.GetInput()), "saved\n");
  EXPECT_TRUE(m_oSource.OwnsInput());
  EXPECT_EQ(Calls(), "");
  EXPECT_EQ(Log(), "Using log file '" + (m_oFolder / "saved.rlog").string() +
                       "'.\nSuccessfully created file input stream.\n");
}

TEST_F(LogSourceTest, LogFileThatCannotBeOpenedGivesNoStream) {
  FakeCvs("record");
  for (const std::string& strFile : {std::string("/nonexistent/log"), m_oFolder.Path().string()}) {
    const std::string strBefore = Log();
    ReadFrom(strFile);
    m_oSource.Generate(m_tRequest);
    EXPECT_EQ(m_oSource.GetInput(), nullptr);
    EXPECT_FALSE(m_oSource.OwnsInput());
    EXPECT_EQ(Log(), strBefore + "Using log file '" + strFile + "'.\nFailed to create file input stream.\n");
  }
  EXPECT_EQ(Calls(), "");
}

TEST_F(LogSourceTest, CommandThatFailsEveryTimeKeepsTheLastOutput) {
  FakeCvs("echo output $(count); echo 'no such module' >&2; exit 1", 2);
  m_oSource.Generate(m_tRequest);
  EXPECT_EQ(ReadAll(m_oSource.GetInput()), "output 1\n");
  EXPECT_EQ(Log(),
            "Performing command FAKE -d /repo rlog \"mod\"\n    ** no such module\n    ** no such module\n" +
                FAILED);
}

TEST_F(LogSourceTest, ClientThatCannotBeStartedIsAFailingCommand) {
  m_oClient.SetCommand(L"/nonexistent/cvs", 1);
  m_tRequest.tModule = {};
  m_oSource.Generate(m_tRequest);
  EXPECT_EQ(Log(), std::string("Performing command \"/nonexistent/cvs\" -d  rlog \"\"\n"
                               "    ** can't start '/nonexistent/cvs': No such file or directory\n") +
                       FAILED);
  EXPECT_EQ(ReadAll(m_oSource.GetInput()), "");
}

TEST_F(LogSourceTest, SecondCallReplacesTheStreamOfTheFirst) {
  WriteFile(m_oFolder / "first", "first");
  WriteFile(m_oFolder / "second", "second");
  ReadFrom(m_oFolder / "first");
  m_oSource.Generate(m_tRequest);
  ReadFrom(m_oFolder / "second");
  m_oSource.Generate(m_tRequest);
  EXPECT_EQ(ReadAll(m_oSource.GetInput()), "second");
  m_tRequest.strLogFile.Clear();
  EXPECT_EQ(Arguments("", ""), "[-d]\n[/repo]\n[rlog]\n[mod]\n");
  EXPECT_FALSE(m_oSource.OwnsInput());
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

TEST_F(LogSourceTest, SecondCallClosesTheLogFileOfTheFirst) {
  WriteFile(m_oFolder / "saved.rlog", "saved");
  ReadFrom(m_oFolder / "saved.rlog");
  m_oSource.Generate(m_tRequest);
  m_oSource.Generate(m_tRequest);
  EXPECT_EQ(OpenDescriptors(m_oFolder / "saved.rlog"), 1);
  m_oSource.Clear();
  EXPECT_EQ(OpenDescriptors(m_oFolder / "saved.rlog"), 0);
}

}  // namespace
}  // namespace TALVEK::TEST
