// Completion of command lines in bash.

#include "tests/host/host_fixture.h"
#include "tests/support/shell.h"

namespace TALVEK::TEST {
namespace {

class CompletionTest : public CHostTest {
 protected:
  /// The completions of the last word. `strWords` are words for a shell.
  std::string Offered(const std::string& strWords) {
    const std::string strScript =
        "source " + ShellQuote(TALVEK_SOURCE_DIR "/host/completion/talvek-import") +
        "; compopt() { :; }; COMP_WORDS=(" + ShellQuote(TALVEK_BIN_DIR "/talvek-import") + " " + strWords +
        "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _talvek_import; " + "echo \"${COMPREPLY[*]}\"";
    return ShellOutput("cd " + ShellQuote(Folder().string()) + " && bash -c " + ShellQuote(strScript) +
                       " 2>&1");
  }
};

TEST_F(CompletionTest, CommandsAreOfferedFirst) {
  EXPECT_EQ(
      Offered("''"),
      "--help --provider --provider-path --quiet --set --version properties check preview run verify\n");
  EXPECT_EQ(Offered("pre"), "preview\n");
}

TEST_F(CompletionTest, OptionsOfTheProvidersPropertiesAreOffered) {
  EXPECT_EQ(Offered("run --mod"), "--module-name\n");
  EXPECT_EQ(Offered("run --no-"),
            "--no-create-branches --no-streams-for-tags --no-unnamed-branches --no-verify\n");
}

TEST_F(CompletionTest, PathCompletesAsAPath) {
  WriteFile(Folder() / "cvs-old", "");
  std::filesystem::create_directory(Folder() / "cvs-folder");
  EXPECT_EQ(Offered("run --cvs-path cvs-o"), "cvs-old\n");
  EXPECT_EQ(Offered("run --into cvs-"), "cvs-folder\n");
}

TEST_F(CompletionTest, ThereIsNothingToOfferForAText) {
  EXPECT_EQ(Offered("run --module-name ''"), "\n");
}

}  // namespace
}  // namespace TALVEK::TEST
