#include <gtest/gtest.h>
#include <sys/stat.h>

#include <ctime>

#include "core/text_codec.h"
#include "tests/mcv/provider_fixture.h"
#include "tests/support/shell.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t CHANGE_TIME = 1236990309;  // 2009-03-14 00:25:09 UTC
constexpr std::uint32_t ITEM_TIME = 1041502272;

class CheckoutTest : public ProviderTest {
 protected:
  CheckoutTest() {
    fs::create_directory(m_oFolder / "client");
    Set(L"ReposPath", "/repo");
    Set(L"ModuleName", "mod");
    FakeCvs(WRITING_CLIENT);
    OnStream(L"Main", 0);
    Initialise();
  }

  void Initialise() {
    ASSERT_TRUE(m_oProvider.InitialiseClients(VCM::FromBytes((m_oFolder / "client").string())));
  }
  void OnStream(const wchar_t* pszName, unsigned nParentID) {
    m_oProvider.m_tCurrentStream =
        MCE::CProvider::TStreamInfo(2, nParentID, VCM::CFilePath(), VCM::CFilePath(), pszName);
  }
  int RetrieveChange(std::uint32_t nNextItem) {
    MCE::TChangeRecord tChange;
    tChange.nTime = CHANGE_TIME;
    tChange.nNextItem = nNextItem;
    return m_oProvider.RetrieveChangeFiles(tChange);
  }
  static MCE::TChangeItemRecord Item(const char* pszPath, const wchar_t* pszRevision) {
    MCE::TChangeItemRecord tItem;
    tItem.oFilePath.Parse(VCM::FromBytes(pszPath));
    if (pszRevision) tItem.oProps.SetProperty(MCE::ITEM_FOREIGN_REVISION, pszRevision);
    tItem.oTimestamp.Set(ITEM_TIME);
    return tItem;
  }
  /// Retrieves a file into its place in the stream's folder.
  int RetrieveItem(const char* pszPath, const wchar_t* pszRevision = L"1.4") {
    return m_oProvider.RetrieveChangeItemFile(Item(pszPath, pszRevision),
                                              VCM::FromBytes(Target(pszPath).string()));
  }
  fs::path Target(const char* pszPath) const {
    return m_oFolder / "client" / Narrow(m_oProvider.m_tCurrentStream.strName) / pszPath;
  }
  static std::time_t ModificationTime(const fs::path& oPath) {
    struct stat tStat {};
    EXPECT_EQ(stat(oPath.c_str(), &tStat), 0) << oPath;
    return tStat.st_mtime;
  }
  static bool IsWritable(const fs::path& oPath) {
    return (fs::status(oPath).permissions() & fs::perms::owner_write) != fs::perms::none;
  }
};

TEST_F(CheckoutTest, ChangeOf29ItemsIsRetrievedFileByFile) {
  EXPECT_EQ(RetrieveChange(30), 0);
  EXPECT_TRUE(m_oProvider.m_oCheckout.IsFileByFile());
  EXPECT_EQ(m_oProvider.m_oCheckout.GetChangeTime(), CHANGE_TIME);
  EXPECT_EQ(Calls(), "");
}

TEST_F(CheckoutTest, ChangeOf30ItemsIsCheckedOutAsAWhole) {
  m_oProvider.m_oCheckout.BeginChange(true, 0);
  EXPECT_EQ(RetrieveChange(31), 0);
  EXPECT_FALSE(m_oProvider.m_oCheckout.IsFileByFile());
  EXPECT_EQ(m_oProvider.m_oCheckout.GetChangeTime(), 0u);
  EXPECT_EQ(Calls(),
            "in @/client\n[-d]\n[/repo]\n[checkout]\n[-D]\n[2009/03/14 00:25:09 UTC]\n[-d]\n[Main]\n[mod]\n");
}

/// A provider that can't check out a module.
class CFailingProvider : public COpenProvider {
 public:
  bool RetrieveFiles(unsigned) override { return false; }
};

TEST_F(CheckoutTest, ChangeFailsWhenTheModuleCannotBeCheckedOut) {
  MCE::TChangeRecord tChange;
  tChange.nNextItem = 31;
  CFailingProvider oProvider;
  for (const bool bFileByFile : {true, false}) {
    oProvider.m_oCheckout.BeginChange(bFileByFile, 0);
    EXPECT_EQ(oProvider.RetrieveChangeFiles(tChange), 1);
    EXPECT_EQ(oProvider.m_oCheckout.IsFileByFile(), bFileByFile);
  }
  tChange.nNextItem = 30;
  EXPECT_EQ(oProvider.RetrieveChangeFiles(tChange), 0);
}

