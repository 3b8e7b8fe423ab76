// A run at a terminal: what it starts may ask for a password, and Ctrl-C ends it all.

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "core/descriptor.h"
#include "tests/road/fault_fixture.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;

class TerminalTest : public FaultTest {
 protected:
  TerminalTest() : m_oTerminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (!m_oTerminal.IsOpen() || grantpt(m_oTerminal.Get()) != 0 || unlockpt(m_oTerminal.Get()) != 0)
      throw std::runtime_error("no terminal");
    m_strName = ptsname(m_oTerminal.Get());
  }

  /// Starts a run as a shell with job control does: at the head of the terminal's foreground group.
  pid_t StartAtTerminal(const std::vector<std::string>& astrArguments) {
    return Start(astrArguments, [this] {
      setenv("CVS_RSH", (Folder() / "rsh").c_str(), 1);
      for (const int nSignal : {SIGINT, SIGQUIT, SIGHUP})
        std::signal(nSignal, SIG_DFL);
      const int nTerminal = open(m_strName.c_str(), O_RDWR);
      if (nTerminal < 0 || ioctl(nTerminal, TIOCSCTTY, 0) != 0) _exit(124);
      dup2(nTerminal, STDIN_FILENO);
    });
  }
  /// A client that starts another program and never ends. That one makes the file "ready", so that the shell
  /// is sure to wait for it: dash misses a SIGINT that comes while it starts a program.
  void EndlessClient() { Client("mkfifo pipe; tee ready <> pipe; sleep 1000"); }
  void Type(const std::string& strKeys) {
    EXPECT_EQ(write(m_oTerminal.Get(), strKeys.data(), strKeys.size()), static_cast<ssize_t>(strKeys.size()));
  }

  VCM::CDescriptor m_oTerminal;
  std::string m_strName;
};

// In a group of its own, the remote shell would be stopped as soon as it reads from the terminal. It asks for
// the log, for the session, and for each file that the session leaves to the client.
TEST_F(TerminalTest, RemoteShellReadsAPasswordFromTheTerminal) {
  WriteFile(Folder() / "rsh",
            "#!/bin/sh\nstty -echo < /dev/tty\nprintf 'password: ' > /dev/tty\nread -r word < /dev/tty\n"
            "[ \"$word\" = secret ] && exec cvs server\n");
  fs::permissions(Folder() / "rsh", fs::perms::owner_all);
  const pid_t nProcess = StartAtTerminal(ExampleImport({}, ":ext:me@host:" TALVEK_EXAMPLE_REPOSITORY));
  for (int nTime = 0; nTime < 50; ++nTime)
    Type("secret\n");
  int nStatus = 0;
  const bool bEnded = Await([&] { return waitpid(nProcess, &nStatus, WNOHANG) == nProcess; });
  EXPECT_TRUE(bEnded) << "it waits for its password";
  EXPECT_EQ(nStatus, 0) << ReadFile(Folder() / "out");
  EXPECT_EQ(References("target"), WholeReferences());
}

TEST_F(TerminalTest, CtrlCEndsTheRunAndAllThatItStarted) {
  EndlessClient();
  const pid_t nProcess = StartAtTerminal(FakeImport());
  EXPECT_TRUE(Await([this] { return fs::exists(Folder() / "ready"); }));
  Type("\x03");
  EXPECT_EQ(Finish(nProcess), (TShellResult{130, "talvek-import: stopped; nothing was imported\n"}));
  EXPECT_EQ(Starts(), 1);
  EXPECT_EQ(Leftovers(), "");
}

TEST_F(TerminalTest, TerminalThatGoesAwayEndsTheRunAndAllThatItStarted) {
  EndlessClient();
  const pid_t nProcess = StartAtTerminal(FakeImport());
  EXPECT_TRUE(Await([this] { return fs::exists(Folder() / "ready"); }));
  m_oTerminal.Close();
  EXPECT_EQ(Finish(nProcess), (TShellResult{129, "talvek-import: stopped; nothing was imported\n"}));
  EXPECT_EQ(Leftovers(), "");
}

TEST_F(TerminalTest, SignalByKillReachesTheClient) {
  Client("touch ready; exec sleep 1000");
  const pid_t nProcess = StartAtTerminal(FakeImport());
  EXPECT_TRUE(Await([this] { return fs::exists(Folder() / "ready"); }));
  kill(nProcess, SIGTERM);
  EXPECT_EQ(Finish(nProcess), (TShellResult{143, "talvek-import: stopped; nothing was imported\n"}));
  EXPECT_EQ(Leftovers(), "");
}

}  // namespace
}  // namespace TALVEK::TEST
