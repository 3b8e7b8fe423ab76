// The program against made repositories, the real client and the real git. Each damage is done to Git by
// hand.

#include <filesystem>
#include <ostream>

#include <nlohmann/json.hpp>

#include "tests/support/cvs_servers.h"
#include "tests/support/shell.h"
#include "tests/verify/verify_fixture.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;

constexpr const char* ALL_EQUAL =
    "ref    files  equal  different  missing  extra\n"
    "trunk      5      5          0        0      0\n"
    "fixes      5      5          0        0      0\n"
    "REL_1      5      5          0        0      0\n"
    "compared: 3 by whole exports, the others by the server's list of revisions; 0 file revisions fetched "
    "alone\n"
    "3 refs: 3 equal\n";

TEST_F(VerifyTest, RepositoryThatIsEqualIsProvenAndLeavesNothingBehind) {
  MakeWorld();
  Import();
  const TVerified tVerified = Verify();
  EXPECT_EQ(tVerified.strOutput, ALL_EQUAL);
  EXPECT_EQ(tVerified.strError, "");
  EXPECT_EQ(tVerified.nStatus, 0);
  EXPECT_TRUE(fs::is_empty(Folder() / "tmp"));
}

TEST_F(VerifyTest, WorkingTreeStandsForItsRepository) {
  MakeWorld();
  ASSERT_EQ(
      Run("run --quiet --no-verify --into git --module-name m --repos-path " + ShellQuote(Root())).nStatus,
      0);
  EXPECT_EQ(Verify().strOutput, ALL_EQUAL);
}

struct TDamage {
  const char* pszName;
  const char* pszBranch;    // whose working copy is changed; null: none, pszCommands is one of git
  const char* pszCommands;  // of a shell, in that working copy
  const char* pszRef;       // what the result becomes
  const char* pszBrief;     // what verify --brief prints before its last two lines
  const char* pszSummary;
};

void PrintTo(const TDamage& tDamage, std::ostream* poStream) {
  *poStream << tDamage.pszName;
}

class DamageTest : public VerifyTest, public testing::WithParamInterface<TDamage> {};

constexpr const char* HEADING = "ref    files  equal  different  missing  extra\n";

TEST_P(DamageTest, IsFound) {
  const TDamage& tDamage = GetParam();
  MakeWorld();
  Import();
  if (tDamage.pszBranch)
    Damage(tDamage.pszBranch, tDamage.pszCommands, tDamage.pszRef);
  else
    Git(tDamage.pszCommands);
  const TVerified tVerified = Verify("--brief");
  std::string strOutput = tVerified.strOutput;
  EXPECT_TRUE(strOutput.starts_with(tDamage.pszBrief)) << strOutput;
  strOutput.erase(0, std::string(tDamage.pszBrief).size());
  EXPECT_TRUE(strOutput.starts_with("compared: 3 by whole exports")) << tVerified.strOutput;
  EXPECT_EQ(strOutput.substr(strOutput.find('\n') + 1), tDamage.pszSummary);
  EXPECT_EQ(tVerified.nStatus, 3);
}

