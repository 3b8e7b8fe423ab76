#include <csignal>

#include "tests/host/host_fixture.h"
#include "tests/support/shell.h"

namespace fs = std::filesystem;

namespace TALVEK::TEST {
namespace {

class CStopTest : public CHostTest {
 protected:
  void ScriptWithSignal(int nSignal) {
    Script(
        "stream|1|0|Main\nchange|1|1|joe|1|x\nitem|1|0|a|file|a\nchange|2|1|joe|2|y\nitem|2|0|b|file|b\n"
        "change|3|1|joe|3|z\nsignal|2|" +
        std::to_string(nSignal) + '\n');
  }
};

TEST_F(CStopTest, SignalInTheMiddleOfARunLeavesNothingBehind) {
  for (const int nSignal : {SIGTERM, SIGINT, SIGHUP}) {
    ScriptWithSignal(nSignal);
    fs::remove(Folder() / "trace");
    const TRun tRun = Run("run --quiet --into new/target --trace-path trace");
    EXPECT_EQ(tRun.nStatus, 128 + nSignal);
    EXPECT_EQ(tRun.strError, "talvek-import: stopped; nothing was imported\n");
    EXPECT_TRUE(Trace().ends_with("OnProcessChange 2\nRemoveClients\nGetLogPath\nDestroy\n")) << Trace();
    EXPECT_FALSE(fs::exists(Folder() / "new"));
    EXPECT_EQ(Leftovers(), std::vector<std::string>());
  }
}

// The signal has also ended the client that should have fetched the file.
TEST_F(CStopTest, FileThatDoesNotComeAfterTheSignalIsNoLoss) {
  Script("stream|1|0|Main\nchange|1|1|joe|1|x\nitem|1|0|a|missing\nsignal|1|15\n");
  const TRun tRun = Run("run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 128 + SIGTERM);
  EXPECT_EQ(tRun.strError, "talvek-import: stopped; nothing was imported\n");
}

TEST_F(CStopTest, StoppedExportLeavesNoFile) {
  ScriptWithSignal(SIGTERM);
  EXPECT_EQ(Run("run --quiet --fast-export stream").nStatus, 128 + SIGTERM);
  EXPECT_EQ(Entries(Folder()), (std::vector<std::string>{"err", "out", "script", "tmp"}));
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(CStopTest, StoppedImportIntoAnEmptyRepositoryLeavesItEmpty) {
  ScriptWithSignal(SIGTERM);
  ShellOutput("git init -q " + (Folder() / "target").string());
  EXPECT_EQ(Run("run --quiet --into target").nStatus, 128 + SIGTERM);
  EXPECT_EQ(Git("target", "for-each-ref"), "");
  EXPECT_EQ(Git("target", "count-objects"), "0 objects, 0 kilobytes\n");
}

}  // namespace
}  // namespace TALVEK::TEST
