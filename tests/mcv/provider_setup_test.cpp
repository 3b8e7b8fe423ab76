#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string_view>

#include "core/file_system.h"
#include "core/text_codec.h"
#include "tests/mcv/provider_fixture.h"
#include "tests/support/layout.h"

namespace TALVEK::TEST {
namespace {

class ProviderSetupTest : public ProviderTest {};

/// The texts of an array, each in brackets.
std::string Bracketed(const VCM::CArray<VCM::CString>& astrTexts) {
  std::string strText;
  for (const VCM::CString& strItem : astrTexts)
    strText += "[" + Narrow(strItem) + "]";
  return strText;
}

/// A stream that counts how often one was deleted.
class CCountedStream : public wxMemoryInputStream {
 public:
  explicit CCountedStream(int& nDeleted) : wxMemoryInputStream("", 0), m_nDeleted(nDeleted) {}
  ~CCountedStream() override { ++m_nDeleted; }

 private:
  int& m_nDeleted;
};

TEST_F(ProviderSetupTest, IdentityIsThatOfCvs) {
  EXPECT_EQ(Narrow(m_oProvider.GetName()), "cvs");
  EXPECT_EQ(Narrow(m_oProvider.GetDisplayName()), "CVS");
  EXPECT_EQ(Narrow(m_oProvider.GetDescription()), "Streams originally converted from CVS");
  EXPECT_TRUE(m_oProvider.m_bFirstCapability);
  EXPECT_TRUE(m_oProvider.m_bSecondCapability);
}

TEST_F(ProviderSetupTest, MembersHaveTheirDefaults) {
  EXPECT_EQ(m_oProvider.m_oClientPath.GetCount(), 0);
  EXPECT_EQ(m_oProvider.m_poInputStream, nullptr);
  EXPECT_FALSE(m_oProvider.m_bOwnInputStream);
  EXPECT_EQ(m_oProvider.m_oProcess.GetStdOutputStream(), nullptr);
  EXPECT_EQ(m_oProvider.m_oProcess.GetStdErrorStream(), nullptr);
  EXPECT_TRUE(m_oProvider.m_astrExcludeTags.IsEmpty());
  EXPECT_TRUE(m_oProvider.m_astrIncludeTags.IsEmpty());
  EXPECT_TRUE(m_oProvider.m_strCvsCommand.IsEmpty());
  EXPECT_EQ(m_oProvider.m_nChangeTime, 0u);
  EXPECT_EQ(m_oProvider.m_nCmdRepeatCount, 5);
  EXPECT_FALSE(m_oProvider.m_bFileByFile);
  EXPECT_FALSE(m_oProvider.m_bForceFileByFile);
}

TEST_F(ProviderSetupTest, MembersStandInTheOrderOfTheirDeclaration) {
  const COpenProvider& o = m_oProvider;
  EXPECT_TRUE(AreInOrder({&o.m_oClientPath, &o.m_poInputStream, &o.m_bOwnInputStream, &o.m_oProcess,
                          &o.m_astrExcludeTags, &o.m_astrIncludeTags, &o.m_strCvsCommand, &o.m_nChangeTime,
                          &o.m_nCmdRepeatCount, &o.m_bFileByFile, &o.m_bForceFileByFile}));
}

TEST_F(ProviderSetupTest, ProviderConstructedLastIsTheLiveInstance) {
  EXPECT_EQ(MCE::CProviderBase::s_poInstance, &m_oProvider);
}

TEST_F(ProviderSetupTest, TrunkIsCalledHeadInCvs) {
  EXPECT_EQ(std::wstring_view(MCV::PSZ_TRUNK_NAME), L"Head");
}

TEST_F(ProviderSetupTest, FiltersKeepBlanksAndEmptyPiecesButNoneBehindTheLastComma) {
  const struct {
    const char *pszValue, *pszExclude, *pszInclude;
  } atCases[] = {
      {"", "", "[*]"},
      {"A", "[A]", "[A]"},
      {"A, B", "[A][ B]", "[A][ B]"},
      {"A,,B", "[A][][B]", "[A][][B]"},
      {"A,", "[A]", "[A]"},
      {"A,,", "[A]", "[A]"},
      {",A", "[][A]", "[][A]"},
      {",", "[]", "[]"},  // the tokenizer's way: delimiters alone are one empty token
      {",,", "[]", "[]"},
      {" ", "[ ]", "[ ]"},
      {"\"A,B\"", "[\"A][B\"]", "[\"A][B\"]"},
      {"REL*,*_?", "[REL*][*_?]", "[REL*][*_?]"},
  };
  for (const auto& tCase : atCases) {
    Set(L"ExcludeTags", tCase.pszValue);
    Set(L"IncludeTags", tCase.pszValue);
    m_oProvider.GetTagFilters();
    EXPECT_EQ(Bracketed(m_oProvider.m_astrExcludeTags), tCase.pszExclude) << tCase.pszValue;
    EXPECT_EQ(Bracketed(m_oProvider.m_astrIncludeTags), tCase.pszInclude) << tCase.pszValue;
  }
}

TEST_F(ProviderSetupTest, EmptyFiltersIncludeAllAndExcludeNothing) {
  m_oProvider.GetTagFilters();
  EXPECT_EQ(Bracketed(m_oProvider.m_astrExcludeTags), "");
  EXPECT_EQ(Bracketed(m_oProvider.m_astrIncludeTags), "[*]");
  Set(L"ExcludeTags", "");
  Set(L"IncludeTags", "");
  m_oProvider.GetTagFilters();
  EXPECT_EQ(Bracketed(m_oProvider.m_astrExcludeTags), "");
  EXPECT_EQ(Bracketed(m_oProvider.m_astrIncludeTags), "[*]");
}

TEST_F(ProviderSetupTest, FiltersReadAgainReplaceTheOldOnes) {
  Set(L"ExcludeTags", "A,B,C");
  m_oProvider.GetTagFilters();
  Set(L"ExcludeTags", "D");
  m_oProvider.GetTagFilters();
  EXPECT_EQ(Bracketed(m_oProvider.m_astrExcludeTags), "[D]");
  EXPECT_EQ(Bracketed(m_oProvider.m_astrIncludeTags), "[*]");
}

TEST_F(ProviderSetupTest, RepeatCountIsAtLeastOneAndHasSixteenBits) {
  Set(L"LogFile", "/nonexistent/log");  // the search ends right after it has read the count
  const struct {
    const char* pszValue;
    int nExpected;
  } atCases[] = {{"0", 1},  {"", 1},         {"many", 1},  {"3", 3},      {" 4", 4},
                 {"5x", 5}, {"70000", 4464}, {"65536", 1}, {"-1", 65535}, {"+2", 2}};
  for (const auto& tCase : atCases) {
    Set(L"CmdRepeatCount", tCase.pszValue);
    EXPECT_FALSE(m_oProvider.SearchForStreams());
    EXPECT_EQ(m_oProvider.m_nCmdRepeatCount, tCase.nExpected) << "\"" << tCase.pszValue << "\"";
  }
}

TEST_F(ProviderSetupTest, ExecutableIsAlwaysQuoted) {
  Set(L"LogFile", "/nonexistent/log");
  const struct {
    const char *pszValue, *pszExpected;
  } atCases[] = {
      {"cvs", "\"cvs\""}, {"", "\"\""}, {"/opt/my cvs", "\"/opt/my cvs\""}, {"a\"b\\c", "\"a\\\"b\\\\c\""}};
  for (const auto& tCase : atCases) {
    Set(L"CVSPath", tCase.pszValue);
    EXPECT_FALSE(m_oProvider.SearchForStreams());
    EXPECT_EQ(Narrow(m_oProvider.m_strCvsCommand), tCase.pszExpected);
  }
}

TEST_F(ProviderSetupTest, MissingExecutableIsAWarning) {
  for (const std::string& strPath :
       {std::string("cvs"), std::string(), m_oFolder.Path().string(), (m_oFolder / "none").string()}) {
    Set(L"CVSPath", strPath);
    VCM::CString strMessage = L"untouched";
    EXPECT_EQ(m_oProvider.CheckEnvironment(strMessage), 1) << strPath;
    EXPECT_EQ(Narrow(strMessage), "The file '" + strPath +
                                      "' doesn't seem to exist (ignore if cvs/cvs.exe is somewhere on your "
                                      "PATH)");
  }
}

TEST_F(ProviderSetupTest, ExecutableInTheWorkingFolderIsNoWarning) {
  WriteFile(m_oFolder / "my-cvs", "");
  const VCM::CWorkingFolderScope oScope(VCM::FromBytes(m_oFolder.Path().string()));
  Set(L"CVSPath", "my-cvs");
  VCM::CString strMessage = L"untouched";
  EXPECT_EQ(m_oProvider.CheckEnvironment(strMessage), 0);
  EXPECT_EQ(Narrow(strMessage), "untouched");
}

TEST_F(ProviderSetupTest, ExistingExecutableIsNoWarning) {
  FakeCvs("exit 1");
  VCM::CString strMessage = L"untouched";
  EXPECT_EQ(m_oProvider.CheckEnvironment(strMessage), 0);
  EXPECT_EQ(Narrow(strMessage), "untouched");
  EXPECT_EQ(Calls(), "");
}

TEST_F(ProviderSetupTest, DatesAreInUtcWhateverTheLocalZone) {
  const struct {
    long long nSeconds;
    const char* pszExpected;
  } atCases[] = {{0, "1970/01/01 00:00:00"},
                 {1237014309, "2009/03/14 07:05:09"},
                 {2147483648LL, "2038/01/19 03:14:08"},
                 {4294967295LL, "2106/02/07 06:28:15"},
                 {-1, "1969/12/31 23:59:59"}};
  const CEnvironmentScope oZone("TZ", "America/New_York");
  for (const auto& tCase : atCases)
    EXPECT_EQ(Narrow(m_oProvider.FormatUTCDateTime(tCase.nSeconds)), tCase.pszExpected);
}

TEST_F(ProviderSetupTest, OwnedStreamIsDeletedOnceHoweverOftenItIsCleared) {
  int nDeleted = 0;
  m_oProvider.m_poInputStream = new CCountedStream(nDeleted);
  m_oProvider.m_bOwnInputStream = true;
  m_oProvider.ClearInputStream();
  m_oProvider.ClearInputStream();
  EXPECT_EQ(nDeleted, 1);
  EXPECT_EQ(m_oProvider.m_poInputStream, nullptr);
  EXPECT_FALSE(m_oProvider.m_bOwnInputStream);
}

TEST_F(ProviderSetupTest, LentStreamIsForgottenAndNotDeleted) {
  int nDeleted = 0;
  {
    CCountedStream oStream(nDeleted);
    m_oProvider.m_poInputStream = &oStream;
    m_oProvider.CleanUpLog();
    EXPECT_EQ(nDeleted, 0);
    EXPECT_EQ(m_oProvider.m_poInputStream, nullptr);
  }
}

TEST_F(ProviderSetupTest, DestructionLeavesTheInputStreamAlone) {
  int nDeleted = 0;
  CCountedStream oStream(nDeleted);
  {
    COpenProvider oProvider;
    oProvider.m_poInputStream = &oStream;
    oProvider.m_bOwnInputStream = true;
  }
  EXPECT_EQ(nDeleted, 0);
}

TEST_F(ProviderSetupTest, InitialisingTakesTheFolderAndThePolicy) {
  Set(L"ForceFileByFile", "1");
  EXPECT_FALSE(m_oProvider.m_bForceFileByFile);
  EXPECT_TRUE(m_oProvider.InitialiseClients(L"/some/client folder/"));
  EXPECT_EQ(Narrow(m_oProvider.m_oClientPath.GeneratePath()), "/some/client folder");
  EXPECT_TRUE(m_oProvider.m_bForceFileByFile);
  Set(L"ForceFileByFile", "0");
  EXPECT_TRUE(m_oProvider.m_bForceFileByFile);
  EXPECT_TRUE(m_oProvider.InitialiseClients(L"relative"));
  EXPECT_FALSE(m_oProvider.m_bForceFileByFile);
}

TEST_F(ProviderSetupTest, InitialisingFailsWhenTheFolderIsNoPath) {
  // The policy is read all the same.
  for (const bool bForce : {true, false}) {
    Set(L"ForceFileByFile", bForce ? "1" : "0");
    EXPECT_FALSE(m_oProvider.InitialiseClients(VCM::CString(std::wstring_view(L"/a\0b", 4))));
    EXPECT_EQ(m_oProvider.m_bForceFileByFile, bForce);
  }
}

TEST_F(ProviderSetupTest, EmptyClientFolderIsAPath) {
  EXPECT_TRUE(m_oProvider.InitialiseClients(L"/some/folder"));
  EXPECT_TRUE(m_oProvider.InitialiseClients(L""));
  EXPECT_EQ(m_oProvider.m_oClientPath.GetCount(), 0);
}

TEST_F(ProviderSetupTest, NothingIsLeftToEnumerateOrToRemove) {
  EXPECT_TRUE(m_oProvider.EnumerateChanges());
  EXPECT_TRUE(m_oProvider.RemoveClients());
  EXPECT_EQ(m_oProvider.m_nChangesAdded, 0u);
  EXPECT_EQ(Log(), "");
}

TEST_F(ProviderSetupTest, PropertyTableHoldsThirteenEntriesInOrder) {
  std::string strTable;
  for (const MCE::TPropertyInfo* ptInfo = m_oProvider.GetPropertyInfo(); ptInfo->pszLabel; ++ptInfo) {
    ASSERT_NE(ptInfo->pszDefault, nullptr) << VCM::ToUtf8(ptInfo->pszKey);
    strTable += VCM::ToUtf8(ptInfo->pszLabel) + "|" + VCM::ToUtf8(ptInfo->pszKey) + "|" +
                VCM::ToUtf8(ptInfo->pszDefault) + "|" + std::to_string(ptInfo->nType) + "\n";
  }
  EXPECT_EQ(strTable,
            "CVS Executable Path|CVSPath|cvs|3\n"
            "Path to Repository|ReposPath|:pserver:anonymous@cvs.example.org:/cvsroot|0\n"
            "Module Name|ModuleName|example|0\n"
            "Start Date|StartDate||0\n"
            "End Date|EndDate||0\n"
            "Create streams for tags|StreamsForTags||1\n"
            "Create branches|CreateBranches|1|1\n"
            "Create nested branches|NestedBranches||1\n"
            "Force file-by-file Checkout|ForceFileByFile|0|1\n"
            "Include Tag Filters (comma separated)|IncludeTags|*|0\n"
            "Exclude Tag Filters (comma separated)|ExcludeTags||0\n"
            "CVS command error repeat count|CmdRepeatCount|5|0\n"
            "Log File (optional)|LogFile||0\n");
}

// A host knows the words and not the names of the members.
TEST_F(ProviderSetupTest, PropertyIsFourWordsLabelKeyDefaultAndType) {
  struct {
    const wchar_t* apszTexts[3];
    std::uintptr_t nType;
  } tWords;
  static_assert(sizeof tWords == sizeof(MCE::TPropertyInfo));
  std::memcpy(&tWords, m_oProvider.GetPropertyInfo(), sizeof tWords);
  EXPECT_EQ(VCM::ToUtf8(tWords.apszTexts[0]) + "|" + VCM::ToUtf8(tWords.apszTexts[1]) + "|" +
                VCM::ToUtf8(tWords.apszTexts[2]) + "|" + std::to_string(tWords.nType),
            "CVS Executable Path|CVSPath|cvs|3");
}

TEST_F(ProviderSetupTest, PropertyTableEndsWithAnEntryOfZeros) {
  static_assert(sizeof(MCE::TPropertyInfo) == 4 * sizeof(void*));
  const MCE::TPropertyInfo& tLast = m_oProvider.GetPropertyInfo()[13];
  EXPECT_EQ(tLast.pszLabel, nullptr);
  EXPECT_EQ(tLast.pszKey, nullptr);
  EXPECT_EQ(tLast.pszDefault, nullptr);
  EXPECT_EQ(tLast.nType, 0u);
}

}  // namespace
}  // namespace TALVEK::TEST
