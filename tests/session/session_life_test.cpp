// How long a session lives, which commands it serves, and what it keeps open.

#include <algorithm>
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

/// Scripts that check files of the example repository out. The server adds a line to "starts" each time it is
/// started.
class SessionLifeTest : public testing::Test {
 protected:
  SessionLifeTest() {
    WriteScript(m_oFolder / "server", "echo $$ >> " + Quoted("starts") + "\nexec cvs \"$@\"\n");
    WriteScript(m_oFolder / "get", "exec " + SESSION +
                                       " -d :fork:" TALVEK_EXAMPLE_REPOSITORY
                                       " checkout -r 1.1 -d \"$1\" \"calculator/$2\" < /dev/null\n");
    WriteFile(m_oFolder / "starts", "");
  }

  TShellResult Run(const std::string& strScript, const std::string& strVariables = "") {
    WriteScript(m_oFolder / "script", strScript);
    return RunShell("cd " + Quoted("") + " && HOME=$PWD CVS_SERVER=$PWD/server " + strVariables +
                    " sh ./script 2>&1");
  }

  int Starts() const {
    const std::string strStarts = ReadFile(m_oFolder / "starts");
    return static_cast<int>(std::count(strStarts.begin(), strStarts.end(), '\n'));
  }
  int ProcessesLeft(int nWanted) {
    return AwaitProcesses("CVS_SERVER=" + (m_oFolder / "server").string(), nWanted);
  }
  std::string Quoted(const std::string& strName) const { return ShellQuote((m_oFolder / strName).string()); }

  CTempFolder m_oFolder;
};

TEST_F(SessionLifeTest, OneConnectionServesOneCallerAndEndsWithIt) {
  EXPECT_EQ(Run("./get Main README\n./get Main Makefile\n./get Main/src src/main.c\n"),
            (TShellResult{0, "U Main/README\nU Main/Makefile\nU Main/src/main.c\n"}));
  EXPECT_EQ(Starts(), 1);
  EXPECT_EQ(ProcessesLeft(0), 0);
}

// The callers use different folders of the repository, because a server that finds a folder locked prints
// that and waits for 30 seconds.
TEST_F(SessionLifeTest, TwoCallersDoNotShare) {
  EXPECT_EQ(Run("sh -c './get A README; ./get A Makefile' > one &\n"
                "sh -c './get B/src src/main.c; ./get B/doc doc/manual.txt' > other &\n"
                "wait; cat one other\n"),
            (TShellResult{0, "U A/README\nU A/Makefile\nU B/src/main.c\nU B/doc/manual.txt\n"}));
  EXPECT_EQ(Starts(), 2);
}

TEST_F(SessionLifeTest, CommandsAtTheSameTimeTakeTurns) {
  const TShellResult tResult =
      Run("./get A Makefile > /dev/null &\n./get B README > /dev/null &\n./get C/doc doc/manual.txt > "
          "/dev/null &\n"
          "./get D/eval src/eval/parser.c > /dev/null &\n./get E src/main.c > /dev/null &\n"
          "./get F tests/run.sh > /dev/null &\nwait\nfind ? -type f ! -path '*/CVS/*' | LC_ALL=C sort\n");
  EXPECT_EQ(
      tResult,
      (TShellResult{0, "A/Makefile\nB/README\nC/doc/manual.txt\nD/eval/parser.c\nE/main.c\nF/run.sh\n"}));
  EXPECT_EQ(Starts(), 1);
}

TEST_F(SessionLifeTest, AnIdleSessionEnds) {
  const TShellResult tResult = Run("./get Main README\nsleep 3\n./get Main Makefile\n", "CVS_SESSION_IDLE=1");
  EXPECT_EQ(tResult, (TShellResult{0, "U Main/README\nU Main/Makefile\n"}));
  EXPECT_EQ(Starts(), 2);
}

