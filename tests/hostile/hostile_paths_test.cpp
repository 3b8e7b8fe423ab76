// Paths that lead elsewhere, or mean something to a shell, an option parser or a format.

#include <gtest/gtest.h>

#include "tests/hostile/import_world.h"
#include "tests/support/shell.h"
#include "tests/support/tested_provider.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;

class HostilePathTest : public ImportWorldTest {
 protected:
  /// A log of files with one revision each, far apart in time.
  static CLogText Log(const std::vector<std::string>& astrRcsPaths) {
    CLogText oLog;
    long nTime = 1000;
    for (const std::string& strPath : astrRcsPaths)
      oLog.File(strPath).At("1.1", nTime += 1000);
    return oLog;
  }
};

// cvs knows no such files; cvsexact names each as a loss.
TEST_F(HostilePathTest, PathsThatLeadOutOfTheModuleAreNoFiles) {
  const std::vector<std::string> astrPaths = {"/repo/mod/../../escape,v", "/repo/mod/a/../../../b,v",
                                              "/repo/..,v", "/repo/mod/./c,v", "/repo/../mod/d,v"};
  CLogText oLog = Log(astrPaths);
  oLog.File("/repo/mod/good,v").At("1.1", 9000);
  WriteFile(m_oFolder / "sandbox/escape", "mine");  // where the first path leads to from the stream's folder
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, ByProvider(0, 3)) << tResult.strMessages;
  if (TestsExact()) {
    for (const char* pszPath : {"mod/../../escape", "mod/a/../../../b", "..", "mod/./c", "../mod/d"})
      EXPECT_NE(tResult.strMessages.find("lost: revisions of '" + std::string(pszPath) +
                                         "': its path leads to no file\n"),
                std::string::npos)
          << pszPath << " in\n"
          << tResult.strMessages;
  }
  EXPECT_EQ(Calls(), "[-d][/repo][checkout][-r][1.1][-d][Main][mod/good]\n");
  EXPECT_EQ(GitFiles("main"), "good\n");
  EXPECT_EQ(ReadFile(m_oFolder / "sandbox/escape"), "mine");
  fs::remove(m_oFolder / "sandbox/escape");
  ExpectNothingElse();
}

// To cvs the first item of each path is the module, whatever it is called. cvsexact asks the client what
// "mod" is, as the log doesn't begin with a file of that folder, and takes the paths as they are in the
// repository.
TEST_F(HostilePathTest, AbsolutePathIsARelativeOne) {
  CLogText oLog = Log({"/repo//etc/passwd,v", "/repo///mod//etc/group,v"});
  EXPECT_EQ(Import(oLog).nStatus, 0);
  EXPECT_EQ(Calls(), ByProvider("[-d][/repo][checkout][-r][1.1][-d][Main][mod/passwd]\n"
                                "[-d][/repo][checkout][-r][1.1][-d][Main/etc][mod/etc/group]\n",
                                "[-d][/repo][checkout][-c]\n"
                                "[-d][/repo][checkout][-r][1.1][-d][Main/etc][etc/passwd]\n"
                                "[-d][/repo][checkout][-r][1.1][-d][Main/mod/etc][mod/etc/group]\n"));
  EXPECT_EQ(GitFiles("main"), ByProvider("etc/group\npasswd\n", "etc/passwd\nmod/etc/group\n"));
  ExpectNothingElse();
}

// The module's own folder as a file. cvs has no path left to put it at; cvsexact can't tell which of the two
// the client takes for "mod".
TEST_F(HostilePathTest, FileInPlaceOfTheModuleIsToldOf) {
  CLogText oLog = Log({"/repo/mod,v", "/repo/mod/good,v"});
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, ByProvider(3, 1)) << tResult.strMessages;
  EXPECT_NE(tResult.strMessages.find(
                ByProvider("file '', 1970-01-01 00:33:20 UTC: it has no path\n",
                           "Failed to place 'mod/good': 'mod' puts two folders or files of the "
                           "repository in its place")),
            std::string::npos)
      << tResult.strMessages;
  if (TestsExact()) {
    EXPECT_FALSE(fs::exists(m_oFolder / "git"));
    return;
  }
  EXPECT_EQ(GitFiles("main"), "good\n");
  ExpectNothingElse();
}

TEST_F(HostilePathTest, WordsOfNamesAreNeverMoreThanWords) {
  const std::vector<std::string> astrNames = {
      "quo\"te", "\"-d\" \"/tmp\"", "back\\slash\\", "\\\"",       "two  blanks ",    " -d x",   "-rf",
      "--help",  "-d/-f",           "--/--",         "$(touch x)", "`touch x`",       "; x",     "*",
      "~/x",     "%s%n%d%",         "a\tb",          "a#b|c>d<e&", "caf\xe9\xc3\xa9", "\x01\x7f"};
  std::vector<std::string> astrPaths;
  std::string strCalls;
  for (const std::string& strName : astrNames) {
    astrPaths.push_back("/repo/mod/" + strName + ",v");
    const std::size_t nSlash = strName.find('/');
    const std::string strFolder = nSlash == std::string::npos ? "" : "/" + strName.substr(0, nSlash);
    strCalls += "[-d][/repo][checkout][-r][1.1][-d][Main" + strFolder + "][mod/" + strName + "]\n";
  }
  CLogText oLog = Log(astrPaths);
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  EXPECT_EQ(Calls(), strCalls);
  std::string strFiles = "\n" + GitFiles("main");
  for (const std::string& strName : astrNames)
    EXPECT_NE(strFiles.find("\n" + strName + "\n"), std::string::npos) << strName;
  ExpectNothingElse();
}

