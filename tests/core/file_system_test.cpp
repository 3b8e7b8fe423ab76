#include "core/file_system.h"

#include <cerrno>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/text_codec.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::VCM {
namespace {

using TEST::CTempFolder;

CString Wide(const std::filesystem::path& oPath) {
  return FromBytes(oPath.string());
}

/// A file with these permissions.
CString MakeFile(const std::filesystem::path& oPath, mode_t nMode) {
  TEST::WriteFile(oPath, "content");
  ::chmod(oPath.c_str(), nMode);
  return Wide(oPath);
}

mode_t GetPermissions(const std::filesystem::path& oPath) {
  struct stat tStatus {};
  if (::lstat(oPath.c_str(), &tStatus) != 0) throw std::runtime_error("no such file: " + oPath.string());
  return tStatus.st_mode & 07777;
}

int CountDescriptors() {
  int nCount = 0;
  for (int nDescriptor = 0; nDescriptor < 1024; ++nDescriptor)
    nCount += ::fcntl(nDescriptor, F_GETFD) >= 0 ? 1 : 0;
  return nCount;
}

TEST(FileSystemTest, FilesAndFoldersAreToldApart) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "file", "");
  std::filesystem::create_symlink("file", oFolder / "to-file");
  std::filesystem::create_symlink(".", oFolder / "to-folder");
  std::filesystem::create_symlink("none", oFolder / "to-nothing");
  const struct {
    const char* pszName;
    bool bFile, bFolder;
  } atCases[] = {{"file", true, false},      {".", false, true},           {"to-file", true, false},
                 {"to-folder", false, true}, {"to-nothing", false, false}, {"none", false, false},
                 {"", false, true},          {"file/x", false, false}};
  for (const auto& tCase : atCases) {
    EXPECT_EQ(FileExists(Wide(oFolder / tCase.pszName)), tCase.bFile) << tCase.pszName;
    EXPECT_EQ(FolderExists(Wide(oFolder / tCase.pszName)), tCase.bFolder) << tCase.pszName;
  }
}

TEST(FileSystemTest, DeviceIsNeitherFileNorFolder) {
  EXPECT_FALSE(FileExists(L"/dev/null"));
  EXPECT_FALSE(FolderExists(L"/dev/null"));
}

TEST(FileSystemTest, PathWithNulNamesNothing) {
  const CTempFolder oFolder;
  const CString strFile = MakeFile(oFolder / "a", 0444);
  const CString strPath = strFile + CString(std::wstring_view(L"\0x", 2));
  EXPECT_FALSE(FileExists(strPath));
  EXPECT_FALSE(FolderExists(strPath));
  EXPECT_FALSE(CreateFolder(strPath, 0777));
  EXPECT_FALSE(RemoveFile(strPath));
  EXPECT_FALSE(MakeFileWritable(strPath));
  EXPECT_FALSE(MakeFileReadOnly(strPath));
  EXPECT_FALSE(CWorkingFolderScope(strPath).HasEntered());
  EXPECT_TRUE(FileExists(strFile));
}

TEST(FileSystemTest, NameInNoEncodingIsReached) {
  const CTempFolder oFolder;
  const CString strPath = Wide(oFolder / "\xe9\xff");
  EXPECT_TRUE(CreateFolder(strPath, 0700));
  EXPECT_TRUE(std::filesystem::is_directory(oFolder / "\xe9\xff"));
  EXPECT_TRUE(FolderExists(strPath));
}

TEST(FileSystemTest, FolderIsCreatedWithModeLessTheProcessMask) {
  const CTempFolder oFolder;
  const mode_t nPrevious = ::umask(027);
  EXPECT_TRUE(CreateFolder(Wide(oFolder / "open"), 0777));
  EXPECT_TRUE(CreateFolder(Wide(oFolder / "closed"), 0700));
  ::umask(nPrevious);
  EXPECT_EQ(GetPermissions(oFolder / "open"), 0750u);
  EXPECT_EQ(GetPermissions(oFolder / "closed"), 0700u);
}

