// The comparison itself: it finds nothing where all is equal, and everything that isn't.

#include "tests/exact_road/exact_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "tests/exact_road/cases.h"
#include "tests/exact_road/exact_import.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

const TCase& FindCase(const std::string& strName) {
  const TCase* ptEnd = CASES + CASE_COUNT;
  const TCase* ptCase = std::find_if(CASES, ptEnd, [&](const TCase& t) { return t.pszName == strName; });
  if (ptCase == ptEnd) throw std::runtime_error("no case " + strName);
  return *ptCase;
}

/// A case's repository, imported by the provider that groups by rules alone.
class CImportedCase {
 public:
  explicit CImportedCase(const std::string& strCase) {
    FindCase(strCase).pfnMake(m_oWorld);
    const TShellResult tResult = ImportModule(Module(), "cvs", Git());
    EXPECT_EQ(tResult.nStatus, 0) << tResult.strOutput;
  }

  TCvsModule Module() const { return {m_oWorld.Root(), m_oWorld.Module()}; }
  std::filesystem::path Git() const { return m_oFolder / "git"; }
  std::string Differences() const { return Show(CompareAll(Module(), Git())); }

  /// Runs shell commands in a clone of the Git repository and puts main back.
  void Tamper(const std::string& strCommands) const {
    const CTempFolder oClone;
    ShellOutput("cd " + ShellQuote(oClone.Path().string()) + " && git clone -q " +
                ShellQuote(Git().string()) +
                " c 2>&1 && cd c && git config user.name anna && git config user.email anna && "
                "export GIT_COMMITTER_DATE=\"$(git log -1 --format=%cI)\" && " +
                strCommands + " && git push -qf origin HEAD:main 2>&1");
  }
  /// Runs a git command in the bare repository.
  void RunGit(const std::string& strArguments) const {
    ShellOutput("git --git-dir " + ShellQuote(Git().string()) + " " + strArguments);
  }

 private:
  CCvsWorld m_oWorld;
  CTempFolder m_oFolder;
};

struct TInexactCase {
  const char* pszCase;
  const char* pszDifferences;
};

class InexactProviderTest : public ::testing::TestWithParam<TInexactCase> {};

TEST(ExactCheckTest, PlainRepositoryIsEqual) {
  EXPECT_EQ(CImportedCase("Plain").Differences(), "");
}

TEST(ExactCheckTest, ModesAndKeywordsAreEqual) {
  EXPECT_EQ(CImportedCase("ModesAndKeywords").Differences(), "");
}

// Provider cvs works by dates, and leaves vendor branches and states other than Exp alone.
TEST_P(InexactProviderTest, DifferencesAreFound) {
  EXPECT_EQ(CImportedCase(GetParam().pszCase).Differences(), GetParam().pszDifferences);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, InexactProviderTest,
    ::testing::Values(
        TInexactCase{"TagMovedOnOneFile", "REL_1: b.txt: other bytes (3, in Git 3)\n"},
        TInexactCase{
            "BranchFromTagOfMixedRevisions",
            "MIXED: b.txt: other bytes (3, in Git 3)\nfrom_mixed: b.txt: other bytes (3, in Git 3)\n"},
        TInexactCase{"RemovedAndRestored", "WITHOUT_B: b.txt: only in Git\n"},
        TInexactCase{"ImportsWithConflict",
                     "trunk: y.txt: other bytes (3, in Git 3)\n"
                     "V2: x.txt: other bytes (3, in Git 3)\n"
                     "V2: y.txt: other bytes (3, in Git 3)\n"
                     "VENDOR: missing in Git (3 files)\n"
                     "1.1.1.1: sub/z.txt: in no commit of its author and message (anna: Import 1)\n"
                     "1.1.1.1: x.txt: in no commit of its author and message (anna: Import 1)\n"
                     "1.1.1.2: x.txt: in no commit (vera: Import 2)\n"
                     "1.1.1.1: y.txt: in no commit of its author and message (anna: Import 1)\n"
                     "1.1.1.2: y.txt: in no commit (vera: Import 2)\n"
                     "trunk at 2001-09-09 03:54:10 UTC: y.txt: other bytes (3, in Git 3)\n"
                     "trunk at 2001-09-09 04:54:10 UTC: y.txt: other bytes (3, in Git 3)\n"},
        TInexactCase{"TagOnNothingAlive", "NOTHING: a.txt: only in Git\nNOTHING: dir/c.txt: only in Git\n"},
        TInexactCase{"BranchThatLostItsName",
                     "1.2.2.1: a.txt: in no commit (anna: a on a branch that lost its name)\n"}),
    [](const auto& tInfo) { return std::string(tInfo.param.pszCase); });

TEST(ExactCheckTest, MissingRefIsFound) {
  const CImportedCase oCase("Plain");
  oCase.RunGit("update-ref -d refs/tags/REL_1");
  EXPECT_EQ(oCase.Differences(), "REL_1: missing in Git (3 files)\n");
}

TEST(ExactCheckTest, RefThatNobodyNamedIsFound) {
  const CImportedCase oCase("Plain");
  oCase.RunGit("update-ref refs/heads/odd refs/heads/main");
  EXPECT_EQ(oCase.Differences(), "refs/heads/odd: a ref that CVS doesn't name\n");
}

