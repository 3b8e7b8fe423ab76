#include "core/process_capture.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/child_process.h"
#include "core/text_codec.h"
#include "tests/support/child_process.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::VCM {
namespace {

using TEST::CTempFolder;
using TWords = std::vector<std::wstring>;

std::string ReadToEnd(wxInputStream* poStream) {
  if (!poStream) return "(no stream)";
  std::string strBytes;
  std::string strBlock(65536, '\0');
  while (const std::size_t nRead = poStream->Read(strBlock.data(), strBlock.size()).LastRead())
    strBytes.append(strBlock, 0, nRead);
  return strBytes;
}

/// The outcome of a run as a text: exit status, standard output and standard error, separated by '|'.
std::string Outcome(CProcessCapture& oProcess, const CString& strCommandLine) {
  const int nResult = oProcess.Execute(strCommandLine);
  return std::to_string(nResult) + "|" + ReadToEnd(oProcess.GetStdOutputStream()) + "|" +
         ReadToEnd(oProcess.GetStdErrorStream());
}

std::string Outcome(const CString& strCommandLine) {
  CProcessCapture oProcess;
  return Outcome(oProcess, strCommandLine);
}

/// A command line for `sh -c` with this script.
CString Shell(const std::string& strScript) {
  return L"sh -c \"" + EscapeQuoted(FromBytes(strScript)) + L"\"";
}

TWords Split(const wchar_t* pszLine) {
  TWords astrWords;
  for (const CString& strWord : SplitCommandLine(pszLine))
    astrWords.emplace_back(strWord.View());
  return astrWords;
}

/// Another locale for one test.
class CLocaleScope {
 public:
  explicit CLocaleScope(const char* pszLocale) : m_strPrevious(std::setlocale(LC_ALL, nullptr)) {
    if (!std::setlocale(LC_ALL, pszLocale)) throw std::runtime_error("no such locale");
  }
  ~CLocaleScope() { std::setlocale(LC_ALL, m_strPrevious.c_str()); }
  CLocaleScope(const CLocaleScope&) = delete;
  CLocaleScope& operator=(const CLocaleScope&) = delete;

 private:
  std::string m_strPrevious;
};

/// An environment variable with another value for a while.
class CVariableScope {
 public:
  CVariableScope(const char* pszName, const std::string& strValue) : m_strName(pszName) {
    if (const char* pszPrevious = std::getenv(pszName)) m_strPrevious = pszPrevious;
    ::setenv(pszName, strValue.c_str(), 1);
  }
  ~CVariableScope() {
    if (m_strPrevious) {
      ::setenv(m_strName.c_str(), m_strPrevious->c_str(), 1);
    } else {
      ::unsetenv(m_strName.c_str());
    }
  }
  CVariableScope(const CVariableScope&) = delete;
  CVariableScope& operator=(const CVariableScope&) = delete;

