#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "exact/log_reader.h"
#include "tests/exact/rcs_file_text.h"
#include "tests/exact/text_source.h"

namespace TALVEK::EXACT {
namespace {

// The whole of what the client prints of a file.
const std::string WHOLE_FILE = R"(
RCS file: /cvs/mod/Attic/a.c,v
head: 1.2
branch: 1.1.1
locks: strict
	joe: 1.2
	ann: 1.1
access list:
	joe
symbolic names:
	#x: 1.1
	a.b: 1.1.0.2
	3x: 1.1.1
	gone: 1.7
	SYMBOL: 1
keyword substitution: kv
total revisions: 3;	selected revisions: 3
description:
what the file
is for
----------------------------
revision 1.2	locked by: joe;
date: 2005-01-02 10:11:12 +0230;  author: joe;  state: dead;  lines: +1 -0;  commitid: 1004EFF040666CF463F;  mergepoint: 1.1.1.1;  filename: a.c;
second

----------------------------
revision 1.1	locked by: ann;
date: 2003/01/02 10:11:12;  author: ann lee;  state: Rel;  kopt: kv;
branches:  1.1.1;
first
of two lines
----------------------------
revision 1.1.1.1
date: 2003/01/02 10:11:12;  author: ann;  state: Exp;  lines: +0 -0;
*** empty log message ***
=============================================================================
)";

TEST(LogReaderTest, ReadsAllOfAFile) {
  const std::vector<TRcsFile> atFiles = ReadAll(WHOLE_FILE);
  ASSERT_EQ(Text(atFiles),
            "mod/a.c\n"
            "  1.2 joe dead: second|\n"
            "  1.1 ann lee: first|of two lines\n"
            "  1.1.1.1 ann: *** empty log message ***\n");
  const TRcsFile& tFile = atFiles.front();
  EXPECT_EQ(NumberText(tFile.nHead), "1.2");
  EXPECT_EQ(NumberText(tFile.nDefaultBranch), "1.1.1");
  EXPECT_EQ(tFile.atRevisions[0].nTime, 1104651672);  // 07:41:12 UTC
  EXPECT_EQ(tFile.atRevisions[1].nTime, 1041502272);
  EXPECT_EQ(tFile.atRevisions[0].strCommitId, "1004EFF040666CF463F");
  EXPECT_EQ(tFile.atRevisions[1].strCommitId, "");
  EXPECT_TRUE(tFile.atRevisions[0].bDiffers);
  EXPECT_FALSE(tFile.atRevisions[1].bDiffers);
  EXPECT_FALSE(tFile.atRevisions[2].bDiffers);
}

TEST(LogReaderTest, NamesThatTheClientRefusesAreGivenAsTheyAre) {
  std::string strNames;
  const std::vector<TRcsFile> atFiles = ReadAll(WHOLE_FILE);
  for (const TRcsName& tName : atFiles.front().atNames)
    strNames += tName.strName + "=" + NumberText(tName.nNumber) + " ";
  EXPECT_EQ(strNames, "#x=1.1 a.b=1.1.0.2 3x=1.1.1 gone=1.7 SYMBOL=1 ");
}

TEST(LogReaderTest, TheResultDoesNotDependOnHowTheBytesArrive) {
  const std::string strLog = WHOLE_FILE + Header("mod/b.c", "1.1", 1) + Revision("1.1", "text\n") + End();
  const std::string strWhole = Text(ReadAll(strLog));
  for (const std::size_t nPieceBytes : {1, 2, 7, 64}) {
    CTextSource oSource(strLog, nPieceBytes);
    CLogReader oReader(oSource, "/cvs");
    std::string strText;
    for (TRcsFile tFile; oReader.Next(tFile);)
      strText += Text(tFile);
    EXPECT_EQ(strText, strWhole) << nPieceBytes;
  }
}

struct TCase {
  const char* pszName;
  std::string strLog;
  std::string strText;
};

class LogTrapTest : public testing::TestWithParam<TCase> {};

TEST_P(LogTrapTest, IsRead) {
  EXPECT_EQ(Text(ReadAll(GetParam().strLog)), GetParam().strText);
}

std::string TwoRevisions(const std::string& strFirst, const std::string& strSecond) {
  return Header("a", "1.2", 2) + Revision("1.2", strFirst) + Revision("1.1", strSecond) + End();
}

const std::string OTHER_FILE = Header("b", "1.1", 1) + Revision("1.1", "other\n") + End();
const std::string PASTED_FILE =
    Header("x/y", "1.2", 2) + Revision("1.2", "p2\n") + Revision("1.1", "p1\n") + End();
const std::string PASTED_WORKING_FILE = [] {
  std::string strLog = PASTED_FILE;
  return strLog.insert(strLog.find("head:"), "Working file: y\n");
}();
const std::string PASTED_WITH_RULE = Header("x/y", "1.1", 2) +
                                     Revision("1.1", "branches:  1.1.2;\np\n" + End()) +
                                     Revision("1.1.2.1", "q\n") + End();
// The same as one line of a message that is shown by Text.
std::string Shown(std::string strText) {
  for (char& ch : strText)
    if (ch == '\n') ch = '|';
  return strText;
}

INSTANTIATE_TEST_SUITE_P(
    Messages, LogTrapTest,
    testing::Values(
        TCase{"SeparatorsAlone",
              TwoRevisions("x\n----------------------------\ny\n" + End() + "z\n", "first\n"),
              "a\n  1.2 joe: x|----------------------------|y|" + Shown(End()) + "z\n  1.1 joe: first\n"},
        TCase{"TrailingEmptyLines", TwoRevisions("x\n\n\n", "\n"), "a\n  1.2 joe: x||\n  1.1 joe: \n"},
        TCase{"NoLineAtAll", TwoRevisions("", ""), "a\n  1.2 joe: \n  1.1 joe: \n"},
        TCase{"CarriageReturnsAndOtherBytes", TwoRevisions("x\r\n\xff\t\r\n", "first\n"),
              "a\n  1.2 joe: x\r|\xff\t\r\n  1.1 joe: first\n"},
        TCase{"ZeroBytes", TwoRevisions(std::string("x\0y\n", 4), "first\n"),
              std::string("a\n  1.2 joe: x\0y\n  1.1 joe: first\n", 34)},
        TCase{"BeginsWithBranchesOfNoBranch", TwoRevisions("branches:  1.2.2;\nx\n", "branches:\n"),
              "a\n  1.2 joe: branches:  1.2.2;|x\n  1.1 joe: branches:\n"},
        TCase{"BeginsWithBranchesBehindTheRealLine",
              Header("a", "1.1", 2) + Revision("1.1", "branches:  1.1.2;\nbranches:  1.1.2;\n") +
                  Revision("1.1.2.1", "x\n") + End(),
              "a\n  1.1 joe: branches:  1.1.2;\n  1.1.2.1 joe: x\n"},
        TCase{"NoLineEndAtTheEndOfTheLog",
              Header("a", "1.1", 1) + Revision("1.1", "x\n") + std::string(FILE_SEPARATOR),
              "a\n  1.1 joe: x\n"}),
    [](const auto& tInfo) { return tInfo.param.pszName; });

const std::string PASTED_REVISIONS = Revision("1.2", "p2\n") + Revision("1.1", "p1\n");

INSTANTIATE_TEST_SUITE_P(
    Pasted, LogTrapTest,
    testing::Values(
        TCase{"RevisionsThatTheFileCannotHave", TwoRevisions("x\n" + Revision("1.7", "p\n"), "first\n"),
              "a (its texts hold a pasted log (0 headers, 1 revision))\n  1.2 joe: x|" +
                  Shown(Revision("1.7", "p")) + "\n  1.1 joe: first\n"},
        TCase{"OlderRevisionsOfTheSameFile",
              Header("a", "1.3", 3) +
                  Revision("1.3", "like\n" + Revision("1.2", "second\n") + Revision("1.1", "first\n")) +
                  Revision("1.2", "second\n") + Revision("1.1", "first\n") + End(),
              "a (its texts hold a pasted log (0 headers, 2 revisions); the counts allow more than one "
              "reading)\n"
              "  1.3 joe: like|" +
                  Shown(Revision("1.2", "second\n") + Revision("1.1", "first")) +
                  "\n  1.2 joe: second\n  1.1 joe: first\n"},
        TCase{"RevisionsInTheDescription",
              Header("a", "1.1", 1, "text\n" + Revision("1.9", "pasted\n") + "text\n") +
                  Revision("1.1", "real\n") + End(),
              "a (its texts hold a pasted log (0 headers, 1 revision))\n  1.1 joe: real\n"},
        TCase{"ClientLogInsideAPastedOne",
              Header("a", "1.3", 3) +
                  Revision("1.3", Header("a", "1.2", 2) + Revision("1.2", PASTED_FILE) +
                                      Revision("1.1", "first\n") + End() + "z\n") +
                  Revision("1.2", PASTED_FILE) + Revision("1.1", "first\n") + End(),
              "a (its texts hold a pasted log (3 headers, 6 revisions))\n  1.3 joe: " +
                  Shown(Header("a", "1.2", 2) + Revision("1.2", PASTED_FILE) + Revision("1.1", "first\n") +
                        End()) +
                  "z\n  1.2 joe: " + Shown(PASTED_FILE.substr(0, PASTED_FILE.size() - 1)) +
                  "\n  1.1 joe: first\n"},
        TCase{"HeaderCountsAndAllOfAnotherRepository",
              TwoRevisions("x\n" + Header("../old/y", "1.1", 1) + Revision("1.1", "p\n") + End(), "first\n") +
                  OTHER_FILE,
              "a (its texts hold a pasted log (1 header, 1 revision))\n  1.2 joe: x|" +
                  Shown(Header("../old/y", "1.1", 1) + Revision("1.1", "p\n")) + std::string(FILE_SEPARATOR) +
                  "\n  1.1 joe: first\nb\n  1.1 joe: other\n"},
        TCase{"HeaderInTheLastMessage", TwoRevisions("second\n", "x\n" + PASTED_FILE) + OTHER_FILE,
              "a (its texts hold a pasted log (1 header, 2 revisions))\n  1.2 joe: second\n  1.1 joe: x|" +
                  Shown(PASTED_FILE.substr(0, PASTED_FILE.size() - 1)) + "\nb\n  1.1 joe: other\n"},
        TCase{"FilesOfClientLogBehindOneAnother",
              TwoRevisions("second\n", PASTED_WORKING_FILE + PASTED_WORKING_FILE) + OTHER_FILE,
              "a (its texts hold a pasted log (2 headers, 4 revisions))\n  1.2 joe: second\n  1.1 joe: " +
                  Shown(PASTED_WORKING_FILE + PASTED_WORKING_FILE.substr(0, PASTED_WORKING_FILE.size() - 1)) +
                  "\nb\n  1.1 joe: other\n"},
        TCase{"TwoFilesInAMessageThatIsNotTheLast",
              TwoRevisions(PASTED_FILE + OTHER_FILE + "y\n", "first\n") + OTHER_FILE,
              "a (its texts hold a pasted log (2 headers, 3 revisions))\n  1.2 joe: " +
                  Shown(PASTED_FILE + OTHER_FILE + "y") + "\n  1.1 joe: first\nb\n  1.1 joe: other\n"},
        TCase{"TwoFilesThatComeAgainInTheLastMessage",
              TwoRevisions("second\n",
                           "x\n" + Header("a", "1.1", 1) + Revision("1.1", "old\n") + End() + OTHER_FILE) +
                  OTHER_FILE,
              "a (its texts hold a pasted log (2 headers, 2 revisions))\n  1.2 joe: second\n  1.1 joe: x|" +
                  Shown(Header("a", "1.1", 1) + Revision("1.1", "old\n") + End() +
                        OTHER_FILE.substr(0, OTHER_FILE.size() - 1)) +
                  "\nb\n  1.1 joe: other\n"},
        TCase{"TwoFilesInTheLastMessageOfTheLog", TwoRevisions("second\n", PASTED_FILE + OTHER_FILE),
              "a (its texts hold a pasted log (2 headers, 3 revisions))\n  1.2 joe: second\n  1.1 joe: " +
                  Shown(PASTED_FILE + OTHER_FILE.substr(0, OTHER_FILE.size() - 1)) + "\n"},
        TCase{"FilesOfAnotherFolderThatComesBefore",
              Header("m/a", "1.1", 1) +
                  Revision("1.1", Header("l/c", "", 0) + End() + Header("l/d", "", 0) + End()) + End() +
                  Header("m/b", "", 0) + End(),
              "m/a (its texts hold a pasted log (2 headers, 0 revisions))\n  1.1 joe: " +
                  Shown(Header("l/c", "", 0) + End() + Header("l/d", "", 0)) + std::string(FILE_SEPARATOR) +
                  "\nm/b\n"},
        // Folders come in the order in which they were asked for: nothing speaks against the first end.
        TCase{"OneFileInAMessageOfALogOutOfOrder",
              Header("m/a", "1.1", 1) + Revision("1.1", PASTED_FILE) + End() + Header("m/z", "", 0) + End() +
                  Header("m/b", "", 0) + End(),
              "m/a (its texts hold a pasted log (1 header, 2 revisions))\n  1.1 joe: " +
                  Shown(PASTED_FILE.substr(0, PASTED_FILE.size() - 1)) + "\nm/z\nm/b\n"},
        // The file's own revision is the later one: a clock was set back. Only the count of the pasted log
        // tells.
        TCase{"RuleInAMessageOfThePastedLog",
              Header("a", "1.2", 2) + Revision("1.2", "x\n" + PASTED_WITH_RULE, "2003/01/02 10:11:12") +
                  Revision("1.1", "first\n", "2003/01/03 10:11:12") + End(),
              "a (its texts hold a pasted log (1 header, 2 revisions))\n  1.2 joe: x|" +
                  Shown(PASTED_WITH_RULE.substr(0, PASTED_WITH_RULE.size() - 1)) + "\n  1.1 joe: first\n"},
        TCase{"HeaderWithoutItsLastRevisions",
              TwoRevisions("x\n" + Header("x/y", "1.5", 5) + Revision("1.5", "p\n"), "first\n"),
              "a (its texts hold a pasted log (1 header, 1 revision))\n  1.2 joe: x|" +
                  Shown(Header("x/y", "1.5", 5) + Revision("1.5", "p")) + "\n  1.1 joe: first\n"}),
    [](const auto& tInfo) { return tInfo.param.pszName; });

INSTANTIATE_TEST_SUITE_P(
    Files, LogTrapTest,
    testing::Values(
        TCase{"DescriptionWithoutLineEnd",
              Header("a", "1.1", 1, "two\nlines") + Revision("1.1", "x\n") + End(),
              "a (its description ends without a line end)\n  1.1 joe: x\n"},
        TCase{"DescriptionWithoutLineEndAndNoRevision", Header("a", "", 0, "text") + End() + OTHER_FILE,
              "a (its description ends without a line end)\nb\n  1.1 joe: other\n"},
        TCase{"NoHeadAndNoRevision", Header("a", "", 0) + End(), "a\n"},
        TCase{"ErrorLinesBeforeTheFirstFile", "cvs rlog: warning: x\nRCS file: none\n" + OTHER_FILE,
              "b\n  1.1 joe: other\n"},
        TCase{"MessagesOfTheClientBetweenFiles",
              Header("a", "", 0) + End() + "cvs rlog: Logging mod\n" + OTHER_FILE,
              "a\nb\n  1.1 joe: other\n"},
        TCase{"InAtticAndNot", Header("Attic/b", "1.1", 1) + Revision("1.1", "x\n") + End() + OTHER_FILE,
              "b\n  1.1 joe: x\nb\n  1.1 joe: other\n"},
        TCase{"TheSameFileTwice", OTHER_FILE + OTHER_FILE,
              "b\n  1.1 joe: other\nb (the log holds this file twice)\n  1.1 joe: other\n"},
        TCase{"BranchesInTheClientsOrder",
              Header("a", "2.1", 9) + Revision("2.1", "x\n") + Revision("1.4", "branches:  1.4.2;\nx\n") +
                  Revision("1.1", "branches:  1.1.1;  1.1.2;\nx\n") + Revision("1.1.2.3", "x\n") +
                  Revision("1.1.2.1", "branches:  1.1.2.1.2;\nx\n" + PASTED_REVISIONS) +
                  Revision("1.1.2.1.2.1", "x\n") + Revision("1.1.1.1", "x\n" + Revision("1.1.2.2", "p\n")) +
                  Revision("1.4.2.2", "x\n") + Revision("1.4.2.1", "x\n") + End(),
              "a (its texts hold a pasted log (0 headers, 3 revisions))\n  2.1 joe: x\n  1.4 joe: x\n  1.1 "
              "joe: x\n"
              "  1.1.2.3 joe: x\n  1.1.2.1 joe: x|" +
                  Shown(PASTED_REVISIONS.substr(0, PASTED_REVISIONS.size() - 1)) +
                  "\n  1.1.2.1.2.1 joe: x\n  1.1.1.1 joe: x|" + Shown(Revision("1.1.2.2", "p")) +
                  "\n  1.4.2.2 joe: x\n  1.4.2.1 joe: x\n"}),
    [](const auto& tInfo) { return tInfo.param.pszName; });

INSTANTIATE_TEST_SUITE_P(
    Losses, LogTrapTest,
    testing::Values(
        TCase{"LessRevisionsThanCounted",
              Header("a", "1.3", 3) + Revision("1.3", "x\n") + Revision("1.1", "y\n") + End() + OTHER_FILE,
              "a INCOMPLETE (the log counts 3 revisions, 2 could be read)\n  1.3 joe: x\n  1.1 joe: y\n"
              "b\n  1.1 joe: other\n"},
        TCase{"RuleInsteadOfAHeaderIsText",
              Header("a", "1.1", 1) + Revision("1.1", "x\n" + End() + "\nRCS file: /cvs/b\n") + End(),
              "a\n  1.1 joe: x|" + Shown(End()) + "|RCS file: /cvs/b\n"},
        TCase{"ANumberTwice", TwoRevisions("x\n" + Revision("1.2", "y\n"), "z\n"),
              "a (its texts hold a pasted log (0 headers, 1 revision))\n"
              "  1.2 joe: x|" +
                  Shown(Revision("1.2", "y")) + "\n  1.1 joe: z\n"},
        TCase{"CutInAMessage",
              OTHER_FILE + Header("c", "1.2", 2) + Revision("1.2", "x\n") + Revision("1.1", "half a li"),
              "b\n  1.1 joe: other\nc INCOMPLETE (the log is cut off here)\n  1.2 joe: x\n  1.1 joe: half a "
              "li\n"},
        TCase{"CutBetweenRevisions", Header("c", "1.2", 2) + Revision("1.2", "x\n"),
              "c INCOMPLETE (the log counts 2 revisions, 1 could be read; the log is cut off here)\n  1.2 "
              "joe: x\n"},
        TCase{"CutInAHeader", OTHER_FILE + "\nRCS file: /cvs/c,v\nhead: 1.2\nbra",
              "b\n  1.1 joe: other\nc INCOMPLETE (the log ends in its header; the log is cut off here)\n"},
        TCase{"CutBeforeAHeader", OTHER_FILE + "\nRCS f",
              "b INCOMPLETE (the log is cut off here)\n  1.1 joe: other\n"}),
    [](const auto& tInfo) { return tInfo.param.pszName; });

TEST(LogReaderTest, SelectedRevisionsCountNotTotalOnes) {
  std::string strLog =
      Header("a", "1.5", 5) + Revision("1.3", "branches:  1.3.2;\nx\n") + Revision("1.2", "y\n") + End();
  const std::string strCount = "selected revisions: 5";
  strLog.replace(strLog.find(strCount), strCount.size(), "selected revisions: 2");
  EXPECT_EQ(Text(ReadAll(strLog)), "a\n  1.3 joe: x\n  1.2 joe: y\n");
}

TEST(LogReaderTest, WhatStandsBeforeTheFirstFileIsKept) {
  const std::string strLog = "cvs server: no such module\n\n" + OTHER_FILE;
  CTextSource oSource(strLog);
  CLogReader oReader(oSource, "/cvs");
  TRcsFile tFile;
  EXPECT_TRUE(oReader.Next(tFile));
  EXPECT_EQ(oReader.Preface(), "cvs server: no such module\n");
}

TEST(LogReaderTest, RubbishAloneIsNoFile) {
  CTextSource oSource("cvs rlog: cannot find module\n=====\n");
  CLogReader oReader(oSource, "/cvs");
  TRcsFile tFile;
  EXPECT_FALSE(oReader.Next(tFile));
  EXPECT_FALSE(oReader.Next(tFile));
  EXPECT_EQ(oReader.Preface(), "cvs rlog: cannot find module\n=====\n");
}

// A cut log never crashes the reader, and the file that it ends in is incomplete.
TEST(LogReaderTest, LogCutAtEachByte) {
  const std::string strFirst = TwoRevisions("x\n" + PASTED_FILE, "first\n");
  const std::string strLog = strFirst + WHOLE_FILE;
  for (std::size_t nBytes = 20; nBytes < strLog.size() - 1; ++nBytes) {
    const std::vector<TRcsFile> atFiles = ReadAll(strLog.substr(0, nBytes));
    ASSERT_FALSE(atFiles.empty()) << nBytes;
    // Here the last line of the pasted log is taken for the file's own: nothing tells them apart, but it is
    // named.
    const std::size_t nPastedEnd = strFirst.find(End()) + FILE_SEPARATOR.size();
    if (nBytes == nPastedEnd || nBytes == nPastedEnd + 1) {
      EXPECT_NE(atFiles.back().strRepair.find("more than one reading"), std::string::npos);
      continue;
    }
    const bool bBetweenFiles = nBytes + 1 >= strFirst.size() && nBytes <= strFirst.size() + 1;
    EXPECT_EQ(atFiles.back().bIncomplete, !bBetweenFiles) << nBytes << "\n" << Text(atFiles);
  }
}

// Each revision's message holds the log of all before: 20,100 candidates for 200 revisions.
TEST(LogReaderTest, EachMessageHoldsAllOlderOnes) {
  std::string strLog, strOlder;
  std::vector<std::string> strMessages;
  constexpr int REVISIONS = 200;
  for (int i = 1; i <= REVISIONS; ++i) {
    std::string strPasted;
    for (int j = i - 1; j >= 1; --j)
      strPasted += Revision("1." + std::to_string(j), "x\n");
    strMessages.push_back("m" + std::to_string(i) + "\n" + strPasted);
    strLog = Revision("1." + std::to_string(i), strMessages.back()) + strLog;
  }
  strLog = Header("a", "1." + std::to_string(REVISIONS), REVISIONS) + strLog + End();
  const std::vector<TRcsFile> atFiles = ReadAll(strLog);
  ASSERT_EQ(atFiles.size(), 1U);
  ASSERT_EQ(atFiles.front().atRevisions.size(), std::size_t{REVISIONS});
  EXPECT_FALSE(atFiles.front().bIncomplete);
  for (std::size_t i = 0; i < REVISIONS; ++i)
    EXPECT_EQ(atFiles.front().atRevisions[i].strMessage + '\n', strMessages[REVISIONS - 1 - i]);
}

}  // namespace
}  // namespace TALVEK::EXACT
