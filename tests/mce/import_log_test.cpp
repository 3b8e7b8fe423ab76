#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "tests/mce/engine_fixture.h"
#include "tests/support/environment_scope.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/import_log.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

class CRecordingConnection : public VRM::CConnection {
 public:
  void Message(const wchar_t* pszFormat, ...) override {
    va_list args;
    va_start(args, pszFormat);
    VCM::CString strMessage;
    strMessage.FormatV(pszFormat, args);
    va_end(args);
    m_strReceived += VCM::ToUtf8(strMessage);
  }
  std::string m_strReceived;
};

class CConnectedView : public VRO::CReposView {
 public:
  explicit CConnectedView(VRM::CConnection* poConnection) : m_poConnection(poConnection) {}
  VRM::CConnection* GetConnection() const override { return m_poConnection; }

 private:
  VRM::CConnection* m_poConnection;
};

class ImportLogTest : public ::testing::Test {
 protected:
  void Open() { m_oEngine.OpenLog(true); }
  /// Closes the log and returns what is in it.
  std::string Close() {
    m_oLastPath = VCM::ToBytes(m_oEngine.GetLogPath());
    return ReadFile(m_oLastPath);
  }
  /// The texts of the files in the temporary folder, sorted, without the lines' prefixes.
  std::vector<std::string> Files() const {
    std::vector<std::string> astrTexts;
    for (const auto& oEntry : std::filesystem::directory_iterator(m_oTemp.Path())) {
      astrTexts.push_back(WithoutSeconds(ReadFile(oEntry.path())));
    }
    std::sort(astrTexts.begin(), astrTexts.end());
    return astrTexts;
  }

  /// The only file in the temporary folder.
  VCM::CString LogFile() const {
    return VCM::FromBytes(std::filesystem::directory_iterator(m_oTemp.Path())->path().string());
  }

  CTempFolder m_oTemp;
  CEnvironmentScope m_oTempVariable{"TMPDIR", m_oTemp.Path().string()};
  CEngine m_oEngine;
  std::filesystem::path m_oLastPath;
};

TEST_F(ImportLogTest, ClosedLogTakesNoLine) {
  m_oEngine.WriteLog(L"lost %d", 1);
  EXPECT_FALSE(m_oEngine.IsLogOpen());
  EXPECT_TRUE(m_oEngine.GetLogPath().IsEmpty());
}

TEST_F(ImportLogTest, FileLiesInTheTemporaryFolderAndItsNameStartsWithTalvek) {
  Open();
  EXPECT_TRUE(m_oEngine.IsLogOpen());
  Close();
  EXPECT_EQ(m_oLastPath.parent_path(), m_oTemp.Path());
  EXPECT_TRUE(m_oLastPath.filename().string().starts_with("Talvek"));
}

TEST_F(ImportLogTest, BeginsWithTheDisplayName) {
  Open();
  EXPECT_EQ(WithoutSeconds(Close()), "Beginning Import with Test\n");
}

TEST_F(ImportLogTest, LineFeedIsAddedOnlyWhereItIsMissing) {
  Open();
  m_oEngine.WriteLog(L"same");
  m_oEngine.WriteLog(L"same\n");
  m_oEngine.WriteLog(L"");
  EXPECT_EQ(WithoutSeconds(Close()), "Beginning Import with Test\nsame\nsame\n\n");
}

TEST_F(ImportLogTest, PrefixIsTheSecondOfTheHour) {
  const std::time_t nBefore = std::time(nullptr);
  Open();
  const std::string strLog = Close();
  const std::time_t nAfter = std::time(nullptr);
  const long nPrefix = std::stol(strLog);
  bool bMatches = false;
  for (std::time_t n = nBefore; n <= nAfter; ++n)
    bMatches = bMatches || nPrefix == n % 3600;
  EXPECT_TRUE(bMatches) << strLog;
}

TEST_F(ImportLogTest, LinesAreOnDiskAtOnce) {
  Open();
  m_oEngine.WriteLog(L"here");
  EXPECT_EQ(Files(), std::vector<std::string>{"Beginning Import with Test\nhere\n"});
}

TEST_F(ImportLogTest, ClosingDropsFurtherLines) {
  Open();
  Close();
  EXPECT_FALSE(m_oEngine.IsLogOpen());
  m_oEngine.WriteLog(L"lost");
  EXPECT_EQ(WithoutSeconds(Close()), "Beginning Import with Test\n");
}

