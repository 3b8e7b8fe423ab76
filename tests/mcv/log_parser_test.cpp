#include "mcv/log_parser.h"

#include <gtest/gtest.h>

#include <clocale>

#include <wx/filefn.h>

#include "tests/mcv/log_text.h"
#include "tests/support/layout.h"

namespace TALVEK::TEST {
namespace {

using MCV::CLogParser;
using MCV::TLogItem;

struct TOptions {
  const wchar_t* pszModule = L"mod";
  const wchar_t* pszReposDir = L"/repo";
  std::vector<const wchar_t*> apszInclude = {};
  std::vector<const wchar_t*> apszExclude = {};
};

std::string Describe(const TLogItem& tItem) {
  if (tItem.nKind == TLogItem::KIND_UNKNOWN) return "unknown";
  if (tItem.nKind == TLogItem::KIND_REVISION) {
    return "revision " + Narrow(tItem.oRevision.GetText()) + " time=" + std::to_string(tItem.oTime.GetUTC()) +
           " author=" + Narrow(tItem.strAuthor) + " state=" + std::to_string(tItem.nState) + " [" +
           Narrow(tItem.strComment) + "]";
  }
  std::string strText =
      "file " + Narrow(tItem.oPath.GeneratePath()) + " head=" + Narrow(tItem.oRevision.GetText()) +
      " total=" + std::to_string(tItem.nTotalRevisions) + " [" + Narrow(tItem.strComment) + "]";
  for (int i = 0; i < tItem.astrTagNames.GetCount(); ++i) {
    strText += " " + Narrow(tItem.astrTagNames[i]) + "=" + Narrow(tItem.aoTagRevisions[i].GetText());
  }
  return strText;
}

/// All items of a log, a line each.
std::string Items(const std::string& strLog, const TOptions& tOptions = {}) {
  wxMemoryInputStream oInput(strLog.data(), strLog.size());
  CLogParser oParser(&oInput, tOptions.pszModule, tOptions.pszReposDir);
  std::string strText;
  TLogItem tItem;
  while (oParser.GetNextItem(tItem, Patterns(tOptions.apszInclude), Patterns(tOptions.apszExclude), true)) {
    strText += Describe(tItem) + "\n";
  }
  return strText;
}

/// The path that the parser reads from a line "RCS file: ...".
std::string Path(const std::string& strLine, const wchar_t* pszModule, const wchar_t* pszReposDir) {
  return Items(strLine + "\n==========\n", {pszModule, pszReposDir, {}, {}});
}

TEST(LogParserTest, TypicalEntryGivesAHeaderAndItsRevisions) {
  EXPECT_EQ(Items("\n"
                  "RCS file: /repo/mod/dir/file.c,v\n"
                  "head: 1.3\n"
                  "branch:\n"
                  "locks: strict\n"
                  "access list:\n"
                  "symbolic names:\n"
                  "\tREL_1: 1.2\n"
                  "\tBR_1: 1.2.0.2\n"
                  "keyword substitution: kv\n"
                  "total revisions: 3;\tselected revisions: 3\n"
                  "description:\n"
                  "What it is.\n"
                  "More.\n"
                  "----------------------------\n"
                  "revision 1.3\tlocked by: joe;\n"
                  "date: 2003/01/02 10:11:12;  author: joe;  state: Exp;  lines: +1 -0;\n"
                  "branches:  1.3.2;\n"
                  "Fix it\n"
                  "for good\n"
                  "----------------------------\n"
                  "revision 1.2\n"
                  "date: 2003/01/01 00:00:00;  author: ann;  state: dead;  lines: +1 -0;\n"
                  "*** empty log message ***\n"
                  "=============================================================================\n"),
            "file mod/dir/file.c head=1.3 total=3 [\nWhat it is.More.] REL_1=1.2 BR_1=1.2.0.2\n"
            "revision 1.3 time=1041502272 author=joe state=0 [Fix it\nfor good]\n"
            "revision 1.2 time=1041379200 author=ann state=1 [*** empty log message ***]\n");
}

TEST(LogParserTest, EveryItemStartsAfresh) {
  EXPECT_EQ(Items("RCS file: /repo/mod/a,v\nhead: 1.3\ntotal revisions: 3;\tselected revisions: 3\n"
                  "symbolic names:\n\tT: 1.1\ndescription:\nwhat\n----------\n"
                  "revision 1.3\ndate: 2003/01/02 10:11:12;  author: joe;  state: dead;\nwhy\n----------\n"
                  "revision 1.2\nstray\n==========\n"
                  "RCS file: /repo/mod/b,v\nstray\n\tU: 1.1\nsymbolic names:\n\tV: 1.2\n==========\n"
                  "RCS file:\n==========\n"),
            "file mod/a head=1.3 total=3 [\nwhat] T=1.1\n"
            "revision 1.3 time=1041502272 author=joe state=1 [why]\n"
            "revision 1.2 time=0 author= state=0 []\n"
            "file mod/b head= total=0 [] V=1.2\n"
            "file  head= total=0 []\n"
            "unknown\n");
}

// Nine characters decide the kind of an item ("RCS file:", "revision "), eight that of a line in a revision.
TEST(LogParserTest, ItemKindTable) {
  const struct {
    const char *pszLine, *pszExpected;
  } atCases[] = {
      {"RCS file: /repo/mod/a,v", "file mod/a head= total=0 []"},
      {"rcs FILE:/repo/mod/a,v", "file mod/a head= total=0 []"},
      {"RCS file /repo/mod/a,v", "unknown"},
      {"RCS files: /repo/mod/a,v", "unknown"},
      {" RCS file: /repo/mod/a,v", "unknown"},
      {"revision 1.7", "revision 1.7 time=0 author= state=0 []"},
      {"REVISION 1.7", "revision 1.7 time=0 author= state=0 []"},
      {"revision ", "revision  time=0 author= state=0 []"},
      {"revision", "unknown"},
      {"revision\t1.7", "unknown"},
      {"revisions 1.7", "unknown"},
      {"head: 1.7", "unknown"},
  };
  for (const auto& tCase : atCases) {
    EXPECT_EQ(Items(std::string(tCase.pszLine) + "\n==========\n"), std::string(tCase.pszExpected) + "\n")
        << tCase.pszLine;
  }
}

TEST(LogParserTest, HeaderLineTable) {
  const struct {
    const char *pszLines, *pszExpected;
  } atCases[] = {
      {"head: 1.3\n", "head=1.3 total=0 []"},
      {"HEAD: 1.3\n", "head=1.3 total=0 []"},
      {"head:1.3\n", "head=0.3 total=0 []"},  // the character after the colon is skipped
      {"head\n", "head= total=0 []"},
      {"head: 1.3\nhead:\n", "head= total=0 []"},
      {"Total Revisions: 7;\n", "head= total=7 []"},
      {"total revisions:12;\n", "head= total=2 []"},
      {"total revisions: 7;\ntotal revisions:3;\n", "head= total=7 []"},
      {"total revisions: 7;\ntotal revisions: ;\n", "head= total=7 []"},
      {"total revisions: 7;\ntotal revisions:  ;\n", "head= total=0 []"},
      {"total revisions 7;;;;\n", "head= total=0 []"},
      {"symbolic names:\n\tT: 1.1\n", "head= total=0 [] T=1.1"},
      {"Symbolic NAMES: all\n\tT: 1.1\n", "head= total=0 [] T=1.1"},
      {"symbolic names: T: 1.1\n", "head= total=0 []"},
      {"symbolic names\n\tT: 1.1\n", "head= total=0 []"},
      {"description:\nx\n", "head= total=0 [\nx]"},
      {"DESCRIPTION:\nx\n", "head= total=0 [\nx]"},
      {"description: dropped\nx\n", "head= total=0 [\nx]"},
      {"description\nx\n", "head= total=0 []"},
      {"description:\n\n", "head= total=0 [\n]"},
      {"description:\n\nx\n", "head= total=0 [\nx]"},
      {"description:\nx\n\ny\n", "head= total=0 [\nxy]"},
      // Keywords also count within a description and among the names.
      {"description:\nx\nhead: 1.7\ntotal revisions: 7;\ny\n", "head=1.7 total=7 [\nxy]"},
      {"description:\nx\nsymbolic names:\n\tT: 1.1\ndescription:\ny\n", "head= total=0 [\nxy] T=1.1"},
      {"symbolic names:\nhead: 1.7\nsymbolic names: 1.2\n\tT: 1.1\n", "head=1.7 total=0 [] T=1.1"},
      {"symbolic names:\n\thead: 1.7\n", "head= total=0 [] head=1.7"},
  };
  for (const auto& tCase : atCases) {
    EXPECT_EQ(Items(std::string("RCS file: /repo/mod/a,v\n") + tCase.pszLines + "==========\n"),
              std::string("file mod/a ") + tCase.pszExpected + "\n")
        << tCase.pszLines;
  }
  EXPECT_EQ(Items("RCS file: /repo/mod/a,v\ndescription:\nx\nRCS file: /repo/mod/b,v\ny\n==========\n"),
            "file mod/b head= total=0 [\nxy]\n");
}

TEST(LogParserTest, BlankLinesBetweenItemsAreSkipped) {
  EXPECT_EQ(Items("\n\n\n==========\n\n"), "unknown\n");
  EXPECT_EQ(Items("\n\nRCS file: /repo/mod/a,v\n==========\n\n\nRCS file: /repo/mod/b,v\n==========\n"),
            "file mod/a head= total=0 []\nfile mod/b head= total=0 []\n");
}

// Only empty lines are skipped. A line of blanks begins an unknown item, which swallows the header after it.
TEST(LogParserTest, LineOfBlanksBeginsAnItem) {
  for (const char* const pszLine : {" ", "\t", " \t "}) {
    EXPECT_EQ(Items(std::string(pszLine) + "\nRCS file: /repo/mod/a,v\n==========\n"), "unknown\n")
        << "'" << pszLine << "'";
  }
}

TEST(LogParserTest, HeadersAloneGiveFilesWithoutRevisions) {
  EXPECT_EQ(
      Items(
          "RCS file: /repo/mod/a,v\nhead: 1.1\n==========\nRCS file: /repo/mod/b,v\nhead: 1.2\n==========\n"),
      "file mod/a head=1.1 total=0 []\nfile mod/b head=1.2 total=0 []\n");
}

TEST(LogParserTest, PathBehindTheRepositoryFolderBeginsWithTheModule) {
  EXPECT_EQ(Path("RCS file: /repo/mod/a.c,v", L"mod", L"/repo"), "file mod/a.c head= total=0 []\n");
}

TEST(LogParserTest, PathIsFoundByTheModuleWhenThereIsNoRepositoryFolder) {
  EXPECT_EQ(Path("RCS file: /repo/mod/a.c,v", L"mod", L""), "file mod/a.c head= total=0 []\n");
}

TEST(LogParserTest, AtticFolderFallsAway) {
  EXPECT_EQ(Path("RCS file: /repo/mod/Attic/a.c,v", L"mod", L"/repo"), "file mod/a.c head= total=0 []\n");
}

TEST(LogParserTest, PathTable) {
  const struct {
    const char* pszLine;
    const wchar_t *pszModule, *pszReposDir;
    const char* pszExpected;
  } atCases[] = {
      {"RCS file: /repo/mod/a.c,v", L"mod", L"/repo", "mod/a.c"},
      {"RCS file: /repo/mod/a.c,v", L"mod", L"", "mod/a.c"},
      {"RCS file: /repo/mod/a.c,v", L"mod", L"/elsewhere", "mod/a.c"},
      {"RCS file: /repo/mod/Attic/a.c,v", L"mod", L"/repo", "mod/a.c"},
      {"RCS file: /repo/mod/aTTiC/a.c,v", L"mod", L"/repo", "mod/a.c"},
      {"RCS file: /repo/mod/Attic/dir/a.c,v", L"mod", L"/repo", "mod/Attic/dir/a.c"},
      {"RCS file: /repo/Attic,v", L"mod", L"/repo", "Attic"},
      {"rcs FILE: /repo/mod/a.c,v", L"mod", L"/repo", "mod/a.c"},
      {"RCS file: /repo/mod//x///a.c,v", L"mod", L"/repo", "mod/x/a.c"},
      {"RCS file: /repo/mod/a,b.c,v", L"mod", L"/repo", "mod/a"},
      {"RCS file: /repo/mod/with blank.c,v", L"mod", L"/repo", "mod/with blank.c"},
      {"RCS file: /repo,v", L"mod", L"/repo", ""},
      {"RCS file: /repo/mod/../a.c,v", L"mod", L"/repo", ""},
      {"RCS file: /repo/mod/./a.c,v", L"mod", L"/repo", ""},
      {"RCS file: /repo/mod/a.c", L"mod", L"/repo", ""},
      {"RCS file: /other/x.c,v", L"mod", L"/repo", ""},
      {"RCS file:", L"mod", L"/repo", ""},
      {"RCS file: /repo/Attic/a.c,v", L"mod", L"/repo", "a.c"},
      {"RCS file: /repo/mod/Attic/Attic/a.c,v", L"mod", L"/repo", "mod/Attic/a.c"},
      // The folder is looked for anywhere in the line, with regard to case, and counts before the module; of
      // several places the first does.
      {"RCS file: /mirror/repo/x/mod/a.c,v", L"mod", L"/repo", "x/mod/a.c"},
      {"RCS file: /REPO/x/mod/a.c,v", L"mod", L"/repo", "mod/a.c"},
      {"RCS file: /REPO/x/MOD/a.c,v", L"mod", L"/repo", ""},
      {"RCS file: /repo/repo/a.c,v", L"mod", L"/repo", "repo/a.c"},
      {"RCS file: /x/mod/mod/a.c,v", L"mod", L"", "mod/mod/a.c"},
      {"RCS file: /x/mod/file/a.c,v", L"file", L"", " file: /x/mod/file/a.c"},
      {"RCS file: /re,po/mod/a.c,v", L"mod", L"/re,po", "mod/a.c"},
      {"RCS file: /re,po/mod/a.c", L"mod", L"/re,po", ""},
  };
  for (const auto& tCase : atCases) {
    const std::string strItems = Path(tCase.pszLine, tCase.pszModule, tCase.pszReposDir);
    EXPECT_EQ(strItems.substr(0, strItems.find('\n')),
              std::string("file ") + tCase.pszExpected + " head= total=0 []")
        << tCase.pszLine;
  }
}

TEST(LogParserTest, HeaderThatCannotBePlacedStopsAndItsRestIsUnknown) {
  EXPECT_EQ(Items("RCS file: /other/x.c,v\nhead: 1.1\nsymbolic names:\n\tT: 1.1\n==========\n"),
            "file  head= total=0 []\nunknown\n");
}

TEST(LogParserTest, IncludePatternsMustAllMatch) {
  const std::string strLog =
      "RCS file: /repo/mod/a,v\nsymbolic names:\n\tREL_1: 1.1\n\tREL_2: 1.2\n\tOLD_1: 1.3\n==========\n";
  EXPECT_EQ(Items(strLog, {L"mod", L"/repo", {L"REL*", L"*_1"}, {}}),
            "file mod/a head= total=0 [] REL_1=1.1\n");
  EXPECT_EQ(Items(strLog, {L"mod", L"/repo", {L"rel*"}, {}}), "file mod/a head= total=0 []\n");
  EXPECT_EQ(Items(strLog, {L"mod", L"/repo", {L"???_2"}, {}}), "file mod/a head= total=0 [] REL_2=1.2\n");
}

// As wxMatchWild matches: an empty name matches an empty pattern, but not "*".
TEST(LogParserTest, FilterTable) {
  EXPECT_FALSE(wxMatchWild("*", "", true));
  const struct {
    std::vector<const wchar_t*> apszInclude, apszExclude;
    const char* pszExpected;
  } atCases[] = {
      {{}, {}, " =1.1 REL_1=1.2 rel_1=1.3"},
      {{L"*"}, {}, " REL_1=1.2 rel_1=1.3"},
      {{L"?*"}, {}, " REL_1=1.2 rel_1=1.3"},
      {{L"rel*"}, {}, " rel_1=1.3"},
      {{}, {L"rel*"}, " =1.1 REL_1=1.2"},
      {{}, {L"REL_?"}, " =1.1 rel_1=1.3"},
      {{}, {L"REL"}, " =1.1 REL_1=1.2 rel_1=1.3"},
      {{}, {L"*"}, " =1.1"},
      {{L""}, {}, " =1.1"},
      // The line "keyword substitution:" ends the names even if a filter would exclude or include it.
      {{L"REL*"}, {}, " REL_1=1.2"},
      {{}, {L"keyword*"}, " =1.1 REL_1=1.2 rel_1=1.3"},
  };
  for (const auto& tCase : atCases) {
    EXPECT_EQ(Items("RCS file: /repo/mod/a,v\nsymbolic names:\n: 1.1\n\tREL_1: 1.2\n\trel_1: 1.3\n"
                    "keyword substitution: kv\n\tREL_2: 1.4\n\trel_2: 1.5\n==========\n",
                    {L"mod", L"/repo", tCase.apszInclude, tCase.apszExclude}),
              std::string("file mod/a head= total=0 []") + tCase.pszExpected + "\n");
  }
}

TEST(LogParserTest, ExcludingEverythingKeepsNoName) {
  EXPECT_EQ(Items("RCS file: /repo/mod/a,v\nsymbolic names:\n\tREL_1: 1.1\n\tB: 1.1.0.2\n==========\n",
                  {L"mod", L"/repo", {}, {L"*"}}),
            "file mod/a head= total=0 []\n");
}

TEST(LogParserTest, ExcludePatternRejects) {
  const std::string strLog =
      "RCS file: /repo/mod/a,v\nsymbolic names:\n\tREL_1: 1.1\n\tREL_2: 1.2\n==========\n";
  EXPECT_EQ(Items(strLog, {L"mod", L"/repo", {}, {L"*"}}), "file mod/a head= total=0 []\n");
  EXPECT_EQ(Items(strLog, {L"mod", L"/repo", {L"*"}, {L"*_2", L"x"}}),
            "file mod/a head= total=0 [] REL_1=1.1\n");
}

TEST(LogParserTest, NameThatBeginsWithADotMatchesNoPattern) {
  const std::string strLog = "RCS file: /repo/mod/a,v\nsymbolic names:\n\t.x: 1.1\n==========\n";
  EXPECT_EQ(Items(strLog, {L"mod", L"/repo", {L"*"}, {}}), "file mod/a head= total=0 []\n");
  EXPECT_EQ(Items(strLog, {L"mod", L"/repo", {L".x"}, {}}), "file mod/a head= total=0 []\n");
  EXPECT_EQ(Items(strLog, {L"mod", L"/repo", {}, {L"*"}}), "file mod/a head= total=0 [] .x=1.1\n");
}

TEST(LogParserTest, BranchNameKeepsItsMagicZero) {
  EXPECT_EQ(Items("RCS file: /repo/mod/a,v\nsymbolic names:\n\tBR_1: 1.2.0.2\n==========\n"),
            "file mod/a head= total=0 [] BR_1=1.2.0.2\n");
}

TEST(LogParserTest, NamesSectionTable) {
  const struct {
    const char *pszLines, *pszExpected;
  } atCases[] = {
      {"\tBR_1: 1.2.0.2\n", " BR_1=1.2.0.2"},
      {"\tNO_COLON\n", " NO_COLON="},
      {"\tTRAILING : 1.2\n", " TRAILING =1.2"},
      {"\tA: 1.2\nkeyword substitution: kv\n\tB: 1.3\n", " A=1.2"},
      {"\tA: 1.2\nKEYWORD SUBSTITUTION\n\tB: 1.3\n", " A=1.2"},
      {"\tA: 1.2\n \tkeyword substitution : kv\n\tB: 1.3\n", " A=1.2"},
      {"\tA: 1.2\nkeyword substitutions are names: 1.3\n\tB: 1.3\n", " A=1.2"},
      {"\tkeyword substitut: 1.2\n\tkeyword: 1.3\n", " keyword substitut=1.2 keyword=1.3"},
      {"\tthe keyword substitution: 1.2\n", " the keyword substitution=1.2"},
      {"\tA: 1.2 \n", " A=1.2"},
      {" \t A: \t 1.2\n", " A=1.2"},
      {": 1.2\n", " =1.2"},
      {"\tA:B: 1.2\n", " A=0.2"},
      {"A:1.2\n", " A=1.2"},
  };
  for (const auto& tCase : atCases) {
    EXPECT_EQ(
        Items(std::string("RCS file: /repo/mod/a,v\nsymbolic names:\n") + tCase.pszLines + "==========\n"),
        std::string("file mod/a head= total=0 []") + tCase.pszExpected + "\n")
        << tCase.pszLines;
  }
}

TEST(LogParserTest, TotalIsReadOnlyBeforeASemicolon) {
  const struct {
    const char* pszLine;
    int nExpected;
  } atCases[] = {{"total revisions: 3;\tselected revisions: 1", 3},
                 {"total revisions: 12345", 0},
                 {"total revisions:;", 0},
                 {"total revisions: ;", 0},
                 {"TOTAL REVISIONS: 7;", 7}};
  for (const auto& tCase : atCases) {
    EXPECT_EQ(Items(std::string("RCS file: /repo/mod/a,v\n") + tCase.pszLine + "\n==========\n"),
              "file mod/a head= total=" + std::to_string(tCase.nExpected) + " []\n")
        << tCase.pszLine;
  }
}

TEST(LogParserTest, DateLineGivesTheUtcTimeTheAuthorAndTheState) {
  EXPECT_EQ(Items("revision 1.1\ndate: 2005-01-02 10:11:12 +0200;  author: joe;  state: dead;\n==========\n"),
            "revision 1.1 time=1104653472 author=joe state=1 []\n");  // 08:11:12 UTC
}

TEST(LogParserTest, DateLineTable) {
  const struct {
    const char *pszLine, *pszExpected;
  } atCases[] = {
      {"date: 2005-01-02 10:11:12 +0200;  author: joe;  state: dead;", "time=1104653472 author=joe state=1"},
      {"date: 2005/01/02 10:11:12;  author: joe;  state: DEAD;", "time=1104660672 author=joe state=1"},
      {"date: 2005/01/02 10:11:12;  author: joe;  state: exp;", "time=1104660672 author=joe state=0"},
      {"date: 2005/01/02 10:11:12;  author: joe;  state: Rel;", "time=1104660672 author=joe state=2"},
      {"date: 2005/01/02 10:11:12;  author: joe", "time=1104660672 author= state=0"},
      {"date: nonsense;  author: joe;", "time=0 author=joe state=0"},
      // A field's name is found anywhere in the line, even in another field's value or after other letters.
      {"date: author: joe;  state: state: dead;", "time=0 author=joe state=2"},
      {"date: 2005/01/02 10:11:12;  coauthor: ann;  author: joe;  estate:dead;",
       "time=1104660672 author=ann state=1"},
      {"date: 2005/01/02 10:11:12;  author : joe;  state: dead;", "time=1104660672 author= state=1"},
      // Case doesn't matter for the start of the line, but it does for the names of fields.
      {"DATE: 2005/01/02 10:11:12;  author: joe;  state: Exp;", "time=0 author=joe state=0"},
      {"date: 2005/01/02 10:11:12;  Author: joe;  STATE: dead;", "time=1104660672 author= state=0"},
      {"date: 2005/01/02 10:11:12;  author: \t joe \t;  state:dead;",
       "time=1104660672 author=joe \t state=1"},
      {"date: 2005/01/02 10:11:12;  author: joe;  state: dead ;", "time=1104660672 author=joe state=2"},
      {"date: 2005/01/02 10:11:12;  author: joe;  author: ann;  state: dead;  state: Exp;",
       "time=1104660672 author=joe state=1"},
      {"date: 2005/01/02 10:11:12;  state: dead;  author: joe;", "time=1104660672 author=joe state=1"},
      {"date: 2005/01/02 10:11:12;  author: ;  state: ;", "time=1104660672 author= state=2"},
      // A second line replaces the fields that it has, even by empty ones.
      {"date: 2005/01/02 10:11:12;  author: joe;  state: dead;\ndate: x;  author: ;",
       "time=0 author= state=1"},
      {"date: 2005/01/02 10:11:12;  author: joe;  state: dead;\ndate:", "time=1104660672 author=joe state=1"},
      {"date:", "time=0 author= state=0"},
  };
  for (const auto& tCase : atCases) {
    EXPECT_EQ(Items(std::string("revision 1.1\n") + tCase.pszLine + "\nmessage\n==========\n"),
              std::string("revision 1.1 ") + tCase.pszExpected + " [message]\n")
        << tCase.pszLine;
  }
}

TEST(LogParserTest, RevisionWithoutDateLineHasNoMessage) {
  EXPECT_EQ(Items("revision 1.1\nlines that\nmean nothing\n==========\n"),
            "revision 1.1 time=0 author= state=0 []\n");
}

TEST(LogParserTest, MessageLineThatBeginsWithAKeywordIsTakenForIt) {
  EXPECT_EQ(Items("revision 1.5\ndate: 2005/01/02 10:11:12;  author: joe;  state: Exp;\nfirst\n"
                  "revision 1.9 was bad\nbranches: none\nlast\n==========\n"),
            "revision 1.9 time=1104660672 author=joe state=0 [first\nlast]\n");
}

TEST(LogParserTest, MessageTable) {
  const struct {
    const char *pszLines, *pszExpected;
  } atCases[] = {
      {"\nfoo\n", "1.5 [foo]"},
      {"\n\nfoo\n\n", "1.5 [foo\n]"},
      {"foo \n\tbar\n", "1.5 [foo \n\tbar]"},
      {"---------\n=========\n-=-=-=-=-=\nfoo\n", "1.5 [---------\n=========\n-=-=-=-=-=\nfoo]"},
      {" ----------\n", "1.5 [ ----------]"},
      {"branches are fun\nbranches: are not\nBRANCHES:\nfoo\n", "1.5 [branches are fun\nfoo]"},
      {"revisionx1.7\nfoo\n", "1.7 [foo]"},
      {"Revisions are bad\nfoo\n", "0 [foo]"},
      {"revision\nfoo\n", " [foo]"},
      {"revisio 1.7\n", "1.5 [revisio 1.7]"},
      {"the revision 1.7\n", "1.5 [the revision 1.7]"},
      {"dates: none\nup to date: yes;\n", "1.5 [dates: none\nup to date: yes;]"},
      {"head: 1.9\ndescription:\nRCS file: /repo/mod/b,v\n",
       "1.5 [head: 1.9\ndescription:\nRCS file: /repo/mod/b,v]"},
  };
  for (const auto& tCase : atCases) {
    const std::string strExpected = tCase.pszExpected;
    const std::size_t nText = strExpected.find('[');
    EXPECT_EQ(Items(std::string("revision 1.5\ndate: 2005/01/02 10:11:12;  author: joe;  state: Exp;\n") +
                    tCase.pszLines + "==========\n"),
              "revision " + strExpected.substr(0, nText) + "time=1104660672 author=joe state=0 " +
                  strExpected.substr(nText) + "\n")
        << tCase.pszLines;
  }
}

TEST(LogParserTest, MessageLineOfTenDashesEndsTheRevision) {
  EXPECT_EQ(Items("revision 1.5\ndate: 2005/01/02 10:11:12;  author: joe;  state: Exp;\nfirst\n"
                  "----------- cut here\nrest\n==========\n"),
            "revision 1.5 time=1104660672 author=joe state=0 [first]\nunknown\n");
}

TEST(LogParserTest, BlankMessageLinesAreKept) {
  EXPECT_EQ(
      Items("revision 1.5\ndate: 2005/01/02 10:11:12;  author: joe;  state: Exp;\na\n\nb\n\n==========\n"),
      "revision 1.5 time=1104660672 author=joe state=0 [a\n\nb\n]\n");
}

TEST(LogParserTest, EndOfInputInsideAnItemEndsIt) {
  EXPECT_EQ(Items("RCS file: /repo/mod/a,v\nhead: 1.1"), "file mod/a head=1.1 total=0 []\n");
  EXPECT_EQ(Items("revision 1.5\ndate: 2005/01/02 10:11:12;  author: joe;  state: Exp;\nhalf a mess"),
            "revision 1.5 time=1104660672 author=joe state=0 [half a mess]\n");
  EXPECT_EQ(Items("nothing"), "unknown\n");
  EXPECT_EQ(Items(""), "");
  EXPECT_EQ(Items("\n\n"), "");
}

TEST(LogParserTest, EveryPrefixOfALogEnds) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("BR: 1.1.0.2").At("1.2", 2000).At("1.1", 1000, "dead");
  const std::string strLog = oLog.Text();
  for (std::size_t n = 0; n <= strLog.size(); ++n) {
    const std::string strItems = Items(strLog.substr(0, n));
    EXPECT_LE(std::count(strItems.begin(), strItems.end(), '\n'), 4) << n;
  }
}

TEST(LogParserTest, LineEndsOfEveryKindAreOne) {
  const std::string strUnix = "RCS file: /repo/mod/a,v\nhead: 1.1\n==========\n";
  const std::string strExpected = "file mod/a head=1.1 total=0 []\n";
  std::string strDos, strMac;
  for (const char ch : strUnix) {
    strDos += ch == '\n' ? std::string("\r\n") : std::string(1, ch);
    strMac += ch == '\n' ? '\r' : ch;
  }
  EXPECT_EQ(Items(strDos), strExpected);
  EXPECT_EQ(Items(strMac), strExpected);
}

/// Bytes come through in every locale.
TEST(LogParserTest, BytesOfAnyEncodingComeThroughUnchanged) {
  const std::string strMessage = std::string("caf\xe9 caf\xc3\xa9 \xb0\xa1 NUL") + '\0' + "end";
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    std::setlocale(LC_CTYPE, pszLocale);
    EXPECT_EQ(Items("revision 1.5\ndate: 2005/01/02 10:11:12;  author: jos\xe9;  state: Exp;\n" + strMessage +
                    "\n==========\nRCS file: /repo/mod/\xe9t\xc3\xa9.c,v\n==========\n"),
              "revision 1.5 time=1104660672 author=jos\xe9 state=0 [" + strMessage +
                  "]\nfile mod/\xe9t\xc3\xa9.c head= total=0 []\n")
        << pszLocale;
  }
  std::setlocale(LC_CTYPE, "C");
}

