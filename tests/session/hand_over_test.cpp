// Checkouts that cvs-session leaves to the client.

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/session/session_world.h"
#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

/// A working folder, and a script in the client's place that serves but does nothing else.
class HandOverTest : public testing::Test {
 protected:
  HandOverTest() {
    WriteScript(m_oFolder / "client", "[ \"$1\" != server ] || exec cvs server\necho client\n");
    std::filesystem::create_directory(m_oFolder / "work");
  }

  /// Runs a script that gets cvs-session in $session, in the working folder.
  std::string Run(const std::string& strScript) {
    WriteScript(m_oFolder / "script", strScript);
    return RunShell("cd " + ShellQuote((m_oFolder / "work").string()) +
                    " && export CVS_SESSION_CVS=../client HOME=$PWD CVS_SESSION_IDLE=10 session=" + SESSION +
                    " root=" TALVEK_EXAMPLE_REPOSITORY " && sh ../script 2>&1 < /dev/null")
        .strOutput;
  }

  CTempFolder m_oFolder;
};

// The file that the script makes is the one that cvs-session looks for, having made it in small letters: as
// on a file system that takes both for the same.
TEST_F(HandOverTest, AFolderCalledCvsIsTheClientsWhereLetterCaseDoesNotMatter) {
  const std::string strCheckout = "exec $session -d $root checkout -r 1.1 -d Main/Cvs calculator/README";
  EXPECT_EQ(Run("touch .CVS-SESSION-$$; " + strCheckout), "client\n");
  EXPECT_EQ(Run(strCheckout), "U Main/Cvs/README\n");
  EXPECT_EQ(Run("ls -A | grep -c '^.cvs-session'"), "0\n");
}

}  // namespace
}  // namespace TALVEK::TEST
