#include "tests/host/host_fixture.h"

namespace TALVEK::TEST {
namespace {

using CLossesTest = CHostTest;

TEST_F(CLossesTest, EachFileThatIsNotThereIsReportedAndCounted) {
  Script(
      "stream|1|0|Main\n"
      "change|1|1|joe|1000000000|x\n"
      "item|1|0|good|file|good\n"
      "item|1|0|gone|missing\n"
      "item|1|0|link|link|/etc/passwd\n"
      "item|1|0|folder|folder\n"
      "item|1|0|pipe|pipe\n"
      "item|1|0|fail|fail\n"
      "item|1|0|\n"
      "item|1|2|never\n");
  const TRun tRun = Run("run --quiet --into target --import-log log");
  EXPECT_EQ(tRun.nStatus, 3);
  const std::string strLost = "talvek-import: lost: stream 'Main', file ";
  const std::string strTime = ", 2001-09-09 01:46:40 UTC: ";
  EXPECT_EQ(tRun.strError,
            strLost + "'gone'" + strTime + "it was not retrieved: fake: no gone here\n" + strLost + "'link'" +
                strTime + "it is a symbolic link\n" + strLost + "'folder'" + strTime +
                "it is not a regular file\n" + strLost + "'pipe'" + strTime + "it is not a regular file\n" +
                strLost + "'fail'" + strTime + "the provider can't retrieve it\n" + strLost + "''" + strTime +
                "it has no path\n" +
                "talvek-import: imported 1 stream, 1 changeset, 8 items; 6 losses; 0 seconds\n");
  EXPECT_EQ(Git("target", "ls-tree -r --name-only main"), "good\n");
}

// A file that an earlier changeset left in the work folder must not be taken for that of a later one.
TEST_F(CLossesTest, EarlierRevisionNeverStandsInForALaterOne) {
  Script(
      "stream|1|0|Main\n"
      "change|1|1|joe|1|x\nitem|1|0|a|file|one\n"
      "change|2|1|joe|2|y\nitem|2|1|a|missing\n");
  EXPECT_EQ(Run("run --quiet --into target --import-log log").nStatus, 3);
  EXPECT_EQ(Git("target", "log --format=%s --name-status main"), "y\nx\n\nA\ta\n");
}

TEST_F(CLossesTest, ChangesetThatCantBeProcessedLosesItsItems) {
  Script(
      "stream|1|0|Main\n"
      "change|1|1|joe|1|x\nitem|1|0|a|file|a\nitem|1|0|b|file|b\n"
      "change|2|1|joe|2|y\nitem|2|1|a|file|a2\nitem|2|2|b\n"
      "fail|process|2\n");
  const TRun tRun = Run("run --quiet --into target --import-log log");
  EXPECT_EQ(tRun.nStatus, 3);
  EXPECT_EQ(tRun.strError,
            "talvek-import: lost: stream 'Main', file 'a', 1970-01-01 00:00:02 UTC: the provider can't "
            "retrieve it\n"
            "talvek-import: imported 1 stream, 2 changesets, 4 items; 1 loss; 0 seconds\n");
  EXPECT_EQ(Git("target", "ls-tree -r --name-only main"), "a\n");
}

// Git would silently drop the older one. Each has its commit, and what was hidden comes back.
TEST_F(CLossesTest, FileAndFolderOfOneNameTakeTurns) {
  Script(
      "stream|1|0|Main\n"
      "change|1|1|joe|1|x\nitem|1|0|a|file|a\n"
      "change|2|1|joe|2|y\nitem|2|0|a/b|file|b\n"
      "change|3|1|joe|3|z\nitem|3|2|a/b\n");
  const TRun tRun = Run("run --quiet --into target");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(
      tRun.strError,
      "talvek-import: changed: stream 'Main', file 'a/b', 1970-01-01 00:00:02 UTC: a file and a folder have "
      "one name; Git has the one that changed last\n"
      "talvek-import: imported 1 stream, 3 changesets, 3 items; 0 losses; 0 seconds\n");
  EXPECT_EQ(Git("target", "log --format=%s --name-status --no-renames main"),
            "z\n\nA\ta\nD\ta/b\ny\n\nD\ta\nA\ta/b\nx\n\nA\ta\n");
}

TEST_F(CLossesTest, FileAndFolderOfOneNameInOneChangesetAreALoss) {
  Script(
      "stream|1|0|Main\n"
      "change|1|1|joe|1|x\nitem|1|0|a|file|a\nitem|1|0|a/b|file|b\n");
  const TRun tRun = Run("run --quiet --into target --import-log log");
  EXPECT_EQ(tRun.nStatus, 3) << tRun.strError;
  EXPECT_NE(
      tRun.strError.find("talvek-import: lost: stream 'Main', file 'a', 1970-01-01 00:00:01 UTC: the same "
                         "changeset has a folder of its name, or a file of its folder's name\n"),
      std::string::npos)
      << tRun.strError;
  EXPECT_EQ(Git("target", "ls-tree -r --name-only main"), "a/b\n");
}

TEST_F(CLossesTest, HistoryCutShortIsALoss) {
  Script(
      "stream|1|0|Main\n"
      "log|    ** fetch: Logging src\nlog|    ** fetch: broken\nlog|Generating rlog command failed. It is "
      "so.\n"
      "change|1|1|joe|1|x\nitem|1|0|a|file|a\n");
  const TRun tRun = Run("run --quiet --into target --import-log log");
  EXPECT_EQ(tRun.nStatus, 3);
  EXPECT_EQ(tRun.strError,
            "talvek-import: lost: a part of the history, which the repository didn't give: fetch: broken\n"
            "talvek-import: imported 1 stream, 1 changeset, 1 item; 1 loss; 0 seconds\n");
}

TEST_F(CLossesTest, IncompleteLogOfAFileIsALoss) {
  Script(
      "stream|1|0|Main\n"
      "log|Incomplete log of 'mod/x.c': 2 of 3 revisions\n"
      "change|1|1|joe|1|x\nitem|1|0|a|file|a\n");
  const TRun tRun = Run("run --quiet --into target --import-log log");
  EXPECT_EQ(tRun.nStatus, 3);
  EXPECT_EQ(tRun.strError,
            "talvek-import: lost: revisions of 'mod/x.c': 2 of 3 revisions\n"
            "talvek-import: imported 1 stream, 1 changeset, 1 item; 1 loss; 0 seconds\n");
}

// "(consult above messages if any)" is no reason: the message before it is.
TEST_F(CLossesTest, MessageThatPointsToAnEarlierOneDoesntReplaceIt) {
  Script(
      "stream|1|0|Main\n"
      "log|    ** ssh: Connection refused\n"
      "log|    ** cvs: end of file from server (consult above messages if any)\n"
      "log|Generating rlog command failed. It is so.\n");
  EXPECT_EQ(Run("run --quiet --into target --import-log log").strError.substr(0, 74),
            "talvek-import: the repository gives no history: ssh: Connection refused; c");
}

TEST_F(CLossesTest, ImportLogIsKeptAndNamed) {
  Script("stream|1|0|Main\nchange|1|1|joe|1|x\nitem|1|0|a|missing\n");
  const TRun tRun = Run("run --quiet --into target");
  ASSERT_EQ(Leftovers().size(), 1u);
  EXPECT_NE(tRun.strError.find("talvek-import: the import log is " +
                               (Folder() / "tmp" / Leftovers()[0]).string() + '\n'),
            std::string::npos);
}

/// A script with a changeset: the items `strBefore`, then `nCount` files that can't be retrieved.
std::string LostFiles(int nCount, const std::string& strBefore = "") {
  std::string strScript = "stream|1|0|Main\nchange|1|1|joe|1|x\n" + strBefore;
  for (int nFile = 1; nFile <= nCount; ++nFile)
    strScript += "item|1|0|f" + std::to_string(nFile) + "|missing\n";
  return strScript;
}

std::size_t CountLosses(const TRun& tRun) {
  std::size_t nLosses = 0;
  const std::string strHead = "talvek-import: lost: ";
  for (std::size_t nPlace = 0; (nPlace = tRun.strError.find(strHead, nPlace)) != std::string::npos; ++nPlace)
    ++nLosses;
  return nLosses;
}

// Such a run could go on for hours without a result.
TEST_F(CLossesTest, RunWhoseFirstFiftyFilesAreAllLostFails) {
  Script(LostFiles(60));
  const TRun tRun = Run("run --quiet --into target --import-log log");
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_EQ(CountLosses(tRun), 50U);
  EXPECT_TRUE(tRun.strError.ends_with(
      "talvek-import: the first 50 files are all lost; the first one was: stream 'Main', file 'f1', "
      "1970-01-01 00:00:01 UTC: it was not retrieved: fake: no f1 here; correct what causes this, or go on "
      "in spite of it with --max-losses 0\n"))
      << tRun.strError;
  EXPECT_FALSE(std::filesystem::exists(Folder() / "target"));
}

TEST_F(CLossesTest, FewerLostFilesAreNoFailure) {
  Script(LostFiles(49));
  EXPECT_EQ(Run("run --quiet --into target --import-log log").nStatus, 3);
}

TEST_F(CLossesTest, OneFileThatIsThereLetsTheRunGoOn) {
  Script(LostFiles(60, "item|1|0|good|file|good\n"));
  const TRun tRun = Run("run --quiet --into target --import-log log");
  EXPECT_EQ(tRun.nStatus, 3);
  EXPECT_EQ(CountLosses(tRun), 60U);
}

// A deletion needs no file, so it is no proof that files can be retrieved.
TEST_F(CLossesTest, DeletionsAreNotCountedAsFilesThatAreThere) {
  Script(LostFiles(2, "item|1|2|gone\n"));
  EXPECT_EQ(Run("run --quiet --into target --import-log log --max-losses 2").nStatus, 1);
}

TEST_F(CLossesTest, NumberOfFirstLossesCanBeSet) {
  Script(LostFiles(60));
  const TRun tFirst = Run("run --quiet --into target --import-log log --max-losses 1");
  EXPECT_EQ(tFirst.nStatus, 1);
  EXPECT_EQ(CountLosses(tFirst), 1U);
  EXPECT_NE(tFirst.strError.find("talvek-import: the first file is lost: stream 'Main', file 'f1', "),
            std::string::npos)
      << tFirst.strError;
  const TRun tNever = Run("run --quiet --into target --import-log log --max-losses 0");
  EXPECT_EQ(tNever.nStatus, 3);
  EXPECT_EQ(CountLosses(tNever), 60U);
  EXPECT_EQ(Run("run --quiet --into target2 --max-losses=-1").nStatus, 2);
}

}  // namespace
}  // namespace TALVEK::TEST
