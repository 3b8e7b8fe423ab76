#include <sys/stat.h>

#include "tests/host/host_fixture.h"
#include "tests/support/shell.h"

namespace fs = std::filesystem;

namespace TALVEK::TEST {
namespace {

class CGitTargetTest : public CHostTest {
 protected:
  CGitTargetTest() { Script("stream|1|0|Main\nchange|1|1|joe|1|x\nitem|1|0|a|file|a\n"); }

  /// Makes a `git` that runs `strScript` and then the real one. Returns the PATH to it, for the environment.
  std::string FakeGit(const std::string& strScript) {
    WriteFile(Folder() / "bin/git", "#!/bin/sh\n" + strScript + "\nexec /usr/bin/git \"$@\"\n");
    chmod((Folder() / "bin/git").c_str(), 0755);
    return "PATH=" + (Folder() / "bin").string() + ":$PATH";
  }

  TRun RunWith(const std::string& strEnvironment, const std::string& strArguments) {
    return RunPlain(strArguments + " --provider fake --provider-path " + TALVEK_FAKE_FOLDER +
                        " --set ScriptPath=script --import-log log",
                    strEnvironment);
  }
};

TEST_F(CGitTargetTest, EmptyFolderAndEmptyRepositoriesAreTaken) {
  fs::create_directory(Folder() / "empty");
  ShellOutput("git init -q " + (Folder() / "repository").string());
  ShellOutput("git init -q --bare " + (Folder() / "bare.git").string());
  for (const char* pszTarget : {"empty", "repository", "bare.git"}) {
    EXPECT_EQ(Run(std::string("run --quiet --into ") + pszTarget).nStatus, 0) << pszTarget;
    EXPECT_EQ(Git(pszTarget, "rev-list --count HEAD"), "1\n");
  }
  EXPECT_EQ(ReadFile(Folder() / "empty/a"), "a");
  EXPECT_EQ(ReadFile(Folder() / "repository/a"), "a");
  EXPECT_EQ(Git("bare.git", "rev-parse --is-bare-repository"), "true\n");
}

// As `kill -9` leaves them in the middle of `git init`.
TEST_F(CGitTargetTest, HalfMadeRepositoriesAreTaken) {
  ShellOutput("cd " + Folder().string() +
              " && mkdir -p empty/.git locked/.git/refs/heads bare.git/refs/tags && " +
              "ln -s testing locked/.git/tAbCdEf && touch locked/.git/HEAD.lock locked/.git/config.lock "
              "bare.git/HEAD bare.git/config");
  for (const char* pszTarget : {"empty", "locked", "bare.git"}) {
    const TRun tRun = Run(std::string("run --quiet --into ") + pszTarget +
                          (std::string(pszTarget) == "bare.git" ? " --bare" : ""));
    EXPECT_EQ(tRun.nStatus, 0) << pszTarget << ": " << tRun.strError;
    EXPECT_EQ(Git(pszTarget, "rev-list --count HEAD"), "1\n");
  }
}

// Nothing of the user's may go, even where it looks like a part of a repository.
TEST_F(CGitTargetTest, WhatIsNoHalfMadeRepositoryIsRefused) {
  for (const char* pszFile : {"config", "refs/mine", "refs/heads/main", "objects/pack/mine",
                              ".git/hooks/mine", ".git/refs/heads/main", ".git/objects/ab/cd"}) {
    ShellOutput("cd " + Folder().string() + " && rm -rf target && mkdir -p target/refs target/" +
                fs::path(pszFile).parent_path().string() + " && echo mine > target/" + pszFile);
    EXPECT_NE(Run("run --quiet --into target").nStatus, 0) << pszFile;
    EXPECT_EQ(ReadFile(Folder() / "target" / pszFile), "mine\n");
  }
}

TEST_F(CGitTargetTest, RepositoryWithCommitsOrFilesIsRefused) {
  EXPECT_EQ(Run("run --quiet --into full").nStatus, 0);
  ShellOutput("git init -q " + (Folder() / "files").string() + " && touch " +
              (Folder() / "files/mine").string());
  const std::string strRemedy =
      "; give a folder that doesn't exist, an empty one, or an empty Git repository\n";
  const TRun tFull = Run("run --quiet --into full/");
  EXPECT_EQ(tFull.nStatus, 2);
  EXPECT_EQ(tFull.strError, "talvek-import: '" + (Folder() / "full").string() +
                                "' has files beside its repository" + strRemedy);
  ShellOutput("rm " + (Folder() / "full/a").string());
  const TRun tCommits = Run("run --quiet --into full");
  EXPECT_EQ(tCommits.nStatus, 2);
  EXPECT_EQ(tCommits.strError, "talvek-import: '" + (Folder() / "full").string() +
                                   "' is a Git repository that has commits" + strRemedy);
  EXPECT_EQ(Run("run --quiet --into files").nStatus, 2);
  EXPECT_TRUE(fs::exists(Folder() / "files/mine"));
}

TEST_F(CGitTargetTest, GitThatDiesIsNamedAndTheTargetGoes) {
  const std::string strGit =
      FakeGit("case \"$*\" in *fast-import*) echo 'fatal: no room' >&2; exit 9;; esac");
  const TRun tRun = RunWith(strGit, "run --quiet --into some/target");
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_EQ(
      tRun.strError,
      "talvek-import: git fast-import failed: fatal: no room; see that git works and that there is room for "
      "the repository\n");
  EXPECT_FALSE(fs::exists(Folder() / "some"));
}

TEST_F(CGitTargetTest, SilentDeathOfGitIsAFailureToo) {
  const TRun tRun =
      RunWith(FakeGit("case \"$*\" in *fast-import*) exit 0;; esac"), "run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 1) << tRun.strError;
  EXPECT_FALSE(fs::exists(Folder() / "target"));
}

TEST_F(CGitTargetTest, EmptyRepositoryIsEmptyAgainAfterAFailure) {
  ShellOutput("git init -q -b mine " + (Folder() / "target").string());
  const std::string strGit = FakeGit("case \"$*\" in *fast-import*) /usr/bin/git \"$@\"; exit 9;; esac");
  EXPECT_EQ(RunWith(strGit, "run --quiet --into target").nStatus, 1);
  EXPECT_EQ(Git("target", "for-each-ref"), "");
  EXPECT_EQ(Git("target", "symbolic-ref HEAD"), "refs/heads/mine\n");
}

TEST_F(CGitTargetTest, EmptyFolderIsEmptyAgainAfterAFailure) {
  fs::create_directory(Folder() / "target");
  EXPECT_EQ(
      RunWith(FakeGit("case \"$*\" in *fast-import*) exit 9;; esac"), "run --quiet --into target").nStatus,
      1);
  EXPECT_EQ(Entries(Folder() / "target"), std::vector<std::string>());
}

TEST_F(CGitTargetTest, MissingGitIsNamed) {
  const TRun tRun = RunWith("PATH=/nowhere", "run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_EQ(tRun.strError,
            "talvek-import: git can't be run; install git, or write the stream with --fast-export FILE\n");
  EXPECT_FALSE(fs::exists(Folder() / "target"));
}

TEST_F(CGitTargetTest, FailedCheckOutIsOnlyAWarning) {
  const TRun tRun = RunWith(FakeGit("case \"$*\" in *reset*) echo 'fatal: disk full' >&2; exit 1;; esac"),
                            "run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strError,
            "talvek-import: warning: all is imported, but the files can't be checked out: fatal: disk full\n"
            "talvek-import: imported 1 stream, 1 changeset, 1 item; 0 losses; 0 seconds\n");
}

TEST_F(CGitTargetTest, VariablesOfAnotherRepositoryAreIgnored) {
  ShellOutput("git init -q " + (Folder() / "other").string());
  const std::string strOther = (Folder() / "other/.git").string();
  EXPECT_EQ(RunWith("GIT_DIR=" + strOther + " GIT_OBJECT_DIRECTORY=" + strOther +
                        "/objects GIT_INDEX_FILE=" + strOther + "/index GIT_WORK_TREE=/",
                    "run --quiet --into target")
                .nStatus,
            0);
  EXPECT_EQ(Git("target", "rev-list --count HEAD"), "1\n");
  EXPECT_EQ(Git("other", "for-each-ref"), "");
  EXPECT_FALSE(fs::exists(Folder() / "other/.git/index"));
}

TEST_F(CGitTargetTest, FailedImportLeavesAnExportedFileAsItWas) {
  Script("stream|1|0|Main\nchange|1|1|joe|1|x\nclaim|5\n");
  WriteFile(Folder() / "stream", "before");
  EXPECT_EQ(Run("run --quiet --fast-export stream --import-log log").nStatus, 1);
  EXPECT_EQ(ReadFile(Folder() / "stream"), "before");
  EXPECT_EQ(Entries(Folder()), (std::vector<std::string>{"err", "log", "out", "script", "stream", "tmp"}));
}

TEST_F(CGitTargetTest, NothingToImportFails) {
  Script("stream|1|0|Main\n");
  const TRun tRun = Run("run --quiet --into target --import-log log");
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_EQ(tRun.strError,
            "talvek-import: there is nothing to import: the history has no changesets; check the module's "
            "name, the "
            "dates and the filters\n");
  EXPECT_FALSE(fs::exists(Folder() / "target"));
}

TEST_F(CGitTargetTest, MissingProgramIsNamedBeforeTheWorkBegins) {
  Script("warn|it is not there\nstream|1|0|Main\n");
  const TRun tRun = Run("run --quiet --into target --fetch-program no-such-program --trace-path trace");
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_EQ(
      tRun.strError,
      "talvek-import: the program 'no-such-program' can't be found; install it, or say where it is with "
      "--fetch-program\n");
  EXPECT_EQ(Trace().find("EstablishStreams"), std::string::npos);
  EXPECT_FALSE(fs::exists(Folder() / "target"));
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

}  // namespace
}  // namespace TALVEK::TEST