// A line is an argument of a format, never the format.
TEST_F(HostilePathTest, PercentSignsComeOutAsTheyAre) {
  CLogText oLog;
  oLog.File("/repo/mod/%s%n%d%99999999d,v")
      .Name("%s%n%1$s: 1.1.0.2")
      .Revision("1.1", "1970/01/01 01:00:00", "%s%n", "100%s %n %d %", "Exp")
      .Revision("1.1.2.1", "1970/01/01 02:00:00", "%d", "%", "Exp");
  oLog.File("/repo/mod/late,v").Name("%s%n%1$s: 1.1.0.2").At("1.2", 2).At("1.1", 1);
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  const std::string strLog = ImportLog();
  std::vector<std::string> astrLines = {"\nAdding stream '%s%n%1$s'. Parent is 'Main'.",
                                        "\nIgnoring file 'mod/late' tag '%s%n%1$s' for", "\n  %s%n%1$s\n"};
  if (TestsExact()) {
    astrLines = {"\nProcessing stream '%s%n%1$s' (id=2,", "comment=Start of branch %s%n%1$s: 1 file differs",
                 "\n\nmod/%s%n%d%99999999d 1.1 is new,"};
  }
  astrLines.insert(
      astrLines.end(),
      {"\nProcessing file 'mod/%s%n%d%99999999d' (count=0)\n", "user=%s%n,", "comment=100%s %n %d %,",
       "cvs\" -d /repo checkout -r 1.1 -d \"Main\" \"mod/%s%n%d%99999999d\"\n"});
  for (const std::string& strLine : astrLines) {
    EXPECT_NE(strLog.find(strLine), std::string::npos) << strLine << "in\n" << strLog;
  }
}

TEST_F(HostilePathTest, PathOf4096BytesIsALossAndNothingElseIs) {
  std::string strDeep;
  while (strDeep.size() < 4096)
    strDeep += "folder/";
  const std::string strLong(4096, 'n');
  CLogText oLog = Log({"/repo/mod/" + strDeep + "x,v", "/repo/mod/" + strLong + ",v", "/repo/mod/good,v"});
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 3) << tResult.strMessages;
  EXPECT_NE(tResult.strMessages.find("; 2 losses;"), std::string::npos) << tResult.strMessages;
  EXPECT_EQ(GitFiles("main"), "good\n");
  EXPECT_NE(ImportLog().find("\nFailed to create directory '"), std::string::npos);
  ExpectNothingElse();
}

TEST_F(HostilePathTest, FoldersOfTheClientAndOfGitAreFilesLikeOthers) {
  CLogText oLog =
      Log({"/repo/mod/CVS/Entries,v", "/repo/mod/.git/config,v", "/repo/mod/.git/hooks/update,v"});
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  EXPECT_EQ(GitFiles("main"), ".git_/config\n.git_/hooks/update\nCVS/Entries\n");
  ExpectNothingElse();
}

// Removed there and a folder made in its place; so both RCS files are there at once, one in the Attic.
TEST_F(HostilePathTest, FileThatBecomesAFolderAndAFileAgainIsWhatItWasAtEachTime) {
  CLogText oLog;
  oLog.File("/repo/mod/Attic/node,v").At("1.3", 7000).At("1.2", 3000, "dead").At("1.1", 1000);
  oLog.File("/repo/mod/node/Attic/x,v").At("1.2", 6000, "dead").At("1.1", 4000);
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  EXPECT_EQ(ShellOutput("git -C " + ShellQuote((m_oFolder / "git").string()) +
                        " log --reverse --format=%at --name-status --no-renames main"),
            "1000\n\nA\tnode\n3000\n\nD\tnode\n4000\n\nA\tnode/x\n6000\n\nD\tnode/x\n7000\n\nA\tnode\n");
  ExpectNothingElse();
}

// Two RCS files of one path: their revisions are told apart by time, not by file.
TEST_F(HostilePathTest, SamePathInAndOutOfTheAtticGivesTheItemsOfBoth) {
  CLogText oLog;
  oLog.File("/repo/mod/x,v").At("1.2", 4000).At("1.1", 3000);
  oLog.File("/repo/mod/Attic/x,v").At("1.2", 2000, "dead").At("1.1", 1000);
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  EXPECT_NE(tResult.strMessages.find("imported 1 stream, 4 changesets, 4 items; 0 losses"), std::string::npos)
      << tResult.strMessages;
  // cvs fetches deleted revisions, too.
  EXPECT_EQ(Calls(), "[-d][/repo][checkout][-r][1.1][-d][Main][mod/x]\n" +
                         ByProvider<std::string>("[-d][/repo][checkout][-r][1.2][-d][Main][mod/x]\n", "") +
                         "[-d][/repo][checkout][-r][1.1][-d][Main][mod/x]\n[-d][/"
                         "repo][checkout][-r][1.2][-d][Main][mod/x]\n");
  EXPECT_EQ(GitFiles("main"), "x\n");
}

}  // namespace
}  // namespace TALVEK::TEST
