#include "host/work_folder.h"

#include <gtest/gtest.h>

#include "host/exit_status.h"
#include "tests/support/temp_folder.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

using TEST::CTempFolder;
using TEST::WriteFile;

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
  EXPECT_EQ(oWork.MakeStreamFolder(1, "Main").GetPath(), oWork.GetPath() / "Main");
  EXPECT_EQ(oWork.MakeStreamFolder(2, "a/b").GetPath(), oWork.GetPath() / "a/b");
  // As a provider writes it for the client, which can't make an empty item.
  for (const char* pszName : {"a//b", "a///b/"})
    EXPECT_EQ(oWork.MakeStreamFolder(2, pszName).GetPath(), oWork.GetPath() / "a/b");
  for (const char* pszName : {"", ".", "..", "/", "a/../b", "../x", "/x"}) {
    EXPECT_EQ(oWork.MakeStreamFolder(7, pszName).GetPath(), oWork.GetPath() / "stream-7");
  }
  EXPECT_TRUE(fs::is_directory(oWork.GetPath() / "Main"));
  EXPECT_TRUE(fs::is_directory(oWork.GetPath() / "a/b"));
}

}  // namespace
}  // namespace TALVEK::HOST