 private:
  std::string m_strName;
  std::optional<std::string> m_strPrevious;
};

/// Has a PATH of its own: a folder on the caller's PATH without search permission would change the error for
/// a missing program.
class ProcessCaptureTest : public testing::Test {
 private:
  CVariableScope m_oPath{"PATH", "/usr/bin:/bin"};
};

TEST(CommandLineTest, WordsAreSplitAsTheTableSays) {
  const struct {
    const wchar_t* pszLine;
    TWords astrWords;
  } atCases[] = {
      {L"", {}},
      {L" \t ", {}},
      {L"cvs", {L"cvs"}},
      {L"  cvs \t -d  /repo\trlog ", {L"cvs", L"-d", L"/repo", L"rlog"}},
      {L"\"/usr/my bin/cvs\" -d /r", {L"/usr/my bin/cvs", L"-d", L"/r"}},
      {L"-d \"2006-01-01>2005-01-01\"", {L"-d", L"2006-01-01>2005-01-01"}},
      {L"a\"b c\"d", {L"ab cd"}},
      {L"\"a\"\"b\"", {L"ab"}},
      {L"\"a\tb\"", {L"a\tb"}},
      {L"\"\"", {L""}},
      {L"a \"\" b", {L"a", L"", L"b"}},
      {L"a\"\"", {L"a"}},
      {L"\"a\\\"b\"", {L"a\"b"}},
      {L"\"a\\\\b\"", {L"a\\b"}},
      {L"\"a\\\\\" b", {L"a\\", L"b"}},
      {L"\"a\\nb\\ c\"", {L"a\\nb\\ c"}},
      {L"a\\b", {L"a\\b"}},
      {L"a\\ b", {L"a\\", L"b"}},
      {L"\\\"a b\"", {L"\\a b"}},
      {L"\\\\", {L"\\\\"}},
      {L"\"open quote", {L"open quote"}},
      {L"a \"", {L"a", L""}},
      {L"\"a\\", {L"a\\"}},
      {L"$HOME *.c a;b >out <in | & `x` 'y z' ~ #",
       {L"$HOME", L"*.c", L"a;b", L">out", L"<in", L"|", L"&", L"`x`", L"'y", L"z'", L"~", L"#"}},
      {L"a\nb\rc", {L"a\nb\rc"}},
      {L"\u00a0\u2003", {L"\u00a0\u2003"}},
  };
  for (const auto& tCase : atCases)
    EXPECT_EQ(Split(tCase.pszLine), tCase.astrWords) << CString(tCase.pszLine).c_str();
}

TEST(CommandLineTest, NulIsPartOfItsWord) {
  const std::vector<CString> astrWords = SplitCommandLine(CString(std::wstring_view(L"a\0b c", 5)));
  ASSERT_EQ(astrWords.size(), 2u);
  EXPECT_EQ(astrWords[0], CString(std::wstring_view(L"a\0b", 3)));
}

TEST(CommandLineTest, EscapingPutsABackslashBeforeQuotesAndBackslashes) {
  EXPECT_EQ(EscapeQuoted(L"a\\b\"c d"), CString(L"a\\\\b\\\"c d"));
}

TEST(CommandLineTest, EscapedTextBetweenQuotesComesOutUnchanged) {
  constexpr std::wstring_view ALPHABET(L"\"\\ \ta$\0\u00e9\xdcff", 9);
  const unsigned nSeed = 20050102;
  std::mt19937 oRandom(nSeed);
  for (int nRound = 0; nRound < 5000; ++nRound) {
    CString strText;
    for (auto nLeft = oRandom() % 12; nLeft > 0; --nLeft)
      strText += ALPHABET[oRandom() % ALPHABET.size()];
    const std::vector<CString> astrWords = SplitCommandLine(L"x \"" + EscapeQuoted(strText) + L"\" y");
    ASSERT_EQ(astrWords, (std::vector<CString>{L"x", strText, L"y"})) << "round " << nRound;
  }
}

TEST_F(ProcessCaptureTest, BothOutputsAndTheExitStatusAreKept) {
  EXPECT_EQ(Outcome(Shell("echo out; echo err >&2; exit 3")), "3|out\n|err\n");
}

TEST_F(ProcessCaptureTest, SuccessIsZero) {
  EXPECT_EQ(Outcome(L"true"), "0||");
}

TEST_F(ProcessCaptureTest, StreamsAreNullBeforeTheFirstRun) {
  CProcessCapture oProcess;
  EXPECT_EQ(oProcess.GetStdOutputStream(), nullptr);
  EXPECT_EQ(oProcess.GetStdErrorStream(), nullptr);
}

TEST_F(ProcessCaptureTest, KilledProgramGivesSignalPlus128) {
  EXPECT_EQ(Outcome(Shell("echo before; kill -9 $$")), "137|before\n|");
  EXPECT_EQ(Outcome(Shell("kill -15 $$")), "143||");
}

TEST_F(ProcessCaptureTest, MissingProgramGives127AndALine) {
  EXPECT_EQ(Outcome(L"talvek-no-such-program -d x"),
            "127||can't start 'talvek-no-such-program': No such file or directory\n");
  EXPECT_EQ(Outcome(L"\"/no such/cvs\" -d x"),
            "127||can't start '/no such/cvs': No such file or directory\n");
}

TEST_F(ProcessCaptureTest, FileWithoutExecutePermissionGives127AndALine) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "tool", "#!/bin/sh\nexit 0\n");
  ::chmod((oFolder / "tool").c_str(), 0644);
  const std::string strTool = oFolder / "tool";
  EXPECT_EQ(Outcome(FromBytes(strTool)), "127||can't start '" + strTool + "': Permission denied\n");
}