const TDamage DAMAGES[] = {
    {"ChangedByte", "main", "printf x >> a.txt", "refs/heads/main",
     "ref    files  equal  different  missing  extra\n"
     "trunk      5      4          1        0      0  different\n"
     "trunk: different: a.txt 1.2: the bytes differ\n",
     "3 refs: 2 equal, 1 differs\n"},
    {"OlderRevision", "main", "git show REL_1:dir/c.txt > dir/c.txt", "refs/heads/main",
     "ref    files  equal  different  missing  extra\n"
     "trunk      5      4          1        0      0  different\n"
     "trunk: different: dir/c.txt 1.2: the bytes differ\n",
     "3 refs: 2 equal, 1 differs\n"},
    {"MissingFile", "fixes", "git rm -q dir/c.txt", "refs/heads/fixes",
     "ref    files  equal  different  missing  extra\n"
     "fixes      5      4          0        1      0  different\n"
     "fixes: missing: dir/c.txt 1.1: it isn't in Git\n",
     "3 refs: 2 equal, 1 differs\n"},
    {"ExtraFile", "main", "echo x > new.txt", "refs/heads/main",
     "ref    files  equal  different  missing  extra\n"
     "trunk      5      5          0        0      1  different\n"
     "trunk: extra: new.txt: CVS gives no such file\n",
     "3 refs: 2 equal, 1 differs\n"},
    {"LostExecutableBit", "main", "chmod -x run.sh", "refs/heads/main",
     "ref    files  equal  different  missing  extra\n"
     "trunk      5      4          1        0      0  different\n"
     "trunk: different: run.sh 1.1: it can't be executed in Git\n",
     "3 refs: 2 equal, 1 differs\n"},
    {"ExecutableBitTooMany", "main", "chmod +x a.txt", "refs/heads/main",
     "ref    files  equal  different  missing  extra\n"
     "trunk      5      4          1        0      0  different\n"
     "trunk: different: a.txt 1.2: it can be executed in Git only\n",
     "3 refs: 2 equal, 1 differs\n"},
    {"LinkInThePlaceOfAFile", "main", "ln -sf b.txt a.txt", "refs/heads/main",
     "ref    files  equal  different  missing  extra\n"
     "trunk      5      4          1        0      0  different\n"
     "trunk: different: a.txt 1.2: it is no plain file in Git\n",
     "3 refs: 2 equal, 1 differs\n"},
    {"MovedTag", nullptr, "update-ref refs/tags/REL_1 main", nullptr,
     "ref    files  equal  different  missing  extra\n"
     "REL_1      5      4          1        0      0  different\n"
     "REL_1: different: dir/c.txt 1.1: Git has the bytes of revision 1.2\n",
     "3 refs: 2 equal, 1 differs\n"},
    {"MissingTag", nullptr, "update-ref -d refs/tags/REL_1", nullptr,
     "ref    files  equal  different  missing  extra\n"
     "REL_1      5      0          0        5      0  missing ref\n"
     "REL_1: missing: a.txt 1.2: it isn't in Git\n"
     "REL_1: missing: b.txt 1.1: it isn't in Git\n"
     "REL_1: missing: dir/c.txt 1.1: it isn't in Git\n",
     "3 refs: 2 equal, 1 is missing in Git\n"},
    {"ExtraBranch", nullptr, "update-ref refs/heads/more main", nullptr,
     "ref              files  equal  different  missing  extra\n"
     "refs/heads/more      0      0          0        0      5  extra ref\n"
     "refs/heads/more: extra: a.txt: CVS gives no such file\n"
     "refs/heads/more: extra: b.txt: CVS gives no such file\n"
     "refs/heads/more: extra: dir/c.txt: CVS gives no such file\n",
     "4 refs: 3 equal, 1 is in Git only\n"},
    {"NamedOtherwise", "main", "sed -i 's/Name/Mane/' named.txt", "refs/heads/main",
     "ref    files  equal  different  missing  extra\n"
     "trunk      5      4          1        0      0  different\n"
     "trunk: different: named.txt 1.1: the bytes differ\n",
     "3 refs: 2 equal, 1 differs\n"},
};
INSTANTIATE_TEST_SUITE_P(, DamageTest, testing::ValuesIn(DAMAGES),
                         [](const auto& tInfo) { return tInfo.param.pszName; });

// Only what stands behind the keyword differs with the way in which a revision is asked for.
TEST_F(VerifyTest, NameIsCutBackAndOtherKeywordsAreNot) {
  MakeWorld();
  Import();
  Damage("main", "sed -i 's/[$]Name[^$]*[$]/$Name: whatever it is $/' named.txt", "refs/heads/main");
  EXPECT_EQ(Verify().strOutput, ALL_EQUAL);
  Damage("main", "sed -i 's/[$]Id[^$]*[$]/$Id$/' named.txt", "refs/heads/main");
  EXPECT_EQ(Verify().nStatus, 3);
}

