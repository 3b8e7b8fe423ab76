// Logs that are cut, damaged or in many encodings at once, through the plug-in as a server loads it.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <string>

#include "core/descriptor.h"
#include "core/text_codec.h"
#include "mce/provider.h"
#include "tests/hostile/import_world.h"
#include "tests/mcv/log_text.h"
#include "tests/support/environment_scope.h"
#include "tests/support/import_log.h"
#include "tests/support/locale_scope.h"
#include "tests/support/temp_folder.h"
#include "tests/support/tested_provider.h"

namespace TALVEK::TEST {
namespace {

class BrokenLogTest : public ::testing::Test {
 protected:
  BrokenLogTest() {
    const auto pfnCreate = reinterpret_cast<TALVEK_EM_CREATEPROVIDER*>(
        dlsym(m_pPlugin, ("talvek_em_" + TestedProvider() + "_createprovider").c_str()));
    m_poProvider = pfnCreate();
    Set(L"LogFile", "/proc/self/fd/" + std::to_string(m_oSaved.Get()));
    Set(L"ReposPath", "/repo");
    Set(L"ModuleName", "mod");
    Set(L"CreateBranches", "1");
    if (!TestsExact()) Set(L"NestedBranches", "1");
    Set(L"StreamsForTags", "1");
    m_poProvider->OpenLog(true);
  }
  ~BrokenLogTest() override {
    m_poProvider->Destroy();
    dlclose(m_pPlugin);
  }

  void Set(const wchar_t* pszKey, const std::string& strValue) {
    m_poProvider->SetProperty(pszKey, VCM::FromBytes(strValue));
  }

  /// Imports the log and shows all of it: "Main: 1000 joe [work] a/b.c c.c; 2000 ...".
  std::string Import(const std::string& strLog) {
    EXPECT_EQ(ftruncate(m_oSaved.Get(), 0), 0);
    EXPECT_EQ(pwrite(m_oSaved.Get(), strLog.data(), strLog.size(), 0), static_cast<ssize_t>(strLog.size()));
    m_poProvider->ResetStreams();
    unsigned nStreams = 0;
    EXPECT_EQ(m_poProvider->EstablishStreams(nStreams), MCE::RESULT_OK);
    EXPECT_EQ(m_poProvider->ResolveStreamLinkage(), 0);
    std::string strText;
    for (unsigned nStream = 1; nStream <= nStreams; ++nStream)
      strText += ShowStream(nStream);
    return strText;
  }

  /// What has been logged since the last call.
  std::string ImportLog() {
    const std::string strLog = WithoutSeconds(ReadFile(Narrow(m_poProvider->GetLogPath())));
    m_poProvider->OpenLog(true);
    return strLog;
  }

  int m_nItems = 0;  // of all imports so far

 private:
  std::string ShowStream(unsigned nStream) {
    m_poProvider->OnBeginStream(nStream, VCM::FromBytes(m_oFolder.Path().string()).c_str());
    std::string strText = std::to_string(nStream) + ":";
    MCE::CProvider::TChangeInfo tChange;
    for (int n = m_poProvider->OnFirstChangeset(tChange); n == MCE::RESULT_OK;
         n = m_poProvider->OnNextChangeset(tChange)) {
      strText += " " + std::to_string(tChange.nTime) + " " + Narrow(tChange.strUser) + " [" +
                 Narrow(tChange.strComment) + "]";
      unsigned nItems = 0;
      MCE::CProvider::TChangeItemInfo tItem;
      for (int m = m_poProvider->OnFirstChangeItem(tItem); m == MCE::RESULT_OK;
           m = m_poProvider->OnNextChangeItem(tItem), ++nItems)
        strText += " " + Narrow(tItem.oFilePath.GeneratePath());
      EXPECT_EQ(tChange.nItemCount, nItems + 1);
      m_nItems += static_cast<int>(nItems);
      strText += ";";
    }
    return strText + "\n";
  }