TEST_F(CheckoutTest, TimeOfTheLastChangeRetrievedFileByFileIsKept) {
  m_oProvider.m_oCheckout.BeginChange(true, 77);
  EXPECT_EQ(RetrieveChange(31), 0);
  EXPECT_EQ(m_oProvider.m_oCheckout.GetChangeTime(), 77u);
  EXPECT_EQ(RetrieveChange(30), 0);
  EXPECT_EQ(m_oProvider.m_oCheckout.GetChangeTime(), CHANGE_TIME);
}

TEST_F(CheckoutTest, CountOfItemsIsComparedUnsigned) {
  EXPECT_EQ(RetrieveChange(0x80000000), 0);
  EXPECT_FALSE(m_oProvider.m_oCheckout.IsFileByFile());
  EXPECT_EQ(RetrieveChange(0), 0);
  EXPECT_TRUE(m_oProvider.m_oCheckout.IsFileByFile());
}

TEST_F(CheckoutTest, ForcedChangesAreRetrievedFileByFileHoweverLarge) {
  Set(L"ForceFileByFile", "1");
  Initialise();
  EXPECT_EQ(RetrieveChange(1000), 0);
  EXPECT_TRUE(m_oProvider.m_oCheckout.IsFileByFile());
  EXPECT_EQ(m_oProvider.m_oCheckout.GetChangeTime(), CHANGE_TIME);
  EXPECT_EQ(Calls(), "");
}

TEST_F(CheckoutTest, ForcedProviderChecksOutNoModule) {
  Set(L"ForceFileByFile", "1");
  Initialise();
  EXPECT_TRUE(m_oProvider.RetrieveFiles(CHANGE_TIME));
  EXPECT_TRUE(m_oProvider.RetrieveFiles(0));
  EXPECT_EQ(Calls(), "");
}

TEST_F(CheckoutTest, ForcingIsReadOnlyWhenTheClientIsInitialised) {
  Set(L"ForceFileByFile", "1");
  RetrieveChange(31);
  EXPECT_FALSE(m_oProvider.m_oCheckout.IsFileByFile());
}

TEST_F(CheckoutTest, BranchIsCheckedOutByItsTag) {
  OnStream(L"B", 1);
  EXPECT_TRUE(m_oProvider.RetrieveFiles(CHANGE_TIME));
  EXPECT_EQ(Calls(),
            "in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[B]\n[-D]\n[2009/03/14 00:25:09 UTC]\n"
            "[-d]\n[B]\n[mod]\n");
  EXPECT_EQ(Log(), "Performing command \"" + CvsPath().string() +
                       "\" -d /repo checkout -r \"B\" -D \"2009/03/14 00:25:09 UTC\" -d \"B\" \"mod\"\n");
}

// A stream without a parent, whatever its name is; and no other one.
TEST_F(CheckoutTest, OnlyTheTrunkIsCheckedOutWithoutATag) {
  const struct {
    const wchar_t* pszName;
    unsigned nParentID;
    const char* pszExpected;
  } atCases[] = {
      {L"Main", 0, "-D \"2009/03/14 00:25:09 UTC\" -d \"Main\" \"mod\""},
      {L"Root", 0, "-D \"2009/03/14 00:25:09 UTC\" -d \"Root\" \"mod\""},
      {L"Main", 1, "-r \"Main\" -D \"2009/03/14 00:25:09 UTC\" -d \"Main\" \"mod\""},
      {L"B", 7, "-r \"B\" -D \"2009/03/14 00:25:09 UTC\" -d \"B\" \"mod\""},
  };
  std::string strLog;
  for (const auto& tCase : atCases) {
    OnStream(tCase.pszName, tCase.nParentID);
    EXPECT_TRUE(m_oProvider.RetrieveFiles(CHANGE_TIME));
    strLog +=
        "Performing command \"" + CvsPath().string() + "\" -d /repo checkout " + tCase.pszExpected + "\n";
  }
  EXPECT_EQ(Log(), strLog);
}