TEST_F(ImportLogTest, PausedLogKeepsItsFileAndReopensAnother) {
  Open();
  m_oEngine.OpenLog(false);
  m_oEngine.WriteLog(L"lost");
  m_oEngine.OpenLog(true);
  m_oEngine.WriteLog(L"kept");
  EXPECT_EQ(WithoutSeconds(Close()), "Beginning Import with Test\nkept\n");
  EXPECT_EQ(Files(),
            (std::vector<std::string>{"Beginning Import with Test\n", "Beginning Import with Test\nkept\n"}));
}

// Pausing only stops the lines. The file stays open, and gets lines again when LogToConnection opens the log.
TEST_F(ImportLogTest, PausedLogsFileTakesTheLinesThatGoToTheConnection) {
  Open();
  m_oEngine.OpenLog(false);
  m_oEngine.LogToConnection();
  m_oEngine.WriteLog(L"both");
  EXPECT_EQ(Files(), std::vector<std::string>{"Beginning Import with Test\nboth\n"});
}

TEST_F(ImportLogTest, FileThatTheHostHasTakenGetsNoFurtherLines) {
  Open();
  Close();
  m_oEngine.LogToConnection();
  m_oEngine.WriteLog(L"lost");
  EXPECT_TRUE(m_oEngine.IsLogOpen());
  EXPECT_EQ(WithoutSeconds(Close()), "Beginning Import with Test\n");
}

std::ptrdiff_t CountOpenDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST_F(ImportLogTest, FileIsClosedWhenItsPathIsTakenAndWhenTheProviderEnds) {
  const std::ptrdiff_t nBefore = CountOpenDescriptors();
  {
    CEngine oEngine;
    oEngine.OpenLog(true);
    EXPECT_EQ(CountOpenDescriptors(), nBefore + 1);
    oEngine.GetLogPath();
    EXPECT_EQ(CountOpenDescriptors(), nBefore);
    oEngine.OpenLog(true);
    EXPECT_EQ(CountOpenDescriptors(), nBefore + 1);
  }
  EXPECT_EQ(CountOpenDescriptors(), nBefore);
}

TEST_F(ImportLogTest, OpeningAnOpenLogDoesNothing) {
  Open();
  Open();
  EXPECT_EQ(WithoutSeconds(Close()), "Beginning Import with Test\n");
}

TEST_F(ImportLogTest, UndecodableByteIsShownAsReplacementCharacter) {
  Open();
  m_oEngine.WriteLog(L"%s", L"caf\xdce9 \x00e9 \x20ac");
  EXPECT_EQ(WithoutSeconds(Close()), "Beginning Import with Test\ncaf\xEF\xBF\xBD \xC3\xA9 \xE2\x82\xAC\n");
}

TEST_F(ImportLogTest, LongLineIsWhole) {
  Open();
  const std::wstring strLong(1000000, L'x');
  m_oEngine.WriteLog(L"%s", strLong.c_str());
  EXPECT_EQ(WithoutSeconds(Close()).size(),
            std::string("Beginning Import with Test\n").size() + strLong.size() + 1);
}

TEST_F(ImportLogTest, CallbackTakesTheTextAsFormat) {
  Open();
  MCE::CProvider::WriteLogCallback(L"100%% done", static_cast<MCE::CProvider*>(&m_oEngine));
  EXPECT_EQ(WithoutSeconds(Close()), "Beginning Import with Test\n100% done\n");
}

TEST_F(ImportLogTest, CallbackWithADirectiveFormatsAMissingArgument) {
  Open();
  MCE::CProvider::WriteLogCallback(L"100%d done", static_cast<MCE::CProvider*>(&m_oEngine));
  // The missing argument is undefined; on this platform some number is printed.
  const std::string strLog = WithoutSeconds(Close());
  int nNumber = 0;
  ASSERT_EQ(std::sscanf(strLog.c_str(), "Beginning Import with Test 100%d done", &nNumber), 1) << strLog;
  EXPECT_EQ(strLog, "Beginning Import with Test\n100" + std::to_string(nNumber) + " done\n");
}

TEST_F(ImportLogTest, ConnectionGetsEveryLineAndNoFileIsOpened) {
  CRecordingConnection oConnection;
  m_oEngine.SetRepositoryView(
      VRW::TObjectInvokeRef<VRO::CReposView>(std::make_shared<CConnectedView>(&oConnection)));
  m_oEngine.LogToConnection();
  EXPECT_TRUE(m_oEngine.IsLogOpen());
  m_oEngine.WriteLog(L"100%% of %s", L"it");
  m_oEngine.OpenLog(true);  // open already: no file
  EXPECT_EQ(WithoutSeconds(oConnection.m_strReceived), "100% of it\n");
  EXPECT_TRUE(m_oEngine.GetLogPath().IsEmpty());
  m_oEngine.WriteLog(L"lost");
  EXPECT_EQ(WithoutSeconds(oConnection.m_strReceived), "100% of it\n");
}