TEST_F(VerifyTest, FormatJsonSaysTheSame) {
  MakeWorld();
  Import();
  Damage("fixes", "git rm -q dir/c.txt; printf x >> a.txt", "refs/heads/fixes");
  const TVerified tVerified = Verify("--format json");
  EXPECT_EQ(tVerified.nStatus, 3);
  const nlohmann::json oResult = nlohmann::json::parse(tVerified.strOutput);
  EXPECT_EQ(oResult.at("equal"), false);
  EXPECT_EQ(oResult.at("totals"), nlohmann::json::parse(R"({"refs": 3, "equal": 2, "different": 1,
      "missing ref": 0, "extra ref": 0, "refused": 0})"));
  EXPECT_EQ(oResult.at("refs").at(0).at("status"), "equal");
  EXPECT_EQ(oResult.at("refs").at(1), nlohmann::json::parse(R"({"kind": "branch", "name": "fixes",
      "ref": "refs/heads/fixes", "status": "different", "how": "export", "files": 5, "equal": 3,
      "different": 1, "missing": 1, "extra": 0, "refused": 0, "first": [
        {"kind": "different", "path": "a.txt", "revision": "1.2", "reason": "the bytes differ"},
        {"kind": "missing", "path": "dir/c.txt", "revision": "1.1", "reason": "it isn't in Git"}]})"));
}

TEST_F(VerifyTest, TrunkAndBranchesAreComparedAtMomentsToo) {
  MakeWorld();
  World().Put("a.txt", "a3\n", "Third a");
  World().On("fixes");
  World().Put("b.txt", "b fixed again\n", "Fix b again");
  Import();
  const TVerified tEqual = Verify("--dates 9");
  EXPECT_EQ(tEqual.nStatus, 0) << tEqual.strOutput;
  EXPECT_NE(tEqual.strOutput.find("\ntrunk at 2001-09-09 02:16:40 UTC      5      5 "), std::string::npos)
      << tEqual.strOutput;
  EXPECT_NE(tEqual.strOutput.find("\nfixes at "), std::string::npos) << tEqual.strOutput;
}

TEST_F(VerifyTest, StateThatIsWrongAtAMomentOnlyIsFound) {
  MakeWorld();
  Import();
  // All changes of the trunk come an hour too late: the end is the same.
  Damage("main",
         "FILTER_BRANCH_SQUELCH_WARNING=1 git filter-branch -f --env-filter 'd=${GIT_COMMITTER_DATE#@}; "
         "export GIT_COMMITTER_DATE=\"$((${d%% *} + 3600)) +0000\"' HEAD 2>&1",
         "refs/heads/main");
  EXPECT_EQ(Verify().nStatus, 0);
  const TVerified tVerified = Verify("--brief --dates 9");
  EXPECT_EQ(tVerified.nStatus, 3) << tVerified.strOutput;
  EXPECT_NE(
      tVerified.strOutput.find("trunk at 2001-09-09 02:16:40 UTC: missing: a.txt 1.1: it isn't in Git\n"),
      std::string::npos)
      << tVerified.strOutput;
}

TEST_F(VerifyTest, NamesThatGitCannotHoldAreFoundUnderTheNamesTheyGot) {
  MakeWorld();
  World().Edit("a.txt", "\nsymbols\n", "\nsymbols\n\tx~y:1.1\n\trefused.name:1.1\n\tHEAD:1.1\n\tstash:1.2\n");
  Import();
  const TVerified tVerified = Verify("--brief");
  EXPECT_EQ(
      tVerified.strOutput.substr(0, tVerified.strOutput.find("compared:")),
      "ref           files  equal  different  missing  extra\n"
      "HEAD              0      0          0        0      0  refused\n"
      "refused.name      0      0          0        0      0  refused\n"
      "HEAD: cvs says: cvs takes the name for its own\n"
      "refused.name: cvs says: cvs [export aborted]: tag `refused.name' must not contain the characters "
      "`$,.:;@'\n");
  EXPECT_TRUE(tVerified.strOutput.ends_with("\n7 refs: 5 equal, 2 are refused by cvs\n"))
      << tVerified.strOutput;
  EXPECT_EQ(tVerified.nStatus, 0);
}

