// Checkouts that the bundled client hands to the plain one are counted.

#include <string>

#include "tests/road/fault_fixture.h"

namespace TALVEK::TEST {
namespace {

using SlowCheckoutsTest = FaultTest;

// Notes a reason for some of the checkouts, as the bundled client does for those that it hands on.
constexpr const char* SCRIPT =
    "case $* in\n"
    "*checkout*Makefile*) echo 'a folder is called CVS' >> \"$CVS_SESSION_NOTES\" ;;\n"
    "*checkout*main.c*) echo 'an odd \033 option' >> \"$CVS_SESSION_NOTES\" ;;\n"
    "esac\n"
    "exec " TALVEK_BIN_DIR "/cvs-session \"$@\"";

TEST_F(SlowCheckoutsTest, SummaryCountsThemByReason) {
  const TShellResult tRun = Run(ExampleImport({"--cvs-path", Client(SCRIPT)}));
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_NE(tRun.strOutput.find("talvek-import: 10 checkouts took the slow way through cvs: 6 a folder is "
                                "called CVS; 4 an odd \\x1b option\ntalvek-import: imported "),
            std::string::npos)
      << tRun.strOutput;
  EXPECT_EQ(Leftovers(), "target\n");
}

TEST_F(SlowCheckoutsTest, RunWithoutAnySaysNothingOfThem) {
  const TShellResult tRun = Run(ExampleImport());
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strOutput.find("slow way"), std::string::npos) << tRun.strOutput;
}

}  // namespace
}  // namespace TALVEK::TEST