TEST_F(CheckoutTest, TimeZeroMeansNow) {
  const std::time_t nBefore = std::time(nullptr);
  EXPECT_TRUE(m_oProvider.RetrieveFiles(0));
  const std::time_t nAfter = std::time(nullptr);
  bool bFound = false;
  for (std::time_t n = nBefore; n <= nAfter; ++n)
    bFound =
        bFound || Calls().find("[" + Narrow(m_oProvider.FormatUTCDateTime(n)) + " UTC]") != std::string::npos;
  EXPECT_TRUE(bFound) << Calls();
}

TEST_F(CheckoutTest, FailedCheckoutOfTheModuleIsNotReported) {
  FakeCvs("record; echo gone >&2; exit 1", 2);
  EXPECT_TRUE(m_oProvider.RetrieveFiles(CHANGE_TIME));
  EXPECT_EQ(RetrieveChange(31), 0);
  EXPECT_EQ(Calls(), "in @/client\nin @/client\nin @/client\nin @/client\n");
}

TEST_F(CheckoutTest, FileIsCheckedOutIntoItsFolderOfTheStream) {
  RetrieveChange(2);
  EXPECT_EQ(RetrieveItem("src/main.c", L"1.4"), 0);
  EXPECT_EQ(Calls(),
            "in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[1.4]\n[-d]\n[Main/src]\n[mod/src/main.c]\n");
  const std::string strLog = Log();
  EXPECT_EQ(strLog, "Performing command \"" + CvsPath().string() +
                        "\" -d /repo checkout -r 1.4 -d \"Main/src\" \"mod/src/main.c\"\n");
  EXPECT_EQ(ReadFile(Target("src/main.c")), "new\n");
  EXPECT_EQ(ModificationTime(Target("src/main.c")), ITEM_TIME);
}

TEST_F(CheckoutTest, RevisionIsPutInCanonicalForm) {
  RetrieveChange(2);
  const struct {
    const wchar_t* pszRevision;
    const char* pszExpected;
  } atCases[] = {{L"1.4", "1.4"},         {L"1.04", "1.4"},  {L"1.x", "1.0"},
                 {L"1.2.2.1", "1.2.2.1"}, {L" 1. 7", "1.7"}, {L"1..3", "1.0.3"},
                 {L"1.5z.6", "1.5.6"},    {L"1.", "1"},      {L"4294967295.2", "-1.2"}};
  for (const auto& tCase : atCases) {
    fs::remove(m_oFolder / "calls");
    RetrieveItem("a.c", tCase.pszRevision);
    EXPECT_EQ(Calls(), std::string("in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[") + tCase.pszExpected +
                           "]\n[-d]\n[Main]\n[mod/a.c]\n")
        << Narrow(tCase.pszRevision);
  }
}

TEST_F(CheckoutTest, EmptyRevisionPutsNothing) {
  RetrieveChange(2);
  EXPECT_EQ(RetrieveItem("a.c", L""), 0);
  EXPECT_EQ(Calls(), "in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[-d]\n[Main]\n[mod/a.c]\n");
  EXPECT_EQ(Log(), "Performing command \"" + CvsPath().string() +
                       "\" -d /repo checkout -r  -d \"Main\" \"mod/a.c\"\n");
}

TEST_F(CheckoutTest, ItemWithoutRevisionPutsTheChangesDateUnquoted) {
  RetrieveChange(2);
  EXPECT_EQ(RetrieveItem("a.c", nullptr), 0);
  EXPECT_EQ(
      Calls(),
      "in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[2009/03/14]\n[00:25:09]\n[-d]\n[Main]\n[mod/a.c]\n");
}

TEST_F(CheckoutTest, ReadOnlyFileIsReadOnlyAgainWithTheItemsTime) {
  m_oProvider.m_oCheckout.BeginChange(false, 0);
  WriteFile(Target("a.c"), "kept\n");
  fs::permissions(Target("a.c"), fs::perms::owner_read | fs::perms::group_read);
  EXPECT_EQ(RetrieveItem("a.c"), 0);
  EXPECT_FALSE(IsWritable(Target("a.c")));
  EXPECT_EQ(ModificationTime(Target("a.c")), ITEM_TIME);
  EXPECT_EQ(ReadFile(Target("a.c")), "kept\n");
  EXPECT_EQ(Calls(), "");
}

