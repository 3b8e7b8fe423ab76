#include "session/admin_files.h"

#include <gtest/gtest.h>

namespace TALVEK::SESSION {
namespace {

std::string Added(const char* pszEntries, const char* pszLog, const char* pszLine) {
  CEntries oEntries;
  if (!oEntries.Parse(pszEntries, pszLog)) return "for the client";
  oEntries.Add(pszLine);
  return oEntries.Text();
}

TEST(EntriesTest, ANewLineReplacesTheOldOneAndComesLast) {
  EXPECT_EQ(Added("/a/1.1/x//T1.1\nD/s////\n/b/1.1/x//T1.1\n", "", "/a/1.2/y//T1.2"),
            "D/s////\n/b/1.1/x//T1.1\n/a/1.2/y//T1.2\n");
}

TEST(EntriesTest, TheLogComesAfterTheList) {
  EXPECT_EQ(Added("/a/1.1/x//T1.1\n/c/1.1/x//T1.1\n", "A D/s////\nR /a/1.1/x//T1.1\n", "/b/1.1/x//T1.1"),
            "/c/1.1/x//T1.1\nD/s////\n/b/1.1/x//T1.1\n");
}

TEST(EntriesTest, ALineDSaysThatThereIsNoSubFolder) {
  EXPECT_EQ(Added("D\n", "", "/a/1.1/x//T1.1"), "/a/1.1/x//T1.1\nD\n");
  EXPECT_EQ(Added("D\n", "", "D/s////"), "D/s////\n");
}

TEST(EntriesTest, UnknownLinesAreForTheClient) {
  for (const char* pszEntries : {"x\n", "/a/1.1\n", "/a/1.1/x//T1.1", "//1.1/x//T1.1\n", "D//////\n", "\n"})
    EXPECT_EQ(Added(pszEntries, "", "/b/1.1/x//"), "for the client") << pszEntries;
  EXPECT_EQ(Added("", "X /a/1.1/x//\n", "/b/1.1/x//"), "for the client");
}

}  // namespace
}  // namespace TALVEK::SESSION
