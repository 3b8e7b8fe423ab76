#include "mcv/file_enum.h"

#include <gtest/gtest.h>

#include <wx/mstream.h>

#include "tests/mcv/log_text.h"
#include "tests/support/layout.h"

namespace TALVEK::TEST {
namespace {

using MCV::CFileEnum;
using MCV::TFileInfo;
using MCV::TRevInfo;
using MCV::TTagInfo;

/// "mod/a.c: REL=1.3 BR=1.2.4(branch) | 1.1 1.2".
std::string Describe(const TFileInfo& tFile) {
  std::string strText = Narrow(tFile.oPath.GeneratePath()) + ":";
  for (const TTagInfo& tTag : tFile.atTags) {
    strText += " " + Narrow(tTag.strName) + "=" + Narrow(tTag.oRevision.GetText());
    if (tTag.bIsBranch) strText += "(branch)";
  }
  strText += " |";
  for (const TRevInfo& tRevision : tFile.atRevisions)
    strText += " " + Narrow(tRevision.oRevision.GetText());
  return strText;
}

constexpr bool KEEP_TAGS = true;
constexpr bool BRANCHES_ONLY = false;

/// All files of a log, a line each.
std::string Files(const std::string& strLog, bool bKeepTags,
                  const std::vector<const wchar_t*>& apszInclude = {},
                  const std::vector<const wchar_t*>& apszExclude = {}) {
  wxMemoryInputStream oInput(strLog.data(), strLog.size());
  CFileEnum oFiles(&oInput, L"mod", L"/repo");
  std::string strText;
  TFileInfo tFile;
  while (oFiles.GetNextFile(tFile, Patterns(apszInclude), Patterns(apszExclude), bKeepTags))
    strText += Describe(tFile) + "\n";
  EXPECT_EQ(Describe(tFile), ": |");
  return strText;
}

std::string FileWithNames(const std::vector<std::string>& astrNames, bool bKeepTags) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v");
  for (const std::string& strName : astrNames)
    oLog.Name(strName);
  return Files(oLog.Text(), bKeepTags);
}

TEST(FileEnumTest, BranchLosesItsMagicZeroAndIsKeptWithAndWithoutTags) {
  for (const bool bKeepTags : {KEEP_TAGS, BRANCHES_ONLY})
    EXPECT_EQ(FileWithNames({"BR: 1.2.0.4"}, bKeepTags), "mod/a.c: BR=1.2.4(branch) |\n");
}

TEST(FileEnumTest, PlainTagIsKeptOnlyWhenTagsAre) {
  EXPECT_EQ(FileWithNames({"REL: 1.3"}, KEEP_TAGS), "mod/a.c: REL=1.3 |\n");
  EXPECT_EQ(FileWithNames({"REL: 1.3"}, BRANCHES_ONLY), "mod/a.c: |\n");
}

TEST(FileEnumTest, BranchHasTheMagicZeroOrIsTheVendors) {
  const struct {
    const char* pszNumber;
    bool bIsBranch;
  } atCases[] = {{"", false},        {"0", false},       {"0.5", true},    {"1.2", false},
                 {"1.0", false},     {"1.2.0.4", true},  {"1.2.4", false}, {"1.1.1", true},
                 {"1.1.2", false},   {"2.1.1", false},   {"1.2.1", false}, {"1.1.1.1", false},
                 {"1.0.1.2", false}, {"1.1.1.0.2", true}};
  for (const auto& tCase : atCases) {
    const std::string strFile = FileWithNames({std::string("X: ") + tCase.pszNumber}, BRANCHES_ONLY);
    EXPECT_EQ(strFile.find("(branch)") != std::string::npos, tCase.bIsBranch) << tCase.pszNumber;
    EXPECT_EQ(strFile.find("X=") != std::string::npos, tCase.bIsBranch) << tCase.pszNumber;
  }
}

TEST(FileEnumTest, VendorBranchIsABranchWithTheNumberOne) {
  for (const bool bKeepTags : {KEEP_TAGS, BRANCHES_ONLY})
    EXPECT_EQ(FileWithNames({"VENDOR: 1.1.1"}, bKeepTags), "mod/a.c: VENDOR=1(branch) |\n");
}

TEST(FileEnumTest, TagOnAVendorRevisionCountsAsOneOnTheTrunk) {
  EXPECT_EQ(FileWithNames({"V1_0: 1.1.1.1"}, KEEP_TAGS), "mod/a.c: V1_0=1.1 |\n");
  EXPECT_EQ(FileWithNames({"V1_0: 1.1.1.1"}, BRANCHES_ONLY), "mod/a.c: |\n");
  EXPECT_EQ(FileWithNames({"V1_3: 1.1.1.4"}, KEEP_TAGS), "mod/a.c: V1_3=1.4 |\n");
}

TEST(FileEnumTest, BranchOnAVendorRevisionLosesItsZeroAndThenTheVendorsNumber) {
  EXPECT_EQ(FileWithNames({"BR: 1.1.1.1.0.2"}, BRANCHES_ONLY), "mod/a.c: BR=1.1.2(branch) |\n");
}

TEST(FileEnumTest, NameTable) {
  const struct {
    const char *pszName, *pszExpected;
  } atCases[] = {
      {"T: 1.1.2", "T=1.1.2"},              // a branch without the magic 0 is no branch
      {"T: 1.1.0.1", "T=1(branch)"},        // the vendor branch in magic form
      {"T: 1.1.1.0.2", "T=1.2(branch)"},    // 1.1.1.2
      {"T: 2.1.1.1", "T=2.1.1.1"},          // only the first vendor branch is folded
      {"T: 1.1.3.1", "T=1.1.3.1"},          //
      {"T: 0.2", "T=2(branch)"},            // no real number, but the rule applies
      {"T: 0", "T=0"},                      // one component has no second-to-last one
      {"T: 1.0", "T=1.0"},                  //
      {"T:", "T="},                         //
      {"T", "T="},                          //
      {"T: 1.2.0.0", "T=1.2.0(branch)"},    //
      {"T: 1.1.1.0", "T=1.0"},              //
      {"T: 1.2.0.2\t", "T=1.2.2(branch)"},  // a trailing tab is ignored
  };
  for (const auto& tCase : atCases) {
    EXPECT_EQ(FileWithNames({tCase.pszName}, KEEP_TAGS),
              std::string("mod/a.c: ") + tCase.pszExpected + " |\n")
        << tCase.pszName;
  }
}

TEST(FileEnumTest, RevisionsComeSortedByNumber) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.3", 300).At("1.2", 200).At("1.2.2.1", 250).At("1.1", 100);
  EXPECT_EQ(Files(oLog.Text(), BRANCHES_ONLY), "mod/a.c: | 1.1 1.2 1.2.2.1 1.3\n");
}

