#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string_view>

#include "core/file_system.h"
#include "core/text_codec.h"
#include "tests/mcv/provider_fixture.h"

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

TEST_F(ProviderSetupTest, IdentityIsThatOfCvs) {
  EXPECT_EQ(Narrow(m_oProvider.GetName()), "cvs");
  EXPECT_EQ(Narrow(m_oProvider.GetDisplayName()), "CVS");
  EXPECT_EQ(Narrow(m_oProvider.GetDescription()), "Streams originally converted from CVS");
  EXPECT_TRUE(m_oProvider.m_bFirstCapability);
  EXPECT_TRUE(m_oProvider.m_bSecondCapability);
}

TEST_F(ProviderSetupTest, PartsHaveTheirDefaults) {
  const COpenProvider& o = m_oProvider;
  EXPECT_EQ(o.m_oCheckout.GetClientPath().GetCount(), 0);
  EXPECT_EQ(o.m_oCheckout.GetChangeTime(), 0u);
  EXPECT_FALSE(o.m_oCheckout.IsFileByFile());
  EXPECT_FALSE(o.m_oCheckout.IsForcedFileByFile());
  EXPECT_EQ(o.m_oLogSource.GetInput(), nullptr);
  EXPECT_FALSE(o.m_oLogSource.OwnsInput());
  EXPECT_TRUE(o.m_oTagFilters.GetExclude().IsEmpty());
  EXPECT_TRUE(o.m_oTagFilters.GetInclude().IsEmpty());
  EXPECT_TRUE(o.m_oClient.GetCommand().IsEmpty());
  EXPECT_EQ(o.m_oClient.GetRepeatCount(), 5);
  EXPECT_EQ(o.m_oClient.GetOutput(), nullptr);
}

TEST_F(ProviderSetupTest, ProviderConstructedLastIsTheLiveInstance) {
  EXPECT_EQ(MCE::CProviderBase::s_poInstance, &m_oProvider);
}

TEST_F(ProviderSetupTest, TrunkIsCalledHeadInCvs) {
  EXPECT_EQ(std::wstring_view(MCV::PSZ_TRUNK_NAME), L"Head");
}

TEST_F(ProviderSetupTest, FiltersComeFromTheProperties) {
  m_oProvider.GetTagFilters();
  EXPECT_EQ(Bracketed(m_oProvider.m_oTagFilters.GetExclude()), "");
  EXPECT_EQ(Bracketed(m_oProvider.m_oTagFilters.GetInclude()), "[*]");
  Set(L"ExcludeTags", "A,B");
  Set(L"IncludeTags", "C");
  m_oProvider.GetTagFilters();
  EXPECT_EQ(Bracketed(m_oProvider.m_oTagFilters.GetExclude()), "[A][B]");
  EXPECT_EQ(Bracketed(m_oProvider.m_oTagFilters.GetInclude()), "[C]");
}

TEST_F(ProviderSetupTest, SearchReadsTheExecutableAndTheRepeatCount) {
  Set(L"LogFile", "/nonexistent/log");  // the search ends right after it has read them
  EXPECT_FALSE(m_oProvider.SearchForStreams());
  EXPECT_EQ(Narrow(m_oProvider.m_oClient.GetCommand()), "\"\"");
  EXPECT_EQ(m_oProvider.m_oClient.GetRepeatCount(), 1);
  Set(L"CVSPath", "/opt/my cvs");
  Set(L"CmdRepeatCount", "70000");
  EXPECT_FALSE(m_oProvider.SearchForStreams());
  EXPECT_EQ(Narrow(m_oProvider.m_oClient.GetCommand()), "\"/opt/my cvs\"");
  EXPECT_EQ(m_oProvider.m_oClient.GetRepeatCount(), 4464);
}