/// An editor may put the mark in front of a saved log. The first file must not be lost by that.
TEST(LogParserTest, ByteOrderMarkAtTheStartOfTheLogIsPassedOver) {
  const std::string strMark = "\xef\xbb\xbf";
  const std::string strFile = "RCS file: /repo/mod/a,v\n==========\n";
  const std::string strItem = "file mod/a head= total=0 []\n";
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    std::setlocale(LC_CTYPE, pszLocale);
    EXPECT_EQ(Items(strMark + strFile), strItem) << pszLocale;
    EXPECT_EQ(Items(strMark + "\n" + strFile), strItem) << pszLocale;
    EXPECT_EQ(Items(strMark + "\r\n\r\n" + strFile), strItem) << pszLocale;
    EXPECT_EQ(Items(strMark), "") << pszLocale;
    EXPECT_EQ(Items("\xef\xbb" + strFile), "unknown\n") << pszLocale;
  }
  std::setlocale(LC_CTYPE, "C");
}

TEST(LogParserTest, ByteOrderMarkBehindTheStartIsText) {
  const std::string strMark = "\xef\xbb\xbf";
  const std::string strFile = "RCS file: /repo/mod/a,v\n==========\n";
  const std::string strItem = "file mod/a head= total=0 []\n";
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    std::setlocale(LC_CTYPE, pszLocale);
    EXPECT_EQ(Items(strFile + strMark + strFile), strItem + "unknown\n") << pszLocale;
    EXPECT_EQ(Items("\n" + strMark + strFile), "unknown\n") << pszLocale;
    EXPECT_EQ(Items(strMark + strMark + strFile), "unknown\n") << pszLocale;
    EXPECT_EQ(Items("revision 1.5\ndate: 2005/01/02 10:11:12;  author: joe;  state: Exp;\n" + strMark +
                    "revision 1.6\n==========\n"),
              "revision 1.5 time=1104660672 author=joe state=0 [" + strMark + "revision 1.6]\n")
        << pszLocale;
  }
  std::setlocale(LC_CTYPE, "C");
}

