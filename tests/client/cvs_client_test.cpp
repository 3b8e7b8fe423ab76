#include "client/cvs_client.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <sstream>
#include <string>
#include <vector>

#include "core/text_codec.h"
#include "tests/client/client_fixture.h"
#include "tests/support/locale_scope.h"

namespace TALVEK::TEST {
namespace {

class CvsClientTest : public ClientTest {
 protected:
  bool Execute(const std::string& strArguments = "") {
    return m_oClient.Execute(m_oClient.GetCommand() + VCM::FromBytes(strArguments));
  }
};

TEST_F(CvsClientTest, FailingCommandIsRunFiveTimesUnlessToldOtherwise) {
  EXPECT_EQ(m_oClient.GetRepeatCount(), 5);
  EXPECT_TRUE(m_oClient.GetCommand().IsEmpty());
  EXPECT_EQ(m_oClient.GetOutput(), nullptr);
}

TEST_F(CvsClientTest, ExecutableIsAlwaysQuoted) {
  const struct {
    const wchar_t *pszExecutable, *pszExpected;
  } atCases[] = {{L"cvs", L"\"cvs\""},
                 {L"", L"\"\""},
                 {L"/opt/my cvs", L"\"/opt/my cvs\""},
                 {L"a\"b\\c", L"\"a\\\"b\\\\c\""}};
  for (const auto& tCase : atCases) {
    m_oClient.SetCommand(tCase.pszExecutable, 3);
    EXPECT_TRUE(m_oClient.GetCommand() == tCase.pszExpected) << VCM::ToUtf8(m_oClient.GetCommand());
    EXPECT_EQ(m_oClient.GetRepeatCount(), 3);
  }
}

TEST(RepeatCountTest, CountIsAtLeastOneAndHasSixteenBits) {
  const struct {
    const wchar_t* pszText;
    int nExpected;
  } atCases[] = {{L"0", 1},  {L"", 1},         {L"many", 1},  {L"3", 3},      {L" 4", 4},
                 {L"5x", 5}, {L"70000", 4464}, {L"65536", 1}, {L"-1", 65535}, {L"+2", 2}};
  for (const auto& tCase : atCases)
    EXPECT_EQ(CLIENT::ParseRepeatCount(tCase.pszText), tCase.nExpected) << VCM::ToUtf8(tCase.pszText);
}

TEST_F(CvsClientTest, CommandThatSucceedsRunsOnce) {
  FakeCvs("record \"$@\"; echo out; echo careful >&2");
  EXPECT_TRUE(Execute(" -d /root rlog \"mod\""));
  EXPECT_EQ(Calls(), "in " + std::filesystem::current_path().string() + "\n[-d]\n[/root]\n[rlog]\n[mod]\n");
  EXPECT_EQ(Log(), "Performing command FAKE -d /root rlog \"mod\"\n    ** careful\n");
  EXPECT_EQ(Output(), "out\n");
}

TEST_F(CvsClientTest, CommandThatFailsTwiceRunsThreeTimes) {
  FakeCvs("n=$(count); echo out $n; echo error $n >&2; [ $n -ge 2 ]");
  EXPECT_TRUE(Execute());
  EXPECT_EQ(Log(), "Performing command FAKE\n    ** error 0\n    ** error 1\n    ** error 2\n");
  EXPECT_EQ(Output(), "out 2\n");
}

TEST_F(CvsClientTest, RepeatCountOfOneMeansOneAttempt) {
  FakeCvs("count; echo error >&2; exit 1", 1);
  EXPECT_FALSE(Execute());
  EXPECT_EQ(Log(), "Performing command FAKE\n    ** error\n");
  EXPECT_EQ(ReadFile(m_oFolder / "count"), "1\n");
}

TEST_F(CvsClientTest, CommandThatAlwaysFailsRunsFiveTimesUnlessToldOtherwise) {
  FakeCvs("echo attempt $(count) >&2; exit 1");
  EXPECT_FALSE(Execute());
  EXPECT_EQ(Log(),
            "Performing command FAKE\n    ** attempt 0\n    ** attempt 1\n    ** attempt 2\n"
            "    ** attempt 3\n    ** attempt 4\n");
}

TEST_F(CvsClientTest, RepeatCountOfZeroRunsNothing) {
  FakeCvs("record", 0);
  EXPECT_FALSE(Execute());
  EXPECT_EQ(Calls(), "");
  EXPECT_EQ(Log(), "Performing command FAKE\n");
  EXPECT_EQ(m_oClient.GetOutput(), nullptr);
}

TEST_F(CvsClientTest, BlankErrorLinesAreNotLogged) {
  FakeCvs("printf '\\n\\nfirst\\n\\n  \\r\\n\\r\\nlast' >&2");
  EXPECT_TRUE(Execute());
  EXPECT_EQ(Log(), "Performing command FAKE\n    ** first\n    **   \n    ** last\n");
}

TEST_F(CvsClientTest, LastAttemptCountsLikeAnyOther) {
  FakeCvs("record \"$@\"; n=$(count); echo error $n >&2; [ $n -ge 4 ]");
  EXPECT_TRUE(Execute(" -d /root rlog \"a b\""));
  EXPECT_EQ(Log(),
            "Performing command FAKE -d /root rlog \"a b\"\n    ** error 0\n    ** error 1\n    ** error 2\n"
            "    ** error 3\n    ** error 4\n");
  std::string strCalls;
  for (int i = 0; i < 5; ++i)
    strCalls += "in " + std::filesystem::current_path().string() + "\n[-d]\n[/root]\n[rlog]\n[a b]\n";
  EXPECT_EQ(Calls(), strCalls);
}

TEST_F(CvsClientTest, CommandIsLoggedBeforeItRuns) {
  FakeCvs("cp \"$folder/log\" \"$folder/seen\"");
  EXPECT_TRUE(Execute(" rlog"));
  EXPECT_EQ(ReadFile(m_oFolder / "seen"), ReadFile(m_oFolder / "log"));
  EXPECT_EQ(Log(), "Performing command FAKE rlog\n");
}

TEST_F(CvsClientTest, ProgramThatCannotBeStartedFailsLikeAnyOther) {
  m_oClient.SetCommand(L"/nonexistent/cvs", 1);
  EXPECT_FALSE(Execute(" rlog"));
  EXPECT_EQ(Log(),
            "Performing command \"/nonexistent/cvs\" rlog\n"
            "    ** can't start '/nonexistent/cvs': No such file or directory\n");
}

TEST_F(CvsClientTest, OutputOfTheLastFailedAttemptIsLeft) {
  FakeCvs("echo out $(count); exit 1", 2);
  EXPECT_FALSE(Execute());
  EXPECT_EQ(Output(), "out 1\n");
}

TEST_F(CvsClientTest, FailureWithoutOutputLeavesAnEmptyStream) {
  FakeCvs("exit 1");
  EXPECT_FALSE(Execute());
  ASSERT_NE(m_oClient.GetOutput(), nullptr);
  EXPECT_EQ(Output(), "");
}

TEST_F(CvsClientTest, OnlyTheExitStatusDecides) {
  FakeCvs("record; echo 'cvs [rlog aborted]: fatal' >&2; exit 0");
  EXPECT_TRUE(Execute());
  EXPECT_EQ(Log(), "Performing command FAKE\n    ** cvs [rlog aborted]: fatal\n");
}

/// While it lives, the process can't open files.
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

TEST_F(CvsClientTest, CommandWithoutStreamsFailsAndLogsNoErrorLine) {
  FakeCvs("record; echo out; echo error >&2");
  EXPECT_TRUE(Execute());  // its streams must not be taken for those of the next command
  const std::string strLog = Log(), strCalls = Calls();
  {
    const CNoDescriptorsScope oNoDescriptors;
    EXPECT_FALSE(Execute(" rlog"));
  }
  EXPECT_EQ(m_oClient.GetOutput(), nullptr);
  EXPECT_EQ(Log(), strLog + "Performing command FAKE rlog\n");
  EXPECT_EQ(Calls(), strCalls);
}

// By byte-order mark, else UTF-8; from the first bytes that aren't UTF-8 on, Latin-1. The log is in UTF-8.
TEST_F(CvsClientTest, ErrorEncodingTable) {
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
      const std::string strBefore = Log();
      EXPECT_TRUE(Execute());
      EXPECT_EQ(Log(), strBefore + "Performing command FAKE\n    ** " + tCase.pszExpected + "\n")
          << tCase.pszBytes << " in " << pszLocale;
    }
  }
}

