#include "tests/host/host_fixture.h"

namespace TALVEK::TEST {
namespace {

using CCheckTest = CHostTest;

TEST_F(CCheckTest, SaysWhatIsThereAndWhatWillBeImported) {
  Script(
      "warn|have a look\n"
      "stream|1|0|Main\n"
      "stream|2|1|B\n"
      "change|1|1|joe|100|x\n"
      "item|1|0|a\n");
  const TRun tRun = Run("check --fetch-program /bin/true --quiet");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strError, "");
  std::string strOutput = tRun.strOutput;
  const std::size_t nGit = strOutput.find("git version");
  ASSERT_NE(nGit, std::string::npos);
  strOutput.replace(nGit, strOutput.find('\n', nGit) - nGit, "GIT");
  EXPECT_EQ(strOutput, std::string("provider     Fake (") + TALVEK_FAKE_FOLDER +
                           "/talvek-em-fake.so)\n"
                           "environment  have a look\n"
                           "program      /bin/true\n"
                           "git          GIT\n"
                           "properties\n"
                           "    ScriptPath = script\n"
                           "    TracePath =  (default)\n"
                           "    KeepNothingBack = 1 (default)\n"
                           "    UpsideDown =  (default)\n"
                           "    FETCHProgram = /bin/true\n"
                           "    Quiet =  (default)\n"
                           "    OnlyX = x (default)\n"
                           "will import  2 streams, 1 changeset\n");
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(CCheckTest, MissingProgramFails) {
  Script("stream|1|0|Main\n");
  const TRun tRun = Run("check --fetch-program no-such-program --quiet");
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_NE(tRun.strOutput.find("program      'no-such-program' is nowhere; install it or give another with "
                                "--fetch-program\n"),
            std::string::npos);
  EXPECT_NE(tRun.strOutput.find("there is nothing to import\n"), std::string::npos);
}

}  // namespace
}  // namespace TALVEK::TEST
