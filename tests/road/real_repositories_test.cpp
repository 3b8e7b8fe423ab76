// Real repositories, where they are to be had: archives of CVS roots in the folder `shared` beside the
// project's. Built only when that folder is there.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

class RealRepositoryTest : public ::testing::TestWithParam<const char*> {
 protected:
  RealRepositoryTest() {
    ShellOutput("tar -xJf " +
                ShellQuote(TALVEK_SHARED_FOLDER "/cvsroots/" + std::string(GetParam()) + ".tar.xz") + " -C " +
                ShellQuote(m_oFolder.Path().string()));
  }

  CTempFolder m_oFolder;
  std::filesystem::path m_oRoot = m_oFolder / GetParam();
};

INSTANTIATE_TEST_SUITE_P(Roots, RealRepositoryTest, ::testing::Values("cosi-nms", "nasty"),
                         [](const auto& tInfo) { return std::string(tInfo.param).substr(0, 4); });

/// The host sees through the interface what the database holds, less the fields that only the database has.
TEST_P(RealRepositoryTest, PreviewOfEveryModuleShowsTheWholeDatabase) {
  int nModules = 0;
  for (const auto& oEntry : std::filesystem::directory_iterator(m_oRoot)) {
    const std::string strModule = oEntry.path().filename().string();
    if (strModule == "CVSROOT") continue;
    ++nModules;
    const std::string strRoot = ShellQuote(m_oRoot.string());
    const std::string strPreview =
        ShellOutput(TALVEK_BIN_DIR
                    "/talvek-import preview --provider cvs --quiet --format jsonl --nested-branches "
                    "--streams-for-tags --repos-path " +
                    strRoot + " --module-name " + ShellQuote(strModule) + " 2>/dev/null");
    const std::string strDump = ShellOutput(
        TALVEK_BIN_DIR "/import-dump --set NestedBranches=1 --set StreamsForTags=1 --set ReposPath=" +
        strRoot + " --set ModuleName=" + ShellQuote(strModule) +
        " | sed -E '/^.\"change\"/s/,\"base_time\":[0-9]+,\"max_time\":[0-9]+//;"
        "/^.\"item\"/s/,\"revision\":\"[^\"]*\",\"time\":[0-9]+//'");
    EXPECT_EQ(strPreview, strDump) << strModule;
  }
  EXPECT_GE(nModules, 20);
}

}  // namespace
}  // namespace TALVEK::TEST
