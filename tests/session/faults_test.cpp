// When a server or the connection to it fails, there is a clear line, status 1, no file, and no process left
// running.

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/session/session_world.h"
#include "tests/support/cvs_servers.h"
#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;

const std::string FILE_HEAD =
    "Mod-time 6 Nov 2001 06:51:22 -0000\\nM U Main/a.c\\nCreated "
    "Main/\\nmod/a.c\\n/a.c/1.1///T1.1\\nu=rw,g=r,o=r\\n";

/// A server that is a script, run by CVS_RSH, and a checkout from it.
class FaultsTest : public testing::Test {
 protected:
  FaultsTest() { fs::create_directories(m_oFolder / "outer/work"); }

  /// Makes the server run `strScript` for a checkout.
  void AnswerCheckoutBy(const std::string& strScript) {
    AnswerBy(
        "while read -r line; do\n case $line in\n valid-requests) printf 'Valid-requests Root co\\nok\\n' "
        ";;\n co) " +
        strScript + " ;;\n esac\ndone\n");
  }
  void AnswerBy(const std::string& strScript) {
    WriteScript(m_oFolder / "rsh", "echo >> " + Quoted("connections") + "\n" + strScript);
  }

  TShellResult Ask(const std::string& strRoot = ":ext:me@host:/cvs") {
    return RunShell("cd " + Quoted("outer/work") + " && export HOME=" + Quoted("") +
                    " CVS_RSH=" + Quoted("rsh") +
                    " CVS_SESSION_TIMEOUT=2 CVS_SESSION_CVS=" + Quoted("client") + " && " + SESSION + " -d " +
                    ShellQuote(strRoot) + " checkout -r 1.1 -d Main mod/a.c 2>&1 < /dev/null");
  }

  void ExpectNothingLeft() {
    EXPECT_EQ(AwaitProcesses(m_oFolder.Path().string(), 0), 0);
    EXPECT_EQ(ShellOutput("cd " + Quoted("outer") + " && find ."), ".\n./work\n");
  }

  int Connections() { return static_cast<int>(ReadFile(m_oFolder / "connections").size()); }
  std::string Quoted(const std::string& strName) const { return ShellQuote((m_oFolder / strName).string()); }

  CTempFolder m_oFolder;
};

const std::string END = "cvs [checkout aborted]: end of file from server (consult above messages if any)\n";

TEST_F(FaultsTest, AnAnsweredCheckoutIsWritten) {
  AnswerCheckoutBy("printf '" + FILE_HEAD + "3\\nhi\\nok\\n'");
  EXPECT_EQ(Ask(), (TShellResult{0, "U Main/a.c\n"}));
  EXPECT_EQ(ReadFile(m_oFolder / "outer/work/Main/a.c"), "hi\n");
  EXPECT_EQ(AwaitProcesses(m_oFolder.Path().string(), 0), 0);
}

TEST_F(FaultsTest, AServerInTheMiddleOfAReplyCanCleanUp) {
  AnswerBy(
      "while read -r line; do\n case $line in\n valid-requests) printf 'Valid-requests Root co\\nok\\n' ;;\n"
      " co) echo > " +
      Quoted("asked") + "; sleep 0.5; printf '" + FILE_HEAD +
      "3\\nhi\\nok\\n' ;;\n esac\ndone\n"
      "echo done > " +
      Quoted("cleaned"));
  RunShell("cd " + Quoted("outer/work") + " && export HOME=" + Quoted("") + " CVS_RSH=" + Quoted("rsh") +
           "; " + SESSION +
           " -d :ext:me@host:/cvs checkout -r 1.1 -d Main mod/a.c & command=$!; until [ -e " +
           Quoted("asked") + " ]; do sleep 0.02; done; kill -9 $command");
  ExpectNothingLeft();
  EXPECT_EQ(ReadFile(m_oFolder / "cleaned"), "done\n");
}

TEST_F(FaultsTest, AServerKilledInTheMiddleOfAFileIsAskedOnceMore) {
  AnswerCheckoutBy("printf '" + FILE_HEAD + "1000\\nhalf of it'; kill -9 $$");
  EXPECT_EQ(Ask(), (TShellResult{1, END}));
  EXPECT_EQ(Connections(), 2);
  ExpectNothingLeft();
}

