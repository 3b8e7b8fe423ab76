#include <gtest/gtest.h>
#include <wx/mstream.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "core/text_codec.h"
#include "mcv/file_enum.h"
#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

// The made-up histories: what the program prints is read by the parser, and the RCS files by `cvs`.
namespace TALVEK::TEST {
namespace {

std::string MakeHistory(const std::string& strOptions) {
  return ShellOutput(ShellQuote(TALVEK_BIN_DIR "/make-history") + " " + strOptions);
}

std::string Text(const VCM::CString& strText) {
  return VCM::ToUtf8(strText);
}

std::string FileText(const MCV::TFileInfo& tFile) {
  std::string strText = Text(tFile.oPath.GeneratePath()) + ":";
  std::multiset<std::string> astrNames;  // a log's order isn't a file's
  for (const MCV::TTagInfo& tTag : tFile.atTags)
    astrNames.insert(Text(tTag.strName.GetText()) + " " + Text(tTag.oRevision.GetText()));
  for (const std::string& strName : astrNames)
    strText += " [" + strName + "]";
  for (const MCV::TRevInfo& tRevision : tFile.atRevisions) {
    strText += "\n  " + Text(tRevision.oRevision.GetText()) + " " + std::to_string(tRevision.oTime.GetUTC()) +
               " " + Text(tRevision.strAuthor.GetText()) + ": " + Text(tRevision.strMessage.GetText());
  }
  return strText + "\n";
}

/// The files of a log, sorted by path: `cvs` takes the folders in another order.
std::vector<std::string> Files(const std::string& strLog, const std::string& strRoot) {
  wxMemoryInputStream oStream(strLog.data(), strLog.size());
  MCV::CFileEnum oFiles(&oStream, L"bench", VCM::FromBytes(strRoot));
  std::vector<std::string> astrFiles;
  MCV::TFileInfo tFile;
  while (oFiles.GetNextFile(tFile, {}, {}, true))
    astrFiles.push_back(FileText(tFile));
  std::sort(astrFiles.begin(), astrFiles.end());
  return astrFiles;
}

TEST(MakeHistoryTest, SameOptionsGiveTheSameLog) {
  EXPECT_EQ(MakeHistory("--files 30"), MakeHistory("--files 30"));
  EXPECT_NE(MakeHistory("--files 30"), MakeHistory("--files 30 --seed 2"));
}

TEST(MakeHistoryTest, FileHasWhatTheOptionsSay) {
  const std::string strLog =
      MakeHistory("--files 1 --revisions 2 --names 1 --branches 1 --nested 2 --authors 1");
  const std::vector<std::string> astrFiles = Files(strLog, "/cvs");
  ASSERT_EQ(astrFiles.size(), 1U);
  EXPECT_TRUE(
      astrFiles[0].starts_with("bench/folder0/part0/file0.c: [BRANCH_1 1.1.2] [BRANCH_1_SUB 1.1.2.1.2] "
                               "[BRANCH_1_SUB_SUB 1.1.2.1.2.1.2] [RELEASE_1 1.2]\n  1.1 "))
      << astrFiles[0];
  for (const char* pszRevision : {"\n  1.2 ", "\n  1.1.2.1 ", "\n  1.1.2.1.2.1 ", "\n  1.1.2.1.2.1.2.1 "})
    EXPECT_NE(astrFiles[0].find(pszRevision), std::string::npos) << pszRevision;
}

TEST(MakeHistoryTest, BranchesCanBeOnSomeFilesOnly) {
  const std::string strLog = MakeHistory(
      "--files 8 --revisions 100 --commit-size 1 --names 0 --branches 8 --branches-of-file 2 --imports 1");
  std::map<std::string, int> anFiles;
  for (const std::string& strFile : Files(strLog, "/cvs")) {
    int nBranches = 0;
    for (std::size_t nAt = strFile.find("[BRANCH_"); nAt != std::string::npos;
         nAt = strFile.find("[BRANCH_", nAt + 1)) {
      ++nBranches;
      ++anFiles[strFile.substr(nAt + 1, strFile.find(' ', nAt) - nAt - 1)];
    }
    EXPECT_EQ(nBranches, 2) << strFile;
  }
  EXPECT_EQ(anFiles, (std::map<std::string, int>{{"BRANCH_1", 2},
                                                 {"BRANCH_2", 2},
                                                 {"BRANCH_3", 2},
                                                 {"BRANCH_4", 2},
                                                 {"BRANCH_5", 2},
                                                 {"BRANCH_6", 2},
                                                 {"BRANCH_7", 2},
                                                 {"BRANCH_8", 2}}));
}

// What `cvs` prints of the files is what the program prints itself.
TEST(MakeHistoryTest, RcsFilesTellTheSameHistoryAsTheLog) {
  const CTempFolder oFolder;
  const std::string strRoot = (oFolder / "cvs").string();
  const std::string strOptions =
      "--files 60 --revisions 4 --names 3 --branches 2 --branch-revisions 2 --nested 1 --message-length 90";
  ShellOutput("cvs -d " + strRoot + " init");
  MakeHistory(strOptions + " --rcs " + strRoot + "/bench");
  const std::vector<std::string> astrOfCvs =
      Files(ShellOutput("cvs -Q -d " + strRoot + " rlog bench"), strRoot);
  EXPECT_EQ(astrOfCvs.size(), 60U);
  EXPECT_EQ(astrOfCvs, Files(MakeHistory(strOptions), "/cvs"));
}

TEST(MakeHistoryTest, ImportsBringTheirShareOfLaterRevisions) {
  const std::string strLog = MakeHistory(
      "--files 1000 --revisions 3 --branches 1 --names 0 --imports 2 --imported-percent 75 --commit-size 5");
  std::map<std::string, int> anRevisions;
  int nAll = 0;
  for (std::size_t n = strLog.find("\nCommit "); n != std::string::npos;
       n = strLog.find("\nCommit ", n + 1)) {
    ++anRevisions[strLog.substr(n, strLog.find(':', n) - n)];
    ++nAll;
  }
  int nImported = 0;
  for (const auto& [strMessage, nRevisions] : anRevisions)
    nImported += nRevisions > 100 ? nRevisions : 0;
  EXPECT_EQ(nAll, 4000);
  // All first revisions and three quarters of the others.
  EXPECT_NEAR(nImported, 3250, 100);
}

TEST(MakeHistoryTest, ImportsBringManyFilesByOneCommit) {
  const auto fnFirstMessages = [](const std::string& strOptions) {
    std::set<std::string> astrMessages;
    for (const std::string& strFile : Files(MakeHistory("--files 200 --branches 0 " + strOptions), "/cvs")) {
      const std::size_t nMessage = strFile.find(": Commit ");
      astrMessages.insert(strFile.substr(nMessage, strFile.find(':', nMessage + 2) - nMessage));
    }
    return astrMessages.size();
  };
  EXPECT_EQ(fnFirstMessages("--imports 4"), 4U);
  EXPECT_GT(fnFirstMessages("--imports 0"), 20U);
}

}  // namespace
}  // namespace TALVEK::TEST
