// Disks that are full or can't be written, things planted in the way, and Git repositories that come to harm.
// tests/faults/run plays more of them, and at length.

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <string>
#include <thread>

#include "tests/road/fault_fixture.h"
#include "tests/support/tested_provider.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;

/// A full disk for whoever may not mount one: no file may grow beyond a size.
std::function<void()> LimitFiles(rlim_t nKilobytes) {
  return [nKilobytes] {
    const rlimit tLimit = {nKilobytes << 10, nKilobytes << 10};
    setrlimit(RLIMIT_FSIZE, &tLimit);
  };
}

using StorageFaultsTest = FaultTest;

// Each size stops another writer: the client's output, the database, the work folder. Provider cvs fetches
// deleted files, too; when one doesn't come, the host looks whether the work folder has room.
TEST_F(StorageFaultsTest, FullDiskGivesTheWholeHistoryOrNone) {
  const std::string strWhole = WholeReferences();
  for (const auto& [nKilobytes, pszReason] : std::initializer_list<std::pair<rlim_t, const char*>>{
           {4, "no room for the program's output: File too large"},
           {16,
            "the provider can't keep its import database: Failed to keep the changes in the import "
            "database: "},
           {256, TestsExact() ? nullptr : "no room in the work folder"},
           {4096, nullptr}}) {
    SCOPED_TRACE(std::to_string(nKilobytes) + " KB");
    const TShellResult tRun = Run(ExampleImport(), LimitFiles(nKilobytes));
    EXPECT_EQ(tRun.nStatus, pszReason ? 1 : 0) << tRun.strOutput;
    if (pszReason) {
      EXPECT_NE(tRun.strOutput.find(pszReason), std::string::npos) << tRun.strOutput;
      EXPECT_EQ(Leftovers(), "");
    } else {
      EXPECT_EQ(References("target"), strWhole);
      fs::remove_all(Folder() / "target");
    }
  }
}

// The client says more than the log has room for, a little at each checkout.
TEST_F(StorageFaultsTest, LinesThatFindNoRoomInTheImportLogAreToldOf) {
  const std::string strClient = Client(
      "case \"$*\" in *checkout*) head -c 400000 /dev/zero | tr '\\0' x | fold -w 99 >&2;; esac\n"
      "exec " TALVEK_BIN_DIR "/cvs-session \"$@\"");
  const std::vector<std::string> astrImport =
      ExampleImport({"--cvs-path", strClient, "--import-log", "import.log"});
  const TShellResult tRun = Run(astrImport, LimitFiles(4096));
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strOutput;
  EXPECT_NE(tRun.strOutput.find("warning: the import log lacks lines that found no room in tmp/Talvek"),
            std::string::npos)
      << tRun.strOutput;
  EXPECT_EQ(fs::file_size(Folder() / "import.log"), 4096U << 10);
  EXPECT_EQ(References("target"), WholeReferences());
}

// What can be written nowhere else, not even by root.
TEST_F(StorageFaultsTest, TemporaryFolderThatCannotBeWrittenIsNamed) {
  const TShellResult tRun = Run(ExampleImport(), [] { setenv("TMPDIR", "/proc", 1); });
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_TRUE(tRun.strOutput.starts_with("talvek-import: can't make a temporary folder: ")) << tRun.strOutput;
  EXPECT_TRUE(tRun.strOutput.ends_with("; point TMPDIR to a folder that can be written\n")) << tRun.strOutput;
  EXPECT_EQ(Leftovers(), "");
}

TEST_F(StorageFaultsTest, TemporaryFolderThatIsNotThereIsPassedOver) {
  const TShellResult tRun = Run(ExampleImport(), [] { setenv("TMPDIR", "/nowhere/at/all", 1); });
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strOutput;
}

std::string DatabaseFile(const char* pszSuffix) {
  return "/tmp/talvek-em-" + std::to_string(getpid()) + pszSuffix;
}

TEST_F(StorageFaultsTest, WhatIsPlantedAtTheDatabasePathIsNamedAndNotFollowed) {
  WriteFile(Folder() / "victim", "mine");
  for (const char* pszSuffix : {".tdf", ".tlf"}) {
    for (const bool bLink : {true, false}) {
      const pid_t nProcess = Start(ExampleImport(), [&] {
        // The number stays the process's own when it becomes the program.
        if (bLink) {
          fs::create_symlink("victim", DatabaseFile(pszSuffix));
        } else {
          fs::create_directory(DatabaseFile(pszSuffix));
        }
      });
      const TShellResult tRun = Finish(nProcess);
      const std::string strPlanted = "/tmp/talvek-em-" + std::to_string(nProcess) + pszSuffix;
      EXPECT_EQ(tRun.nStatus, 1);
      EXPECT_NE(
          tRun.strOutput.find("Failed to keep the changes in the import database: " + strPlanted + ": "),
          std::string::npos)
          << tRun.strOutput;
      EXPECT_EQ(Leftovers(), bLink ? "" : strPlanted + "\n");
      EXPECT_EQ(ReadFile(Folder() / "victim"), "mine");
      fs::remove(strPlanted);
    }
  }
}