TEST_F(FaultsTest, TheSecondAnswerCounts) {
  AnswerCheckoutBy("[ -e " + Quoted("second") + " ] || { : > " + Quoted("second") + "; exit; }; printf '" +
                   FILE_HEAD + "3\\nhi\\nok\\n'");
  EXPECT_EQ(Ask(), (TShellResult{0, "U Main/a.c\n"}));
  EXPECT_EQ(Connections(), 2);
}

TEST_F(FaultsTest, WhatTheServerSaidBeforeItsEndIsShown) {
  AnswerCheckoutBy("printf 'E cvs server: disk on fire\\n'; exit");
  EXPECT_EQ(Ask(), (TShellResult{1, "cvs server: disk on fire\n" + END}));
  ExpectNothingLeft();
}

TEST_F(FaultsTest, HalfALineAndThenSilenceIsWaitedForAWhile) {
  AnswerCheckoutBy("printf 'Created Ma'; exec sleep 100");
  EXPECT_EQ(Ask(), (TShellResult{1, "cvs [checkout aborted]: no answer from the server within 2 seconds\n"}));
  EXPECT_EQ(Connections(), 1);
  ExpectNothingLeft();
}

TEST_F(FaultsTest, SilenceFromTheBeginningIsWaitedForAWhile) {
  AnswerBy("exec sleep 100\n");
  const TShellResult tResult = Ask();
  EXPECT_EQ(tResult,
            (TShellResult{1, "cvs [checkout aborted]: no answer from the server within 2 seconds\n"}));
  ExpectNothingLeft();
}

TEST_F(FaultsTest, AnEndBeforeTheFirstWordShowsWhatTheShellSaid) {
  AnswerBy("echo 'Permission denied' >&2\nexit 255\n");
  EXPECT_EQ(Ask(), (TShellResult{1, "Permission denied\n" + END}));
  EXPECT_EQ(Connections(), 1);
  ExpectNothingLeft();
}

TEST_F(FaultsTest, AShellThatIsNotThereIsNamed) {
  const std::string strShell = (m_oFolder / "rsh").string();
  EXPECT_EQ(Ask(), (TShellResult{1, "cvs [checkout aborted]: cannot exec " + strShell +
                                        ": No such file or directory\n" + END}));
  ExpectNothingLeft();
}

TEST_F(FaultsTest, PathsOutsideAreRefused) {
  for (const char* pszFolder : {"../../x/", "../", "/tmp/", "Main/../../"}) {
    AnswerCheckoutBy(std::string("printf 'Created ") + pszFolder +
                     "\\nmod/a.c\\n/a.c/1.1///T1.1\\nu=rw\\n3\\nhi\\nok\\n'");
    EXPECT_EQ(Ask(), (TShellResult{1, std::string("cvs [checkout aborted]: the server names `") + pszFolder +
                                          "', which is not a folder to check out into\n"}));
    ExpectNothingLeft();
  }
}

TEST_F(FaultsTest, AnotherFileIsLeftToTheClient) {
  AnswerCheckoutBy("printf 'Created Other/\\nmod/a.c\\n/a.c/1.1///T1.1\\nu=rw\\n3\\nhi\\nok\\n'");
  WriteScript(m_oFolder / "client", "echo \"client: $*\"; exit 7\n");
  EXPECT_EQ(Ask(), (TShellResult{7, "client: -d :ext:me@host:/cvs checkout -r 1.1 -d Main mod/a.c\n"}));
  ExpectNothingLeft();
}

TEST_F(FaultsTest, ALinkInTheWayIsLeftToTheClient) {
  AnswerCheckoutBy("printf '" + FILE_HEAD + "3\\nhi\\nok\\n'");
  WriteScript(m_oFolder / "client", "echo client\n");
  fs::create_directory(m_oFolder / "elsewhere");
  fs::create_directory_symlink(m_oFolder / "elsewhere", m_oFolder / "outer/work/Main");
  EXPECT_EQ(Ask(), (TShellResult{0, "client\n"}));
  EXPECT_TRUE(fs::is_empty(m_oFolder / "elsewhere"));
}

