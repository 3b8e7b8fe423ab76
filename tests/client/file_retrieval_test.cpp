#include "client/file_retrieval.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "tests/client/client_fixture.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;

class FileRetrievalTest : public ClientTest {
 protected:
  FileRetrievalTest() {
    fs::create_directory(m_oFolder / "client");
    m_oClientFolder.SetPath(VCM::FromBytes((m_oFolder / "client").string()));
    FakeCvs(WRITING_CLIENT, 1);
  }
  void CheckOut(const wchar_t* pszStream, const wchar_t* pszPath, const wchar_t* pszRevision = L"1.4") {
    CLIENT::TWantedFile tFile{{L"/repo", L"mod"}, pszStream, {}, pszRevision};
    tFile.oPath.Parse(pszPath);
    m_oFiles.CheckOut(tFile, VCM::FromBytes(Target(pszPath).string()));
  }
  void CheckOutFromFolder(const wchar_t* pszStream, const wchar_t* pszPath) {
    CLIENT::TWantedFile tFile{{L"/repo", L"mod"}, pszStream, {}, L"1.4"};
    tFile.oPath.Parse(pszPath);
    m_oFiles.CheckOutFromFolder(tFile, VCM::FromBytes(Target(pszPath).string()));
  }
  fs::path Target(const wchar_t* pszPath) const { return m_oFolder / "client/Main" / pszPath; }

  CLIENT::CClientFolder m_oClientFolder{m_oClient, m_oLog};
  CLIENT::CFileRetrieval m_oFiles{m_oClient, m_oClientFolder, m_oLog};
};

TEST_F(FileRetrievalTest, FileIsCheckedOutIntoItsFolderOfTheStream) {
  CheckOut(L"Main", L"src/main.c");
  CheckOut(L"Main", L"README", L"1.2.2.7");
  EXPECT_EQ(Log(),
            "Performing command FAKE -d /repo checkout -r 1.4 -d \"Main/src\" \"mod/src/main.c\"\n"
            "Performing command FAKE -d /repo checkout -r 1.2.2.7 -d \"Main\" \"mod/README\"\n");
  EXPECT_EQ(Calls(),
            "in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[1.4]\n[-d]\n[Main/src]\n[mod/src/main.c]\n"
            "in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[1.2.2.7]\n[-d]\n[Main]\n[mod/README]\n");
  EXPECT_EQ(ReadFile(Target(L"src/main.c")), "new\n");
  EXPECT_EQ(ReadFile(Target(L"README")), "new\n");
}

/// A client that gives each revision of the folder's files, and no file of a folder.
constexpr char PSZ_FOLDER_CLIENT[] = R"(record "$@"
[ "$4" = -l ] && mkdir -p .folder/CVS && echo new > .folder/a && echo other > .folder/b)";

TEST_F(FileRetrievalTest, FileWhoseNameIsAFoldersComesFromItsFolder) {
  FakeCvs(PSZ_FOLDER_CLIENT, 1);
  // What the client has left that took the file for the folder.
  WriteFile(Target(L"src/CVS/Repository"), "mod/src/a\n");
  CheckOutFromFolder(L"Main", L"src/a");
  CheckOutFromFolder(L"Main", L"a");
  EXPECT_EQ(Log(),
            "Performing command FAKE -d /repo checkout -l -r 1.4 -d \".folder\" \"mod/src\"\n"
            "Performing command FAKE -d /repo checkout -l -r 1.4 -d \".folder\" \"mod\"\n");
  EXPECT_EQ(ReadFile(Target(L"src/a")), "new\n");
  EXPECT_EQ(ReadFile(Target(L"a")), "new\n");
  EXPECT_FALSE(fs::exists(Target(L"src/CVS")));
  EXPECT_FALSE(fs::exists(Target(L"b")));
  EXPECT_FALSE(fs::exists(m_oFolder / "client/.folder"));
}

