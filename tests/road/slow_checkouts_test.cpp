// Checkouts that the bundled client hands to the plain one are counted.

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/road/fault_fixture.h"
#include "tests/support/tested_provider.h"

namespace TALVEK::TEST {
namespace {

using SlowCheckoutsTest = FaultTest;

/// A single changeset of few files: how many, and the options that choose it.
struct TFewFiles {
  std::string strCount;
  std::vector<std::string> astrOptions;
};

TFewFiles FewFiles(const std::string& strProvider) {
  if (strProvider == "cvs") return {"3", {"--start-date", "2004-04-09", "--end-date", "2004-05-01"}};
  return {"6", {"--end-date", "2004-01-12", "--no-create-branches", "--no-streams-for-tags"}};
}

// Notes a reason for some of the checkouts, as the bundled client does for those that it hands on.
constexpr const char* SCRIPT =
    "case $* in\n"
    "*checkout*Makefile*) echo 'a folder is called CVS' >> \"$CVS_SESSION_NOTES\" ;;\n"
    "*checkout*main.c*) echo 'an odd \033 option' >> \"$CVS_SESSION_NOTES\" ;;\n"
    "esac\n"
    "exec " TALVEK_BIN_DIR "/cvs-session \"$@\"";

// Provider cvs asks for the two files that the example deletes, too, and the server has none of them.
TEST_F(SlowCheckoutsTest, SummaryCountsThemByReason) {
  const TShellResult tRun = Run(ExampleImport({"--cvs-path", Client(SCRIPT)}));
  EXPECT_EQ(tRun.nStatus, 0);
  const bool bFetchesDeleted = !TestsExact();
  const std::string strSummary =
      std::string("talvek-import: ") + (bFetchesDeleted ? "12" : "10") +
      " checkouts took the slow way through cvs: 6 a folder is called CVS; 4 an odd \\x1b option" +
      (bFetchesDeleted ? "; 2 the server answered with more or less than the file" : "") +
      "\ntalvek-import: imported ";
  EXPECT_NE(tRun.strOutput.find(strSummary), std::string::npos) << tRun.strOutput;
  EXPECT_EQ(Leftovers(), "target\n");
}

TEST_F(SlowCheckoutsTest, BundledClientNotesThem) {
  WriteFile(Folder() / "home/.cvsrc", "checkout -P\n");
  const std::string strHome = (Folder() / "home").string();
  const TFewFiles tFew = FewFiles(TestedProvider());
  const TShellResult tRun = Run(ExampleImport(tFew.astrOptions), [&] { setenv("HOME", strHome.c_str(), 1); });
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strOutput;
  EXPECT_NE(tRun.strOutput.find("talvek-import: " + tFew.strCount +
                                " checkouts took the slow way through cvs: " + tFew.strCount +
                                " ~/.cvsrc has "
                                "options for the client\ntalvek-import: imported "),
            std::string::npos)
      << tRun.strOutput;
}

TEST_F(SlowCheckoutsTest, RunWithoutAnySaysNothingOfThem) {
  const TShellResult tRun = Run(ExampleImport(FewFiles(TestedProvider()).astrOptions));
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strOutput.find("slow way"), std::string::npos) << tRun.strOutput;
}

}  // namespace
}  // namespace TALVEK::TEST