TEST_F(CheckoutTest, FileThatTheClientMakesReadOnlyStaysSo) {
  RetrieveChange(2);
  FakeCvs(std::string(WRITING_CLIENT) + "\nchmod a-w \"$out/${last##*/}\"");
  WriteFile(Target("a.c"), "old\n");
  fs::permissions(Target("a.c"), fs::perms::owner_read);
  EXPECT_EQ(RetrieveItem("a.c"), 0);
  EXPECT_EQ(ReadFile(Target("a.c")), "new\n");
  EXPECT_FALSE(IsWritable(Target("a.c")));
  EXPECT_EQ(ModificationTime(Target("a.c")), ITEM_TIME);
}

TEST_F(CheckoutTest, WritableFileStaysWritableWithItsContent) {
  m_oProvider.m_oCheckout.BeginChange(false, 0);
  WriteFile(Target("a.c"), "kept\n");
  EXPECT_EQ(RetrieveItem("a.c"), 0);
  EXPECT_TRUE(IsWritable(Target("a.c")));
  EXPECT_EQ(ModificationTime(Target("a.c")), ITEM_TIME);
  EXPECT_EQ(ReadFile(Target("a.c")), "kept\n");
}

TEST_F(CheckoutTest, FileThatIsNotThereIsNotMade) {
  m_oProvider.m_oCheckout.BeginChange(false, 0);
  EXPECT_EQ(RetrieveItem("a.c"), 0);
  EXPECT_FALSE(fs::exists(Target("a.c")));
  EXPECT_EQ(Log(), "");
}

TEST_F(CheckoutTest, SymbolicLinkAtTheDestinationIsNotFollowed) {
  WriteFile(m_oFolder / "outside", "mine\n");
  fs::create_directories(m_oFolder / "client/Main");
  fs::create_symlink(m_oFolder / "outside", Target("a.c"));
  const std::time_t nBefore = ModificationTime(m_oFolder / "outside");
  m_oProvider.m_oCheckout.BeginChange(false, 0);
  EXPECT_EQ(RetrieveItem("a.c"), 0);
  EXPECT_EQ(ModificationTime(m_oFolder / "outside"), nBefore);
}

TEST_F(CheckoutTest, WorkingDirectoryIsRestoredWhateverTheResult) {
  const fs::path oBefore = fs::current_path();
  RetrieveChange(2);
  for (const char* pszScript : {"exit 0", "exit 1"}) {
    FakeCvs(pszScript, 1);
    RetrieveItem("a.c");
    EXPECT_EQ(fs::current_path(), oBefore);
    m_oProvider.RetrieveFiles(CHANGE_TIME);
    EXPECT_EQ(fs::current_path(), oBefore);
  }
  m_oProvider.m_oClient.SetCommand(L"/nonexistent/cvs", 1);
  RetrieveItem("a.c");
  EXPECT_EQ(fs::current_path(), oBefore);
}

// Run in the process's own folder, the client could overwrite files that aren't the import's.
TEST_F(CheckoutTest, WithoutItsClientFolderNoCommandRuns) {
  fs::remove_all(m_oFolder / "client");
  RetrieveChange(2);
  EXPECT_EQ(RetrieveItem("a.c"), 0);
  EXPECT_TRUE(m_oProvider.RetrieveFiles(CHANGE_TIME));
  EXPECT_EQ(Calls(), "");
  const std::string strFolder = (m_oFolder / "client").string();
  const std::string strLine = "Not checking out: the client folder '" + strFolder + "' can't be entered.\n";
  EXPECT_EQ(Log(), strLine + strLine);
}

TEST_F(CheckoutTest, BeforeTheClientFolderIsNamedNoCommandRuns) {
  ASSERT_TRUE(m_oProvider.InitialiseClients(L""));
  EXPECT_TRUE(m_oProvider.RetrieveFiles(CHANGE_TIME));
  EXPECT_EQ(Calls(), "");
  EXPECT_EQ(Log(), "Not checking out: the client folder '' can't be entered.\n");
}

TEST_F(CheckoutTest, RefusedFolderIsLogged) {
  OnStream(L"../x", 1);
  EXPECT_TRUE(m_oProvider.RetrieveFiles(CHANGE_TIME));
  RetrieveChange(2);
  EXPECT_EQ(m_oProvider.RetrieveChangeItemFile(Item("src/a.c", L"1.1"), L"/nonexistent/a.c"), 0);
  EXPECT_EQ(Log(),
            "Not checking out to '../x', which is no folder below the client folder.\n"
            "Not checking out to '../x/src', which is no folder below the client folder.\n");
}

