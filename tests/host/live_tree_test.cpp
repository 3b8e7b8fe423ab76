#include "host/live_tree.h"

#include <gtest/gtest.h>

#include <string>

namespace TALVEK::HOST {
namespace {

constexpr auto OWN = CLiveTree::OWN_NAME;
constexpr auto CHANGED = CLiveTree::CHANGED_NAME;

/// A tree, and what its changes are in Git: "+a" for a file that is put, "-a" for one that is removed.
class CTree {
 public:
  std::string Put(const std::string& strPath, CLiveTree::TNameKind eKind = OWN) {
    CLiveTree::TChanges atChanges;
    EXPECT_TRUE(m_oTree.CanPut(strPath, eKind));
    const bool bHides = m_oTree.Put({CLiveTree::TFile::MODIFY, ++m_nBlob, strPath}, eKind, atChanges);
    return Text(atChanges) + (bHides ? "!" : "");
  }
  std::string Remove(const std::string& strPath, CLiveTree::TNameKind eKind = OWN) {
    CLiveTree::TChanges atChanges;
    return m_oTree.Remove(strPath, eKind, atChanges) ? Text(atChanges) : "not there";
  }
  bool CanPut(const std::string& strPath, CLiveTree::TNameKind eKind) const {
    return m_oTree.CanPut(strPath, eKind);
  }

 private:
  static std::string Text(const CLiveTree::TChanges& atChanges) {
    std::string strText;
    for (const CLiveTree::TFile& tFile : atChanges) {
      const bool bRemoved = tFile.eKind == CLiveTree::TFile::REMOVE;
      strText += (bRemoved ? "-" + tFile.strPath : "+" + tFile.strPath + std::to_string(tFile.nBlob)) + " ";
    }
    return strText;
  }

  CLiveTree m_oTree;
  CFastImportStream::TMark m_nBlob = 0;
};

TEST(LiveTreeTest, FileCanBePutAgainUntilItIsRemoved) {
  CTree oTree;
  EXPECT_EQ(oTree.Put("a/b"), "+a/b1 ");
  EXPECT_EQ(oTree.Put("a/b"), "+a/b2 ");
  EXPECT_EQ(oTree.Remove("a/b"), "-a/b ");
  EXPECT_EQ(oTree.Remove("a/b"), "not there");
}

TEST(LiveTreeTest, FolderHidesAFileUntilItIsEmpty) {
  CTree oTree;
  oTree.Put("a");
  EXPECT_EQ(oTree.Put("a/b/c"), "-a +a/b/c2 !");
  EXPECT_EQ(oTree.Put("a/d"), "+a/d3 ");
  EXPECT_EQ(oTree.Remove("a/b/c"), "-a/b/c ");
  EXPECT_EQ(oTree.Remove("a/d"), "-a/d +a1 ");
}

TEST(LiveTreeTest, FileHidesAFolderUntilItIsRemoved) {
  CTree oTree;
  oTree.Put("a/b/c");
  oTree.Put("a/d");
  EXPECT_EQ(oTree.Put("a"), "-a +a3 !");
  EXPECT_EQ(oTree.Put("a"), "+a4 ");
  EXPECT_EQ(oTree.Remove("a"), "-a +a/b/c1 +a/d2 ");
}

TEST(LiveTreeTest, ChangeOfWhatIsHiddenShowsIt) {
  CTree oTree;
  oTree.Put("a/b");
  oTree.Put("a/c");
  oTree.Put("a");
  EXPECT_EQ(oTree.Put("a/c"), "-a +a/b1 +a/c2 +a/c4 !");
  EXPECT_EQ(oTree.Put("a"), "-a +a5 !");
}

TEST(LiveTreeTest, RemovalOfWhatIsHiddenChangesNothingInGit) {
  CTree oTree;
  oTree.Put("a/b");
  oTree.Put("a");
  EXPECT_EQ(oTree.Remove("a/b"), "");
  EXPECT_EQ(oTree.Remove("a"), "-a ");
  oTree.Put("a");
  oTree.Put("a/b");
  EXPECT_EQ(oTree.Remove("a"), "");
  EXPECT_EQ(oTree.Remove("a/b"), "-a/b ");
}

TEST(LiveTreeTest, FileAmongTheHiddenOnesStaysHiddenWithThem) {
  CTree oTree;
  oTree.Put("a/b");
  oTree.Put("a/b/c");
  oTree.Put("a");
  EXPECT_EQ(oTree.Remove("a/b/c"), "");
  EXPECT_EQ(oTree.Remove("a"), "-a +a/b1 ");
}

TEST(LiveTreeTest, ExecutableBitComesBackWithTheFile) {
  CLiveTree oTree;
  CLiveTree::TChanges atChanges;
  oTree.Put({CLiveTree::TFile::MODIFY_EXECUTABLE, 1, "a"}, OWN, atChanges);
  oTree.Put({CLiveTree::TFile::MODIFY, 2, "a/b"}, OWN, atChanges);
  oTree.Remove("a/b", OWN, atChanges);
  EXPECT_EQ(atChanges.back().eKind, CLiveTree::TFile::MODIFY_EXECUTABLE);
}

TEST(LiveTreeTest, FolderIsNotRemovedAsAFile) {
  CTree oTree;
  oTree.Put("d/e");
  EXPECT_EQ(oTree.Remove("d"), "not there");
  EXPECT_EQ(oTree.Remove("d/e/f"), "not there");
  EXPECT_EQ(oTree.Remove("d/e"), "-d/e ");
}

TEST(LiveTreeTest, ChangedNameNeverTakesThePlaceOfAnOwnName) {
  CTree oTree;
  oTree.Put(".git_");
  EXPECT_FALSE(oTree.CanPut(".git_", CHANGED));
  EXPECT_EQ(oTree.Remove(".git_", CHANGED), "not there");
  EXPECT_EQ(oTree.Remove(".git_"), "-.git_ ");
  EXPECT_TRUE(oTree.CanPut(".git_", CHANGED));
}

TEST(LiveTreeTest, CopiesGoTheirOwnWays) {
  CTree oTrunk;
  oTrunk.Put("a/b");
  CTree oBranch = oTrunk;
  EXPECT_EQ(oBranch.Put("a"), "-a +a2 !");
  EXPECT_EQ(oTrunk.Put("a/c"), "+a/c2 ");
  EXPECT_EQ(oTrunk.Remove("a/b"), "-a/b ");
  EXPECT_EQ(oBranch.Remove("a/b"), "");
  EXPECT_EQ(oBranch.Remove("a"), "-a ");
}

}  // namespace
}  // namespace TALVEK::HOST