TEST(FileSystemTest, FolderThatCannotBeCreatedSaysWhy) {
  const CTempFolder oFolder;
  EXPECT_FALSE(CreateFolder(Wide(oFolder.Path()), 0777));
  EXPECT_EQ(errno, EEXIST);
  EXPECT_FALSE(CreateFolder(Wide(oFolder / "none/below"), 0777));
  EXPECT_EQ(errno, ENOENT);
}

TEST(FileSystemTest, RemovingTakesTheFileOnce) {
  const CTempFolder oFolder;
  const CString strFile = MakeFile(oFolder / "a", 0444);
  EXPECT_TRUE(RemoveFile(strFile));
  EXPECT_FALSE(std::filesystem::exists(oFolder / "a"));
  EXPECT_FALSE(RemoveFile(strFile));
  EXPECT_EQ(errno, ENOENT);
}

TEST(FileSystemTest, RemovingALinkKeepsItsTarget) {
  const CTempFolder oFolder;
  MakeFile(oFolder / "a", 0644);
  std::filesystem::create_symlink("a", oFolder / "link");
  EXPECT_TRUE(RemoveFile(Wide(oFolder / "link")));
  EXPECT_TRUE(std::filesystem::exists(oFolder / "a"));
}

TEST(FileSystemTest, FolderIsNotRemovedAsAFile) {
  const CTempFolder oFolder;
  EXPECT_FALSE(RemoveFile(Wide(oFolder.Path())));
  EXPECT_TRUE(std::filesystem::exists(oFolder.Path()));
}

// The mode bits decide. So root, who may write to any file, gets the same results.
TEST(FileSystemTest, MakingWritableTouchesOnlyTheOwnersWriteBit) {
  const CTempFolder oFolder;
  const struct {
    mode_t nBefore, nAfter;
    bool bWasReadOnly;
  } atCases[] = {{0444, 0644, true},  {0555, 0755, true},  {0000, 0200, true},  {0466, 0666, true},
                 {0644, 0644, false}, {0200, 0200, false}, {0777, 0777, false}, {04555, 04755, true}};
  for (const auto& tCase : atCases) {
    const CString strFile = MakeFile(oFolder / "a", tCase.nBefore);
    bool bWasReadOnly = !tCase.bWasReadOnly;
    EXPECT_TRUE(MakeFileWritable(strFile, &bWasReadOnly)) << std::oct << tCase.nBefore;
    EXPECT_EQ(bWasReadOnly, tCase.bWasReadOnly) << std::oct << tCase.nBefore;
    EXPECT_EQ(GetPermissions(oFolder / "a"), tCase.nAfter) << std::oct << tCase.nBefore;
    std::filesystem::remove(oFolder / "a");
  }
}

TEST(FileSystemTest, MakingReadOnlyTakesEveryWriteBit) {
  const CTempFolder oFolder;
  const struct {
    mode_t nBefore, nAfter;
  } atCases[] = {{0644, 0444}, {0777, 0555}, {0444, 0444}, {0222, 0000}, {04755, 04555}};
  for (const auto& tCase : atCases) {
    const CString strFile = MakeFile(oFolder / "a", tCase.nBefore);
    EXPECT_TRUE(MakeFileReadOnly(strFile)) << std::oct << tCase.nBefore;
    EXPECT_EQ(GetPermissions(oFolder / "a"), tCase.nAfter) << std::oct << tCase.nBefore;
    std::filesystem::remove(oFolder / "a");
  }
}

TEST(FileSystemTest, MakingWritableWorksWithoutAPlaceForTheFormerState) {
  const CTempFolder oFolder;
  EXPECT_TRUE(MakeFileWritable(MakeFile(oFolder / "a", 0444)));
  EXPECT_EQ(GetPermissions(oFolder / "a"), 0644u);
}

TEST(FileSystemTest, PermissionsAreNeverChangedThroughALink) {
  const CTempFolder oFolder;
  MakeFile(oFolder / "read-only", 0444);
  MakeFile(oFolder / "writable", 0644);
  std::filesystem::create_symlink("read-only", oFolder / "to-read-only");
  std::filesystem::create_symlink("writable", oFolder / "to-writable");
  EXPECT_FALSE(MakeFileWritable(Wide(oFolder / "to-read-only")));
  EXPECT_FALSE(MakeFileReadOnly(Wide(oFolder / "to-writable")));
  EXPECT_EQ(GetPermissions(oFolder / "read-only"), 0444u);
  EXPECT_EQ(GetPermissions(oFolder / "writable"), 0644u);
}