struct TLimit {
  const char* pszName;
  const char* pszOptions;
  const char* pszSummary;
};

void PrintTo(const TLimit& tLimit, std::ostream* poStream) {
  *poStream << tLimit.pszName;
}

class LimitTest : public VerifyTest, public testing::WithParamInterface<TLimit> {};

// What the import was told to leave out isn't missed.
TEST_P(LimitTest, OfTheImportIsOneOfTheComparison) {
  MakeWorld();
  World().Tag("LATE");
  World().BranchTag("gone");
  World().On("gone");
  World().Put("a.txt", "a on gone\n", "On a branch that loses its name");
  World().On("");
  World().TagInRepository("-d -B gone");
  Import(GetParam().pszOptions);
  const TVerified tVerified = Verify();
  EXPECT_TRUE(tVerified.strOutput.ends_with(GetParam().pszSummary)) << tVerified.strOutput;
  EXPECT_EQ(tVerified.nStatus, 0) << tVerified.strOutput;
}

const TLimit LIMITS[] = {
    {"None", "", "\n5 refs: 5 equal\n"},
    {"NoBranches", "--no-create-branches", "\n1 ref: 1 equal\n"},
    {"NoTags", "--no-streams-for-tags", "\n3 refs: 3 equal\n"},
    {"NoUnnamedBranches", "--no-unnamed-branches", "\n4 refs: 4 equal\n"},
    {"Included", "--include-tags 'REL_*' --no-unnamed-branches", "\n2 refs: 2 equal\n"},
    {"Excluded", "--exclude-tags 'LATE'", "\n4 refs: 4 equal\n"},
    // Before the third commit, that on the branch.
    {"EndDate", "--end-date '2001-09-09 03:00:00'", "\n3 refs: 3 equal\n"},
    {"OtherTrunk", "--trunk-branch trunk", "\n5 refs: 5 equal\n"},
};
INSTANTIATE_TEST_SUITE_P(, LimitTest, testing::ValuesIn(LIMITS),
                         [](const auto& tInfo) { return tInfo.param.pszName; });

TEST_F(VerifyTest, OptionsStandForTheRecordOfTheImport) {
  MakeWorld();
  Import();
  fs::remove_all(GitFolder() / "talvek-import");
  EXPECT_EQ(Verify("--module-name m --repos-path " + ShellQuote(Root())).strOutput, ALL_EQUAL);
  const TVerified tVerified = Verify();
  EXPECT_EQ(tVerified.nStatus, 2);
  EXPECT_EQ(tVerified.strError,
            "talvek-import: the repository doesn't say which CVS module it was imported from; give it with "
            "--repos-path\n");
}

TEST_F(VerifyTest, OptionsOverrideTheRecordOfTheImport) {
  MakeWorld();
  Import();
  const TVerified tVerified = Verify("--brief --repos-path /no/such/root --set CmdRepeatCount=1");
  EXPECT_EQ(tVerified.nStatus, 1);
  EXPECT_TRUE(tVerified.strError.starts_with("talvek-import: the log of the module can't be read: "))
      << tVerified.strError;
}

TEST_F(VerifyTest, WrongUseIsSaid) {
  const TVerified tNone = Run("verify nowhere");
  EXPECT_EQ(tNone.nStatus, 2);
  EXPECT_TRUE(tNone.strError.starts_with("talvek-import: 'nowhere' is no Git repository: "))
      << tNone.strError;
  const TVerified tUnknown = Run("verify --nonsense");
  EXPECT_EQ(tUnknown.nStatus, 2);
  EXPECT_EQ(
      tUnknown.strError,
      "talvek-import: The following argument was not expected: --nonsense; 'talvek-import verify --help' "
      "shows the options\n");
  EXPECT_EQ(Run("verify --help").nStatus, 0);
}