TEST(LogParserTest, RevisionFromStringAlwaysSucceeds) {
  wxMemoryInputStream oInput("", 0);
  CLogParser oParser(&oInput);
  MCE::TCVSRevision oRevision(L"9.9");
  EXPECT_TRUE(oParser.GetRevisionFromString(L"1.2.0.4", oRevision));
  EXPECT_TRUE(oRevision.GetText() == L"1.2.0.4");
  EXPECT_TRUE(oParser.GetRevisionFromString(L"", oRevision));
  EXPECT_TRUE(oRevision.IsEmpty());
}

/// The addresses of the stored author and message of each revision.
std::vector<const VCM::CString*> Places(MCV::CFileEnum& oFiles) {
  MCV::TFileInfo tFile;
  std::vector<const VCM::CString*> apstrPlaces;
  if (!oFiles.GetNextFile(tFile, {}, {}, true)) return apstrPlaces;
  for (const MCV::TRevInfo& tRevision : tFile.atRevisions) {
    apstrPlaces.push_back(&tRevision.strAuthor.GetText());
    apstrPlaces.push_back(&tRevision.strMessage.GetText());
  }
  return apstrPlaces;
}

TEST(LogParserTest, EqualTextsAreKeptOnce) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.1", 1000, "Exp", "joe", "work").At("1.2", 2000, "Exp", "joe", "work");
  oLog.File("/repo/mod/b.c,v").At("1.1", 1000, "Exp", "work", "joe");
  const std::string strLog = oLog.Text();
  wxMemoryInputStream oInput(strLog.data(), strLog.size());
  MCV::CFileEnum oFiles(&oInput, L"mod", L"/repo");
  const auto apstrFirst = Places(oFiles), apstrSecond = Places(oFiles);
  ASSERT_EQ(apstrFirst.size(), 4u);
  ASSERT_EQ(apstrSecond.size(), 2u);
  EXPECT_NE(apstrFirst[0], apstrFirst[1]);
  EXPECT_EQ(apstrFirst[2], apstrFirst[0]);
  EXPECT_EQ(apstrFirst[3], apstrFirst[1]);
  EXPECT_EQ(apstrSecond[0], apstrFirst[1]);
  EXPECT_EQ(apstrSecond[1], apstrFirst[0]);
}