TEST_F(CheckoutTest, StreamNameThatLeadsOutsideMakesNothing) {
  for (const wchar_t* pszName : {L"../x", L"..", L"a/../../x", L"/tmp/talvek-outside", L"./x"}) {
    OnStream(pszName, 1);
    m_oProvider.RetrieveFiles(CHANGE_TIME);
    RetrieveChange(2);
    m_oProvider.RetrieveChangeItemFile(Item("src/a.c", L"1.1"), L"/nonexistent/a.c");
    m_oProvider.RetrieveChangeItemFile(Item("a.c", L"1.1"), L"/nonexistent/a.c");
  }
  EXPECT_EQ(Calls(), "");
  EXPECT_TRUE(fs::is_empty(m_oFolder / "client"));
  EXPECT_FALSE(fs::exists(m_oFolder / "x"));
}

// A command line ends at a NUL: "..\0x" would be checked out into "..", and "a.c\0b" as "a.c".
TEST_F(CheckoutTest, NameWithANulMakesNothing) {
  using std::literals::operator""sv;
  for (const std::wstring_view strName : {L"..\0x"sv, L"\0x"sv, L"BR\0x"sv}) {
    OnStream(L"", 1);
    m_oProvider.m_tCurrentStream.strName.Assign(strName);
    m_oProvider.RetrieveFiles(CHANGE_TIME);
    RetrieveChange(2);
    m_oProvider.RetrieveChangeItemFile(Item("a.c", L"1.1"), L"/nonexistent/a.c");
    m_oProvider.RetrieveChangeItemFile(Item("src/a.c", L"1.1"), L"/nonexistent/a.c");
  }
  OnStream(L"BR", 1);
  for (const std::wstring_view strPath : {L"..\0x/a.c"sv, L"src\0/a.c"sv, L"src/a.c\0b"sv, L"a.c\0b"sv}) {
    MCE::TChangeItemRecord tItem = Item("a.c", L"1.1");
    ASSERT_TRUE(tItem.oFilePath.Parse(VCM::CString(strPath), VCM::CFilePath::PARSE_REPOSITORY));
    m_oProvider.RetrieveChangeItemFile(tItem, L"/nonexistent/a.c");
  }
  EXPECT_EQ(Calls(), "");
}

TEST_F(CheckoutTest, QuotesInNamesReachTheClientAsTheyAre) {
  OnStream(L"my \"B\\", 1);
  Set(L"ModuleName", "my \"mod\"");
  RetrieveChange(2);
  RetrieveItem("src \"x\"/a\\b.c");
  EXPECT_EQ(Calls(),
            "in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[1.4]\n[-d]\n[my \"B\\/src \"x\"]\n"
            "[my \"mod\"/src \"x\"/a\\b.c]\n");
}

// An option's argument may begin with a hyphen. The last word needs "--" before it.
TEST_F(CheckoutTest, NamesThatBeginWithAHyphenAreNoOptions) {
  FakeCvs("record \"$@\"");
  RetrieveChange(2);
  OnStream(L"-n", 1);
  RetrieveItem("-d/-f");
  m_oProvider.RetrieveFiles(CHANGE_TIME);
  EXPECT_EQ(
      Calls(),
      "in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[1.4]\n[-d]\n[-n/-d]\n[mod/-d/-f]\n"
      "in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[-n]\n[-D]\n[2009/03/14 00:25:09 UTC]\n[-d]\n[-n]\n"
      "[mod]\n");
  fs::remove(m_oFolder / "calls");
  Set(L"ModuleName", "-x");
  RetrieveItem("a.c");
  m_oProvider.RetrieveFiles(CHANGE_TIME);
  OnStream(L"Main", 0);
  m_oProvider.RetrieveFiles(CHANGE_TIME);
  EXPECT_EQ(
      Calls(),
      "in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[1.4]\n[-d]\n[-n]\n[--]\n[-x/a.c]\n"
      "in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[-n]\n[-D]\n[2009/03/14 00:25:09 UTC]\n[-d]\n[-n]\n"
      "[--]\n[-x]\n"
      "in @/client\n[-d]\n[/repo]\n[checkout]\n[-D]\n[2009/03/14 00:25:09 UTC]\n[-d]\n[Main]\n[--]\n[-x]\n");
}