TEST_F(SessionLifeTest, AServerThatHangsUpBetweenCommandsIsStartedAgain) {
  EXPECT_EQ(Run("./get Main README\nkill -9 $(tail -1 starts)\n./get Main Makefile\n"),
            (TShellResult{0, "U Main/README\nU Main/Makefile\n"}));
  EXPECT_EQ(Starts(), 2);
  EXPECT_EQ(ProcessesLeft(0), 0);
}

// A caller reads a command's output to its end, so the session must not keep that descriptor open.
TEST_F(SessionLifeTest, ASessionHoldsNoDescriptorAndNoFolderOfItsCaller) {
  const TShellResult tResult =
      Run("exec 7> kept\n./get Main README | cat\n"
          "for process in /proc/[0-9]*; do\n"
          "  case $(readlink $process/exe) in */cvs-session | */cvs) ;; *) continue ;; esac\n"
          "  grep -qzF \"CVS_SERVER=$CVS_SERVER\" $process/environ 2>/dev/null || continue\n"
          "  echo seen; readlink $process/cwd | grep -F \"$PWD\"\n"
          "  ls -l $process/fd | sed -n 's/.* -> //p' | grep -F -e kept -e \"$PWD\"\n"
          "done\n");
  EXPECT_EQ(tResult.strOutput, "U Main/README\nseen\nseen\n");
}

TEST_F(SessionLifeTest, AChangedEnvironmentGetsASessionOfItsOwn) {
  EXPECT_EQ(Run("./get Main README\nTZ=Asia/Tokyo ./get Main Makefile\n"),
            (TShellResult{0, "U Main/README\nU Main/Makefile\n"}));
  EXPECT_EQ(Starts(), 2);
}

TEST_F(SessionLifeTest, OtherCommandsAreTheClients) {
  WriteScript(m_oFolder / "client", "printf '[%s]' \"$@\"; exit 9\n");
  EXPECT_EQ(Run(SESSION + " -d /cvs rlog -S 'a b'\n", "CVS_SESSION_CVS=" + Quoted("client")),
            (TShellResult{9, "[-d][/cvs][rlog][-S][a b]"}));
  EXPECT_EQ(Run("mkdir bin && ln -s " + SESSION +
                " bin/cvs && PATH=$PWD/bin:$PATH cvs --version | grep -c 'Concurrent Versions System'\n"),
            (TShellResult{0, "1\n"}));
}

// On a disk, writing the small files would take most of the time. A TMPDIR in the environment has priority.
TEST_F(SessionLifeTest, ServerOfALocalRootKeepsItsSmallFilesInMemory) {
  WriteScript(m_oFolder / "client",
              "echo \"${TMPDIR-none}\" >> " + Quoted("folders") + "; exec cvs \"$@\"\n");
  const std::string strMemory = ShellOutput(
      "[ \"$(stat -f -c %T /dev/shm 2>&1)\" = tmpfs ] && [ $(df --output=avail /dev/shm | tail -1) -ge "
      "1048576 ] && "
      "echo /dev/shm || echo none");
  const std::string strGet = "export CVS_SESSION_CVS=" + Quoted("client") + "\n" + SESSION + " -d " +
                             ShellQuote(TALVEK_EXAMPLE_REPOSITORY) + " checkout -r 1.1 -d ";
  EXPECT_EQ(Run("unset TMPDIR\n" + strGet + "Main calculator/README\n"),
            (TShellResult{0, "U Main/README\n"}));
  EXPECT_EQ(Run("export TMPDIR=" + Quoted("") + "\n" + strGet + "Two calculator/README\n"),
            (TShellResult{0, "U Two/README\n"}));
  EXPECT_EQ(ReadFile(m_oFolder / "folders"), strMemory + (m_oFolder / "").string() + "\n");
}

TEST_F(SessionLifeTest, AMissingClientIsNamed) {
  EXPECT_EQ(Run(SESSION + " --version\n", "CVS_SESSION_CVS=/nowhere/cvs"),
            (TShellResult{127, "cvs-session: cannot run /nowhere/cvs: No such file or directory\n"}));
}

}  // namespace
}  // namespace TALVEK::TEST