TEST_F(FileRetrievalTest, FolderIsKnownByWhatTheClientNotes) {
  CLIENT::TWantedFile tFile{{L"/repo", L"mod"}, L"Main", {}, L"1.4"};
  tFile.oPath.Parse(L"src/a");
  for (const auto& [pszNoted, bFolder] : {std::pair{"mod/src/a", true},
                                          {"/cvs/mod/src/a", true},
                                          {"mod/src", false},
                                          {"mod/other/src/a", false}}) {
    FakeCvs(std::string("mkdir -p .folder/CVS && echo ") + pszNoted + " > .folder/CVS/Repository", 1);
    EXPECT_EQ(m_oFiles.IsFolder(tFile), bFolder) << pszNoted;
  }
  FakeCvs("exit 1", 1);
  EXPECT_FALSE(m_oFiles.IsFolder(tFile));
}

TEST_F(FileRetrievalTest, NothingOutsideTheClientFolderIsTouchedForAFolder) {
  WriteFile(m_oFolder / "outside/a", "kept\n");
  WriteFile(m_oFolder / "outside/CVS/Repository", "kept\n");
  CLIENT::TWantedFile tFile{{L"/repo", L"mod"}, L"Main", {}, L"1.4"};
  tFile.oPath.Parse(L"../../outside/a");
  m_oFiles.CheckOutFromFolder(tFile, VCM::FromBytes((m_oFolder / "client/Main/../../outside/a").string()));
  EXPECT_FALSE(m_oFiles.IsFolder(tFile));
  EXPECT_EQ(Calls(), "");
  EXPECT_EQ(ReadFile(m_oFolder / "outside/a"), "kept\n");
  EXPECT_EQ(ReadFile(m_oFolder / "outside/CVS/Repository"), "kept\n");
}

TEST_F(FileRetrievalTest, FileThatItsFolderDoesNotGiveIsNotThereAfterwards) {
  FakeCvs("exit 1", 1);
  WriteFile(Target(L"a"), "old\n");
  CheckOutFromFolder(L"Main", L"a");
  EXPECT_FALSE(fs::exists(Target(L"a")));
}

// The client can't make a folder whose path has an empty item; names of branches have some.
TEST_F(FileRetrievalTest, EmptyItemsOfTheFolderAreLeftOut) {
  CheckOut(L"Main///", L"README");
  CheckOut(L"a///b", L"src/main.c");
  EXPECT_EQ(Log(),
            "Performing command FAKE -d /repo checkout -r 1.4 -d \"Main\" \"mod/README\"\n"
            "Performing command FAKE -d /repo checkout -r 1.4 -d \"a/b/src\" \"mod/src/main.c\"\n");
}

TEST_F(FileRetrievalTest, OldFileIsGoneWhenTheClientRuns) {
  FakeCvs("ls Main > \"$folder/seen\"; exit 1", 1);
  WriteFile(Target(L"a.c"), "old\n");
  WriteFile(Target(L"other.c"), "old\n");
  CheckOut(L"Main", L"a.c");
  EXPECT_EQ(ReadFile(m_oFolder / "seen"), "other.c\n");
  EXPECT_FALSE(fs::exists(Target(L"a.c")));
}

// Of another folder of the repository than the folders above it stand for.
TEST_F(FileRetrievalTest, FileFromElsewhereInTheRepositoryIsFetchedThereAndMoved) {
  fs::create_directories(m_oFolder / "client/Main/some/place");
  CLIENT::TWantedFile tFile{{L"/repo", L""}, L"Main", {}, L"1.4"};
  tFile.oPath.Parse(L"some/place/a.c");
  tFile.oPathInRepository.Parse(L"www/mk/a.c");
  m_oFiles.CheckOut(tFile, VCM::FromBytes(Target(L"some/place/a.c").string()));
  EXPECT_EQ(Log(),
            "Performing command FAKE -d /repo checkout -r 1.4 -d \".repository/www/mk\" \"www/mk/a.c\"\n");
  EXPECT_EQ(ReadFile(Target(L"some/place/a.c")), "new\n");
  EXPECT_FALSE(fs::exists(m_oFolder / "client/.repository/www/mk/a.c"));
  FakeCvs("mkdir -p .repository/www/mk; echo half > .repository/www/mk/a.c; exit 1", 1);
  m_oFiles.CheckOut(tFile, VCM::FromBytes(Target(L"some/place/a.c").string()));
  EXPECT_FALSE(fs::exists(Target(L"some/place/a.c")));
  EXPECT_FALSE(fs::exists(m_oFolder / "client/.repository/www/mk/a.c"));
}