// Whatever the log has as a revision number becomes digits, signs and dots on the command line.
TEST_F(CheckoutTest, RevisionIsNeverMoreThanOneWordOfNumbers) {
  RetrieveChange(2);
  for (const auto& [pszRevision, pszExpected] : {std::pair(L"1.4 -d /tmp", "1.4"),
                                                 {L"\"-j\" -A", "0"},
                                                 {L"-1.-2", "-1.-2"},
                                                 {L"-D.now", "0.0"},
                                                 {L"4294967297.4", "1.4"}}) {
    fs::remove(m_oFolder / "calls");
    RetrieveItem("a.c", pszRevision);
    EXPECT_EQ(Calls(), std::string("in @/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[") + pszExpected +
                           "]\n[-d]\n[Main]\n[mod/a.c]\n");
  }
}

TEST_F(CheckoutTest, FileNamesOfAnyEncodingReachTheClient) {
  RetrieveChange(2);
  RetrieveItem("caf\xe9/\xc3\xa9.c");
  EXPECT_EQ(
      Calls(),
      "in "
      "@/client\n[-d]\n[/repo]\n[checkout]\n[-r]\n[1.4]\n[-d]\n[Main/caf\xe9]\n[mod/caf\xe9/\xc3\xa9.c]\n");
  EXPECT_EQ(ReadFile(Target("caf\xe9/\xc3\xa9.c")), "new\n");
}

TEST_F(CheckoutTest, FailedCheckoutOfTheModuleKeepsOnlyFilesThatTheClientHasEntered) {
  FakeCvs(
      "mkdir -p Main/CVS Main/plain; cd Main; touch whole late old half plain/file\n"
      "echo '/whole/1.4/Thu Jan  2 10:11:12 2003//' > CVS/Entries; echo '/old/1.3/now//' >> CVS/Entries\n"
      "echo 'A /late/1.4/Thu Jan  2 10:11:12 2003//' > CVS/Entries.Log; exit 1");
  RetrieveChange(31);
  for (const char* pszName : {"whole", "late", "old", "half", "plain/file"})
    EXPECT_EQ(RetrieveItem(pszName), 0);
  EXPECT_EQ(ModificationTime(Target("whole")), ITEM_TIME);
  EXPECT_EQ(ModificationTime(Target("late")), ITEM_TIME);
  EXPECT_EQ(ModificationTime(Target("plain/file")), ITEM_TIME);  // its folder has no CVS/Entries
  EXPECT_FALSE(fs::exists(Target("old")));                       // its entry is of an earlier revision
  EXPECT_FALSE(fs::exists(Target("half")));
}

// `cvs import` makes 1.1 and 1.1.1.1 with the same content: the item is 1.1, the client's entry 1.1.1.1.
TEST_F(CheckoutTest, FailedCheckoutOfTheModuleKeepsImportedFiles) {
  FakeCvs(
      "mkdir -p Main/CVS; cd Main; touch imported half\n"
      "echo '/imported/1.1.1.1/Thu Jan  2 10:11:12 2003//' > CVS/Entries; exit 1",
      1);
  RetrieveChange(31);
  const std::string strBefore = Log();
  for (const char* pszName : {"imported", "half", "absent"})
    EXPECT_EQ(RetrieveItem(pszName, L"1.1"), 0);
  EXPECT_EQ(ModificationTime(Target("imported")), ITEM_TIME);
  EXPECT_FALSE(fs::exists(Target("half")));
  EXPECT_EQ(Log().substr(strBefore.size()),
            "Removed '" + Target("half").string() + "', which the client has not finished.\n");
}

TEST_F(CheckoutTest, LargeChangesStampTheFilesOfTheModulesCheckout) {
  FakeCvs("mkdir -p Main/src && echo whole > Main/src/a.c");
  RetrieveChange(31);
  EXPECT_EQ(RetrieveItem("src/a.c"), 0);
  EXPECT_EQ(ReadFile(Target("src/a.c")), "whole\n");
  EXPECT_EQ(ModificationTime(Target("src/a.c")), ITEM_TIME);
}