TEST(FileSystemTest, OnlyRegularFilesHaveTheirPermissionsChanged) {
  const CTempFolder oFolder;
  ASSERT_EQ(::mkdir((oFolder / "folder").c_str(), 0555), 0);
  ASSERT_EQ(::mkfifo((oFolder / "pipe").c_str(), 0444), 0);
  for (const char* pszName : {"folder", "pipe", "none"}) {
    bool bWasReadOnly = true;
    EXPECT_FALSE(MakeFileWritable(Wide(oFolder / pszName), &bWasReadOnly)) << pszName;
    EXPECT_FALSE(bWasReadOnly) << pszName;
    EXPECT_FALSE(MakeFileReadOnly(Wide(oFolder / pszName))) << pszName;
  }
  EXPECT_EQ(GetPermissions(oFolder / "folder"), 0555u);
  EXPECT_EQ(GetPermissions(oFolder / "pipe"), 0444u);
}

TEST(FileSystemTest, WritableFileReportsMissingByErrno) {
  const CTempFolder oFolder;
  EXPECT_FALSE(MakeFileWritable(Wide(oFolder / "none")));
  EXPECT_EQ(errno, ENOENT);
}

TEST(FileSystemTest, NoDescriptorIsLeftOpen) {
  const CTempFolder oFolder;
  const int nBefore = CountDescriptors();
  const CString strFile = MakeFile(oFolder / "a", 0444);
  MakeFileWritable(strFile);
  MakeFileReadOnly(strFile);
  MakeFileWritable(Wide(oFolder.Path()));
  { const CWorkingFolderScope oScope(Wide(oFolder.Path())); }
  { const CWorkingFolderScope oScope(strFile); }
  EXPECT_EQ(CountDescriptors(), nBefore);
}

TEST(WorkingFolderScopeTest, ScopeEntersAndGoesBack) {
  const CTempFolder oFolder;
  const std::filesystem::path oPrevious = std::filesystem::current_path();
  {
    const CWorkingFolderScope oScope(Wide(oFolder.Path()));
    EXPECT_TRUE(oScope.HasEntered());
    EXPECT_EQ(std::filesystem::current_path(), std::filesystem::canonical(oFolder.Path()));
  }
  EXPECT_EQ(std::filesystem::current_path(), oPrevious);
}

TEST(WorkingFolderScopeTest, FolderThatCannotBeEnteredChangesNothing) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "file", "");
  const std::filesystem::path oPrevious = std::filesystem::current_path();
  for (const char* pszName : {"none", "file"}) {
    const CWorkingFolderScope oScope(Wide(oFolder / pszName));
    EXPECT_FALSE(oScope.HasEntered()) << pszName;
    EXPECT_EQ(std::filesystem::current_path(), oPrevious) << pszName;
  }
  EXPECT_EQ(std::filesystem::current_path(), oPrevious);
}

TEST(WorkingFolderScopeTest, RenamedFolderIsFoundAgain) {
  const CTempFolder oFolder;
  const std::filesystem::path oPrevious = std::filesystem::current_path();
  std::filesystem::create_directory(oFolder / "old");
  std::filesystem::current_path(oFolder / "old");
  {
    const CWorkingFolderScope oScope(L"/");
    std::filesystem::rename(oFolder / "old", oFolder / "new");
  }
  const std::filesystem::path oAfter = std::filesystem::current_path();
  std::filesystem::current_path(oPrevious);
  EXPECT_EQ(oAfter, std::filesystem::canonical(oFolder / "new"));
}

TEST(WorkingFolderScopeTest, ScopesNest) {
  const CTempFolder oFolder;
  std::filesystem::create_directory(oFolder / "inner");
  const CWorkingFolderScope oOuter(Wide(oFolder.Path()));
  { const CWorkingFolderScope oInner(L"inner"); }
  EXPECT_EQ(std::filesystem::current_path(), std::filesystem::canonical(oFolder.Path()));
}

}  // namespace
}  // namespace TALVEK::VCM