TEST_F(ProcessCaptureTest, FolderAsProgramGives127AndALine) {
  const CTempFolder oFolder;
  const std::string strPath = oFolder.Path();
  EXPECT_EQ(Outcome(FromBytes(strPath)), "127||can't start '" + strPath + "': Permission denied\n");
}

TEST_F(ProcessCaptureTest, EmptyCommandLineGives127AndALine) {
  EXPECT_EQ(Outcome(L""), "127||can't start a program: the command line is empty\n");
  EXPECT_EQ(Outcome(L" \t"), "127||can't start a program: the command line is empty\n");
}

TEST_F(ProcessCaptureTest, EmptyProgramNameGives127AndALine) {
  EXPECT_EQ(Outcome(L"\"\" x"), "127||can't start '': No such file or directory\n");
}

TEST_F(ProcessCaptureTest, ArgumentWithNulGives127AndALine) {
  EXPECT_EQ(Outcome(CString(std::wstring_view(L"echo a\0b", 8))),
            "127||can't start 'echo': an argument holds a NUL character\n");
}

TEST_F(ProcessCaptureTest, TooLongArgumentGives127AndALine) {
  CString strLine(L"echo ");
  strLine += std::wstring(4 << 20, L'x').c_str();
  EXPECT_EQ(Outcome(strLine), "127||can't start 'echo': Argument list too long\n");
}

TEST_F(ProcessCaptureTest, ProgramIsSearchedOnThePath) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "talvek-tool", "#!/bin/sh\necho found \"$1\"\n");
  ::chmod((oFolder / "talvek-tool").c_str(), 0755);
  {
    const CVariableScope oPath("PATH", oFolder.Path().string() + ":/usr/bin:/bin");
    EXPECT_EQ(Outcome(L"talvek-tool \"a b\""), "0|found a b\n|");
  }
  EXPECT_EQ(Outcome(L"talvek-tool"), "127||can't start 'talvek-tool': No such file or directory\n");
}

TEST_F(ProcessCaptureTest, NoShellStandsInBetween) {
  EXPECT_EQ(Outcome(L"printf %s| \"$HOME\" * ; >x `id`"), "0|$HOME|*|;|>x|`id`||");
}

TEST_F(ProcessCaptureTest, StandardInputIsEmpty) {
  EXPECT_EQ(Outcome(L"cat"), "0||");
}

TEST_F(ProcessCaptureTest, LargeInterleavedOutputsArriveWhole) {
  CProcessCapture oProcess;
  const CString strLine = Shell(
      "i=0; while [ $i -lt 64 ]; do head -c 65536 /dev/zero; head -c 65537 /dev/zero >&2; i=$((i+1)); done");
  EXPECT_EQ(oProcess.Execute(strLine), 0);
  EXPECT_EQ(ReadToEnd(oProcess.GetStdOutputStream()), std::string(64 * 65536, '\0'));
  EXPECT_EQ(ReadToEnd(oProcess.GetStdErrorStream()), std::string(64 * 65537, '\0'));
}

TEST_F(ProcessCaptureTest, OutputTakesNoMemory) {
  CProcessCapture oProcess;
  oProcess.Execute(L"true");
  rusage tBefore{}, tAfter{};
  ::getrusage(RUSAGE_SELF, &tBefore);
  EXPECT_EQ(oProcess.Execute(L"head -c 134217728 /dev/zero"), 0);
  std::size_t nBytes = 0;
  std::string strBlock(65536, '\0');
  while (const auto nRead = oProcess.GetStdOutputStream()->Read(strBlock.data(), 65536).LastRead())
    nBytes += nRead;
  ::getrusage(RUSAGE_SELF, &tAfter);
  EXPECT_EQ(nBytes, 134217728u);
  EXPECT_LT(tAfter.ru_maxrss - tBefore.ru_maxrss, 16 * 1024) << "KiB";
}

TEST_F(ProcessCaptureTest, UndecodableBytesReachTheProgramAsTheyWere) {
  std::string strBytes = "na\xefve \xc3\xa9 \xff";
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    const CLocaleScope oLocale(pszLocale);
    EXPECT_EQ(Outcome(FromBytes("printf %s \"" + strBytes + "\"")), "0|" + strBytes + "|") << pszLocale;
  }
}