/// A repository of two files, served by the real client: src/a.c on the trunk and on branch B, top on the
/// trunk.
class RealClientTest : public ProviderTest {
 protected:
  RealClientTest() {
    const std::string strRoot = (m_oFolder / "root").string();
    ShellOutput("cvs -d " + ShellQuote(strRoot) + " init");
    WriteFile(m_oFolder / "root/mod/src/a.c,v",
              "head 1.2;\naccess;\nsymbols B:1.1.0.2;\nlocks; strict;\ncomment @ * @;\n\n"
              "1.2\ndate 2003.01.02.10.11.12; author joe; state Exp;\nbranches;\nnext 1.1;\n\n"
              "1.1\ndate 2003.01.01.00.00.00; author joe; state Exp;\nbranches 1.1.2.1;\nnext ;\n\n"
              "1.1.2.1\ndate 2003.01.03.00.00.00; author ann; state Exp;\nbranches;\nnext ;\n\n"
              "desc\n@@\n\n"
              "1.2\nlog\n@second\n@\ntext\n@two\n@\n\n"
              "1.1\nlog\n@first\n@\ntext\n@d1 1\na1 1\none\n@\n\n"
              "1.1.2.1\nlog\n@branched\n@\ntext\n@d1 1\na1 1\nbranch\n@\n");
    WriteFile(m_oFolder / "root/mod/top,v",
              "head 1.1;\naccess;\nsymbols;\nlocks; strict;\n\n"
              "1.1\ndate 2003.01.01.00.00.00; author joe; state Exp;\nbranches;\nnext ;\n\n"
              "desc\n@@\n\n1.1\nlog\n@first\n@\ntext\n@top\n@\n");
    fs::create_directory(m_oFolder / "client");
    Set(L"CVSPath", "cvs");
    Set(L"ReposPath", strRoot);
    Set(L"ModuleName", "mod");
    m_oProvider.InitialiseClients(VCM::FromBytes((m_oFolder / "client").string()));
  }

  /// Walks a stream's changes. A line for each item, with its file's time and text: "src/a.c 1041502272 two".
  std::string Walk(unsigned nStreamID, const char* pszName) {
    const std::string strFolder = (m_oFolder / "client" / pszName).string();
    fs::create_directory(strFolder);  // as a host does; the walk makes only the folders below it
    m_oProvider.OnBeginStream(nStreamID, VCM::FromBytes(strFolder).c_str());
    std::string strText;
    MCE::CProvider::TChangeInfo tChange;
    for (int n = m_oProvider.OnFirstChangeset(tChange); n == 0; n = m_oProvider.OnNextChangeset(tChange)) {
      EXPECT_EQ(m_oProvider.OnProcessChange(tChange), 0);
      MCE::CProvider::TChangeItemInfo tItem;
      for (int m = m_oProvider.OnFirstChangeItem(tItem); m == 0; m = m_oProvider.OnNextChangeItem(tItem)) {
        const std::string strPath = Narrow(tItem.oFilePath.GeneratePath());
        const fs::path oFile = fs::path(strFolder) / strPath;
        struct stat tStat {};
        EXPECT_EQ(stat(oFile.c_str(), &tStat), 0) << oFile;
        strText +=
            strPath + " " + std::to_string(tStat.st_mtime) + " " + (fs::exists(oFile) ? ReadFile(oFile) : "");
      }
    }
    return strText;
  }

  CEnvironmentScope m_oHome{"HOME", m_oTemporaryFiles.Path().string()};  // no .cvsrc
};

TEST_F(RealClientTest, EveryRevisionIsPutInItsPlaceWithItsTime) {
  unsigned nStreams = 0, nChanges = 0;
  ASSERT_EQ(m_oProvider.EstablishStreams(nStreams), 0) << Log();
  ASSERT_EQ(m_oProvider.EstablishChangesets(nChanges), 0);
  ASSERT_EQ(m_oProvider.Changes(),
            "Main 1041379200 joe [first] top 1.1, src/a.c 1.1\n"
            "Main 1041502272 joe [second] src/a.c 1.2\n"
            "B 1041552000 ann [branched] src/a.c 1.1.2.1\n");
  EXPECT_EQ(Walk(1, "Main"), "top 1041379200 top\nsrc/a.c 1041379200 one\nsrc/a.c 1041502272 two\n");
  EXPECT_EQ(Walk(2, "B"), "src/a.c 1041552000 branch\n");
}