// A client on a full disk, or one that is killed, leaves a part of the file.
TEST_F(FileRetrievalTest, HalfAFileOfAFailedCheckoutIsRemovedAndLogged) {
  FakeCvs("mkdir -p Main; echo half > Main/main.c; exit 1", 1);
  CheckOut(L"Main", L"main.c");
  EXPECT_FALSE(fs::exists(Target(L"main.c")));
  EXPECT_EQ(Log(), "Performing command FAKE -d /repo checkout -r 1.4 -d \"Main\" \"mod/main.c\"\nRemoved '" +
                       Target(L"main.c").string() + "', which the client has not finished.\n");
}

TEST_F(FileRetrievalTest, FolderOutsideTheClientFolderIsRefused) {
  for (const wchar_t* pszStream : {L"../x", L"..", L"a/../../x", L"/tmp/talvek-outside", L"./x"})
    CheckOut(pszStream, L"a.c");
  EXPECT_EQ(Calls(), "");
  EXPECT_EQ(Log(),
            "Not checking out to '../x', which is no folder below the client folder.\n"
            "Not checking out to '..', which is no folder below the client folder.\n"
            "Not checking out to 'a/../../x', which is no folder below the client folder.\n"
            "Not checking out to '/tmp/talvek-outside', which is no folder below the client folder.\n"
            "Not checking out to './x', which is no folder below the client folder.\n");
}

TEST_F(FileRetrievalTest, NameWithANulIsRefused) {
  CLIENT::TWantedFile tFile{{L"/repo", L"mod"}, L"Main", {}, L"1.1"};
  ASSERT_TRUE(
      tFile.oPath.Parse(VCM::CString(std::wstring_view(L"a.c\0b", 5)), VCM::CFilePath::PARSE_REPOSITORY));
  m_oFiles.CheckOut(tFile, L"/nonexistent/a.c");
  EXPECT_EQ(Calls(), "");
  EXPECT_EQ(Log(), "Not checking out '/a.c': its name holds a NUL character.\n");
}

TEST_F(FileRetrievalTest, WithoutTheClientFolderNoCommandRuns) {
  fs::remove_all(m_oFolder / "client");
  CheckOut(L"Main", L"a.c");
  EXPECT_EQ(Calls(), "");
  EXPECT_EQ(Log(), "Not checking out: the client folder '" + (m_oFolder / "client").string() +
                       "' can't be entered.\n");
}

TEST_F(FileRetrievalTest, WorkingDirectoryIsRestoredWhateverTheResult) {
  const fs::path oBefore = fs::current_path();
  for (const char* pszScript : {"exit 0", "exit 1"}) {
    FakeCvs(pszScript, 1);
    CheckOut(L"Main", L"a.c");
    EXPECT_EQ(fs::current_path(), oBefore);
  }
}

TEST_F(FileRetrievalTest, StampKeepsContentAndPermissions) {
  WriteFile(Target(L"a.c"), "kept\n");
  fs::permissions(Target(L"a.c"), fs::perms::owner_read);
  const VCM::CString strPath = VCM::FromBytes(Target(L"a.c").string());
  CLIENT::CFileRetrieval::Stamp(strPath, VCM::CTimestamp(1041502272));
  struct stat tStat {};
  ASSERT_EQ(stat(Target(L"a.c").c_str(), &tStat), 0);
  EXPECT_EQ(tStat.st_mtime, 1041502272);
  EXPECT_EQ(tStat.st_mode & 0777, 0400U);
  EXPECT_EQ(ReadFile(Target(L"a.c")), "kept\n");
}

TEST_F(FileRetrievalTest, StampMakesNoFile) {
  CLIENT::CFileRetrieval::Stamp(VCM::FromBytes(Target(L"a.c").string()), VCM::CTimestamp(1041502272));
  EXPECT_FALSE(fs::exists(Target(L"a.c")));
}

}  // namespace
}  // namespace TALVEK::TEST