TEST_F(ImportLogTest, ConnectionGetsTheLineAsTheFileDoes) {
  CRecordingConnection oConnection;
  m_oEngine.SetRepositoryView(
      VRW::TObjectInvokeRef<VRO::CReposView>(std::make_shared<CConnectedView>(&oConnection)));
  Open();
  m_oEngine.LogToConnection();
  const std::size_t nBefore = ReadFile(VCM::ToBytes(LogFile())).size();
  m_oEngine.WriteLog(L"two\n%s", L"lines");
  const std::string strLine = ReadFile(VCM::ToBytes(LogFile())).substr(nBefore);
  EXPECT_EQ(oConnection.m_strReceived, strLine);
  EXPECT_EQ(strLine, std::to_string(std::atoi(strLine.c_str())) + ": two\nlines\n");
}

TEST_F(ImportLogTest, ConnectionAndFileCanBothBeServed) {
  CRecordingConnection oConnection;
  m_oEngine.SetRepositoryView(
      VRW::TObjectInvokeRef<VRO::CReposView>(std::make_shared<CConnectedView>(&oConnection)));
  Open();
  m_oEngine.LogToConnection();
  m_oEngine.WriteLog(L"both");
  EXPECT_EQ(WithoutSeconds(oConnection.m_strReceived), "both\n");
  EXPECT_EQ(WithoutSeconds(Close()), "Beginning Import with Test\nboth\n");
}

TEST_F(ImportLogTest, PausedLogSendsNothingToTheConnection) {
  CRecordingConnection oConnection;
  m_oEngine.SetRepositoryView(
      VRW::TObjectInvokeRef<VRO::CReposView>(std::make_shared<CConnectedView>(&oConnection)));
  m_oEngine.LogToConnection();
  m_oEngine.OpenLog(false);
  EXPECT_FALSE(m_oEngine.IsLogOpen());
  m_oEngine.WriteLog(L"lost");
  EXPECT_EQ(oConnection.m_strReceived, "");
}

TEST_F(ImportLogTest, ConnectionIsServedAgainByALogOpenedAfterTheEnd) {
  CRecordingConnection oConnection;
  m_oEngine.SetRepositoryView(
      VRW::TObjectInvokeRef<VRO::CReposView>(std::make_shared<CConnectedView>(&oConnection)));
  m_oEngine.LogToConnection();
  m_oEngine.GetLogPath();
  Open();
  EXPECT_EQ(WithoutSeconds(oConnection.m_strReceived), "Beginning Import with Test\n");
  EXPECT_EQ(WithoutSeconds(Close()), "Beginning Import with Test\n");
}

TEST_F(ImportLogTest, MissingViewOrConnectionLosesOnlyTheLine) {
  m_oEngine.LogToConnection();
  m_oEngine.WriteLog(L"nobody listens");
  m_oEngine.SetRepositoryView(
      VRW::TObjectInvokeRef<VRO::CReposView>(std::make_shared<CConnectedView>(nullptr)));
  m_oEngine.WriteLog(L"nobody listens");
  EXPECT_TRUE(m_oEngine.IsLogOpen());
}

TEST_F(ImportLogTest, StreamsAndChangesAreWrittenOut) {
  m_oEngine.m_atFound = {Stream(1, 0, L"Main"), Stream(2, 1, L"B")};
  m_oEngine.m_atFound[0].oDestPath.Parse(L"imported/Main");
  m_oEngine.m_atFound[0].oSrcPath.Parse(L"cvs/head");
  m_oEngine.m_atFound[1].nBaseChangeID = 1;
  unsigned nCount = 0;
  m_oEngine.EstablishStreams(nCount);
  m_oEngine.Add("a.c").Saying("two\nlines").Until(2000).At(1000);
  m_oEngine.Add("b.c").At(9000);
  m_oEngine.AddChange(7, 2, L"ann", L"plain", 3000);
  m_oEngine.EstablishChangesets(nCount);
  Open();
  m_oEngine.LogStreamsAndChanges();
  EXPECT_EQ(
      WithoutSeconds(Close()),
      "Beginning Import with Test\n"
      "Processing stream 'Main' (id=1,parentid=0,destpath=imported/Main,srcpath=cvs/head,basechangeid=0)\n"
      "\tChange (count=1,id=1,providerid=0,user=joe,time=1970-01-01 00:16:40 UTC,comment=two\nlines,"
      "basetime=1970-01-01 00:16:40 UTC(1000),maxtime=1970-01-01 00:33:20 UTC(2000))\n"
      "\tChange (count=2,id=2,providerid=0,user=joe,time=1970-01-01 02:30:00 UTC,comment=work,"
      "basetime=1970-01-01 02:30:00 UTC(9000),maxtime=2106-02-07 06:28:15 UTC(-1))\n"
      "Processing stream 'B' (id=2,parentid=1,destpath=,srcpath=,basechangeid=1)\n"
      "\tChange (count=1,id=3,providerid=7,user=ann,time=1970-01-01 00:50:00 UTC,comment=plain,"
      "basetime=2106-02-07 06:28:15 UTC(-1),maxtime=2106-02-07 06:28:15 UTC(-1))\n");
}