TEST_F(RealClientTest, ModuleIsCheckedOutAsOfATime) {
  unsigned nStreams = 0;
  ASSERT_EQ(m_oProvider.EstablishStreams(nStreams), 0) << Log();
  m_oProvider.OnBeginStream(1, L"");
  EXPECT_TRUE(m_oProvider.RetrieveFiles(1041379200));
  EXPECT_EQ(ReadFile(m_oFolder / "client/Main/src/a.c"), "one\n");
  EXPECT_EQ(ReadFile(m_oFolder / "client/Main/top"), "top\n");
  EXPECT_TRUE(m_oProvider.RetrieveFiles(0));
  EXPECT_EQ(ReadFile(m_oFolder / "client/Main/src/a.c"), "two\n");
}

// A file that is in the way makes the client fail, but it fetches all the others.
TEST_F(RealClientTest, FailedCheckoutOfTheModuleKeepsWhatTheClientFinished) {
  const std::string strRoot = ShellQuote((m_oFolder / "root").string());
  for (int i = 0; i < 34; ++i)
    WriteFile(m_oFolder / "import" / std::to_string(i), "imported\n");
  ShellOutput("cd " + ShellQuote((m_oFolder / "import").string()) + " && cvs -d " + strRoot +
              " import -m imported big VENDOR START");
  Set(L"ModuleName", "big");
  Set(L"CmdRepeatCount", "1");
  unsigned nStreams = 0;
  ASSERT_EQ(m_oProvider.EstablishStreams(nStreams), 0) << Log();
  WriteFile(m_oFolder / "client/Main/7", "in the way\n");
  const fs::path oFolder = m_oFolder / "client/Main";
  m_oProvider.OnBeginStream(1, VCM::FromBytes(oFolder.string()).c_str());
  MCE::CProvider::TChangeInfo tChange;
  ASSERT_EQ(m_oProvider.OnFirstChangeset(tChange), 0);
  EXPECT_EQ(m_oProvider.OnProcessChange(tChange), 0);
  MCE::CProvider::TChangeItemInfo tItem;
  std::string strMissing;
  int nItems = 0;
  for (int n = m_oProvider.OnFirstChangeItem(tItem); n == 0; n = m_oProvider.OnNextChangeItem(tItem)) {
    ++nItems;
    const std::string strPath = Narrow(tItem.oFilePath.GeneratePath());
    if (!fs::exists(oFolder / strPath)) strMissing += strPath + " ";
  }
  EXPECT_EQ(nItems, 34);
  EXPECT_EQ(strMissing, "7 ");
  EXPECT_TRUE(
      Log().ends_with("Removed '" + (oFolder / "7").string() + "', which the client has not finished.\n"))
      << Log();
}

TEST_F(RealClientTest, BranchIsCheckedOutAsOfATime) {
  unsigned nStreams = 0;
  ASSERT_EQ(m_oProvider.EstablishStreams(nStreams), 0) << Log();
  m_oProvider.OnBeginStream(2, L"");
  EXPECT_TRUE(m_oProvider.RetrieveFiles(1041552000));
  EXPECT_EQ(ReadFile(m_oFolder / "client/B/src/a.c"), "branch\n");
}

TEST_F(RealClientTest, ModuleAndFilesThatBeginWithAHyphenAreImported) {
  fs::rename(m_oFolder / "root/mod/top,v", m_oFolder / "root/mod/-f,v");
  fs::rename(m_oFolder / "root/mod/src", m_oFolder / "root/mod/-d");
  fs::rename(m_oFolder / "root/mod", m_oFolder / "root/-x");
  Set(L"ModuleName", "-x");
  unsigned nStreams = 0;
  ASSERT_EQ(m_oProvider.EstablishStreams(nStreams), 0) << Log();
  ASSERT_EQ(Walk(1, "Main"), "-f 1041379200 top\n-d/a.c 1041379200 one\n-d/a.c 1041502272 two\n");
  EXPECT_TRUE(m_oProvider.RetrieveFiles(1041379200));
  EXPECT_EQ(ReadFile(m_oFolder / "client/Main/-d/a.c"), "one\n");
}

TEST_F(RealClientTest, StreamNameThatLeadsOutsideMakesNothing) {
  unsigned nStreams = 0;
  ASSERT_EQ(m_oProvider.EstablishStreams(nStreams), 0) << Log();
  m_oProvider.m_tCurrentStream.strName = L"../x";
  EXPECT_TRUE(m_oProvider.RetrieveFiles(0));
  EXPECT_FALSE(fs::exists(m_oFolder / "x"));
  EXPECT_TRUE(fs::is_empty(m_oFolder / "client"));
}

}  // namespace
}  // namespace TALVEK::TEST