TEST(LogParserTest, ItemsMembersStandInTheOrderInWhichTheyAreDescribed) {
  const TLogItem i;
  EXPECT_TRUE(AreInOrder(&i, {&i.nKind, &i.oPath, &i.oRevision, &i.nTotalRevisions, &i.oTime, &i.strAuthor,
                              &i.nState, &i.strComment, &i.astrTagNames, &i.aoTagRevisions}));
}

// A pool may have 262144 texts. With one more, the next file's header starts a new pool.
TEST(LogParserTest, PoolIsReplacedBehindTheFileThatMadeItTooLarge) {
  for (const int nNames : {262142, 262143}) {
    std::string strLog = "RCS file: /repo/mod/a.c,v\nsymbolic names:\n";
    for (int i = 0; i < nNames; ++i)
      strLog += "\tT" + std::to_string(i) + ": 1.1\n";
    const char* const pszRevision = "----------\nrevision 1.1\ndate: x; author: joe; state: Exp;\nwork\n";
    strLog += std::string(pszRevision) + "==========\nRCS file: /repo/mod/b.c,v\n" + pszRevision;
    wxMemoryInputStream oInput(strLog.data(), strLog.size());
    CLogParser oParser(&oInput, L"mod", L"/repo");
    std::vector<const VCM::CString*> apstrPlaces;
    TLogItem tItem;
    while (oParser.GetNextItem(tItem, {}, {}, true)) {
      if (tItem.nKind != TLogItem::KIND_REVISION) continue;
      apstrPlaces.push_back(&tItem.strAuthor.GetText());
      oParser.Intern(tItem.strComment.View());
    }
    ASSERT_EQ(apstrPlaces.size(), 2u);
    EXPECT_EQ(apstrPlaces[0] == apstrPlaces[1], nNames == 262142) << nNames;
  }
}

