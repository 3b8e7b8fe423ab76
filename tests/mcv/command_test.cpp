#include <gtest/gtest.h>
#include <sys/resource.h>

#include <sstream>
#include <string>
#include <vector>

#include "core/text_codec.h"
#include "tests/mcv/provider_fixture.h"
#include "tests/support/import_log.h"
#include "tests/support/locale_scope.h"

namespace TALVEK::TEST {
namespace {

/// Runs the fake client, whose command line is shown in the log as FAKE.
class CommandTest : public ProviderTest {
 protected:
  bool Execute(const std::string& strArguments = "") {
    const VCM::CString strLine = m_oProvider.m_strCvsCommand + VCM::FromBytes(strArguments);
    return m_oProvider.ExecuteCommand(strLine);
  }
  std::string LogOfFake() const {
    std::string strLog = Log();
    const std::string strCommand = Narrow(m_oProvider.m_strCvsCommand);
    for (std::size_t n = 0; (n = strLog.find(strCommand, n)) != std::string::npos;)
      strLog.replace(n, strCommand.size(), "FAKE");
    return strLog;
  }
  std::string Output() const { return ReadAll(m_oProvider.m_poInputStream); }
};

TEST_F(CommandTest, CommandThatSucceedsRunsOnce) {
  FakeCvs("record \"$@\"; echo out; echo careful >&2");
  EXPECT_TRUE(Execute(" -d /root rlog \"mod\""));
  EXPECT_EQ(Calls(), "in " + std::filesystem::current_path().string() + "\n[-d]\n[/root]\n[rlog]\n[mod]\n");
  EXPECT_EQ(LogOfFake(), "Performing command FAKE -d /root rlog \"mod\"\n    ** careful\n");
  EXPECT_EQ(Output(), "out\n");
}

TEST_F(CommandTest, CommandThatFailsTwiceRunsThreeTimes) {
  FakeCvs("n=$(count); echo out $n; echo error $n >&2; [ $n -ge 2 ]");
  EXPECT_TRUE(Execute());
  EXPECT_EQ(LogOfFake(), "Performing command FAKE\n    ** error 0\n    ** error 1\n    ** error 2\n");
  EXPECT_EQ(Output(), "out 2\n");
}

TEST_F(CommandTest, RepeatCountOfOneMeansOneAttempt) {
  m_oProvider.m_nCmdRepeatCount = 1;
  FakeCvs("count; echo error >&2; exit 1");
  EXPECT_FALSE(Execute());
  EXPECT_EQ(LogOfFake(), "Performing command FAKE\n    ** error\n");
  EXPECT_EQ(ReadFile(m_oFolder / "count"), "1\n");
}

TEST_F(CommandTest, CommandThatAlwaysFailsRunsFiveTimesUnlessToldOtherwise) {
  FakeCvs("echo attempt $(count) >&2; exit 1");
  EXPECT_FALSE(Execute());
  EXPECT_EQ(LogOfFake(),
            "Performing command FAKE\n    ** attempt 0\n    ** attempt 1\n    ** attempt 2\n"
            "    ** attempt 3\n    ** attempt 4\n");
}

TEST_F(CommandTest, RepeatCountOfZeroRunsNothing) {
  m_oProvider.m_nCmdRepeatCount = 0;
  FakeCvs("record");
  EXPECT_FALSE(Execute());
  EXPECT_EQ(Calls(), "");
  EXPECT_EQ(LogOfFake(), "Performing command FAKE\n");
  EXPECT_EQ(m_oProvider.m_poInputStream, nullptr);
}

TEST_F(CommandTest, BlankErrorLinesAreNotLogged) {
  FakeCvs("printf '\\n\\nfirst\\n\\n  \\r\\n\\r\\nlast' >&2");
  EXPECT_TRUE(Execute());
  EXPECT_EQ(LogOfFake(), "Performing command FAKE\n    ** first\n    **   \n    ** last\n");
}

TEST_F(CommandTest, LastAttemptCountsLikeAnyOther) {
  FakeCvs("record \"$@\"; n=$(count); echo error $n >&2; [ $n -ge 4 ]");
  EXPECT_TRUE(Execute(" -d /root rlog \"a b\""));
  EXPECT_EQ(LogOfFake(),
            "Performing command FAKE -d /root rlog \"a b\"\n    ** error 0\n    ** error 1\n    ** error 2\n"
            "    ** error 3\n    ** error 4\n");
  std::string strCalls;
  for (int i = 0; i < 5; ++i)
    strCalls += "in " + std::filesystem::current_path().string() + "\n[-d]\n[/root]\n[rlog]\n[a b]\n";
  EXPECT_EQ(Calls(), strCalls);
}

TEST_F(CommandTest, CommandIsLoggedBeforeItRuns) {
  FakeCvs("cat \"" + m_oTemporaryFiles.Path().string() + "\"/Talvek* > \"$folder/log\"");
  EXPECT_TRUE(Execute(" rlog"));
  EXPECT_EQ(WithoutSeconds(ReadFile(m_oFolder / "log")),
            "Beginning Import with CVS\nPerforming command \"" + CvsPath().string() + "\" rlog\n");
}

// It says who deletes a stream; running a command deletes none.
TEST_F(CommandTest, MarkOfAnOwnStreamStaysAsItIs) {
  FakeCvs("echo out");
  for (const bool bOwn : {true, false}) {
    m_oProvider.m_bOwnInputStream = bOwn;
    EXPECT_TRUE(Execute());
    EXPECT_EQ(m_oProvider.m_bOwnInputStream, bOwn);
  }
}

TEST_F(CommandTest, OutputOfTheLastFailedAttemptIsLeft) {
  m_oProvider.m_nCmdRepeatCount = 2;
  FakeCvs("echo out $(count); exit 1");
  EXPECT_FALSE(Execute());
  EXPECT_EQ(Output(), "out 1\n");
}

TEST_F(CommandTest, FailureWithoutOutputLeavesAnEmptyStream) {
  FakeCvs("exit 1");
  EXPECT_FALSE(Execute());
  ASSERT_NE(m_oProvider.m_poInputStream, nullptr);
  EXPECT_EQ(Output(), "");
}

TEST_F(CommandTest, OnlyTheExitStatusDecides) {
  FakeCvs("record; echo 'cvs [rlog aborted]: fatal' >&2; exit 0");
  EXPECT_TRUE(Execute());
  EXPECT_EQ(LogOfFake(), "Performing command FAKE\n    ** cvs [rlog aborted]: fatal\n");
}

TEST_F(CommandTest, StreamBelongsToTheProcess) {
  FakeCvs("echo out");
  EXPECT_TRUE(Execute());
  EXPECT_EQ(m_oProvider.m_poInputStream, m_oProvider.m_oProcess.GetStdOutputStream());
  EXPECT_FALSE(m_oProvider.m_bOwnInputStream);
}

TEST_F(CommandTest, ProgramThatCannotBeStartedFailsLikeAnyOther) {
  m_oProvider.m_nCmdRepeatCount = 1;
  EXPECT_FALSE(m_oProvider.ExecuteCommand(L"\"/nonexistent/cvs\" rlog"));
  EXPECT_EQ(Log(),
            "Performing command \"/nonexistent/cvs\" rlog\n"
            "    ** can't start '/nonexistent/cvs': No such file or directory\n");
}

/// For its own lifetime no file can be opened.
class CNoDescriptorsScope {
 public:
  CNoDescriptorsScope() {
    getrlimit(RLIMIT_NOFILE, &m_tBefore);
    const rlimit tNone{0, m_tBefore.rlim_max};
    setrlimit(RLIMIT_NOFILE, &tNone);
  }
  ~CNoDescriptorsScope() { setrlimit(RLIMIT_NOFILE, &m_tBefore); }
  CNoDescriptorsScope(const CNoDescriptorsScope&) = delete;
  CNoDescriptorsScope& operator=(const CNoDescriptorsScope&) = delete;

