// Clients that misbehave under the built programs. tests/faults/run plays more of them, and at length.

#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <string>
#include <thread>

#include "tests/road/fault_fixture.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;

using ClientFaultsTest = FaultTest;

TEST_F(ClientFaultsTest, MissingClientIsNamed) {
  EXPECT_EQ(Run(FakeImport()),
            (TShellResult{1,
                          "talvek-import: the program './cvs' can't be found; install it, or "
                          "say where it is with --cvs-path\n"}));
  EXPECT_EQ(Leftovers(), "");
}

TEST_F(ClientFaultsTest, ClientThatIsNotExecutableIsNamed) {
  WriteFile(Folder() / "cvs", "#!/bin/sh\n");
  const TShellResult tRun = Run(FakeImport());
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_TRUE(
      tRun.strOutput.starts_with("talvek-import: the repository gives no history: can't start './cvs': "
                                 "Permission denied; "))
      << tRun.strOutput;
  EXPECT_EQ(Leftovers(), "");
}

TEST_F(ClientFaultsTest, ClientKilledByASignalIsTriedAsOftenAsAnyOther) {
  Client("kill -9 $$");
  const TShellResult tRun = Run(FakeImport({"--cmd-repeat-count", "3"}));
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_TRUE(tRun.strOutput.starts_with("talvek-import: the repository gives no history; "))
      << tRun.strOutput;
  EXPECT_EQ(Starts(), 3);
  EXPECT_EQ(Leftovers(), "");
}

// Memory that is watched is mapped in advance, by the terabyte.
#ifdef __SANITIZE_ADDRESS__
constexpr rlim_t MOST_MEMORY = RLIM_INFINITY;
#else
constexpr rlim_t MOST_MEMORY = 400 << 20;
#endif

// Sixty megabytes would be five hundred as a line of text.
TEST_F(ClientFaultsTest, FloodOfErrorsTakesNoMemory) {
  Client("head -c 60000000 /dev/zero | tr '\\0' x >&2; exit 1");
  const TShellResult tRun = Run(FakeImport({"--cmd-repeat-count", "1"}), [] {
    const rlimit tLimit = {MOST_MEMORY, MOST_MEMORY};
    setrlimit(RLIMIT_DATA, &tLimit);
  });
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_NE(tRun.strOutput.find("gives no history: xxxxxxxx"), std::string::npos);
  EXPECT_EQ(Leftovers(), "");
}

TEST_F(ClientFaultsTest, InputOfTheClientIsEmpty) {
  Client("cat > input; exit 1");
  EXPECT_EQ(Run(FakeImport({"--cmd-repeat-count", "1"})).nStatus, 1);
  EXPECT_EQ(ReadFile(Folder() / "input"), "");
}

/// With the signal that stops the run.
class StopFaultsTest : public FaultTest, public testing::WithParamInterface<int> {
 protected:
  TShellResult StoppedResult() const {
    return {128 + GetParam(), "talvek-import: stopped; nothing was imported\n"};
  }

  /// Stops a run once its client has written the file "ready".
  TShellResult Stop(bool bTwice) {
    const pid_t nProcess = Start(FakeImport(), [] { std::signal(SIGINT, SIG_DFL); });
    EXPECT_TRUE(Await([this] { return fs::exists(Folder() / "ready"); }));
    kill(nProcess, GetParam());
    if (bTwice) {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));  // two at once are one
      kill(nProcess, GetParam());
    }
    return Finish(nProcess);
  }
};

INSTANTIATE_TEST_SUITE_P(Signals, StopFaultsTest, testing::Values(SIGTERM, SIGINT),
                         [](const auto& tInfo) { return tInfo.param == SIGINT ? "INT" : "TERM"; });

// It dies without a word, which is one of the failures that a command is tried again for.
TEST_P(StopFaultsTest, SilentClientEndsWithItsChildrenAndIsNotStartedAgain) {
  Client("touch ready; sleep 1000; sleep 1000");
  EXPECT_EQ(Stop(false), StoppedResult());
  EXPECT_EQ(Starts(), 1);
  EXPECT_EQ(Leftovers(), "");
}

TEST_P(StopFaultsTest, SecondSignalEndsAClientThatIgnoresTheFirst) {
  Client("trap '' TERM INT; touch ready; while :; do sleep 1000; done");
  EXPECT_EQ(Stop(true), StoppedResult());
  EXPECT_EQ(Starts(), 1);
  EXPECT_EQ(Leftovers(), "");
}

/// The bundled client, over a server whose starts are noted in "servers".
class SessionFaultsTest : public FaultTest, public testing::WithParamInterface<int> {
 protected:
  /// `strScript` is what a server does first, in the folder.
  pid_t StartImport(const std::string& strScript) {
    const fs::path oServer = Folder() / "server";
    WriteFile(oServer, "#!/bin/sh\necho $$ >> '" + (Folder() / "servers").string() + "'\ncd '" +
                           Folder().string() + "'\n" + strScript + "\nexec cvs \"$@\"\n");
    fs::permissions(oServer, fs::perms::owner_all);
    return Start(ExampleImport({}, ":fork:" TALVEK_EXAMPLE_REPOSITORY), [oServer] {
      setenv("CVS_SERVER", oServer.c_str(), 1);
      std::signal(SIGINT, SIG_DFL);
    });
  }
  /// The first serves the rlog, the next the session; 0: not started yet.
  pid_t Server(std::size_t nNumber) const {
    std::ifstream oServers(Folder() / "servers");
    pid_t nServer = 0;
    for (std::size_t nLine = 0; nLine <= nNumber; ++nLine) {
      if (!(oServers >> nServer)) return 0;
    }
    return nServer;
  }
  bool AwaitServer(std::size_t nNumber) const {
    return Await([&] { return Server(nNumber) != 0; });
  }
};

TEST_F(SessionFaultsTest, KilledServerIsAskedAgain) {
  const pid_t nProcess = StartImport("");
  ASSERT_TRUE(AwaitServer(1));
  kill(Server(1), SIGKILL);
  const TShellResult tRun = Finish(nProcess);
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strOutput;
  EXPECT_NE(Server(2), 0);
  EXPECT_EQ(References("target"), WholeReferences());
}

// Commands come thick and fast: one that the failure hits must not hand it on to all that follow.
TEST_F(SessionFaultsTest, ServerThatDiesAtOnceCostsOneAttempt) {
  const TShellResult tRun = Finish(StartImport("[ $(wc -l < servers) -eq 2 ] && kill -9 $$"));
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strOutput;
  EXPECT_NE(Server(2), 0);
  EXPECT_EQ(References("target"), WholeReferences());
}

using SessionStopTest = SessionFaultsTest;

INSTANTIATE_TEST_SUITE_P(Signals, SessionStopTest, testing::Values(SIGTERM, SIGINT),
                         [](const auto& tInfo) { return tInfo.param == SIGINT ? "INT" : "TERM"; });

TEST_P(SessionStopTest, SessionEndsWithAStoppedRun) {
  const pid_t nProcess = StartImport("");
  ASSERT_TRUE(AwaitServer(1));
  kill(nProcess, GetParam());
  const TShellResult tRun = Finish(nProcess);
  EXPECT_EQ(tRun.nStatus, 128 + GetParam());
  EXPECT_TRUE(tRun.strOutput.ends_with("talvek-import: stopped; nothing was imported\n")) << tRun.strOutput;
  EXPECT_EQ(Leftovers(), "");
}

}  // namespace
}  // namespace TALVEK::TEST