TEST(FileEnumTest, NumbersSortByComponentsAndNotAsText) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v")
      .At("1.10", 300)
      .At("1.9", 200)
      .At("2.1", 250)
      .At("1.9.10.1", 100)
      .At("1.9.2.1", 1);
  EXPECT_EQ(Files(oLog.Text(), BRANCHES_ONLY), "mod/a.c: | 1.9 1.9.2.1 1.9.10.1 1.10 2.1\n");
}

TEST(FileEnumTest, NamesSortByNumberWithTheVendorBranchFirst) {
  EXPECT_EQ(
      FileWithNames({"REL_3: 1.3", "BR: 1.2.0.2", "REL_2: 1.2", "VENDOR: 1.1.1", "V1: 1.1.1.1"}, KEEP_TAGS),
      "mod/a.c: VENDOR=1(branch) V1=1.1 REL_2=1.2 BR=1.2.2(branch) REL_3=1.3 |\n");
}

// The order of names on one number decides the ids of their streams, so it must never depend on the C
// library.
TEST(FileEnumTest, NamesOnOneNumberComeInReverse) {
  EXPECT_EQ(FileWithNames({"C: 1.2", "A: 1.2", "B: 1.2"}, KEEP_TAGS), "mod/a.c: B=1.2 A=1.2 C=1.2 |\n");
}

TEST(FileEnumTest, CompareTagsNeverFindsEqual) {
  const TTagInfo tShort{VCM::CStringRef(), MCE::TCVSRevision(L"1.2"), false};
  const TTagInfo tLong{VCM::CStringRef(), MCE::TCVSRevision(L"1.2.2"), true};
  EXPECT_EQ(MCV::CompareTags(&tShort, &tLong), -1);
  EXPECT_EQ(MCV::CompareTags(&tLong, &tShort), 1);
  EXPECT_EQ(MCV::CompareTags(&tShort, &tShort), 1);
}

TEST(FileEnumTest, CompareRevsNeverFindsEqual) {
  const TRevInfo tShort{MCE::TCVSRevision(L"1.2"), VCM::CTimestamp(2), 0, {}, {}};
  const TRevInfo tLong{MCE::TCVSRevision(L"1.2.2.1"), VCM::CTimestamp(1), 0, {}, {}};
  EXPECT_EQ(MCV::CompareRevs(&tShort, &tLong), -1);
  EXPECT_EQ(MCV::CompareRevs(&tLong, &tShort), 1);
  EXPECT_EQ(MCV::CompareRevs(&tShort, &tShort), 1);
}