// The second file fills a pool, so the third starts a new one. The texts of the file before must stay valid.
TEST(LogParserTest, TextsOfAFileStayGoodWhileTheNextOneIsRead) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.1", 1000, "Exp", "ann", "first message");
  std::string strLog = oLog.Text() + "\nRCS file: /repo/mod/b.c,v\nsymbolic names:\n";
  for (int i = 0; i < 300000; ++i)
    strLog += "\tT" + std::to_string(i) + ": 1.1\n";
  strLog += "==========\n\nRCS file: /repo/mod/c.c,v\nsymbolic names:\n\tLAST: 1.1\n==========\n";
  wxMemoryInputStream oInput(strLog.data(), strLog.size());
  MCV::CFileEnum oFiles(&oInput, L"mod", L"/repo");
  MCV::TFileInfo tFirst, tSecond, tThird;
  ASSERT_TRUE(oFiles.GetNextFile(tFirst, {}, {}, true));
  ASSERT_TRUE(oFiles.GetNextFile(tSecond, {}, {}, true));
  EXPECT_EQ(Narrow(tFirst.atRevisions[0].strMessage), "first message");
  EXPECT_EQ(tSecond.atTags.GetCount(), 300000);
  ASSERT_TRUE(oFiles.GetNextFile(tThird, {}, {}, true));
  EXPECT_EQ(Narrow(tSecond.atTags[299999].strName).substr(0, 1), "T");
  EXPECT_EQ(Narrow(tThird.atTags[0].strName), "LAST");
}

}  // namespace
}  // namespace TALVEK::TEST