TEST(ExactCheckTest, RefAtAnotherCommitIsFound) {
  const CImportedCase oCase("Plain");
  oCase.RunGit("update-ref refs/tags/REL_1 refs/heads/main~2");
  EXPECT_EQ(oCase.Differences(), "REL_1: a.txt: other bytes (3, in Git 3)\n");
}

TEST(ExactCheckTest, TrunkThatIsMissingIsFound) {
  const CImportedCase oCase("Plain");
  oCase.RunGit("update-ref -d refs/heads/main");
  EXPECT_EQ(Show(CompareRefs(oCase.Module(), CGitRepository(oCase.Git()))),
            "trunk: missing in Git (3 files)\n");
}

TEST(ExactCheckTest, OtherModeIsFound) {
  const CImportedCase oCase("Plain");
  oCase.Tamper("chmod +x a.txt && git commit -qa --amend --no-edit");
  EXPECT_EQ(CompareRefs(oCase.Module(), CGitRepository(oCase.Git())),
            (std::vector<TDifference>{{TDifferenceKind::OTHER_MODE, "trunk", "a.txt", ""}}));
}

TEST(ExactCheckTest, FileTooManyAndFileTooFewAreFound) {
  const CImportedCase oCase("Plain");
  oCase.Tamper("git mv b.txt d.txt && git commit -qa --amend --no-edit");
  EXPECT_EQ(Show(CompareRefs(oCase.Module(), CGitRepository(oCase.Git()))),
            "trunk: b.txt: missing in Git\ntrunk: d.txt: only in Git\n");
}

TEST(ExactCheckTest, OtherBytesLoseTheRevision) {
  const CImportedCase oCase("Plain");
  oCase.Tamper("echo other > dir/c.txt && git commit -qa --amend --no-edit");
  EXPECT_EQ(oCase.Differences(),
            "trunk: dir/c.txt: other bytes (3, in Git 6)\n"
            "1.2: dir/c.txt: in no commit (anna: Second c)\n"
            "trunk at 2001-09-09 04:54:10 UTC: dir/c.txt: other bytes (3, in Git 6)\n");
}

TEST(ExactCheckTest, OtherAuthorIsFound) {
  const CImportedCase oCase("Plain");
  oCase.Tamper("git commit -q --amend --no-edit --author='boris <boris>'");
  EXPECT_EQ(oCase.Differences(), "1.2: dir/c.txt: in no commit of its author and message (anna: Second c)\n");
}

TEST(ExactCheckTest, OtherMessageIsFound) {
  const CImportedCase oCase("Plain");
  oCase.Tamper("git commit -q --amend -m 'Second b'");
  EXPECT_EQ(oCase.Differences(), "1.2: dir/c.txt: in no commit of its author and message (anna: Second c)\n");
}

// No byte differs, and yet a revision's words are nowhere.
TEST(ExactCheckTest, CommitOfUnchangedFilesThatIsMissingIsFound) {
  const CImportedCase oCase("ForcedCommit");
  EXPECT_EQ(oCase.Differences(), "");
  oCase.Tamper("git reset -q --hard HEAD~2 && git cherry-pick origin/main 2>&1");
  EXPECT_EQ(oCase.Differences(),
            "1.3: a.txt: in no commit of its author and message (anna: Nothing changed, on purpose)\n"
            "1.2: b.txt: in no commit of its author and message (anna: Nothing changed, on purpose)\n");
}

// Two changesets in one commit: all refs that are left equal, and one revision's words are nowhere.
TEST(ExactCheckTest, CommitThatSwallowsAnotherIsFound) {
  const CImportedCase oCase("Plain");
  oCase.Tamper("git reset -q --soft HEAD~2 && git commit -q -m 'Second c'");
  EXPECT_EQ(Show(CompareRefs(oCase.Module(), CGitRepository(oCase.Git()))), "");
  oCase.RunGit("update-ref -d refs/tags/REL_1");
  oCase.RunGit("update-ref -d refs/heads/fixes");
  const std::string strDifferences = Show(FindLostRevisions(oCase.Module(), CGitRepository(oCase.Git())));
  EXPECT_EQ(strDifferences,
            "1.2: a.txt: in no commit of its author and message (anna: Second a)\n"
            "1.1.2.1: b.txt: in no commit (anna: Fix b)\n");
}

// The end is right, and the commits stand in the wrong order.
TEST(ExactCheckTest, WrongOrderIsFoundByDates) {
  const CImportedCase oCase("Plain");
  oCase.Tamper(
      "git checkout -q HEAD~2 && git checkout -q main -- dir/c.txt && git commit -q -C main~1 && "
      "git checkout -q main -- . && git commit -q -C main");
  EXPECT_NE(Show(CompareTrunkByDate(oCase.Module(), CGitRepository(oCase.Git()))), "");
  EXPECT_EQ(Show(CompareRefs(oCase.Module(), CGitRepository(oCase.Git()))), "");
}

}  // namespace
}  // namespace TALVEK::TEST
