#include "tests/verify/verify_fixture.h"

#include "tests/support/shell.h"

namespace fs = std::filesystem;

namespace TALVEK::TEST {
namespace {

constexpr std::int64_t LATER = 2000000000;

void WriteProgram(const fs::path& oFile, const std::string& strScript) {
  WriteFile(oFile, "#!/bin/sh\n" + strScript + "\n");
  fs::permissions(oFile, fs::perms::owner_all);
}

}  // namespace

VerifyTest::VerifyTest() {
  fs::create_directory(Folder() / "tmp");
  WriteProgram(Folder() / "real-cvs", "exec " + ClockOfClient(LATER) + " cvs \"$@\"");
}

void VerifyTest::MakeWorld() {
  m_oWorld.Add("a.txt", "a1\n");
  m_oWorld.Add("b.txt", "b1\n");
  m_oWorld.Add("dir/c.txt", "c1\n");
  m_oWorld.Add("named.txt", "$Name$ $Id$\n");
  m_oWorld.AddExecutable("run.sh", "#!/bin/sh\n");
  m_oWorld.Commit("Start");
  m_oWorld.Put("a.txt", "a2\n", "Second a");
  m_oWorld.Tag("REL_1");
  m_oWorld.BranchTag("fixes");
  m_oWorld.On("fixes");
  m_oWorld.Put("b.txt", "b fixed\n", "Fix b");
  m_oWorld.On("");
  m_oWorld.Put("dir/c.txt", "c2\n", "Second c");
}

void VerifyTest::Import(const std::string& strOptions) {
  const TVerified tRun = Run("run --quiet --no-verify --bare --into git --module-name " + m_oWorld.Module() +
                             " --repos-path " + ShellQuote(Root()) + ' ' + strOptions);
  ASSERT_EQ(tRun.nStatus, 0) << tRun.strError;
}

TVerified VerifyTest::Run(const std::string& strCommand) {
  // Into files: cvs-session outlives the program by some seconds, and would hold a pipe open.
  const TShellResult tResult =
      RunShell("cd " + ShellQuote(Folder().string()) +
               " && env TMPDIR=$PWD/tmp HOME=$PWD CVS_SESSION_CVS=$PWD/real-cvs " + m_strEnvironment + ' ' +
               ShellQuote(TALVEK_BIN_DIR "/talvek-import") + ' ' + strCommand + " > out 2> err");
  return {tResult.nStatus, ReadFile(Folder() / "out"), ReadFile(Folder() / "err")};
}

void VerifyTest::Damage(const std::string& strBranch, const std::string& strCommands,
                        const std::string& strRef) {
  const CTempFolder oClone;
  ShellOutput("cd " + ShellQuote(oClone.Path().string()) + " && git clone -q " +
              ShellQuote(GitFolder().string()) + " c 2>&1 && cd c && git checkout -q " + strBranch +
              " 2>&1 && git config user.name anna && git config user.email anna && "
              "export GIT_COMMITTER_DATE=\"$(git log -1 --format=%cI)\" && " +
              strCommands +
              " && git add -A && git commit -q --allow-empty -m damage && git push -qf origin HEAD:" +
              strRef + " 2>&1");
}

void VerifyTest::Git(const std::string& strArguments) {
  ShellOutput("git --git-dir " + ShellQuote(GitFolder().string()) + ' ' + strArguments + " 2>&1");
}

std::string VerifyTest::Client(const std::string& strScript) {
  WriteProgram(Folder() / "cvs", "real=" + ShellQuote((Folder() / "real-cvs").string()) + "\n" + strScript);
  return (Folder() / "cvs").string();
}

}  // namespace TALVEK::TEST
