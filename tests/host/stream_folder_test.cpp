#include "host/stream_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "tests/support/temp_folder.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

using TEST::CTempFolder;
using TEST::WriteFile;

CItemPath Item(const char* pszPath) {
  return CItemPath::Parse(pszPath).value();
}

std::string Problem(const fs::path& oFolder, const char* pszPath) {
  return CStreamFolder(oFolder).Open(Item(pszPath)).strProblem;
}

TEST(ItemPathTest, IsSplitAtSlashesWithoutEmptyItems) {
  EXPECT_EQ(Item("a").GetItems(), std::vector<std::string>{"a"});
  EXPECT_EQ(Item("/a//b.c/").GetItems(), (std::vector<std::string>{"a", "b.c"}));
  EXPECT_EQ(Item("/a//b.c/").GetText(), "a/b.c");
}

TEST(ItemPathTest, PathThatLeadsToNoFileIsNone) {
  for (const std::string_view strPath :
       {std::string_view(""), std::string_view("/"), std::string_view("."), std::string_view("../outside"),
        std::string_view("a/./b"), std::string_view("a/.."), std::string_view("a\0b", 3)})
    EXPECT_FALSE(CItemPath::Parse(strPath)) << strPath;
}

TEST(StreamFolderTest, FileIsOpenedWithSizeAndExecutableBit) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "a/plain", "12345");
  WriteFile(oFolder / "run", "");
  chmod((oFolder / "run").c_str(), 0700);
  const TRetrievedFile tPlain = CStreamFolder(oFolder.Path()).Open(Item("a/plain"));
  EXPECT_TRUE(tPlain.oDescriptor.IsOpen());
  EXPECT_EQ(tPlain.nSize, 5u);
  EXPECT_FALSE(tPlain.bExecutable);
  EXPECT_TRUE(CStreamFolder(oFolder.Path()).Open(Item("run")).bExecutable);
}

TEST(StreamFolderTest, WhatIsNoFileBelowTheFolderIsNotOpened) {
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
  EXPECT_EQ(Problem(oStream, "folder"), "it is not a regular file");
  EXPECT_EQ(Problem(oStream, "pipe"), "it is not a regular file");
}

TEST(StreamFolderTest, ClearingRemovesWhateverIsInTheWay) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "file", "");
  WriteFile(oFolder / "folder/CVS/Entries", "");
  WriteFile(oFolder / "parent", "");
  WriteFile(oFolder / "kept/file", "");
  for (const char* pszPath : {"file", "folder", "parent/of/file", "kept/other", "none/at/all"}) {
    CStreamFolder(oFolder.Path()).Clear(Item(pszPath));
  }
  EXPECT_FALSE(fs::exists(oFolder / "file"));
  EXPECT_FALSE(fs::exists(oFolder / "folder"));
  EXPECT_FALSE(fs::exists(oFolder / "parent"));
  EXPECT_TRUE(fs::exists(oFolder / "kept/file"));
}

TEST(StreamFolderTest, ClearingFollowsNoLink) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "outside/file", "");
  fs::create_directory(oFolder / "stream");
  fs::create_symlink("../outside", oFolder / "stream/link");
  CStreamFolder(oFolder / "stream").Clear(Item("link/file"));
  EXPECT_TRUE(fs::exists(oFolder / "outside/file"));
  EXPECT_FALSE(fs::is_symlink(oFolder / "stream/link"));
}

TEST(StreamFolderTest, EmptyingKeepsTheFolderAndFollowsNoLink) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "outside/file", "");
  WriteFile(oFolder / "stream/a/CVS/Entries", "");
  WriteFile(oFolder / "stream/b", "");
  fs::create_symlink("../outside", oFolder / "stream/link");
  CStreamFolder(oFolder / "stream").Empty();
  CStreamFolder(oFolder / "none").Empty();
  EXPECT_TRUE(fs::is_empty(oFolder / "stream"));
  EXPECT_TRUE(fs::exists(oFolder / "outside/file"));
}

TEST(StreamFolderTest, APathIsThereWhateverItIs) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "a/file", "");
  fs::create_symlink("nowhere", oFolder / "link");
  for (const char* pszPath : {"a", "a/file", "link"})
    EXPECT_TRUE(CStreamFolder(oFolder.Path()).Has(Item(pszPath))) << pszPath;
  for (const char* pszPath : {"b", "a/b", "a/file/c"})
    EXPECT_FALSE(CStreamFolder(oFolder.Path()).Has(Item(pszPath))) << pszPath;
}

}  // namespace
}  // namespace TALVEK::HOST