TEST_F(StorageFaultsTest, DatabaseOfADeadProcessWithTheSameNumberIsTakenOver) {
  const std::string strWhole = WholeReferences();
  const TShellResult tRun = Run(ExampleImport(), [] {
    WriteFile(DatabaseFile(".tdf"), std::string(100'000, '\x01'));
    WriteFile(DatabaseFile(".tlf"), "1\n");
  });
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strOutput;
  EXPECT_EQ(References("target"), strWhole);
}

TEST_F(StorageFaultsTest, RunAfterOneThatWasKilledImportsTheWholeHistory) {
  const std::string strWhole = WholeReferences();
  for (const int nMilliseconds : {1, 150, 350}) {
    SCOPED_TRACE(std::to_string(nMilliseconds) + " ms");
    const pid_t nKilled = Start(ExampleImport());
    std::this_thread::sleep_for(std::chrono::milliseconds(nMilliseconds));
    kill(nKilled, SIGKILL);
    Finish(nKilled);
    EXPECT_TRUE(Await([this] { return Processes().empty(); }));
    const TShellResult tRun = Run(ExampleImport());
    // A target that has its history already is refused.
    EXPECT_TRUE(tRun.nStatus == 0 || tRun.nStatus == 2) << tRun.strOutput;
    EXPECT_EQ(References("target"), strWhole);
    fs::remove_all(Folder() / "target");
    fs::remove("/tmp/talvek-em-" + std::to_string(nKilled) + ".tdf");
    fs::remove("/tmp/talvek-em-" + std::to_string(nKilled) + ".tlf");
  }
}

/// An import that is held at its first checkout.
class GitFaultsTest : public FaultTest {
 protected:
  pid_t StartHeld() {
    const std::string strFolder = Folder().string();
    const std::string strClient =
        Client("case \"$*\" in *rlog* | *\"checkout -c\"*) exec cvs \"$@\";; esac\ntouch '" + strFolder +
               "/held'\nuntil [ -e '" + strFolder +
               "/go' ]; do sleep 0.01; done\nexec " TALVEK_BIN_DIR "/cvs-session \"$@\"");
    const pid_t nProcess = Start(ExampleImport({"--cvs-path", strClient}));
    EXPECT_TRUE(Await([this] { return fs::exists(Folder() / "held"); }));
    return nProcess;
  }
  TShellResult LetGo(pid_t nProcess) {
    WriteFile(Folder() / "go", "");
    return Finish(nProcess);
  }
  void KillFastImport(pid_t nBut) {
    for (const pid_t nProcess : Processes(nBut)) {
      std::ifstream oFile("/proc/" + std::to_string(nProcess) + "/cmdline", std::ios::binary);
      const std::string strLine{std::istreambuf_iterator<char>(oFile), std::istreambuf_iterator<char>()};
      if (strLine.find("fast-import") != std::string::npos) kill(nProcess, SIGKILL);
    }
  }
};

TEST_F(GitFaultsTest, KilledFastImportIsToldAndTheTargetGoes) {
  const pid_t nProcess = StartHeld();
  KillFastImport(nProcess);
  const TShellResult tRun = LetGo(nProcess);
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_NE(tRun.strOutput.find("talvek-import: git fast-import failed: "), std::string::npos)
      << tRun.strOutput;
  EXPECT_EQ(Leftovers(), "");
}

TEST_F(GitFaultsTest, KilledFastImportLeavesARepositoryAsItWas) {
  ShellOutput("git init -q -b mine " + ShellQuote((Folder() / "target").string()));
  const pid_t nProcess = StartHeld();
  KillFastImport(nProcess);
  EXPECT_EQ(LetGo(nProcess).nStatus, 1);
  EXPECT_EQ(References("target"), "");
  EXPECT_EQ(ReadFile(Folder() / "target/.git/HEAD"), "ref: refs/heads/mine\n");
  EXPECT_EQ(Leftovers(), "target\n");
}

TEST_F(GitFaultsTest, RepositoryThatGoesAwayIsToldAndDoesNotComeBack) {
  const pid_t nProcess = StartHeld();
  fs::remove_all(Folder() / "target");
  const TShellResult tRun = LetGo(nProcess);
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_NE(tRun.strOutput.find("talvek-import: git fast-import failed: "), std::string::npos)
      << tRun.strOutput;
  EXPECT_EQ(Leftovers(), "");
}

// A client that prunes folders takes that of the stream too, once its files have been read.
TEST_F(GitFaultsTest, RemoteRepositoryGivesWhatALocalOneGives) {
  const std::string strWhole = WholeReferences();
  const TShellResult tRun = Run(ExampleImport({}, ":fork:" TALVEK_EXAMPLE_REPOSITORY));
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strOutput;
  EXPECT_EQ(References("target"), strWhole);
}

}  // namespace
}  // namespace TALVEK::TEST