// Servers before 1.12 know no rls.
TEST_F(VerifyTest, ServerWithoutListingsIsAskedForDifferences) {
  MakeWorld();
  for (int nTag = 0; nTag < 12; ++nTag)
    World().Tag("T" + std::to_string(nTag));
  Import();
  const std::string strClient = Client(
      "echo \"$*\" >> asked\ncase \"$*\" in *' rls '*) echo \"cvs [rls aborted]: server does not support "
      "rls\" "
      ">&2; exit 1;; esac\nexec \"$real\" \"$@\"");
  const TVerified tVerified = Verify("--format json --cvs-path " + ShellQuote(strClient));
  EXPECT_EQ(tVerified.nStatus, 0) << tVerified.strOutput;
  EXPECT_NE(tVerified.strOutput.find("\"how\": \"rdiff, files by revision\""), std::string::npos)
      << tVerified.strOutput;
}

TEST_F(VerifyTest, ServerThatListsNothingIsAskedForEveryNameWhole) {
  MakeWorld();
  for (int nTag = 0; nTag < 12; ++nTag)
    World().Tag("T" + std::to_string(nTag));
  Import();
  const std::string strClient =
      Client("case \"$*\" in *' rls '*|*' rdiff '*) exit 1;; esac\nexec \"$real\" \"$@\"");
  const TVerified tVerified = Verify("--cvs-path " + ShellQuote(strClient));
  EXPECT_TRUE(tVerified.strOutput.ends_with(
      "note: the server lists no revisions as it exports them (rls, rdiff), so every name is exported whole\n"
      "compared: 15 by whole exports, the others by the server's list of revisions; 0 file revisions fetched "
      "alone\n"
      "15 refs: 15 equal\n"))
      << tVerified.strOutput;
}

// The listing decides nothing alone: what it says is held against an export.
TEST_F(VerifyTest, ListingThatDiffersFromTheExportIsNotUsed) {
  MakeWorld();
  Import();
  const std::string strClient = Client(
      "case \"$*\" in *' rls '*) \"$real\" \"$@\" | grep -v /b.txt/; exit 0;; esac\nexec \"$real\" \"$@\"");
  EXPECT_EQ(Verify("--cvs-path " + ShellQuote(strClient)).strOutput, ALL_EQUAL);
}

TEST_F(VerifyTest, EachFileRevisionIsFetchedOnce) {
  MakeWorld();
  World().Tag("T0");
  World().Put("a.txt", "a3\n", "Third a");
  for (int nTag = 1; nTag < 12; ++nTag)
    World().Tag("T" + std::to_string(nTag));
  World().Put("a.txt", "a4\n", "Fourth a");
  Import();
  const TVerified tVerified = Verify();
  EXPECT_EQ(tVerified.nStatus, 0) << tVerified.strOutput;
  // a.txt 1.3, which eleven tags have, and some of them before the first one that is exported.
  EXPECT_NE(tVerified.strOutput.find("; 1 file revision fetched alone\n15 refs: 15 equal\n"),
            std::string::npos)
      << tVerified.strOutput;
}

TEST_F(VerifyTest, ProviderCvsSaysItsRules) {
  World().Import({{"v.txt", "v1\n"}}, "One", "VENDOR", "V1");
  World().Import({{"v.txt", "v2\n"}}, "Two", "VENDOR", "V2");
  World().On("");
  World().Put("a.txt", "a1\n", "a");
  World().Tag("OLD", "a.txt");
  World().Put("b.txt", "b1\n", "b");
  World().Put("b.txt", "b2\n", "b again");
  World().Admin("-sStab:1.2", "b.txt");
  World().MoveTag("OLD", "b.txt");
  Import("--provider cvs --streams-for-tags");
  const TVerified tVerified = Verify("--brief");
  EXPECT_EQ(tVerified.nStatus, 3);
  for (const char* pszLine : {"trunk: different: v.txt 1.1.1.2: the bytes differ; provider cvs imports no "
                              "revision on a vendor branch\n",
                              "trunk: different: b.txt 1.2: the bytes differ; provider cvs imports no "
                              "revision whose state isn't Exp; "
                              "this one is Stab\n",
                              "OLD: extra: v.txt: CVS gives no such file; provider cvs starts a branch or "
                              "tag with all files of its "
                              "parent, also those without the name\n"}) {
    EXPECT_NE(tVerified.strOutput.find(pszLine), std::string::npos) << tVerified.strOutput;
  }
}

