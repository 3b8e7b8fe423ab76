#include "tests/host/host_fixture.h"
#include "tests/support/shell.h"

namespace fs = std::filesystem;

namespace TALVEK::TEST {
namespace {

using CRunTest = CHostTest;

// Two branches (one nested), a tag, an executable and a binary file, a file removed and restored, a file that
// is replaced by a folder, names and messages that aren't UTF-8.
constexpr const char* SCRIPT =
    "stream|1|0|Main\n"
    "stream|2|1|REL_1|2\n"
    "stream|3|2|REL_1_FIX|5\n"
    "stream|4|1|V1|1|tag\n"
    "change|1|1|joe|100|First\\x0a\n"
    "item|1|0|src/a.c|file|int a;\\x0a\n"
    "item|1|0|run.sh|exec|#!/bin/sh\\x0a\n"
    "item|1|0|node|file|a file\n"
    "change|2|1|j\\xf6e|200|caf\\xe9\n"
    "item|2|1|src/a.c|file|int a = 1;\\x0a\n"
    "item|2|0|bin|file|\\x00\\xff\\x0d\\x0a\\x1a\n"
    "change|3|1|ann|300|folder\n"
    "item|3|0|node/x|file|x\n"
    "item|3|2|node\n"
    "item|3|2|run.sh\n"
    "change|4|1|ann|400|\n"
    "item|4|3|run.sh|file|back\n"
    "item|4|0|na\\xefve \"q\"|file|n\n"
    "change|5|2|joe|250|fix\n"
    "item|5|1|src/a.c|file|int a = 2;\\x0a\n"
    "change|6|3|joe|260|fix the fix\n"
    "item|6|2|src/a.c\n";

TEST_F(CRunTest, StreamIsByteForByteWhatTheHistoryIs) {
  Script(SCRIPT);
  const TRun tRun = Run("run --quiet --fast-export -");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strError,
            "talvek-import: imported 4 streams, 6 changesets, 12 items; 0 losses; 0 seconds\n");
  const std::string strWho100 = "author joe <joe> 100 +0000\ncommitter joe <joe> 100 +0000\n";
  const std::string strWho200 =
      "author j\xf6"
      "e <j\xf6"
      "e> 200 +0000\ncommitter j\xf6"
      "e <j\xf6"
      "e> 200 +0000\n";
  const std::string strWho300 = "author ann <ann> 300 +0000\ncommitter ann <ann> 300 +0000\n";
  const std::string strWho400 = "author ann <ann> 400 +0000\ncommitter ann <ann> 400 +0000\n";
  const std::string strWho250 = "author joe <joe> 250 +0000\ncommitter joe <joe> 250 +0000\n";
  const std::string strWho260 = "author joe <joe> 260 +0000\ncommitter joe <joe> 260 +0000\n";
  EXPECT_EQ(tRun.strOutput,
            "feature done\n"
            "blob\nmark :1\ndata 7\nint a;\n\n"
            "blob\nmark :2\ndata 10\n#!/bin/sh\n\n"
            "blob\nmark :3\ndata 6\na file\n"
            "commit refs/heads/main\nmark :4\n" +
                strWho100 +
                "data 6\nFirst\n\n"
                "M 100644 :1 src/a.c\nM 100755 :2 run.sh\nM 100644 :3 node\n\n"
                "blob\nmark :5\ndata 11\nint a = 1;\n\n"
                "blob\nmark :6\ndata 5\n" +
                std::string("\0\xff\r\n\x1a", 5) +
                "\n"
                "commit refs/heads/main\nmark :7\n" +
                strWho200 +
                "data 4\ncaf\xe9\n"
                "M 100644 :5 src/a.c\nM 100644 :6 bin\n\n"
                "blob\nmark :8\ndata 1\nx\n"
                "commit refs/heads/main\nmark :9\n" +
                strWho300 +
                "data 6\nfolder\n"
                "D node\nD run.sh\nM 100644 :8 node/x\n\n"
                "blob\nmark :10\ndata 4\nback\n"
                "blob\nmark :11\ndata 1\nn\n"
                "commit refs/heads/main\nmark :12\n" +
                strWho400 +
                "data 0\n\n"
                "M 100644 :10 run.sh\nM 100644 :11 \"na\xefve \\\"q\\\"\"\n\n"
                "blob\nmark :13\ndata 11\nint a = 2;\n\n"
                "commit refs/heads/REL_1\nmark :14\n" +
                strWho250 +
                "data 3\nfix\nfrom :7\n"
                "M 100644 :13 src/a.c\n\n"
                "commit refs/heads/REL_1_FIX\nmark :15\n" +
                strWho260 +
                "data 11\nfix the fix\nfrom :14\n"
                "D src/a.c\n\n"
                "reset refs/tags/V1\nfrom :4\n\n"
                "done\n");
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(CRunTest, RepositoryIsCheckedOutAndWhole) {
  Script(SCRIPT);
  EXPECT_EQ(Run("run --quiet --into some/target").nStatus, 0);
  EXPECT_EQ(Git("some/target", "fsck --strict 2>&1"), "");
  EXPECT_EQ(Git("some/target", "for-each-ref --format='%(refname)'"),
            "refs/heads/REL_1\nrefs/heads/REL_1_FIX\nrefs/heads/main\nrefs/tags/V1\n");
  EXPECT_EQ(Git("some/target", "symbolic-ref HEAD"), "refs/heads/main\n");
  EXPECT_EQ(Git("some/target", "status --porcelain"), "");
  EXPECT_EQ(Git("some/target",
                "log --format='%at %an %s' --all --date-order | LC_ALL=C sed 's/\\xf6/o/;s/\\xe9/e/'"),
            "400 ann \n300 ann folder\n260 joe fix the fix\n250 joe fix\n200 joe cafe\n100 joe First\n");
  EXPECT_EQ(ReadFile(Folder() / "some/target/run.sh"), "back");
  EXPECT_EQ(ReadFile(Folder() / "some/target/node/x"), "x");
  EXPECT_EQ(Git("some/target", "ls-tree -r --format='%(objectmode) %(path)' V1"),
            "100644 node\n100755 run.sh\n100644 src/a.c\n");
  EXPECT_EQ(Git("some/target", "show main:bin"), std::string("\0\xff\r\n\x1a", 5));
  EXPECT_EQ(Git("some/target", "ls-tree -r --name-only REL_1_FIX"), "bin\nnode\nrun.sh\n");
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(CRunTest, BareRepositoryHasNoFiles) {
  Script(SCRIPT);
  EXPECT_EQ(Run("run --quiet --bare --into target.git --trunk-branch stable/trunk").nStatus, 0);
  EXPECT_EQ(Git("target.git", "rev-parse --is-bare-repository"), "true\n");
  EXPECT_EQ(Git("target.git", "symbolic-ref HEAD"), "refs/heads/stable/trunk\n");
  EXPECT_EQ(Git("target.git", "rev-list --count HEAD"), "4\n");
}

TEST_F(CRunTest, ExportedFileIsReadByFastImport) {
  Script(SCRIPT);
  WriteFile(Folder() / "stream", "what was there before");
  EXPECT_EQ(Run("run --quiet --fast-export stream").nStatus, 0);
  ShellOutput("git init -q " + (Folder() / "r").string() + " && git -C " + (Folder() / "r").string() +
              " fast-import --quiet < " + (Folder() / "stream").string());
  EXPECT_EQ(Git("r", "rev-list --count --all"), "6\n");
  EXPECT_EQ(Entries(Folder()), (std::vector<std::string>{"err", "out", "r", "script", "stream", "tmp"}));
}

TEST_F(CRunTest, SameHistoryGivesTheSameBytes) {
  Script(SCRIPT);
  const std::string strFirst = Run("run --quiet --fast-export -").strOutput;
  EXPECT_EQ(Run("run --quiet --fast-export -").strOutput, strFirst);
}

TEST_F(CRunTest, CallsComeInTheProvidersOrder) {
  Script("stream|1|0|Main\nchange|1|1|joe|1|x\nitem|1|0|a|file|a\n");
  EXPECT_EQ(Run("run --quiet --fast-export - --trace-path trace").nStatus, 0);
  EXPECT_EQ(
      Trace().substr(Trace().find("CheckEnvironment")),
      "CheckEnvironment\nInitialiseClients\nOpenLog\nLogToConnection\nEstablishStreams\n"
      "EstablishChangesets\nResolveStreamLinkage\nOnProcessChange 1\nRemoveClients\nGetLogPath\nDestroy\n");
}

// A folder replaces a file of its name in one changeset. It has been retrieved before the file's deletion is
// handled, and must not be deleted with it.
TEST_F(CRunTest, FilesRetrievedAllAtOnceAreFoundWhateverTheOrderOfItems) {
  Script(
      "stream|1|0|Main\n"
      "change|1|1|joe|1|x\nitem|1|0|node|file|n\n"
      "change|2|1|joe|2|y\nitem|2|2|node\nitem|2|0|node/x|file|x\nitem|2|0|z|file|z\n"
      "change|3|1|joe|3|y\nitem|3|0|node|file|m\nitem|3|2|node/x\n"
      "whole|2\nwhole|3\n");
  const TRun tRun = Run("run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strError;
  EXPECT_EQ(Git("target", "log --format= --name-status --no-renames main"),
            "A\tnode\nD\tnode/x\nD\tnode\nA\tnode/x\nA\tz\nA\tnode\n");
}

TEST_F(CRunTest, WorkFolderStaysWithoutTheFiles) {
  Script(SCRIPT);
  EXPECT_EQ(Run("run --quiet --fast-export - --work work").nStatus, 0);
  EXPECT_EQ(Entries(Folder() / "work"),
            (std::vector<std::string>{".talvek-import-work", "Main", "REL_1", "REL_1_FIX", "V1"}));
  std::vector<fs::path> aoFiles;
  for (const fs::directory_entry& oEntry : fs::recursive_directory_iterator(Folder() / "work")) {
    if (!oEntry.is_directory()) aoFiles.push_back(oEntry.path().filename());
  }
  EXPECT_EQ(aoFiles, std::vector<fs::path>{".talvek-import-work"});
  EXPECT_EQ(Run("run --quiet --fast-export - --work work").nStatus, 0);
}

// Reading the history can take hours, so the error must come before.
TEST_F(CRunTest, PlacesThatCantBeWrittenAreKnownBeforeTheHistoryIsRead) {
  Script(SCRIPT);
  fs::create_directory(Folder() / "folder");
  const std::pair<const char*, const char*> atCases[] = {
      {"--into target --import-log none/log",
       "the import log can't go to 'none/log': its folder doesn't exist; give another file with "
       "--import-log"},
      {"--into target --import-log folder",
       "the import log can't go to 'folder': it is a folder; give another file with --import-log"},
      {"--fast-export none/stream",
       "can't write to 'none/stream': No such file or directory; give another file with --fast-export"},
  };
  for (const auto& [pszOptions, pszProblem] : atCases) {
    const TRun tRun = Run(std::string("run --quiet --trace-path trace ") + pszOptions);
    EXPECT_EQ(tRun.nStatus, 1);
    EXPECT_EQ(tRun.strError, std::string("talvek-import: ") + pszProblem + '\n');
    EXPECT_EQ(Entries(Folder()), (std::vector<std::string>{"err", "folder", "out", "script", "tmp"}));
    EXPECT_EQ(Leftovers(), std::vector<std::string>());
  }
}

// Otherwise the first files that the program opens would get descriptors 0 to 2, and with them its output.
TEST_F(CRunTest, MissingStandardDescriptorsAreNotTakenByFiles) {
  Script(SCRIPT);
  const std::string strProvider =
      std::string(" --import-log log --set ScriptPath=script --provider fake --provider-path ") +
      TALVEK_FAKE_FOLDER;
  const TRun tOutput = RunPlain("run --quiet --fast-export -" + strProvider, "sh -c '\"$@\" >&-' sh");
  EXPECT_EQ(tOutput.nStatus, 1);
  EXPECT_EQ(tOutput.strError, "talvek-import: can't write to standard output: Bad file descriptor\n");
  EXPECT_EQ(RunPlain("run --into target" + strProvider, "sh -c '\"$@\" <&- >&- 2>&-' sh").nStatus, 0);
  EXPECT_EQ(Git("target", "rev-list --count main"), "4\n");
}

TEST_F(CRunTest, ImportLogGoesThroughALink) {
  Script(SCRIPT);
  fs::create_symlink("elsewhere", Folder() / "log");
  EXPECT_EQ(Run("run --quiet --into target --import-log log").nStatus, 0);
  EXPECT_TRUE(fs::is_symlink(Folder() / "log"));
  EXPECT_TRUE(fs::exists(Folder() / "elsewhere"));
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(CRunTest, NamesThatGitRefusesAreChangedAndReported) {
  Script(
      "stream|1|0|Main\n"
      "stream|2|1|main|1\n"
      "stream|3|1|a b|1\n"
      "stream|4|1|a_b|1\n"
      "stream|5|1|T~|1|tag\n"
      "change|1|1|joe <j>|100|x\n"
      "item|1|0|.git/config|file|evil\n"
      "item|1|0|a|file|a\n");
  const TRun tRun = Run("run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(
      tRun.strError,
      "talvek-import: changed: file '.git/config' is called '.git_/config': Git refuses its name\n"
      "talvek-import: changed: user 'joe <j>' is called 'joe (j)': Git refuses the name\n"
      "talvek-import: changed: stream 'main' is called 'main-2': Git refuses its name, or another stream has "
      "it\n"
      "talvek-import: changed: stream 'a b' is called 'a_b': Git refuses its name, or another stream has it\n"
      "talvek-import: changed: stream 'a_b' is called 'a_b-2': Git refuses its name, or another stream has "
      "it\n"
      "talvek-import: changed: stream 'T~' is called 'T_': Git refuses its name, or another stream has it\n"
      "talvek-import: 4 streams have another name in Git: 'main' is called 'main-2', 'a b' is called 'a_b', "
      "'a_b' is called 'a_b-2', 'T~' is called 'T_'\n"
      "talvek-import: imported 5 streams, 1 changeset, 2 items; 0 losses; 0 seconds\n");
  EXPECT_EQ(Git("target", "for-each-ref --format='%(refname)'"),
            "refs/heads/a_b\nrefs/heads/a_b-2\nrefs/heads/main\nrefs/heads/main-2\nrefs/tags/T_\n");
  EXPECT_EQ(Git("target", "fsck --strict 2>&1"), "");
  EXPECT_EQ(ReadFile(Folder() / "target/.git_/config"), "evil");
}

TEST_F(CRunTest, StreamsWhoseParentsStandInACircleAreRoots) {
  Script(
      "stream|1|0|Main\n"
      "stream|2|3|A|3\n"
      "stream|3|2|B|2\n"
      "change|1|1|joe|1|x\n"
      "item|1|0|m|file|m\n"
      "change|2|2|joe|2|x\n"
      "item|2|0|a|file|a\n"
      "change|3|3|joe|3|x\n"
      "item|3|0|b|file|b\n");
  const TRun tRun = Run("run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strError,
            "talvek-import: changed: stream 'A' is a root: its parents stand in a circle\n"
            "talvek-import: changed: stream 'B' is a root: its parents stand in a circle\n"
            "talvek-import: imported 3 streams, 3 changesets, 3 items; 0 losses; 0 seconds\n");
  EXPECT_EQ(Git("target", "rev-list --count --max-parents=0 --all"), "3\n");
  EXPECT_EQ(Git("target", "ls-tree --name-only A"), "a\n");
}

TEST_F(CRunTest, StreamWithoutChangesetsIsWhereItStarts) {
  Script(
      "stream|1|0|Main\n"
      "stream|2|1|B|1\n"
      "stream|3|1|nowhere\n"
      "stream|4|1|T|1|tag\n"
      "stream|5|1|moved|1|tag\n"
      "change|1|1|joe|1|x\n"
      "item|1|0|m|file|m\n"
      "change|2|5|joe|2|y\n"
      "item|2|1|m|file|n\n");
  const TRun tRun = Run("run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strError,
            "talvek-import: warning: stream 'nowhere' has no changesets and starts nowhere, so there is "
            "nothing of it "
            "in Git\n"
            "talvek-import: imported 5 streams, 2 changesets, 2 items; 0 losses; 0 seconds\n");
  EXPECT_EQ(Git("target", "for-each-ref --format='%(refname) %(subject)'"),
            "refs/heads/B x\nrefs/heads/main x\nrefs/tags/T x\nrefs/tags/moved y\n");
}

// A starts from a commit of B, which comes after A in the walk.
TEST_F(CRunTest, StreamThatStartsAtALaterCommitIsARoot) {
  Script(
      "stream|1|0|Main\n"
      "stream|2|1|A|3\n"
      "stream|3|1|B|1\n"
      "change|1|1|joe|1|x\nitem|1|0|m|file|m\n"
      "change|2|2|joe|2|x\nitem|2|0|a|file|a\n"
      "change|3|3|joe|3|x\nitem|3|0|b|file|b\n");
  const TRun tRun = Run("run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_NE(
      tRun.strError.find("changed: stream 'A' is a root: the changeset from which it starts comes later\n"),
      std::string::npos);
  EXPECT_EQ(Git("target", "rev-list --count --max-parents=0 --all"), "2\n");
}

TEST_F(CRunTest, StreamNameNeverLeadsOutOfTheWorkFolder) {
  Script(
      "stream|1|0|Main\nstream|2|1|../../x|1\nchange|1|1|joe|1|x\nchange|2|2|joe|2|y\nitem|2|0|a|file|a\n");
  EXPECT_EQ(Run("run --quiet --into target --work deep/er/work").nStatus, 0);
  EXPECT_EQ(Entries(Folder() / "deep/er/work"),
            (std::vector<std::string>{".talvek-import-work", "Main", "stream-2"}));
  EXPECT_EQ(Git("target", "for-each-ref --format='%(refname)'"), "refs/heads/_./_./x\nrefs/heads/main\n");
}

// Git makes one commit of two with the same tree, parent, author, time and message.
TEST_F(CRunTest, BranchesThatDoTheSameShareTheirCommits) {
  Script(
      "stream|1|0|Main\nstream|2|1|A|1\nstream|3|1|B|1\n"
      "change|1|1|joe|100|x\nitem|1|0|a|file|1\n"
      "change|2|2|joe|200|y\nitem|2|1|a|file|2\nchange|3|3|joe|200|y\nitem|3|1|a|file|2\n"
      "change|4|3|joe|300|z\nitem|4|1|a|file|3\n");
  const TRun tRun = Run("run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strError;
  EXPECT_EQ(Git("target", "rev-parse A"), Git("target", "rev-parse B~1"));
  EXPECT_EQ(Git("target", "rev-list --count --all"), "3\n");
}

TEST_F(CRunTest, TagWithAChangesetOfItsOwnIsATagBesideItsParentBranch) {
  Script(
      "stream|1|0|Main\n"
      "stream|2|1|V1|1|tag\n"
      "stream|3|2|FIX|3\n"
      "change|1|1|joe|100|x\n"
      "item|1|0|a|file|a\n"
      "item|1|0|b|file|b\n"
      "change|2|1|joe|200|y\n"
      "item|2|1|a|file|a2\n"
      "change|3|2|ann|150|Start of V1\n"
      "item|3|2|b\n"
      "change|4|3|ann|160|fix\n"
      "item|4|1|a|file|a3\n");
  EXPECT_EQ(Run("run --quiet --bare --into target").nStatus, 0);
  EXPECT_EQ(Git("target", "for-each-ref --format='%(objecttype) %(refname) %(subject)'"),
            "commit refs/heads/FIX fix\ncommit refs/heads/main y\ncommit refs/tags/V1 Start of V1\n");
  EXPECT_EQ(Git("target", "ls-tree --name-only V1"), "a\n");
  EXPECT_EQ(Git("target", "rev-parse V1~1"), Git("target", "rev-parse main~1"));
  EXPECT_EQ(Git("target", "rev-parse FIX~1"), Git("target", "rev-parse V1"));
}

// git init sets core.ignorecase when the file system ignores case.
TEST_F(CRunTest, StreamsThatDifferOnlyInCaseAreTwoFilesWhereCaseIsIgnored) {
  Script(
      "stream|1|0|Main\n"
      "stream|2|1|Rel|1|tag\n"
      "stream|3|1|REL|1|tag\n"
      "stream|4|1|MAIN|1\n"
      "stream|5|1|\\xc3\\x84|1\n"
      "stream|6|1|\\xc3\\xa4|1\n"
      "change|1|1|joe|100|x\n"
      "item|1|0|a|file|a\n");
  Git(".", "init --quiet --bare plain");
  Git(".", "init --quiet --bare folding");
  Git("folding", "config core.ignorecase true");
  EXPECT_EQ(Run("run --quiet --into plain").nStatus, 0);
  EXPECT_EQ(Git("plain", "for-each-ref --format='%(refname)'"),
            "refs/heads/MAIN\nrefs/heads/main\nrefs/heads/\xC3\x84\nrefs/heads/\xC3\xA4\nrefs/tags/REL\nrefs/"
            "tags/Rel\n");
  const TRun tRun = Run("run --quiet --into folding");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(Git("folding", "for-each-ref --format='%(refname)'"),
            "refs/heads/MAIN-2\nrefs/heads/main\nrefs/heads/\xC3\x84\nrefs/heads/\xC3\xA4-2\nrefs/tags/"
            "REL-2\nrefs/tags/Rel\n");
  EXPECT_NE(tRun.strError.find("3 streams have another name in Git: 'REL' is called 'REL-2', 'MAIN' is "
                               "called 'MAIN-2'"),
            std::string::npos)
      << tRun.strError;
}

TEST_F(CRunTest, SummaryShowsThePlanAndTheRepairedLogs) {
  Script(
      "log|Plan: 3 of 4 branches and tags start exactly as a changeset\n"
      "log|Repaired the log of 'mod/x.c': a message holds a log\n"
      "log|Repaired the log of 'mod/y.c': a message holds a log\n"
      "stream|1|0|Main\n"
      "change|1|1|joe|100|x\n"
      "item|1|0|a|file|a\n");
  const TRun tRun = Run("run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strError,
            "talvek-import: 3 of 4 branches and tags start exactly as a changeset\n"
            "talvek-import: repaired the malformed logs of 2 files\n"
            "talvek-import: imported 1 stream, 1 changeset, 1 item; 0 losses; 0 seconds\n");
}

// With a tag HEAD, `git log HEAD` would warn of an ambiguous name and show the trunk.
TEST_F(CRunTest, NamesThatGitTakesForSomethingElseAreChangedAndReported) {
  Script(
      "stream|1|0|Main\n"
      "stream|2|1|HEAD|1|tag\n"
      "stream|3|1|ORIG_HEAD|1\n"
      "stream|4|1|-x|1|tag\n"
      "stream|5|1|main|1|tag\n"
      "change|1|1|joe|100|x\n"
      "item|1|0|a|file|a\n"
      "change|2|1|joe|200|y\n"
      "item|2|1|a|file|b\n");
  const TRun tRun = Run("run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strError,
            "talvek-import: changed: stream 'HEAD' is called 'HEAD_': Git takes its name for something else\n"
            "talvek-import: changed: stream 'ORIG_HEAD' is called 'ORIG_HEAD_': Git takes its name for "
            "something else\n"
            "talvek-import: changed: stream '-x' is called '_x': Git takes its name for something else\n"
            "talvek-import: changed: stream 'main' is called 'main-2': Git refuses its name, or another "
            "stream has it\n"
            "talvek-import: 4 streams have another name in Git: 'HEAD' is called 'HEAD_', 'ORIG_HEAD' is "
            "called 'ORIG_HEAD_', '-x' is called '_x', 'main' is called 'main-2'\n"
            "talvek-import: imported 5 streams, 2 changesets, 2 items; 0 losses; 0 seconds\n");
  EXPECT_EQ(Git("target", "for-each-ref --format='%(refname) %(subject)'"),
            "refs/heads/ORIG_HEAD_ x\nrefs/heads/main y\nrefs/tags/HEAD_ x\nrefs/tags/_x x\n"
            "refs/tags/main-2 x\n");
  EXPECT_EQ(Git("target", "log --format=%s HEAD 2>&1"), "y\nx\n");
  EXPECT_EQ(Git("target", "log --format=%s main 2>&1"), "y\nx\n");
}

TEST_F(CRunTest, SummaryNamesTenChangedStreamsAndCountsTheRest) {
  std::string strScript = "stream|1|0|Main\nchange|1|1|joe|100|x\nitem|1|0|a|file|a\n";
  std::string strNames;
  for (int nStream = 10; nStream < 22; ++nStream) {
    const std::string strNumber = std::to_string(nStream);
    strScript += "stream|" + strNumber + "|1|a " + strNumber + "|1\n";
    if (nStream < 20) strNames += ", 'a " + strNumber + "' is called 'a_" + strNumber + "'";
  }
  Script(strScript);
  const std::string strError = Run("run --quiet --into target").strError;
  EXPECT_NE(strError.find("talvek-import: 12 streams have another name in Git: " + strNames.substr(2) +
                          " and 2 more\n"),
            std::string::npos)
      << strError;
}

TEST_F(CRunTest, TrunkCantHaveANameThatGitTakesForSomethingElse) {
  Script("stream|1|0|Main\n");
  const TRun tRun = Run("run --quiet --into target --trunk-branch HEAD");
  EXPECT_EQ(tRun.nStatus, 2);
  EXPECT_EQ(tRun.strError,
            "talvek-import: 'HEAD' can't be the name of a branch; give another with --trunk-branch, such as "
            "'HEAD_'\n");
}

}  // namespace
}  // namespace TALVEK::TEST