TEST_F(ProcessCaptureTest, UndecodableBytesOfAMissingProgramAreInItsLine) {
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    const CLocaleScope oLocale(pszLocale);
    EXPECT_EQ(Outcome(FromBytes("/no/\xe9")), "127||can't start '/no/\xe9': No such file or directory\n");
  }
}

TEST_F(ProcessCaptureTest, NextRunReplacesTheStreams) {
  CProcessCapture oProcess;
  oProcess.Execute(Shell("echo first; echo wrong >&2"));
  EXPECT_EQ(Outcome(oProcess, Shell("echo second")), "0|second\n|");
  EXPECT_EQ(Outcome(oProcess, L"talvek-no-such-program"),
            "127||can't start 'talvek-no-such-program': No such file or directory\n");
}

TEST_F(ProcessCaptureTest, StreamReadToItsEndIsAtItsEnd) {
  CProcessCapture oProcess;
  oProcess.Execute(L"echo x");
  EXPECT_FALSE(oProcess.GetStdOutputStream()->Eof());
  EXPECT_EQ(ReadToEnd(oProcess.GetStdOutputStream()), "x\n");
  EXPECT_TRUE(oProcess.GetStdOutputStream()->Eof());
}

// Number 3 is the folder that ls itself opens. If the program had inherited any descriptor, there would be a
// fifth line.
TEST_F(ProcessCaptureTest, ProgramHasNoDescriptorButTheStandardOnes) {
  std::vector<int> anLeaky;
  for (int nCount = 0; nCount < 20; ++nCount)
    anLeaky.push_back(::open("/dev/null", O_RDONLY));
  EXPECT_EQ(Outcome(L"ls /proc/self/fd"), "0|0\n1\n2\n3\n|");
  for (const int nDescriptor : anLeaky)
    ::close(nDescriptor);
}

TEST_F(ProcessCaptureTest, RunsLeaveNoDescriptorOpenInTheCaller) {
  const auto CountDescriptors = [] {
    int nCount = 0;
    for (int nDescriptor = 0; nDescriptor < 1024; ++nDescriptor)
      nCount += ::fcntl(nDescriptor, F_GETFD) >= 0 ? 1 : 0;
    return nCount;
  };
  const int nBefore = CountDescriptors();
  {
    CProcessCapture oProcess;
    for (const wchar_t* pszLine : {L"true", L"", L"talvek-no-such-program", L"true"}) {
      oProcess.Execute(pszLine);
      EXPECT_EQ(CountDescriptors(), nBefore + 2) << "the two streams";
    }
  }
  EXPECT_EQ(CountDescriptors(), nBefore);
}