// Whatever the numbers of the changes and the server's zone are.
TEST_F(ImportLogTest, ChangesOfAStreamComeInOrderOfTimeFromTimeZeroOnAndInUtc) {
  const CEnvironmentScope oZone("TZ", "America/New_York");
  tzset();
  m_oEngine.m_oStreams.Add(Stream(1, 0, L"Main"));
  m_oEngine.AddChange(7, 1, L"ann", L"late", 7200);
  m_oEngine.AddChange(8, 1, L"joe", L"early", 0);
  Open();
  m_oEngine.LogStreamsAndChanges();
  const std::string strRest = "basetime=2106-02-07 06:28:15 UTC(-1),maxtime=2106-02-07 06:28:15 UTC(-1))\n";
  EXPECT_EQ(WithoutSeconds(Close()),
            "Beginning Import with Test\n"
            "Processing stream 'Main' (id=1,parentid=0,destpath=,srcpath=,basechangeid=0)\n"
            "\tChange (count=1,id=2,providerid=8,user=joe,time=1970-01-01 00:00:00 UTC,comment=early," +
                strRest +
                "\tChange (count=2,id=1,providerid=7,user=ann,time=1970-01-01 02:00:00 UTC,comment=late," +
                strRest);
}

TEST_F(ImportLogTest, WithoutADatabaseNoStreamIsWritten) {
  m_oEngine.m_oStreams.Add(Stream(1, 0, L"Main"));
  CEngine oOwner;
  ASSERT_TRUE(oOwner.PrepareForChanges(false));
  Open();
  m_oEngine.LogStreamsAndChanges();
  EXPECT_EQ(WithoutSeconds(Close()), "Beginning Import with Test\n");
}

// Another open transaction keeps the engine from opening its own.
TEST_F(ImportLogTest, WithoutAnOpenWalkNoStreamIsWritten) {
  m_oEngine.m_oStreams.Add(Stream(1, 0, L"Main"));
  m_oEngine.AddChange(0, 1, L"joe", L"work", 1000);
  m_oEngine.CommitChanges();
  const VDB::CTransaction oOther(*m_oEngine.m_poDatabase, 0);
  Open();
  m_oEngine.LogStreamsAndChanges();
  EXPECT_FALSE(m_oEngine.m_poChangeIterator->IsOpen());
  EXPECT_EQ(WithoutSeconds(Close()), "Beginning Import with Test\n");
}

TEST_F(ImportLogTest, ClosedLogGetsNoStreamsButTheDatabaseIsMade) {
  EXPECT_EQ(m_oEngine.m_poDatabase, nullptr);
  m_oEngine.LogStreamsAndChanges();
  EXPECT_NE(m_oEngine.m_poDatabase, nullptr);
}

// In /proc nobody, not even root, can make a file.
TEST_F(ImportLogTest, FileThatCannotBeMadeLosesTheLinesWithoutAMessage) {
  const CEnvironmentScope oUnwritable("TMPDIR", "/proc");
  testing::internal::CaptureStderr();
  Open();
  m_oEngine.WriteLog(L"lost");
  EXPECT_TRUE(m_oEngine.IsLogOpen());
  EXPECT_TRUE(m_oEngine.GetLogPath().IsEmpty());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ImportLogTest, LinesThatTheDiskRefusesAreLostWithoutAMessage) {
  Open();
  testing::internal::CaptureStderr();
  {
    const CFileSizeLimitScope oLimit(10);
    m_oEngine.WriteLog(L"lost");
    EXPECT_TRUE(m_oEngine.IsLogOpen());
    m_oEngine.GetLogPath();
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ImportLogTest, LogOutlivesTheProvider) {
  for (const bool bClosed : {true, false}) {
    {
      CEngine oEngine;
      oEngine.OpenLog(true);
      if (bClosed) m_oLastPath = VCM::ToBytes(oEngine.GetLogPath());
    }
  }
  EXPECT_TRUE(std::filesystem::exists(m_oLastPath));
  EXPECT_EQ(Files(),
            (std::vector<std::string>{"Beginning Import with Test\n", "Beginning Import with Test\n"}));
}

}  // namespace
}  // namespace TALVEK::TEST