TEST_F(VerifyTest, RunVerifiesAtItsEnd) {
  MakeWorld();
  const std::string strRun = "run --quiet --bare --module-name m --repos-path " + ShellQuote(Root());
  const TVerified tRun = Run(strRun + " --into git");
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strError;
  EXPECT_EQ(tRun.strOutput, "");
  EXPECT_TRUE(tRun.strError.ends_with("\n3 refs: 3 equal\n")) << tRun.strError;
  EXPECT_EQ(Run(strRun + " --no-verify --into other").strError.find("refs: "), std::string::npos);
}

TEST_F(VerifyTest, RunThatDiffersFromTheRepositoryEndsWithLosses) {
  World().Import({{"v.txt", "v1\n"}}, "One", "VENDOR", "V1");
  World().Import({{"v.txt", "v2\n"}}, "Two", "VENDOR", "V2");
  const TVerified tRun =
      Run("run --quiet --bare --provider cvs --module-name m --into git --repos-path " + ShellQuote(Root()));
  EXPECT_EQ(tRun.nStatus, 3) << tRun.strError;
  EXPECT_TRUE(tRun.strError.ends_with("talvek-import: warning: the import differs from the CVS repository\n"))
      << tRun.strError;
}

TEST_F(VerifyTest, RemoteRootsAreVerifiedToo) {
  MakeWorld();
  Import();
  WriteRemoteShell(Folder() / "rsh");
  SetEnvironment("CVS_RSH=$PWD/rsh");
  EXPECT_EQ(Verify("--repos-path :ext:me@host:" + Root()).strOutput, ALL_EQUAL);
  AdmitReader(World().Root().parent_path(), World().Root());
  const CListener oListener(PasswordServer(Root()));
  const std::string strServer = "127.0.0.1:" + oListener.Port() + Root();
  ShellOutput("cd " + ShellQuote(Folder().string()) + " && HOME=$PWD cvs -d " +
              ShellQuote(":pserver:reader:pass word@" + strServer) + " login 2>&1");
  const TVerified tVerified = Verify("--repos-path :pserver:reader@" + strServer);
  EXPECT_EQ(tVerified.strOutput, ALL_EQUAL) << tVerified.strError;
}

// Once: several exports run at a time, and a second signal would kill them all.
// The signal goes to the program that `talvek-import verify` has started, which removes what it made.
TEST_F(VerifyTest, SignalEndsItAndLeavesNothingBehind) {
  MakeWorld();
  Import();
  const std::string strClient =
      Client("case \"$*\" in *' export '*) mkdir " + ShellQuote((Folder() / "once").string()) +
             " && kill -INT $(cat " + ShellQuote((Folder() / "starter").string()) +
             "); sleep 20;; esac\nexec \"$real\" \"$@\"");
  const TShellResult tResult =
      RunShell("cd " + ShellQuote(Folder().string()) +
               " && TMPDIR=$PWD/tmp sh -c 'echo $$ > starter; exec \"$0\" \"$@\"' " +
               ShellQuote(TALVEK_BIN_DIR "/talvek-import") + " verify --quiet --cvs-path " +
               ShellQuote(strClient) + " git > out 2> err");
  EXPECT_EQ(tResult.nStatus, 130);
  EXPECT_EQ(ReadFile(Folder() / "err"), "talvek-import: stopped; nothing is verified\n");
  EXPECT_TRUE(fs::is_empty(Folder() / "tmp"));
}

}  // namespace
}  // namespace TALVEK::TEST
