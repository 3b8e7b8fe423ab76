#include "core/path.h"

#include <gtest/gtest.h>

#include <climits>
#include <string_view>

#include "core/exceptions.h"
#include "tests/support/print.h"

namespace TALVEK::VCM {
namespace {

using namespace std::string_view_literals;

CFilePath Path(const wchar_t* pszText) {
  CFilePath oPath;
  EXPECT_TRUE(oPath.Parse(pszText));
  return oPath;
}

TEST(PathTest, ParseDropsEmptyItemsAndRemembersALeadingSlash) {
  const struct {
    const wchar_t* pszText;
    const wchar_t* pszPath;
    int nCount;
    bool bAbsolute;
  } atCases[] = {
      {L"", L"", 0, false},
      {L"/", L"/", 0, true},
      {L"a", L"a", 1, false},
      {L"/a", L"/a", 1, true},
      {L"a/b", L"a/b", 2, false},
      {L"a//b/", L"a/b", 2, false},
      {L"///a///b", L"/a/b", 2, true},
      {L"./../a", L"./../a", 3, false},
      {L"a b/\xE9", L"a b/\xE9", 2, false},
      {L"a\\b", L"a\\b", 1, false},
  };
  for (const auto& tCase : atCases) {
    const CFilePath oPath = Path(tCase.pszText);
    EXPECT_EQ(oPath.GeneratePath(), tCase.pszPath);
    EXPECT_EQ(oPath.GetCount(), tCase.nCount) << testing::PrintToString(oPath);
    EXPECT_EQ(oPath.IsAbsolute(), tCase.bAbsolute) << testing::PrintToString(oPath);
  }
}

TEST(PathTest, RepositoryPathIsAlwaysRelative) {
  CFilePath oPath;
  EXPECT_TRUE(oPath.Parse(L"/mod/a.c", CFilePath::PARSE_REPOSITORY));
  EXPECT_EQ(oPath.GeneratePath(), L"mod/a.c");
  EXPECT_FALSE(oPath.IsAbsolute());
}

TEST(PathTest, RepositoryPathWithDotItemsDoesNotParse) {
  for (const wchar_t* pszText : {L".", L"..", L"/..", L"mod/../a", L"mod/./a", L"mod/..", L"mod//..//"}) {
    CFilePath oPath = Path(L"before");
    EXPECT_FALSE(oPath.Parse(pszText, CFilePath::PARSE_REPOSITORY));
    EXPECT_EQ(oPath, CFilePath()) << testing::PrintToString(oPath);
  }
  CFilePath oPath;
  EXPECT_TRUE(oPath.Parse(L"mod/.a/..b/c./...", CFilePath::PARSE_REPOSITORY));
  EXPECT_EQ(oPath.GetCount(), 5);
}

TEST(PathTest, RepositoryPathWithoutItemsIsAnEmptyPath) {
  for (const wchar_t* pszText : {L"", L"/", L"//"}) {
    CFilePath oPath = Path(L"before");
    EXPECT_TRUE(oPath.Parse(pszText, CFilePath::PARSE_REPOSITORY));
    EXPECT_EQ(oPath, CFilePath());
  }
}

TEST(PathTest, PlainPathWithANulDoesNotParse) {
  CFilePath oPath = Path(L"/before");
  EXPECT_FALSE(oPath.Parse(CString(L"a\0b"sv)));
  EXPECT_EQ(oPath, CFilePath());
}

TEST(PathTest, ParseReplacesThePathBefore) {
  CFilePath oPath = Path(L"/a/b/c");
  EXPECT_TRUE(oPath.Parse(L"d"));
  EXPECT_EQ(oPath, Path(L"d"));
  EXPECT_FALSE(oPath.IsAbsolute());
  oPath.Clear();
  EXPECT_EQ(oPath, CFilePath());
}

TEST(PathTest, AddAppendsEachItemOfTheText) {
  CFilePath oPath;
  oPath.Add(L"a");
  oPath.Add(L"/b//c/");
  oPath.Add(L"");
  oPath.Add(L"/");
  EXPECT_EQ(oPath, Path(L"a/b/c"));
  CFilePath oRoot = Path(L"/");
  oRoot.Add(L"a");
  EXPECT_EQ(oRoot, Path(L"/a"));
}

TEST(PathTest, ItemsAreRemovedFromEitherEnd) {
  CFilePath oPath = Path(L"/a/b/c");
  EXPECT_TRUE(oPath.RemoveLastItem());
  EXPECT_EQ(oPath, Path(L"/a/b"));
  EXPECT_TRUE(oPath.RemoveFirstItem());
  EXPECT_EQ(oPath, Path(L"/b"));
  EXPECT_TRUE(oPath.RemoveFirstItem());
  EXPECT_EQ(oPath, Path(L"/"));
  EXPECT_FALSE(oPath.RemoveFirstItem());
  EXPECT_FALSE(oPath.RemoveLastItem());
  EXPECT_EQ(oPath, Path(L"/"));
  oPath = Path(L"a");
  EXPECT_TRUE(oPath.RemoveLastItem());
  EXPECT_EQ(oPath, CFilePath());
}

TEST(PathTest, GetItemTextGivesEachItemAndThrowsBeyond) {
  const CFilePath oPath = Path(L"/usr/bb/c");
  EXPECT_EQ(oPath.GetItemText(0), L"usr");
  EXPECT_EQ(oPath.GetItemText(1), L"bb");
  EXPECT_EQ(oPath.GetItemText(2), L"c");
  for (const int nIndex : {-1, 3, INT_MAX})
    EXPECT_THROW(oPath.GetItemText(nIndex), EArrayIndexOutOfRange);
  EXPECT_THROW(CFilePath().GetItemText(0), EArrayIndexOutOfRange);
}

TEST(PathTest, GeneratePathUsesTheChosenSeparator) {
  EXPECT_EQ(Path(L"/a/b c/d").GeneratePath(L'\\'), L"\\a\\b c\\d");
  EXPECT_EQ(Path(L"a/b").GeneratePath(L':'), L"a:b");
}

TEST(PathTest, GeneratePathBelowABaseTakesTheBasesKind) {
  const struct {
    const wchar_t* pszBase;
    const wchar_t* pszPath;
    const wchar_t* pszJoined;
  } atCases[] = {
      {L"/base/x", L"a/b", L"/base/x/a/b"},
      {L"base", L"/a", L"base/a"},
      {L"/", L"a", L"/a"},
      {L"", L"/a/b", L"a/b"},
      {L"/base", L"", L"/base"},
      {L"", L"", L""},
  };
  for (const auto& tCase : atCases)
    EXPECT_EQ(Path(tCase.pszPath).GeneratePath(Path(tCase.pszBase)), tCase.pszJoined);
  EXPECT_EQ(Path(L"a/b").GeneratePath(Path(L"/c"), L'\\'), L"\\c\\a\\b");
}

TEST(PathTest, GenerateFolderPathLeavesTheLastItemOut) {
  const struct {
    const wchar_t* pszPath;
    const wchar_t* pszFolder;
  } atCases[] = {{L"a/b/c", L"a/b"}, {L"/a/b", L"/a"}, {L"/a", L"/"}, {L"a", L""}, {L"/", L"/"}, {L"", L""}};
  for (const auto& tCase : atCases)
    EXPECT_EQ(Path(tCase.pszPath).GenerateFolderPath(), tCase.pszFolder);
  EXPECT_EQ(Path(L"a/b/c").GenerateFolderPath(L'\\'), L"a\\b");
}

TEST(PathTest, PathsAreComparedWithOrWithoutRegardToCase) {
  EXPECT_TRUE(Path(L"a/b").IsEqualTo(Path(L"a//b/"), true));
  EXPECT_FALSE(Path(L"a/b").IsEqualTo(Path(L"a/B"), true));
  EXPECT_TRUE(Path(L"a/b\xC9").IsEqualTo(Path(L"A/B\xE9"), false));
  EXPECT_FALSE(Path(L"a/b").IsEqualTo(Path(L"a/c"), false));
  EXPECT_FALSE(Path(L"a/b").IsEqualTo(Path(L"/a/b"), true));
  EXPECT_FALSE(Path(L"a/b").IsEqualTo(Path(L"/a/b"), false));
  EXPECT_FALSE(Path(L"a/b").IsEqualTo(Path(L"a"), true));
}

}  // namespace
}  // namespace TALVEK::VCM
