#include "host/live_tree.h"

#include <gtest/gtest.h>

namespace TALVEK::HOST {
namespace {

constexpr auto OWN = CLiveTree::OWN_NAME;
constexpr auto CHANGED = CLiveTree::CHANGED_NAME;

TEST(LiveTreeTest, FileCanBePutAgainUntilItIsRemoved) {
  CLiveTree oTree;
  oTree.Put("a/b", OWN);
  EXPECT_TRUE(oTree.CanPut("a/b", OWN));
  EXPECT_TRUE(oTree.Remove("a/b", OWN));
  EXPECT_FALSE(oTree.Remove("a/b", OWN));
}

TEST(LiveTreeTest, FileAndFolderExcludeEachOther) {
  CLiveTree oTree;
  oTree.Put("a", OWN);
  oTree.Put("d/e/f", OWN);
  EXPECT_FALSE(oTree.CanPut("a/b", OWN));
  EXPECT_FALSE(oTree.CanPut("a/b/c", OWN));
  EXPECT_FALSE(oTree.CanPut("d", OWN));
  EXPECT_FALSE(oTree.CanPut("d/e", OWN));
  EXPECT_TRUE(oTree.CanPut("d/e/g", OWN));
}

TEST(LiveTreeTest, EmptiedFolderMakesWayForAFile) {
  CLiveTree oTree;
  oTree.Put("d/e/f", OWN);
  oTree.Put("d/g", OWN);
  EXPECT_TRUE(oTree.Remove("d/e/f", OWN));
  EXPECT_TRUE(oTree.CanPut("d/e", OWN));
  EXPECT_FALSE(oTree.CanPut("d", OWN));
}

TEST(LiveTreeTest, FolderIsNotRemovedAsAFile) {
  CLiveTree oTree;
  oTree.Put("d/e", OWN);
  EXPECT_FALSE(oTree.Remove("d", OWN));
  EXPECT_FALSE(oTree.Remove("d/e/f", OWN));
  EXPECT_TRUE(oTree.Remove("d/e", OWN));
}

TEST(LiveTreeTest, ChangedNameNeverTakesThePlaceOfAnOwnName) {
  CLiveTree oTree;
  oTree.Put(".git_", OWN);
  EXPECT_FALSE(oTree.CanPut(".git_", CHANGED));
  EXPECT_FALSE(oTree.Remove(".git_", CHANGED));
  EXPECT_TRUE(oTree.Remove(".git_", OWN));
  EXPECT_TRUE(oTree.CanPut(".git_", CHANGED));
}

TEST(LiveTreeTest, CopiesGoTheirOwnWays) {
  CLiveTree oTrunk;
  oTrunk.Put("a/b", OWN);
  CLiveTree oBranch = oTrunk;
  EXPECT_TRUE(oBranch.Remove("a/b", OWN));
  oBranch.Put("a", OWN);
  oTrunk.Put("a/c", OWN);
  EXPECT_TRUE(oTrunk.Remove("a/b", OWN));
  EXPECT_TRUE(oTrunk.Remove("a/c", OWN));
  EXPECT_TRUE(oBranch.Remove("a", OWN));
}

}  // namespace
}  // namespace TALVEK::HOST