  CTempFolder m_oFolder;
  CEnvironmentScope m_oTmpDir{"TMPDIR", m_oFolder.Path().string()};
  VCM::CDescriptor m_oSaved{memfd_create("saved.rlog", MFD_CLOEXEC)};
  void* m_pPlugin =
      dlopen((TALVEK_LIB_DIR "/talvek-em-" + TestedProvider() + ".so").c_str(), RTLD_NOW | RTLD_LOCAL);
  MCE::CProvider* m_poProvider = nullptr;
};

std::string Good() {
  CLogText oLog;
  oLog.File("/repo/mod/good,v").Revision("1.1", "2001/09/09 01:46:40", "joe", "work");
  return oLog.Text();
}
const std::string GOOD_ALONE = "1: 1000000000 joe [work] good;\n";

TEST_F(BrokenLogTest, EmptyLogGivesTheTrunkAlone) {
  EXPECT_EQ(Import(""), "1:\n");
  const std::string strLog = ImportLog();
  const std::string strEnd = ByProvider("Main\n", "Planning changesets, branches and tags\n");
  EXPECT_NE(strLog.find("Parsing Log\nFailed to parse any files from rlog.\nFinished Parsing Log\n" + strEnd),
            std::string::npos)
      << strLog;
}

// The files before the cut are all there; what is cut ends with a result. cvsexact names the file that is
// cut.
TEST_F(BrokenLogTest, LogCutAtAnyByteGivesWhatStoodBeforeTheCut) {
  CLogText oFirst, oSecond;
  oFirst.File("/repo/mod/a.c,v")
      .Name("INNER: 1.2.4.1.0.2")
      .Name("OUTER: 1.2.0.4")
      .Name("REL: 1.2")
      .At("1.3", 9000)
      .At("1.2", 2000, "dead")
      .At("1.1", 1000)
      .At("1.2.4.1", 5000)
      .At("1.2.4.1.2.1", 7000);
  oSecond.File("/repo/mod/Attic/b.c,v").Name("OUTER: 1.1.0.2").At("1.2", 2500, "dead").At("1.1", 1500);
  const std::string strFirst = oFirst.Text();
  const std::string strLog = strFirst + oSecond.Text() + Good();
  const std::size_t nEndOfSecond = strLog.size() - Good().size();
  const std::string strOfFirst = Import(strFirst);
  m_nItems = 0;
  Import(strFirst);
  const int nOfFirst = m_nItems;
  EXPECT_EQ(nOfFirst, 5);
  ImportLog();
  const int nOfAll = ByProvider(8, 9);
  for (std::size_t n = 0; n <= strLog.size() && !HasFailure(); ++n) {
    SCOPED_TRACE("cut at " + std::to_string(n));
    m_nItems = 0;
    const std::clock_t nBefore = std::clock();
    const std::string strText = Import(strLog.substr(0, n));
    EXPECT_LT(std::clock() - nBefore, CLOCKS_PER_SEC);
    EXPECT_LE(m_nItems, nOfAll);
    EXPECT_TRUE(n < strFirst.size() || m_nItems >= nOfFirst);
    EXPECT_TRUE(n != strFirst.size() || strText == strOfFirst) << strText;
    if (TestsExact()) {
      // Nothing is missing where the cut follows a file: its last line may lack its end, and the empty line
      // before the next file may be there. Before the first file there is nothing to name.
      bool bBetweenFiles = n < std::string("\nRCS file: ").size();
      for (const std::size_t nEnd : {strFirst.size(), nEndOfSecond, strLog.size()})
        bBetweenFiles = bBetweenFiles || (n + 1 >= nEnd && n <= nEnd + 1);
      const std::string strImportLog = ImportLog();
      EXPECT_EQ(strImportLog.find("\nIncomplete log of '") == std::string::npos, bBetweenFiles)
          << strImportLog;
    }
  }
  EXPECT_EQ(m_nItems, nOfAll);
}

// One piece of nonsense in front of a good file, and what becomes of both. cvsexact takes a revision as the
// client prints it or not at all, and a message as it stands; a file of which it lacks a revision is named.
TEST_F(BrokenLogTest, NonsenseTable) {
  const std::string strHeader =
      "\nRCS file: /repo/mod/a,v\nhead: 1.1\nsymbolic names:\nkeyword substitution: kv\n"
      "total revisions: 1;\tselected revisions: 1\ndescription:\n";
  const std::string strDashes = "----------------------------\n";
  const std::string strDate = "date: 2001/09/09 02:00:00;  author: ann;  state: Exp;\n";
  const std::string strOne = strHeader + strDashes + "revision 1.1\n";
  const std::string strEnd =
      "=============================================================================\n";
  const std::string strPasted =
      "\nRCS file: /repo/mod/b,v\nhead: 1.1\nsymbolic names:\nkeyword substitution: kv\n"
      "total revisions: 1;\tselected revisions: 1\ndescription:\n" +
      strDashes + "revision 1.1\n" + strDate + "y\n" + strEnd;
  const auto fnMessage = [](const std::string& strMessage) {
    return "1: 1000000000 joe [work] good; 1000000800 ann [" + strMessage + "] a;\n";
  };
  const std::string INCOMPLETE = "incomplete";  // the good file is there, and 'mod/a' is named
  const struct {
    std::string strLog;
    std::string strOfCvs;
    std::string strOfExact;
  } atCases[] = {
      // Messages that look like the log around them.
      {strOne + strDate + "x\n----------\ny\n" + strEnd, fnMessage("x"), fnMessage("x\n----------\ny")},
      {strOne + strDate + "RCS file: /repo/mod/evil,v\n" + strEnd, fnMessage("RCS file: /repo/mod/evil,v"),
       fnMessage("RCS file: /repo/mod/evil,v")},
      {strOne + strDate + "x\n----------\nRCS file: /repo/mod/evil,v\nsymbolic names:\n\tE: 1.1.0.2\n" +
           strEnd,
       fnMessage("x") + "2:\n",
       fnMessage("x\n----------\nRCS file: /repo/mod/evil,v\nsymbolic names:\n\tE: 1.1.0.2")},
      {strOne + strDate + "x\nrevision 1.9\ny\n" + strEnd, fnMessage("x\ny"),
       fnMessage("x\nrevision 1.9\ny")},
      {strOne + strDate + "date: 2001/09/09 01:50:00;  author: eve;  state: dead;\ny\n" + strEnd, GOOD_ALONE,
       fnMessage("date: 2001/09/09 01:50:00;  author: eve;  state: dead;\ny")},
      {strOne + strDate + "head: 1.9\nsymbolic names:\ndescription:\nbranches:  1.1.2;\n" + strEnd,
       fnMessage("head: 1.9\nsymbolic names:\ndescription:"),
       fnMessage("head: 1.9\nsymbolic names:\ndescription:\nbranches:  1.1.2;")},
      {strOne + strDate + "x\n" + strDashes + "revision 1.0\n" + strDate + "y\n" + strEnd,
       "1: 1000000000 joe [work] good; 1000000800 ann [y] a; 1000000800 ann [x] a;\n",
       fnMessage("x\n" + strDashes + "revision 1.0\n" + strDate + "y")},
      {strOne + strDate + "x" + strPasted + "z\n" + strEnd,
       "1: 1000000000 joe [work] good; 1000000800 ann [y] a; 1000000800 ann [x" +
           strPasted.substr(0, strPasted.find(":\n--") + 1) + "] a;\n",
       fnMessage("x" + strPasted + "z")},
      // Dates of every shape and none.
      {strOne + "x\n" + strEnd, "1: 0  [] a; 1000000000 joe [work] good;\n", INCOMPLETE},
      {strOne + "date:\n" + strEnd, "1: 0  [] a; 1000000000 joe [work] good;\n", INCOMPLETE},
      {strOne + "date: ;  author: ;  state: ;\nx\n" + strEnd, GOOD_ALONE, INCOMPLETE},
      {strOne + "date: never;  author: a;  state: Exp;\nx\n" + strEnd,
       "1: 0 a [x] a; 1000000000 joe [work] good;\n", INCOMPLETE},
      {strOne + "date: 99999999/99/99 99:99:99;  author: a;  state: Exp;\nx\n" + strEnd,
       "1: 0 a [x] a; 1000000000 joe [work] good;\n", INCOMPLETE},
      {strOne + "date: 1969/12/31 23:59:59;  author: a;  state: Exp;\nx\n" + strEnd,
       "1: 1000000000 joe [work] good; 4294967295 a [x] a;\n", "1: 0 a [x] a; 1000000000 joe [work] good;\n"},
      {strOne + "date: 2106/02/07 06:28:16;  author: a;  state: Exp;\nx\n" + strEnd,
       "1: 0 a [x] a; 1000000000 joe [work] good;\n", "1: 1000000000 joe [work] good; 4294967295 a [x] a;\n"},
      {strOne + "date: 2001-09-09 02:00:00 +9999;  author: a;  state: Exp;\nx\n" + strEnd,
       "1: 1000000000 joe [work] good; 1000000800 a [x] a;\n",
       "1: 999638460 a [x] a; 1000000000 joe [work] good;\n"},
      // Numbers that no client writes.
      {strHeader + strDashes + "revision 4294967297.18446744073709551617\n" + strDate + "x\n" + strEnd,
       fnMessage("x"), INCOMPLETE},
      {strHeader + strDashes + "revision\n" + strDate + "x\n" + strEnd, GOOD_ALONE, INCOMPLETE},
      {strHeader + strDashes + "revision -1.-2\n" + strDate + "x\n" + strEnd, fnMessage("x"), INCOMPLETE},
      {strHeader + strDashes + "revision 1\n" + strDate + "x\n" + strEnd, GOOD_ALONE, INCOMPLETE},
      // A line without an end, and much that is no text.
      {std::string(100000, '\0') + "\n" + strEnd, GOOD_ALONE, GOOD_ALONE},
      {strOne + strDate + std::string("nul \0 nul", 9) + "\n" + strEnd,
       fnMessage(std::string("nul \0 nul", 9)), fnMessage(std::string("nul \0 nul", 9))},
      {std::string("\0\r\n\xff\xfe\n", 6) + strEnd, GOOD_ALONE, GOOD_ALONE},
  };
  for (const auto& tCase : atCases) {
    const std::string strExpected = ByProvider(tCase.strOfCvs, tCase.strOfExact);
    EXPECT_EQ(Import(tCase.strLog + Good()), strExpected == INCOMPLETE ? GOOD_ALONE : strExpected)
        << tCase.strLog;
    const std::string strImportLog = ImportLog();
    EXPECT_EQ(
        strImportLog.find("\nIncomplete log of 'mod/a': the log counts 1 revision, 0 could be read\n") !=
            std::string::npos,
        strExpected == INCOMPLETE)
        << strImportLog;
  }
}

TEST_F(BrokenLogTest, LineEndsAndMarksOfEveryKindGiveTheSame) {
  CLogText oLog;
  oLog.File("/repo/mod/a,v").Name("B: 1.1.0.2").Revision("1.1", "1970/01/01 01:00:00", "ann", "two\nlines");
  const std::string strUnix = oLog.Text() + Good();
  std::string strDos, strMac;
  for (const char ch : strUnix) {
    strDos += ch == '\n' ? std::string("\r\n") : std::string(1, ch);
    strMac += ch == '\n' ? '\r' : ch;
  }
  const std::string strExpected = "1: 3600 ann [two\nlines] a; 1000000000 joe [work] good;\n2:\n";
  for (const std::string& strLog : {strUnix, strDos, strMac, strUnix.substr(1)}) {
    EXPECT_EQ(Import(strLog), strExpected);
    EXPECT_EQ(Import("\xef\xbb\xbf" + strLog), strExpected);
  }
}

TEST_F(BrokenLogTest, EncodingsMixedInOneLineComeOutAsTheyWent) {
  const std::string strMixed =
      "UTF-8 \xc3\xa9\xe2\x82\xac, Latin-1 \xe9, EUC-JP \xc6\xfc\xcb\xdc, cut \xe2\x82";
  CLogText oLog;
  oLog.File("/repo/mod/" + strMixed + "/x\xe9,v").Revision("1.1", "2001/09/09 01:46:40", "j\xfcrg", strMixed);
  oLog.File("/repo/mod/y,v").Revision("1.1", "2001/09/09 03:46:40", "j\xc3\xbcrg", "\xef\xbb\xbf" + strMixed);
  // To cvs "," ends a path, wherever it stands.
  const std::string strFirst = strMixed.substr(0, strMixed.find(','));
  const std::string strPath = ByProvider(strFirst.substr(strFirst.rfind('/') + 1), strMixed + "/x\xe9");
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    const CLocaleScope oLocale(pszLocale);
    EXPECT_EQ(Import(oLog.Text()), "1: 1000000000 j\xfcrg [" + strMixed + "] " + strPath +
                                       "; 1000007200 j\xc3\xbcrg [\xef\xbb\xbf" + strMixed + "] y;\n")
        << pszLocale;
  }
}

// One number for two names: the later one in the log takes the branch's revisions.
TEST_F(BrokenLogTest, TwoNamesOnOneNumberAreTwoStreamsAndOneHasTheRevisions) {
  CLogText oLog;
  oLog.File("/repo/mod/a,v")
      .Name("FIRST: 1.1.0.2")
      .Name("SECOND: 1.1.0.2")
      .At("1.1", 1000)
      .At("1.1.2.1", 2000);
  EXPECT_EQ(Import(oLog.Text()), "1: 1000 joe [work] a;\n2: 2000 joe [work] a;\n3:\n");
  EXPECT_NE(ImportLog().find(ByProvider("\nMain\n  SECOND\n  FIRST\n", "\nProved 3 branches")),
            std::string::npos);
}

using CutLogImportTest = ImportWorldTest;

// cvs takes what is there for all of it.
TEST_F(CutLogImportTest, FileThatIsCutIsALossToCvsexact) {
  CLogText oLog;
  oLog.File("/repo/mod/a,v").At("1.1", 1000);
  oLog.File("/repo/mod/b,v").At("1.2", 4000).At("1.1", 2000);
  const std::string strLog = oLog.Text();
  const TResult tResult = ImportText(strLog.substr(0, strLog.find("revision 1.1\n", strLog.find("b,v"))));
  EXPECT_EQ(tResult.nStatus, ByProvider(0, 3)) << tResult.strMessages;
  EXPECT_EQ(tResult.strMessages.find(
                "lost: revisions of 'mod/b': the log counts 2 revisions, 1 could be read; the log is "
                "cut off here\n") != std::string::npos,
            TestsExact())
      << tResult.strMessages;
  EXPECT_EQ(GitFiles("main"), "a\nb\n");
  ExpectNothingElse();
}

}  // namespace
}  // namespace TALVEK::TEST
