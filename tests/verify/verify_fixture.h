#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/cvs_world.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

/// What a run of the program left behind.
struct TVerified {
  int nStatus = -1;
  std::string strOutput;
  std::string strError;
};

/// A repository of the real client, imported by the built program into a bare Git repository, which a test
/// may then damage.
///
/// The client runs without its sleeps. TMPDIR is a folder of the test, so that it sees what stays behind.
class VerifyTest : public testing::Test {
 protected:
  VerifyTest();

  CCvsWorld& World() { return m_oWorld; }
  /// a.txt (1.2), b.txt, dir/c.txt, run.sh (executable), named.txt (holds $Name$); the tag REL_1, and the
  /// branch fixes, on which b.txt has 1.1.2.1.
  void MakeWorld();
  /// Imports without verifying; the options are words for a shell.
  void Import(const std::string& strOptions = "");
  /// `talvek-import COMMAND` in the test's folder.
  TVerified Run(const std::string& strCommand);
  /// `talvek-import verify --quiet OPTIONS git`.
  TVerified Verify(const std::string& strOptions = "") {
    return Run("verify --quiet " + strOptions + " git");
  }
  /// Runs shell commands in a working copy of a branch of the Git repository, commits all, and makes the
  /// result `strRef`.
  void Damage(const std::string& strBranch, const std::string& strCommands, const std::string& strRef);
  void Git(const std::string& strArguments);
  /// A client that does as the shell script says; `$real` is the real one, without sleeps.
  std::string Client(const std::string& strScript);

  const std::filesystem::path& Folder() const { return m_oFolder.Path(); }
  std::filesystem::path GitFolder() const { return Folder() / "git"; }
  std::string Root() const { return m_oWorld.Root().string(); }
  /// Environment of all runs: "NAME=VALUE ...".
  void SetEnvironment(const std::string& strEnvironment) { m_strEnvironment = strEnvironment; }

 private:
  CCvsWorld m_oWorld;
  CTempFolder m_oFolder;
  std::string m_strEnvironment;
};

}  // namespace TALVEK::TEST