TEST_F(ProcessCaptureTest, NoZombieIsLeft) {
  EXPECT_EQ(Outcome(L"true"), "0||");
  EXPECT_EQ(Outcome(L"talvek-no-such-program").substr(0, 3), "127");
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST_F(ProcessCaptureTest, ProgramRunsInTheProcessWorkingFolder) {
  const CTempFolder oFolder;
  const std::filesystem::path oPrevious = std::filesystem::current_path();
  std::filesystem::current_path(oFolder.Path());
  const std::string strOutcome = Outcome(L"pwd -P");
  std::filesystem::current_path(oPrevious);
  EXPECT_EQ(strOutcome, "0|" + std::filesystem::canonical(oFolder.Path()).string() + "\n|");
}

TEST_F(ProcessCaptureTest, ProgramHasDefaultSignalsAndNoneBlocked) {
  sigset_t oBlocked, oPrevious;
  sigemptyset(&oBlocked);
  sigaddset(&oBlocked, SIGUSR1);
  sigprocmask(SIG_BLOCK, &oBlocked, &oPrevious);
  const auto pfnPipe = std::signal(SIGPIPE, SIG_IGN);
  // These three stay ignored in the child if the process that started the tests ignores them.
  const auto pfnInterrupt = std::signal(SIGINT, SIG_DFL);
  const auto pfnQuit = std::signal(SIGQUIT, SIG_DFL);
  const auto pfnHangUp = std::signal(SIGHUP, SIG_DFL);
  std::string strOutcome = Outcome(L"grep -E \"^Sig(Blk|Ign)\" /proc/self/status");
  std::signal(SIGPIPE, pfnPipe);
  std::signal(SIGINT, pfnInterrupt);
  std::signal(SIGQUIT, pfnQuit);
  std::signal(SIGHUP, pfnHangUp);
  sigprocmask(SIG_SETMASK, &oPrevious, nullptr);
  // glibc reserves signals 32 and 33, which no program can change. They are ignored if the caller's caller
  // ignores them.
  const std::size_t nOwn = strOutcome.find("Ign:\t0000000180000000");
  if (nOwn != std::string::npos) strOutcome.replace(nOwn, 21, "Ign:\t0000000000000000");
  EXPECT_EQ(strOutcome, "0|SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n|");
}

// Otherwise, under nohup, a hang-up would end the client but not the program that waits for it.
TEST_F(ProcessCaptureTest, HangUpStaysIgnoredWhereTheCallerIgnoresIt) {
  const auto pfnPrevious = std::signal(SIGHUP, SIG_IGN);
  EXPECT_EQ(Outcome(Shell("kill -HUP $$; echo goes on")), "0|goes on\n|");
  std::signal(SIGHUP, pfnPrevious);
}

/// Runs a script that has started another process, and stops it when the script sends SIGUSR1 to $parent.
/// Returns the outcome.
std::string OutcomeOfStop(const std::string& strScript) {
  const CTempFolder oFolder;
  TEST::RunInChild([&] {
    ::setsid();
    std::signal(SIGALRM, [](int) { KillStoppedChildren(); });
    std::signal(SIGUSR1, [](int) {
      StopChildren(SIGTERM);
      ::alarm(1);
    });
    CProcessCapture oProcess;
    TEST::WriteFile(oFolder / "outcome",
                    Outcome(oProcess, Shell("parent=" + std::to_string(::getpid()) + "\n" + strScript)));
    return 0;
  });
  return TEST::ReadFile(oFolder / "outcome");
}

// The outer shell sets its trap first, because the inner one has it stopped at once.
TEST_F(ProcessCaptureTest, StopReachesWhatAProgramHasStarted) {
  EXPECT_EQ(OutcomeOfStop("trap 'wait; echo outer; exit 3' TERM\n"
                          "(trap 'echo inner; exit' TERM; sleep 10 & kill -USR1 $parent; wait) &\n"
                          "wait"),
            "3|inner\nouter\n|");
}

TEST_F(ProcessCaptureTest, ProgramThatIgnoresTheStopIsKilled) {
  EXPECT_EQ(OutcomeOfStop("trap '' TERM; kill -USR1 $parent; sleep 1000; echo on"), "137||");
}

TEST_F(ProcessCaptureTest, CallersSignalMaskIsLeftAsItWas) {
  sigset_t oBlocked, oPrevious, oAfter;
  sigemptyset(&oBlocked);
  sigaddset(&oBlocked, SIGUSR1);
  sigprocmask(SIG_SETMASK, &oBlocked, &oPrevious);
  Outcome(L"true");
  sigprocmask(SIG_SETMASK, &oPrevious, &oAfter);
  EXPECT_TRUE(sigismember(&oAfter, SIGUSR1));
  EXPECT_FALSE(sigismember(&oAfter, SIGUSR2));
}

TEST_F(ProcessCaptureTest, ExitStatusIsKnownInAProcessThatIgnoresItsChildren) {
  const auto pfnPrevious = std::signal(SIGCHLD, SIG_IGN);
  EXPECT_EQ(Outcome(Shell("exit 5")), "5||");
  EXPECT_EQ(std::signal(SIGCHLD, pfnPrevious), SIG_IGN);
}

void TakeAllChildren(int) {
  while (::waitpid(-1, nullptr, WNOHANG) > 0) {
  }
}

// The handler runs while RunChild waits for the same child, so either of them may get its status.
TEST_F(ProcessCaptureTest, SignalHandlerThatTakesChildrenCannotMakeTheRunnerHang) {
  const auto pfnPrevious = std::signal(SIGCHLD, TakeAllChildren);
  const std::string strOutcome = Outcome(Shell("echo out; exit 5"));
  std::signal(SIGCHLD, pfnPrevious);
  EXPECT_TRUE(strOutcome == "5|out\n|" ||
              strOutcome == "127|out\n|can't learn the exit status of 'sh': No child processes\n")
      << strOutcome;
}

// The three standard descriptors are free, so files that Execute opens get their numbers.
TEST_F(ProcessCaptureTest, WorksInAProcessWithoutStandardDescriptors) {
  const CTempFolder oFolder;
  const std::string strResult = oFolder / "result";
  const pid_t nChild = ::fork();
  ASSERT_GE(nChild, 0);
  if (nChild == 0) {
    for (const int nDescriptor : {0, 1, 2})
      ::close(nDescriptor);
    TEST::WriteFile(strResult, Outcome(Shell("echo out; echo err >&2; cat; exit 4")) +
                                   Outcome(L"talvek-no-such-program"));
    ::_exit(0);
  }
  ::waitpid(nChild, nullptr, 0);
  EXPECT_EQ(TEST::ReadFile(strResult),
            "4|out\n|err\n127||can't start 'talvek-no-such-program': No such file or directory\n");
}

// The test becomes a subreaper, so that it can wait for the orphaned program.
TEST_F(ProcessCaptureTest, ProgramEndsWithTheProcessThatStartedIt) {
  const CTempFolder oFolder;
  const std::string strPipe = oFolder / "pipe";
  ASSERT_EQ(::mkfifo(strPipe.c_str(), 0600), 0);
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  const pid_t nStarter = ::fork();
  ASSERT_GE(nStarter, 0);
  if (nStarter == 0) {
    Outcome(Shell("echo $$ > " + strPipe + "; exec sleep 1000"));
    ::_exit(0);
  }
  pid_t nProgram = 0;
  std::ifstream(strPipe) >> nProgram;
  ::kill(nStarter, SIGKILL);
  int nStatus = 0;
  EXPECT_EQ(::waitpid(nStarter, &nStatus, 0), nStarter);
  EXPECT_EQ(::waitpid(nProgram, &nStatus, 0), nProgram);
  EXPECT_TRUE(WIFSIGNALED(nStatus) && WTERMSIG(nStatus) == SIGTERM) << nStatus;
  ::prctl(PR_SET_CHILD_SUBREAPER, 0);
}

// "late" is written by a process that outlives the program, after the first half of the output was read.
TEST_F(ProcessCaptureTest, LateWriterDoesNotMoveThePlaceOfReading) {
  const CTempFolder oFolder;
  const std::string strGo = oFolder / "go", strDone = oFolder / "done";
  ASSERT_EQ(::mkfifo(strGo.c_str(), 0600), 0);
  ASSERT_EQ(::mkfifo(strDone.c_str(), 0600), 0);
  CProcessCapture oProcess;
  oProcess.Execute(Shell("echo early; (read x < " + strGo + "; echo late; echo x > " + strDone + ") &"));
  std::string strStart(3, '\0');
  oProcess.GetStdOutputStream()->Read(strStart.data(), 3);
  TEST::WriteFile(strGo, "x\n");
  TEST::ReadFile(strDone);
  EXPECT_EQ(strStart + ReadToEnd(oProcess.GetStdOutputStream()), "early\nlate\n");
}

TEST_F(ProcessCaptureTest, UnusableTemporaryFolderIsPassedOver) {
  const CVariableScope oVariable("TMPDIR", "/no/such/folder");
  EXPECT_EQ(Outcome(L"echo x"), "0|x\n|");
}

TEST_F(ProcessCaptureTest, TemporaryFolderIsLeftEmpty) {
  const CTempFolder oFolder;
  const CVariableScope oVariable("TMPDIR", oFolder.Path());
  CProcessCapture oProcess;
  EXPECT_EQ(oProcess.Execute(Shell("readlink /proc/$$/fd/1 | grep -q ^" + oFolder.Path().string())), 0);
  EXPECT_TRUE(std::filesystem::is_empty(oFolder.Path()));
}

/// Executes `true` in a process that may have no descriptor from `nLimit` on.
int ExecuteWithLimit(CProcessCapture& oProcess, rlim_t nLimit) {
  // Two runs first: the sanitizer needs a pipe when it sees a class for the first time.
  for (int nRun = 0; nRun < 2; ++nRun)
    EXPECT_EQ(oProcess.Execute(L"true"), 0);
  rlimit tPrevious{};
  ::getrlimit(RLIMIT_NOFILE, &tPrevious);
  const rlimit tFew{nLimit, tPrevious.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &tFew);
  const int nResult = oProcess.Execute(L"true");
  ::setrlimit(RLIMIT_NOFILE, &tPrevious);
  return nResult;
}

TEST_F(ProcessCaptureTest, StreamsAreNullWithoutATemporaryFile) {
  CProcessCapture oProcess;
  EXPECT_EQ(ExecuteWithLimit(oProcess, 0), 127);
  EXPECT_EQ(oProcess.GetStdOutputStream(), nullptr);
  EXPECT_EQ(oProcess.GetStdErrorStream(), nullptr);
}

// There are enough descriptors for the two outputs, but not for starting the program. The reason must say so.
TEST_F(ProcessCaptureTest, LackOfDescriptorsGives127AndALine) {
  const int nLowest = ::open("/dev/null", O_RDONLY);
  ::close(nLowest);
  for (int nRoom = 2; nRoom <= 7; ++nRoom) {
    CProcessCapture oProcess;
    EXPECT_EQ(ExecuteWithLimit(oProcess, static_cast<rlim_t>(nLowest + nRoom)), 127) << nRoom;
    EXPECT_EQ(ReadToEnd(oProcess.GetStdErrorStream()), "can't start 'true': Too many open files\n") << nRoom;
  }
}

/// Runs a script in a process in which no file may exceed 64 KiB, which simulates a full disk. Returns the
/// exit status, "output" or (for a null standard output) "-", and the end of standard error.
std::string OutcomeWithoutRoom(const std::string& strScript) {
  const CTempFolder oFolder;
  TEST::RunInChild([&] {
    const rlimit tLimit{65536, 65536};
    if (::setrlimit(RLIMIT_FSIZE, &tLimit) != 0) return 1;
    CProcessCapture oProcess;
    const std::string strResult = std::to_string(oProcess.Execute(Shell(strScript)));
    const bool bHasOutput = oProcess.GetStdOutputStream() != nullptr;
    std::string strErrors = ReadToEnd(oProcess.GetStdErrorStream());
    if (strErrors.size() > 1000) strErrors.erase(0, strErrors.size() - 1000);
    TEST::WriteFile(oFolder / "outcome", strResult + (bHasOutput ? "|output|" : "|-|") + strErrors);
    return 0;
  });
  return TEST::ReadFile(oFolder / "outcome");
}

// An output that was cut off must not be taken for a complete one.
TEST_F(ProcessCaptureTest, OutputWithoutRoomIsNone) {
  EXPECT_EQ(OutcomeWithoutRoom("echo first >&2; exec head -c 100000 /dev/zero"),
            "153|-|first\nno room for the program's output: File too large\n");
}

TEST_F(ProcessCaptureTest, ProgramThatDoesNotLookAtItsWritesFailsWithoutRoom) {
  EXPECT_EQ(OutcomeWithoutRoom("trap '' XFSZ; head -c 100000 /dev/zero 2> /dev/null; exit 0"),
            "127|-|no room for the program's output: File too large\n");
}

TEST_F(ProcessCaptureTest, ErrorsWithoutRoomCostTheOutputToo) {
  const std::string strOutcome = OutcomeWithoutRoom("echo x; exec head -c 100000 /dev/zero >&2");
  EXPECT_EQ(strOutcome.substr(0, 6), "153|-|");
  EXPECT_TRUE(strOutcome.ends_with("\nno room for the program's output: File too large\n"));
}

TEST_F(ProcessCaptureTest, OutputThatFitsIsWhole) {
  EXPECT_EQ(OutcomeWithoutRoom("exec head -c 65535 /dev/zero"), "0|output|");
}

// If a caller tries again, nobody would tell that program to end.
TEST_F(ProcessCaptureTest, NothingStartsOnceChildrenAreStopped) {
  const CTempFolder oFolder;
  TEST::RunInChild([&] {
    StopChildren(SIGTERM);
    CProcessCapture oProcess;
    const int nResult = oProcess.Execute(L"touch " + FromBytes((oFolder / "started").string()));
    TEST::WriteFile(oFolder / "outcome",
                    std::to_string(nResult) + "|" + ReadToEnd(oProcess.GetStdErrorStream()));
    return 0;
  });
  EXPECT_EQ(TEST::ReadFile(oFolder / "outcome"), "127|can't start 'touch': Operation canceled\n");
  EXPECT_FALSE(std::filesystem::exists(oFolder / "started"));
}

}  // namespace
}  // namespace TALVEK::VCM
