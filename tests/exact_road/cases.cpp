#include "tests/exact_road/cases.h"

#include <iterator>
#include <stdexcept>

namespace TALVEK::TEST {

namespace {

constexpr std::int64_t HOUR = 3600;

/// Three files and a second revision of one: what most cases begin with.
void MakeStart(CCvsWorld& oWorld) {
  oWorld.Add("a.txt", "a1\n");
  oWorld.Add("b.txt", "b1\n");
  oWorld.Add("dir/c.txt", "c1\n");
  oWorld.Commit("Start");
  oWorld.Put("a.txt", "a2\n", "Second a");
}

void MakePlain(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Tag("REL_1");
  oWorld.BranchTag("fixes");
  oWorld.On("fixes");
  oWorld.Put("b.txt", "b fixed\n", "Fix b");
  oWorld.On("");
  oWorld.Put("dir/c.txt", "c2\n", "Second c");
}

void MakeTagMovedOnOneFile(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Tag("REL_1");
  oWorld.Put("a.txt", "a3\n", "Third a");
  oWorld.Put("b.txt", "b2\n", "Second b");
  oWorld.MoveTag("REL_1", "b.txt");
}

void MakeBranchFromBranch(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.BranchTag("b1");
  oWorld.On("b1");
  oWorld.Put("a.txt", "a on b1\n", "b1 a");
  oWorld.BranchTag("b2");
  oWorld.On("b2");
  oWorld.Put("b.txt", "b on b2\n", "b2 b");
  oWorld.On("b1");
  oWorld.Put("b.txt", "b on b1\n", "b1 b");
}

void MakeBranchFromTagOfMixedRevisions(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Put("b.txt", "b2\n", "Second b");
  oWorld.Put("dir/c.txt", "c2\n", "Second c");
  oWorld.Update("-r 1.1 a.txt");
  oWorld.Update("-r 1.1 dir/c.txt");
  oWorld.Tag("MIXED");
  oWorld.Update("-A");
  oWorld.TagInRepository("-b -r MIXED from_mixed");
  oWorld.On("from_mixed");
  oWorld.Put("a.txt", "a mixed\n", "Mixed a");
}

void MakeFileAddedOnBranchThenOnTrunk(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.BranchTag("b1");
  oWorld.On("b1");
  oWorld.Put("new.txt", "new on b1\n", "New on b1");
  oWorld.On("");
  oWorld.Put("new.txt", "new on trunk\n", "New on the trunk");
  oWorld.On("b1");
  oWorld.Put("new.txt", "new again on b1\n", "New again on b1");
}

void MakeFileAddedOnTrunkThenOnBranch(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.BranchTag("b1");
  oWorld.Put("new.txt", "new on trunk\n", "New on the trunk");
  oWorld.On("b1");
  oWorld.Put("new.txt", "new on b1\n", "New on b1");
}

void MakeRemovedAndRestored(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Remove("b.txt");
  oWorld.Commit("Without b");
  oWorld.Tag("WITHOUT_B");
  oWorld.Add("b.txt", "b is back\n");
  oWorld.Commit("With b");
}

void MakeImportsWithConflict(CCvsWorld& oWorld) {
  oWorld.Import({{"x.txt", "x1\n"}, {"y.txt", "y1\n"}, {"sub/z.txt", "z1\n"}}, "Import 1", "VENDOR", "V1");
  oWorld.On("");
  oWorld.Put("x.txt", "x of ours\n", "Our x");
  oWorld.As("vera");
  oWorld.Import({{"x.txt", "x2\n"}, {"y.txt", "y2\n"}, {"sub/z.txt", "z1\n"}}, "Import 2", "VENDOR", "V2");
  oWorld.As("anna");
  oWorld.On("");
  oWorld.Put("x.txt", "x of both\n", "Merge of import 2");
}

void MakeImportOnOtherVendorBranch(CCvsWorld& oWorld) {
  oWorld.Import({{"x.txt", "x1\n"}, {"y.txt", "y1\n"}}, "Import 1", "VENDOR", "V1");
  oWorld.Import({{"x.txt", "x other\n"}, {"y.txt", "y other\n"}, {"w.txt", "w other\n"}}, "Import of others",
                "OTHERS", "O1", "-b 1.1.3");
  oWorld.On("");
  oWorld.Put("y.txt", "y of ours\n", "Our y");
}

void MakeDefaultBranchReset(CCvsWorld& oWorld) {
  oWorld.Import({{"x.txt", "x1\n"}, {"y.txt", "y1\n"}}, "Import 1", "VENDOR", "V1");
  oWorld.Import({{"x.txt", "x2\n"}, {"y.txt", "y2\n"}}, "Import 2", "VENDOR", "V2");
  oWorld.On("");
  oWorld.Admin("-b", "x.txt");
}

void MakeDefaultBranchWithoutRevisions(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Admin("-b1.1.1", "b.txt");
}

void MakeGapsInRevisions(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  for (const char* pszText : {"a3\n", "a4\n", "a5\n", "a6\n"})
    oWorld.Put("a.txt", pszText, "More of a");
  oWorld.Tag("LATE");
  oWorld.Put("a.txt", "a7\n", "Last a");
  oWorld.Admin("-o1.3:1.4", "a.txt");
}

void MakeNewMajorNumber(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Commit("Version two", "-r 2.0");
  oWorld.Update("-A");
  oWorld.Put("a.txt", "a of 2\n", "a after 2.0");
  oWorld.Tag("REL_2");
}

void MakeForcedCommit(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Commit("Nothing changed, on purpose", "-f a.txt b.txt");
  oWorld.Put("a.txt", "a4\n", "Then a change");
}

void MakeTagOnDeadRevision(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Remove("b.txt");
  oWorld.Commit("Without b");
  oWorld.Tag("OLD");
  oWorld.TagInRepository("-F -r 1.2 OLD", "b.txt");
  oWorld.TagInRepository("-b -r 1.2 from_dead");
}

void MakeOnlyDeadTag(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Remove("b.txt");
  oWorld.Commit("Without b");
  oWorld.TagInRepository("-r 1.2 NOTHING", "b.txt");
}

void MakeNameThatIsBranchAndTag(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.BranchTag("both", "a.txt");
  oWorld.Tag("both", "b.txt");
  oWorld.On("both");
  oWorld.Put("a.txt", "a on both\n", "a on both");
  oWorld.On("");
  oWorld.Put("b.txt", "b2\n", "Second b");
}

void MakeTwoNamesForOneBranch(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.BranchTag("first_name");
  oWorld.Edit("a.txt", "\nsymbols\n", "\nsymbols\n\tsecond_name:1.2.0.2\n");
  oWorld.Edit("b.txt", "\nsymbols\n", "\nsymbols\n\tsecond_name:1.1.0.2\n");
  oWorld.On("first_name");
  oWorld.Put("a.txt", "a on the branch\n", "a on the branch");
  oWorld.On("");
  oWorld.Put("a.txt", "a3\n", "Third a");
}

void MakeBranchesThatAreEachOthersParents(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  // In a.txt the branch `two` sprouts from `one`, in b.txt the other way round.
  oWorld.BranchTag("one", "a.txt");
  oWorld.BranchTag("two", "b.txt");
  oWorld.On("one");
  oWorld.Put("a.txt", "a on one\n", "a on one");
  oWorld.BranchTag("two", "a.txt");
  oWorld.On("two");
  oWorld.Put("b.txt", "b on two\n", "b on two");
  oWorld.BranchTag("one", "b.txt");
  oWorld.Put("a.txt", "a on two\n", "a on two");
  oWorld.On("one");
  oWorld.Put("b.txt", "b on one\n", "b on one");
}

void MakeFileWithOtherLetterCase(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Put("A.txt", "upper case\n", "Upper case");
  oWorld.Tag("BOTH_CASES");
  oWorld.Remove("a.txt");
  oWorld.Commit("Only the upper case");
  oWorld.Put("dir/C.TXT", "upper c\n", "Upper c");
}

void MakeFileThatBecomesFolder(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Tag("AS_FILE");
  oWorld.Remove("b.txt");
  oWorld.Commit("Make room");
  // The client refuses to add it, because the file of that name lies in the Attic. Administrators make it.
  std::filesystem::create_directory(oWorld.Root() / oWorld.Module() / "b.txt");
  oWorld.On("");
  oWorld.Put("b.txt/inside", "in a folder\n", "b.txt is a folder now");
  oWorld.Tag("AS_FOLDER");
}

/// The client takes the path of the file for the folder even when the folder holds nothing.
void MakeEmptyFolderInPlaceOfFile(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Tag("WITH_B");
  oWorld.Remove("b.txt");
  oWorld.Commit("Make room");
  std::filesystem::create_directory(oWorld.Root() / oWorld.Module() / "b.txt");
  oWorld.Put("a.txt", "a3\n", "Third a");
}

void MakeFolderThatBecomesFile(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Tag("AS_FOLDER");
  oWorld.Remove("dir/c.txt");
  oWorld.Commit("Make room");
  // The client refuses to add it, but imports it.
  oWorld.Import({{"dir", "a file now\n"}}, "dir is a file now", "VENDOR", "AS_FILE");
}

void Run(const CCvsWorld& oWorld, const std::string& strArguments) {
  const TShellResult tResult = oWorld.Try(strArguments);
  if (tResult.nStatus != 0) throw std::runtime_error("cvs " + strArguments + ": " + tResult.strOutput);
}

/// Both are alive for a while. Git can't have both, and the client doesn't check them out.
void MakeFileAndFolderAtOneTime(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Import({{"thing/part", "part 1\n"}, {"thing/other", "other 1\n"}}, "Parts of things", "VENDOR",
                "V1");
  oWorld.Import({{"thing", "a file\n"}}, "A thing", "VENDOR", "V2");
  oWorld.Import({{"thing", "a file, changed\n"}}, "The thing again", "VENDOR", "V3");
  oWorld.TagInRepository("BOTH");
  // Only commands that leave folders out take "thing" for the file.
  Run(oWorld, "checkout -l -d only m");
  oWorld.Write("only/thing", "a file of ours\n");
  oWorld.Commit("Our thing", "-l only");
  Run(oWorld, "remove -f only/thing");
  oWorld.Commit("No thing", "-l only");
  oWorld.Forget("");
  oWorld.On("");
  oWorld.Put("thing/part", "part of ours\n", "Our part");
}

void MakeNamesWithBlanks(CCvsWorld& oWorld) {
  oWorld.Import({{"two words", "w1\n"}, {"a folder/ file", "f1\n"}}, "Import 1", "VENDOR", "V1");
  oWorld.Import({{"two words", "w2\n"}, {"a folder/ file", "f2\n"}}, "Import 2", "VENDOR", "V2");
  oWorld.On("");
  oWorld.BranchTag("b1");
  oWorld.Put("two words", "w of ours\n", "Our words");
  oWorld.On("b1");
  oWorld.Put("a folder/ file", "f on b1\n", "b1 file");
}

/// What the client gives for 1.1 and for 1.1.1.1 differs, as it writes their messages into them.
void MakeImportsOfLogKeyword(CCvsWorld& oWorld) {
  oWorld.Import({{"x.txt", "x1\n$Log$\n"}}, "Import 1", "VENDOR", "V1");
  oWorld.Import({{"x.txt", "x2\n$Log$\n"}, {"w.txt", "w\n$Log$\n"}}, "Import of others", "OTHERS", "O1",
                "-b 1.1.3");
  oWorld.On("");
  oWorld.Put("x.txt", "x of ours\n$Log$\n", "Our x");
}

void MakeForcedCommitWhileClockIsSetBack(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Pass(-24 * HOUR);
  oWorld.Commit("Nothing changed, a day before", "-f a.txt");
}

void MakePastedLog(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  const std::string strLog = oWorld.Try("log a.txt").strOutput;
  oWorld.Put("b.txt", "b2\n", "See:\n" + strLog + "\nThat was it");
  oWorld.Put("a.txt", "a3\n", "----------------------------\nrevision 1.2\n=====\n" + strLog + strLog);
  oWorld.Put("a.txt", "a4\n", std::string(28, '-') + "\n" + std::string(77, '=') + "\n");
}

void MakeCommitOf400Seconds(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  for (const char* pszPath : {"a.txt", "b.txt", "dir/c.txt"})
    oWorld.Write(pszPath, "slow\n");
  const std::int64_t nStart = oWorld.Now();
  oWorld.Commit("A slow commit");
  oWorld.SetDate("b.txt", "1.2", nStart + 200);
  oWorld.SetDate("dir/c.txt", "1.2", nStart + 400);
}

/// The log of a file whose message is a log again, and the rule at its end.
void MakeLogPastedIntoAPastedLog(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.BranchTag("b1");
  oWorld.Put("a.txt", "a3\n", "See:\n" + oWorld.Try("log b.txt").strOutput);
  oWorld.On("b1");
  oWorld.Put("a.txt", "a on b1\n", std::string(77, '=') + "\n");
  oWorld.On("");
  oWorld.Pass(-48 * HOUR);
  oWorld.Put("a.txt", "a4\n", "And:\n" + oWorld.Try("log a.txt").strOutput);
  oWorld.Put("b.txt", "b2\n", oWorld.Try("log a.txt").strOutput);
}

/// Only the id holds the commit together: the gap between two of its files is too wide.
void MakeCommitWithGapOf400Seconds(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  for (const char* pszPath : {"a.txt", "b.txt", "dir/c.txt"})
    oWorld.Write(pszPath, "slow\n");
  const std::int64_t nStart = oWorld.Now();
  oWorld.Commit("A slow commit");
  oWorld.SetDate("dir/c.txt", "1.2", nStart + 400);
}

void MakeSlowCommitWithoutIds(CCvsWorld& oWorld) {
  MakeCommitOf400Seconds(oWorld);
  oWorld.DropCommitIds();
}

void MakeClockSetBackInsideCommit(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Write("a.txt", "a3\n");
  oWorld.Write("b.txt", "b2\n");
  const std::int64_t nStart = oWorld.Now();
  oWorld.Commit("While the clock is set");
  oWorld.SetDate("b.txt", "1.2", nStart - HOUR / 2);
  oWorld.Put("a.txt", "a4\n", "After that");
}

void MakeClockSetBackInsideFile(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Put("b.txt", "b2\n", "Second b");
  oWorld.Pass(-24 * HOUR);
  oWorld.Put("a.txt", "a3\n", "a a day before");
  oWorld.Put("b.txt", "b3\n", "b a day before");
}

void MakeOtherStates(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.Put("b.txt", "b2\n", "Second b");
  oWorld.Admin("-sDev:1.1", "b.txt");
  oWorld.Admin("-sRel", "a.txt");
}

void MakeDeletedTag(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.BranchTag("gone");
  oWorld.On("gone");
  oWorld.Put("a.txt", "a on gone\n", "a on a branch that lost its name");
  oWorld.On("");
  oWorld.TagInRepository("-d -B gone");
  oWorld.Put("b.txt", "b2\n", "Second b");
}

void MakeExecutables(CCvsWorld& oWorld) {
  MakeStart(oWorld);
  oWorld.AddExecutable("run.sh", "#!/bin/sh\n# $Id$ $Name$\n");
  oWorld.Add("raw.bin", std::string("\0\1$Id$\r\n\xFF", 9), "-kb");
  oWorld.Add("kept.txt", "$Id: as it was $ no line end", "-ko");
  oWorld.Commit("Modes and keywords");
  oWorld.Tag("REL_1");
}

}  // namespace

const TCase CASES[] = {
    {"Plain", MakePlain, 3},
    {"TagMovedOnOneFile", MakeTagMovedOnOneFile},
    {"BranchFromBranch", MakeBranchFromBranch},
    {"BranchFromTagOfMixedRevisions", MakeBranchFromTagOfMixedRevisions},
    {"FileAddedOnBranchThenOnTrunk", MakeFileAddedOnBranchThenOnTrunk},
    {"FileAddedOnTrunkThenOnBranch", MakeFileAddedOnTrunkThenOnBranch},
    {"RemovedAndRestored", MakeRemovedAndRestored},
    {"ImportsWithConflict", MakeImportsWithConflict},
    {"ImportOnOtherVendorBranch", MakeImportOnOtherVendorBranch},
    {"DefaultBranchReset", MakeDefaultBranchReset},
    {"DefaultBranchWithoutRevisions", MakeDefaultBranchWithoutRevisions},
    {"GapsInRevisions", MakeGapsInRevisions},
    {"NewMajorNumber", MakeNewMajorNumber},
    {"ForcedCommit", MakeForcedCommit, 4},
    {"TagOnDeadRevision", MakeTagOnDeadRevision},
    {"TagOnNothingAlive", MakeOnlyDeadTag},
    {"NameThatIsBranchAndTag", MakeNameThatIsBranchAndTag},
    {"TwoNamesForOneBranch", MakeTwoNamesForOneBranch},
    {"BranchesThatAreEachOthersParents", MakeBranchesThatAreEachOthersParents},
    {"FileWithOtherLetterCase", MakeFileWithOtherLetterCase},
    {"FileThatBecomesFolder", MakeFileThatBecomesFolder},
    {"EmptyFolderInThePlaceOfAFile", MakeEmptyFolderInPlaceOfFile},
    {"FolderThatBecomesFile", MakeFolderThatBecomesFile},
    {"FileAndFolderAtOneTime", MakeFileAndFolderAtOneTime},
    {"NamesWithBlanks", MakeNamesWithBlanks},
    {"ImportsOfLogKeyword", MakeImportsOfLogKeyword},
    {"ForcedCommitWhileTheClockIsSetBack", MakeForcedCommitWhileClockIsSetBack, 3},
    {"PastedLog", MakePastedLog, 5},
    {"LogPastedIntoAPastedLog", MakeLogPastedIntoAPastedLog, 5},
    {"CommitOf400Seconds", MakeCommitOf400Seconds, 3},
    {"CommitWithGapOf400Seconds", MakeCommitWithGapOf400Seconds, 3},
    {"SlowCommitWithoutIds", MakeSlowCommitWithoutIds, 3},
    {"ClockSetBackInsideCommit", MakeClockSetBackInsideCommit, 4},
    {"ClockSetBackInsideFile", MakeClockSetBackInsideFile},
    {"OtherStates", MakeOtherStates},
    {"BranchThatLostItsName", MakeDeletedTag},
    {"ModesAndKeywords", MakeExecutables},
};
const std::size_t CASE_COUNT = std::size(CASES);

void PrintTo(const TCase& tCase, std::ostream* poStream) {
  *poStream << tCase.pszName;
}

}  // namespace TALVEK::TEST
