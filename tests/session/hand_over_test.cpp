// Checkouts that cvs-session leaves to the client.

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "session/client.h"
#include "tests/session/session_world.h"
#include "tests/support/cvs_servers.h"
#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

/// A working folder, and a client that works as a server and prints "client" for all other commands.
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

// To find out whether the file system ignores case, cvs-session makes a file with a name in small letters,
// and looks for that name in capitals. The script has made that one, so the file system seems to ignore case.
TEST_F(HandOverTest, AFolderCalledCvsIsTheClientsWhereLetterCaseDoesNotMatter) {
  const std::string strCheckout = "exec $session -d $root checkout -r 1.1 -d Main/Cvs calculator/README";
  EXPECT_EQ(Run("touch .CVS-SESSION-$$; " + strCheckout), "client\n");
  EXPECT_EQ(Run(strCheckout), "U Main/Cvs/README\n");
  EXPECT_EQ(Run("ls -A | grep -c '^.cvs-session'"), "0\n");
}

// Without the notes, the only sign is that a checkout takes a second longer.
TEST_F(HandOverTest, EachCheckoutForTheClientIsNoted) {
  const std::string strGet = "$session -d $root checkout -r 1.1 -d ";
  EXPECT_EQ(Run("export CVS_SESSION_NOTES=$PWD/../notes\n" + strGet + "Main calculator/README\n" + strGet +
                "Main calculator/README\n" + "echo > file\n" + strGet + "file calculator/README\n" + strGet +
                "Main calculator/nothing\n$session -d $root rlog calculator\n$session -n --version\n" +
                "$session -d $root checkout -D now -d Main calculator\n" + "mkdir CVS\n" + strGet +
                "Two calculator/README\n"),
            "U Main/README\nclient\nclient\nclient\nclient\nclient\nclient\nclient\n");
  EXPECT_EQ(ReadFile(m_oFolder / "notes"),
            "the file is there already\n"
            "something that is no folder is in the way\n"
            "the server answered with more or less than the file\n"
            "not a checkout of one revision of one file\n"
            "the working folder is itself checked out\n");
}

TEST_F(HandOverTest, TheManPageExplainsEachReason) {
  const std::string strPage = ReadFile(TALVEK_SOURCE_DIR "/docs/cvs-session.1");
  for (int nReason = 0; nReason <= SESSION::HAND_OVER_ANSWER; ++nReason) {
    const std::string strReason = SESSION::HandOverText(static_cast<SESSION::THandOverType>(nReason));
    EXPECT_NE(strPage.find("\n.TP\n" + strReason + "\n"), std::string::npos) << strReason;
  }
}

TEST_F(HandOverTest, NotesThatCannotBeWrittenAreNoError) {
  EXPECT_EQ(Run("export CVS_SESSION_NOTES=/nowhere/notes\n$session -d $root checkout calculator\n"
                "CVS_SESSION_NOTES= $session -d $root checkout calculator\n"),
            "client\nclient\n");
}

}  // namespace
}  // namespace TALVEK::TEST