TEST_F(ProviderSetupTest, LogIsAskedForByTheProperties) {
  FakeCvs("for a; do printf '[%s]\\n' \"$a\"; done");
  Set(L"ReposPath", "/repo");
  Set(L"ModuleName", "mod");
  Set(L"StartDate", "2005-01-01");
  Set(L"EndDate", "2006-01-01");
  m_oProvider.GenerateLog();
  EXPECT_EQ(ReadAll(m_oProvider.m_oLogSource.GetInput()),
            "[-d]\n[/repo]\n[rlog]\n[-d]\n[2006-01-01>2005-01-01]\n[mod]\n");
  WriteFile(m_oFolder / "saved.rlog", "saved");
  Set(L"LogFile", (m_oFolder / "saved.rlog").string());
  m_oProvider.GenerateLog();
  EXPECT_EQ(ReadAll(m_oProvider.m_oLogSource.GetInput()), "saved");
  m_oProvider.CleanUpLog();
  EXPECT_EQ(m_oProvider.m_oLogSource.GetInput(), nullptr);
}

TEST_F(ProviderSetupTest, OutputOfACommandIsLeftInTheLogSource) {
  FakeCvs("echo out $(count); printf 'caf\\303\\251 100%%s\\n' >&2; exit 1", 2);
  EXPECT_FALSE(m_oProvider.ExecuteCommand(m_oProvider.m_oClient.GetCommand()));
  EXPECT_EQ(ReadAll(m_oProvider.m_oLogSource.GetInput()), "out 1\n");
  EXPECT_FALSE(m_oProvider.m_oLogSource.OwnsInput());
  const std::string strLine = "    ** caf\xC3\xA9 100%s\n";
  EXPECT_EQ(Log(), "Performing command \"" + CvsPath().string() + "\"\n" + strLine + strLine);
}

TEST_F(ProviderSetupTest, ClosedLogTakesNothingAndTheCommandRunsAllTheSame) {
  m_oProvider.OpenLog(false);
  FakeCvs("record; echo error >&2");
  EXPECT_TRUE(m_oProvider.ExecuteCommand(m_oProvider.m_oClient.GetCommand()));
  EXPECT_EQ(Log(), "");
  EXPECT_NE(Calls(), "");
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

TEST_F(ProviderSetupTest, InitialisingTakesTheFolderAndThePolicy) {
  Set(L"ForceFileByFile", "1");
  EXPECT_FALSE(m_oProvider.m_oCheckout.IsForcedFileByFile());
  EXPECT_TRUE(m_oProvider.InitialiseClients(L"/some/client folder/"));
  EXPECT_EQ(Narrow(m_oProvider.m_oCheckout.GetClientPath().GeneratePath()), "/some/client folder");
  EXPECT_TRUE(m_oProvider.m_oCheckout.IsForcedFileByFile());
  Set(L"ForceFileByFile", "0");
  EXPECT_TRUE(m_oProvider.m_oCheckout.IsForcedFileByFile());
  EXPECT_TRUE(m_oProvider.InitialiseClients(L"relative"));
  EXPECT_FALSE(m_oProvider.m_oCheckout.IsForcedFileByFile());
}

TEST_F(ProviderSetupTest, InitialisingFailsWhenTheFolderIsNoPath) {
  // The policy is read all the same.
  for (const bool bForce : {true, false}) {
    Set(L"ForceFileByFile", bForce ? "1" : "0");
    EXPECT_FALSE(m_oProvider.InitialiseClients(VCM::CString(std::wstring_view(L"/a\0b", 4))));
    EXPECT_EQ(m_oProvider.m_oCheckout.IsForcedFileByFile(), bForce);
  }
}

TEST_F(ProviderSetupTest, EmptyClientFolderIsAPath) {
  EXPECT_TRUE(m_oProvider.InitialiseClients(L"/some/folder"));
  EXPECT_TRUE(m_oProvider.InitialiseClients(L""));
  EXPECT_EQ(m_oProvider.m_oCheckout.GetClientPath().GetCount(), 0);
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