TEST_F(CvsClientTest, NoErrorLineIsLostToItsEncoding) {
  FakeCvs("printf 'first\\nJ\\366rg\\nlast\\n' >&2");
  EXPECT_TRUE(Execute());
  EXPECT_EQ(Log(), "Performing command FAKE\n    ** first\n    ** J\xC3\xB6rg\n    ** last\n");
}

TEST_F(CvsClientTest, ClosedLogTakesNothingAndTheCommandRunsAllTheSame) {
  m_bLogOpen = false;
  FakeCvs("record; echo error >&2");
  EXPECT_TRUE(Execute());
  EXPECT_EQ(Log(), "");
  EXPECT_NE(Calls(), "");
}

TEST_F(CvsClientTest, EndlessErrorLineIsLoggedInPieces) {
  FakeCvs("head -c 3000000 /dev/zero | tr '\\0' x >&2");
  EXPECT_TRUE(Execute());
  std::vector<std::size_t> anLengths;
  std::istringstream oLines(Log());
  for (std::string strLine; std::getline(oLines, strLine);)
    anLengths.push_back(strLine.size());
  const std::size_t nPiece = (1 << 20) + 7;  // with "    ** " in front
  EXPECT_EQ(anLengths, (std::vector<std::size_t>{23, nPiece, nPiece, 3000000 - 2 * (1 << 20) + 7}));
}

}  // namespace
}  // namespace TALVEK::TEST
