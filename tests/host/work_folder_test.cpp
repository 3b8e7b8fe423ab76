#include "host/work_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/exit_status.h"
#include "tests/support/temp_folder.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

using TEST::CTempFolder;
using TEST::WriteFile;

std::string Problem(const fs::path& oFolder, const char* pszPath) {
  return CWorkFolder::OpenFile(oFolder, pszPath).strProblem;
}

TEST(WorkFolderTest, FileIsOpenedWithSizeAndExecutableBit) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "a/plain", "12345");
  WriteFile(oFolder / "run", "");
  chmod((oFolder / "run").c_str(), 0700);
  const TRetrievedFile tPlain = CWorkFolder::OpenFile(oFolder.Path(), "a/plain");
  EXPECT_TRUE(tPlain.oDescriptor.IsOpen());
  EXPECT_EQ(tPlain.nSize, 5u);
  EXPECT_FALSE(tPlain.bExecutable);
  EXPECT_TRUE(CWorkFolder::OpenFile(oFolder.Path(), "run").bExecutable);
}

TEST(WorkFolderTest, WhatIsNoFileBelowTheFolderIsNotOpened) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "outside", "secret");
  WriteFile(oFolder / "stream/a", "");
  fs::create_symlink("../outside", oFolder / "stream/link");
  fs::create_symlink("..", oFolder / "stream/linked");
  fs::create_directory(oFolder / "stream/folder");
  mkfifo((oFolder / "stream/pipe").c_str(), 0600);
  const fs::path oStream = oFolder / "stream";
  EXPECT_EQ(Problem(oStream, "none"), "it was not retrieved");
  EXPECT_EQ(Problem(oStream, "no/ne"), "it was not retrieved");
  EXPECT_EQ(Problem(oStream, "a/b"), "it was not retrieved");
  EXPECT_EQ(Problem(oStream, "link"), "it is a symbolic link");
  EXPECT_EQ(Problem(oStream, "linked/outside"), "it was not retrieved");
  EXPECT_EQ(Problem(oStream, "../outside"), "its path leads to no file");
  EXPECT_EQ(Problem(oStream, "./a"), "its path leads to no file");
  EXPECT_EQ(Problem(oStream, ""), "its path leads to no file");
  EXPECT_EQ(Problem(oStream, "folder"), "it is not a regular file");
  EXPECT_EQ(Problem(oStream, "pipe"), "it is not a regular file");
}

TEST(WorkFolderTest, ClearingRemovesWhateverIsInTheWay) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "file", "");
  WriteFile(oFolder / "folder/CVS/Entries", "");
  WriteFile(oFolder / "parent", "");
  WriteFile(oFolder / "kept/file", "");
  for (const char* pszPath : {"file", "folder", "parent/of/file", "kept/other", "none/at/all"}) {
    CWorkFolder::ClearPath(oFolder.Path(), pszPath);
  }
  EXPECT_FALSE(fs::exists(oFolder / "file"));
  EXPECT_FALSE(fs::exists(oFolder / "folder"));
  EXPECT_FALSE(fs::exists(oFolder / "parent"));
  EXPECT_TRUE(fs::exists(oFolder / "kept/file"));
}

TEST(WorkFolderTest, ClearingFollowsNoLink) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "outside/file", "");
  fs::create_directory(oFolder / "stream");
  fs::create_symlink("../outside", oFolder / "stream/link");
  CWorkFolder::ClearPath(oFolder / "stream", "link/file");
  CWorkFolder::ClearPath(oFolder / "stream", "../outside/file");
  EXPECT_TRUE(fs::exists(oFolder / "outside/file"));
  EXPECT_FALSE(fs::is_symlink(oFolder / "stream/link"));
}

TEST(WorkFolderTest, EmptyingKeepsTheFolderAndFollowsNoLink) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "outside/file", "");
  WriteFile(oFolder / "stream/a/CVS/Entries", "");
  WriteFile(oFolder / "stream/b", "");
  fs::create_symlink("../outside", oFolder / "stream/link");
  CWorkFolder::EmptyFolder(oFolder / "stream");
  CWorkFolder::EmptyFolder(oFolder / "none");
  EXPECT_TRUE(fs::is_empty(oFolder / "stream"));
  EXPECT_TRUE(fs::exists(oFolder / "outside/file"));
}

TEST(WorkFolderTest, APathIsThereWhateverItIs) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "a/file", "");
  fs::create_symlink("nowhere", oFolder / "link");
  for (const char* pszPath : {"a", "a/file", "link"})
    EXPECT_TRUE(CWorkFolder::HasPath(oFolder.Path(), pszPath)) << pszPath;
  for (const char* pszPath : {"b", "a/b", "a/file/c", "../a", ""})
    EXPECT_FALSE(CWorkFolder::HasPath(oFolder.Path(), pszPath)) << pszPath;
}

TEST(WorkFolderTest, FolderOfAnEarlierRunIsEmptiedAndUsedAgain) {
  const CTempFolder oFolder;
  const fs::path oPath = oFolder / "work";
  { const CWorkFolder oWork(oPath); }
  WriteFile(oPath / "Main/old", "");
  { const CWorkFolder oWork(oPath); }
  EXPECT_FALSE(fs::exists(oPath / "Main"));
  EXPECT_TRUE(fs::exists(oPath));
}

TEST(WorkFolderTest, FolderWithForeignFilesIsRefused) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "mine", "");
  try {
    const CWorkFolder oWork(oFolder.Path());
    FAIL() << "no error";
  } catch (const EHostError& oError) {
    EXPECT_EQ(oError.GetStatus(), STATUS_WRONG_USE);
    EXPECT_EQ(std::string(oError.what()),
              "the work folder '" + oFolder.Path().string() +
                  "' is not empty; give an empty one with --work, or none to use a temporary folder");
  }
  EXPECT_TRUE(fs::exists(oFolder / "mine"));
}

TEST(WorkFolderTest, TemporaryFolderGoesAtTheEnd) {
  fs::path oPath;
  {
    const CWorkFolder oWork("");
    oPath = oWork.GetPath();
    EXPECT_TRUE(fs::is_directory(oPath));
  }
  EXPECT_FALSE(fs::exists(oPath));
}

TEST(WorkFolderTest, StreamNamesThatLeadElsewhereGetAFolderOfTheirOwn) {
  const CWorkFolder oWork("");
  EXPECT_EQ(oWork.MakeStreamFolder(1, "Main"), oWork.GetPath() / "Main");
  EXPECT_EQ(oWork.MakeStreamFolder(2, "a/b"), oWork.GetPath() / "a/b");
  for (const char* pszName : {"", ".", "..", "a//b", "a/", "a/../b", "../x", "/x"}) {
    EXPECT_EQ(oWork.MakeStreamFolder(7, pszName), oWork.GetPath() / "stream-7");
  }
  EXPECT_TRUE(fs::is_directory(oWork.GetPath() / "Main"));
  EXPECT_TRUE(fs::is_directory(oWork.GetPath() / "a/b"));
}

}  // namespace
}  // namespace TALVEK::HOST
