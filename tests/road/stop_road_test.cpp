// A run that is stopped while the client works.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

class StopRoadTest : public ::testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Signals, StopRoadTest, ::testing::Values("TERM", "INT"),
                         [](const auto& tInfo) { return std::string(tInfo.param); });

// Only the program gets the signal, as from `kill`.
TEST_P(StopRoadTest, ClientEndsWithTheProgramAndIsNotStartedAgain) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "cvs",
            "#!/bin/sh\necho start >> " + ShellQuote((oFolder / "starts").string()) +
                "\ntrap 'kill $!; echo received a signal >&2; exit 1' TERM INT\nsleep 60 & wait\n");
  chmod((oFolder / "cvs").c_str(), 0755);
  std::filesystem::create_directory(oFolder / "tmp");
  const TShellResult tRun =
      RunShell("cd " + ShellQuote(oFolder.Path().string()) +
               " && TMPDIR=$PWD/tmp timeout --foreground -k 20 -s " + GetParam() +
               " --preserve-status 2 " TALVEK_BIN_DIR
               "/talvek-import run --no-verify --provider cvs --quiet --into target --repos-path "
               "/cvs --module-name mod --cvs-path ./cvs 2>&1");
  EXPECT_EQ(tRun, (TShellResult{std::string(GetParam()) == "INT" ? 130 : 143,
                                "talvek-import: stopped; nothing was imported\n"}));
  EXPECT_EQ(ReadFile(oFolder / "starts"), "start\n");
  EXPECT_FALSE(std::filesystem::exists(oFolder / "target"));
  EXPECT_TRUE(std::filesystem::is_empty(oFolder / "tmp"));
}

}  // namespace
}  // namespace TALVEK::TEST