TEST_F(FaultsTest, ARefusedLoginIsToldInTheClientsWords) {
  CTempFolder oFolder;
  const std::string strRepository = (oFolder / "repository").string();
  CopyExampleRepository(strRepository);
  AdmitReader(oFolder.Path(), strRepository);
  const CListener oListener(PasswordServer(strRepository));
  const std::string strPlace = "@127.0.0.1:" + oListener.Port() + strRepository;
  for (const char* pszWho : {"reader:wrong", "reader", "nobody:pass word"}) {
    const std::string strRoot = ":pserver:" + std::string(pszWho) + strPlace;
    const TShellResult tClient =
        RunShell("cd " + Quoted("outer/work") + " && HOME=" + Quoted("") + " cvs -d " + ShellQuote(strRoot) +
                 " checkout -r 1.1 -d Main mod/a.c 2>&1");
    EXPECT_EQ(tClient.nStatus, 1);
    EXPECT_NE(tClient.strOutput.find("authorization failed"), std::string::npos);
    EXPECT_EQ(Ask(strRoot), tClient);
  }
  ExpectNothingLeft();
}

TEST_F(FaultsTest, ARefusalWithoutAWordIsTold) {
  AnswerBy("while read -r line; do [ \"$line\" = valid-requests ] && printf 'error  \\n'; done\n");
  EXPECT_EQ(Ask(), (TShellResult{1, "cvs [checkout aborted]: the server refuses without a reason\n"}));
  ExpectNothingLeft();
}

TEST_F(FaultsTest, APortWithoutListenerIsToldInTheClientsWords) {
  std::string strPort;
  { strPort = CListener("exit").Port(); }
  for (const std::string strHost : {"127.0.0.1", "localhost", "no-such-host.invalid"}) {
    const std::string strRoot = ":pserver:reader:x@" + strHost + ":" + strPort + "/cvs";
    const TShellResult tClient = RunShell("cd " + Quoted("outer/work") + " && HOME=" + Quoted("") +
                                          " cvs -d " + strRoot + " checkout -r 1.1 -d Main mod/a.c 2>&1");
    EXPECT_EQ(tClient.nStatus, 1);
    EXPECT_EQ(Ask(strRoot), tClient) << strHost;
  }
}

// The time-out is for silence only, not for the whole reply.
TEST_F(FaultsTest, AReplyMayTakeLongerThanTheTimeOut) {
  AnswerCheckoutBy("printf '" + FILE_HEAD +
                   "4\\n'; for byte in a b c d; do sleep 1; printf $byte; done; printf 'ok\\n'");
  EXPECT_EQ(Ask(), (TShellResult{0, "U Main/a.c\n"}));
  EXPECT_EQ(ReadFile(m_oFolder / "outer/work/Main/a.c"), "abcd");
}

TEST_F(FaultsTest, AnOddGreetingIsShown) {
  const CListener oListener("read -r line; echo 'HTTP/1.1 400 Bad Request'");
  EXPECT_EQ(
      Ask(":pserver:reader:x@127.0.0.1:" + oListener.Port() + "/cvs"),
      (TShellResult{
          1,
          "cvs [checkout aborted]: unrecognized auth response from 127.0.0.1: HTTP/1.1 400 Bad Request\n"}));
  ExpectNothingLeft();
}

TEST_F(FaultsTest, ASilentPasswordServerIsWaitedForAWhile) {
  const CListener oListener("exec sleep 20");
  EXPECT_EQ(Ask(":pserver:reader:x@127.0.0.1:" + oListener.Port() + "/cvs"),
            (TShellResult{1, "cvs [checkout aborted]: no answer from the server within 2 seconds\n"}));
  ExpectNothingLeft();
}

TEST_F(FaultsTest, DamagedCompressionIsRefused) {
  AnswerBy(
      "while read -r line; do\n case $line in\n valid-requests) printf 'Valid-requests Root co "
      "Gzip-stream\\nok\\n' ;;\n"
      " Gzip-stream*) echo 'this is no zlib stream' ;;\n esac\ndone\n");
  const TShellResult tResult = RunShell("cd " + Quoted("outer/work") + " && HOME=" + Quoted("") +
                                        " CVS_RSH=" + Quoted("rsh") + " CVS_SESSION_TIMEOUT=2 " + SESSION +
                                        " -z3 -d :ext:me@host:/cvs checkout -r 1.1 -d Main mod/a.c 2>&1");
  EXPECT_EQ(tResult.nStatus, 1);
  ExpectNothingLeft();
}

}  // namespace
}  // namespace TALVEK::TEST