 private:
  rlimit m_tBefore{};
};

TEST_F(CommandTest, CommandWithoutStreamsFailsAndLogsNoErrorLine) {
  FakeCvs("record; echo out; echo error >&2");
  EXPECT_TRUE(Execute());  // leaves streams behind, which must not pass for those of the next command
  const std::string strLog = LogOfFake(), strCalls = Calls();
  {
    const CNoDescriptorsScope oNoDescriptors;
    EXPECT_FALSE(Execute(" rlog"));
  }
  EXPECT_EQ(m_oProvider.m_poInputStream, nullptr);
  EXPECT_EQ(LogOfFake(), strLog + "Performing command FAKE rlog\n");
  EXPECT_EQ(Calls(), strCalls);
}

// A byte-order mark, else UTF-8, else Latin-1 from then on. The log itself is always in UTF-8.
TEST_F(CommandTest, ErrorEncodingTable) {
  const struct {
    const char *pszBytes, *pszExpected;
  } atCases[] = {
      {"caf\\303\\251", "caf\xC3\xA9"},
      {"caf\\351", "caf\xC3\xA9"},
      {"\\357\\273\\277caf\\303\\251", "caf\xC3\xA9"},
      {"\\342\\202\\254 100%%s", "\xE2\x82\xAC 100%s"},
      {"\\357\\273\\277\\nfirst", "first"},
      {"caf\\303\\251 J\\366rg\\nJ\\303\\266rg", "caf\xC3\xA9 J\xC3\xB6rg\n    ** J\xC3\x83\xC2\xB6rg"},
      {"one\\000two", "one\n    ** two"},
      {"\\377\\376o\\000k\\000\\n\\000\\351\\000", "ok\n    ** \xC3\xA9"},
      {"\\376\\377\\000o\\000k\\000", "ok"},
      {"\\355\\240\\200", "\xEF\xBF\xBD"},
  };
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    const CLocaleScope oLocale(pszLocale);
    for (const auto& tCase : atCases) {
      FakeCvs(std::string("printf '") + tCase.pszBytes + "\\n' >&2");
      const std::string strBefore = LogOfFake();
      EXPECT_TRUE(Execute());
      EXPECT_EQ(LogOfFake(), strBefore + "Performing command FAKE\n    ** " + tCase.pszExpected + "\n")
          << tCase.pszBytes << " in " << pszLocale;
    }
  }
}

TEST_F(CommandTest, NoErrorLineIsLostToItsEncoding) {
  FakeCvs("printf 'first\\nJ\\366rg\\nlast\\n' >&2");
  EXPECT_TRUE(Execute());
  EXPECT_EQ(LogOfFake(), "Performing command FAKE\n    ** first\n    ** J\xC3\xB6rg\n    ** last\n");
}

TEST_F(CommandTest, ClosedLogTakesNothingAndTheCommandRunsAllTheSame) {
  m_oProvider.OpenLog(false);
  FakeCvs("record; echo error >&2");
  EXPECT_TRUE(Execute());
  EXPECT_EQ(LogOfFake(), "");
  EXPECT_NE(Calls(), "");
}

TEST_F(CommandTest, EndlessErrorLineIsLoggedInPieces) {
  FakeCvs("head -c 3000000 /dev/zero | tr '\\0' x >&2");
  EXPECT_TRUE(Execute());
  std::vector<std::size_t> anLengths;
  std::istringstream oLines(LogOfFake());
  for (std::string strLine; std::getline(oLines, strLine);)
    anLengths.push_back(strLine.size());
  const std::size_t nPiece = (1 << 20) + 7;  // with "    ** " in front
  EXPECT_EQ(anLengths, (std::vector<std::size_t>{23, nPiece, nPiece, 3000000 - 2 * (1 << 20) + 7}));
}

}  // namespace
}  // namespace TALVEK::TEST