TEST(FileEnumTest, LogOfUnknownItemsGivesOneEmptyFile) {
  EXPECT_EQ(Files("? stray\n==========\nmore\n----------\n", KEEP_TAGS), ": |\n");
}

TEST(FileEnumTest, EmptyLogGivesNoFile) {
  EXPECT_EQ(Files("", KEEP_TAGS), "");
  EXPECT_EQ(Files("\n\n", KEEP_TAGS), "");
}

TEST(FileEnumTest, LogThatEndsInUnknownItemsGivesOneLastEmptyFile) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.1", 100);
  EXPECT_EQ(Files(oLog.Text() + "cvs rlog: stray\n", KEEP_TAGS), "mod/a.c: | 1.1\n: |\n");
}

TEST(FileEnumTest, UnknownAndRevisionItemsBeforeAHeaderAreSkipped) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.1", 100);
  EXPECT_EQ(Files("stray\n----------\nrevision 1.7\n==========\n" + oLog.Text(), KEEP_TAGS),
            "mod/a.c: | 1.1\n");
}

TEST(FileEnumTest, HeaderThatCannotBePlacedGivesAFileWithoutPathNamesAndRevisions) {
  CLogText oLog;
  oLog.File("/elsewhere/x.c,v").Name("BR: 1.1.0.2").At("1.1", 100).File("/repo/mod/b.c,v").At("1.2", 100);
  EXPECT_EQ(Files(oLog.Text(), KEEP_TAGS), ": |\nmod/b.c: | 1.2\n");
}

TEST(FileEnumTest, HeaderWithoutRevisionsGivesItsNames) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("BR: 1.1.0.2").File("/repo/mod/b.c,v").At("1.1", 1);
  EXPECT_EQ(Files(oLog.Text(), KEEP_TAGS), "mod/a.c: BR=1.1.2(branch) |\nmod/b.c: | 1.1\n");
}

TEST(FileEnumTest, FiltersReachTheParser) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("BR_1: 1.1.0.2").Name("BR_2: 1.1.0.4").Name("OLD_1: 1.1.0.6");
  EXPECT_EQ(Files(oLog.Text(), BRANCHES_ONLY, {L"BR*"}, {L"*_2"}), "mod/a.c: BR_1=1.1.2(branch) |\n");
}

TEST(FileEnumTest, RevisionsCarryWhatTheLogSays) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Revision("1.1", "1970/01/01 00:01:40", "ann", "Two\nlines", "dead");
  const std::string strLog = oLog.Text();
  wxMemoryInputStream oInput(strLog.data(), strLog.size());
  CFileEnum oFiles(&oInput, L"mod", L"/repo");
  TFileInfo tFile;
  ASSERT_TRUE(oFiles.GetNextFile(tFile, {}, {}, KEEP_TAGS));
  ASSERT_EQ(tFile.atRevisions.GetCount(), 1);
  const TRevInfo& tRevision = tFile.atRevisions[0];
  EXPECT_EQ(tRevision.oTime.GetUTC(), 100);
  EXPECT_EQ(tRevision.nState, MCV::REVISION_DEAD);
  EXPECT_EQ(Narrow(tRevision.strAuthor), "ann");
  EXPECT_EQ(Narrow(tRevision.strMessage), "Two\nlines");
}

TEST(FileEnumTest, WithoutModuleAndFolderNoFileIsPlaced) {
  const std::string strLog = "RCS file: /repo/mod/a.c,v\n==========\n";
  wxMemoryInputStream oInput(strLog.data(), strLog.size());
  CFileEnum oFiles(&oInput);
  TFileInfo tFile;
  ASSERT_TRUE(oFiles.GetNextFile(tFile, {}, {}, KEEP_TAGS));
  EXPECT_EQ(Describe(tFile), ": |");
}

TEST(FileLayoutTest, MembersStandInTheOrderInWhichTheyAreDescribed) {
  const TFileInfo f;
  EXPECT_TRUE(AreInOrder(&f, {&f.oPath, &f.atTags, &f.atRevisions}));
  const TTagInfo t;
  EXPECT_TRUE(AreInOrder(&t, {&t.strName, &t.oRevision, &t.bIsBranch}));
  const TRevInfo r;
  EXPECT_TRUE(AreInOrder(&r, {&r.oRevision, &r.oTime, &r.nState, &r.strAuthor, &r.strMessage}));
}

}  // namespace
}  // namespace TALVEK::TEST
