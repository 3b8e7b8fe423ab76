#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "core/file_system.h"
#include "core/text_codec.h"
#include "tests/mce/engine_fixture.h"
#include "tests/support/layout.h"
#include "tests/support/slots.h"

namespace TALVEK::TEST {
namespace {

TEST(PropertyStoreTest, SecondValueReplacesTheFirst) {
  CEngine oEngine;
  oEngine.SetProperty(L"CmdRepeatCount", L"7");
  oEngine.SetProperty(L"CmdRepeatCount", L"9");
  EXPECT_EQ(oEngine.m_oProperties.GetCount(), 1);
  EXPECT_TRUE(oEngine.GetStringProperty(L"CmdRepeatCount") == L"9");
}

TEST(PropertyStoreTest, PropertyNeverSetIsEmptyAndFalse) {
  CEngine oEngine;
  EXPECT_TRUE(oEngine.GetStringProperty(L"StreamsForTags").IsEmpty());
  EXPECT_FALSE(oEngine.GetBooleanProperty(L"StreamsForTags"));
}

TEST(PropertyStoreTest, KeysDifferByCase) {
  CEngine oEngine;
  oEngine.SetProperty(L"CVSPath", L"/usr/bin/cvs");
  oEngine.SetProperty(L"cvspath", L"other");
  EXPECT_EQ(oEngine.m_oProperties.GetCount(), 2);
  EXPECT_TRUE(oEngine.GetStringProperty(L"CVSPath") == L"/usr/bin/cvs");
  EXPECT_TRUE(oEngine.GetStringProperty(L"cvspath") == L"other");
}

TEST(PropertyStoreTest, SeventeenthKeyDoublesTheStoreAndKeepsItSorted) {
  CEngine oEngine;
  EXPECT_EQ(oEngine.m_oProperties.GetCapacity(), 16);
  for (int i = 16; i >= 0; --i) {
    VCM::CString strKey;
    strKey.Format(L"key%02d", i);
    oEngine.SetProperty(strKey, L"x");
  }
  EXPECT_EQ(oEngine.m_oProperties.GetCapacity(), 32);
  for (int i = 0; i < 17; ++i) {
    VCM::CString strKey;
    strKey.Format(L"key%02d", i);
    EXPECT_TRUE(oEngine.m_oProperties.GetKeyAt(i) == strKey) << i;
  }
}

TEST(PropertyStoreTest, SwitchIsANumberThatIsNotZero) {
  const struct {
    const wchar_t* pszValue;
    bool bExpected;
  } atCases[] = {
      {L"1", true},   {L"-1", true},          {L" 7", true},         {L"3abc", true},
      {L"0", false},  {L"", false},           {L"true", false},      {L"yes", false},
      {L"on", false}, {L"4294967296", false}, {L"4294967297", true}, {L"1\xdc80", false},
  };
  CEngine oEngine;
  for (const auto& tCase : atCases) {
    oEngine.SetProperty(L"StreamsForTags", tCase.pszValue);
    EXPECT_EQ(oEngine.GetBooleanProperty(L"StreamsForTags"), tCase.bExpected) << tCase.pszValue;
  }
}

TEST(ProviderBaseTest, InstanceIsTheProviderConstructedLast) {
  CEngine oFirst;
  EXPECT_EQ(MCE::CProviderBase::s_poInstance, &oFirst);
  CEngine oSecond;
  EXPECT_EQ(MCE::CProviderBase::s_poInstance, &oSecond);
}

TEST(ProviderBaseTest, InstanceIsNotClearedWhenItsProviderEnds) {
  auto* poEngine = new CEngine;
  const auto nAddress = reinterpret_cast<std::uintptr_t>(static_cast<MCE::CProviderBase*>(poEngine));
  poEngine->Destroy();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(MCE::CProviderBase::s_poInstance), nAddress);
}

TEST(ProviderBaseTest, NullProviderCanBeDestroyed) {
  constexpr std::size_t SLOT_DESTROY = 0;
  const CEngine oEngine;
  Slot<void(void*)>(&oEngine, SLOT_DESTROY)(nullptr);
}

// Hosts read the members at their offsets.
TEST(ProviderBaseTest, IdentityFollowsTheRepositoryView) {
  CEngine oEngine;
  const std::vector<const void*> apMembers = {&oEngine.m_oReposView,       &oEngine.m_strName,
                                              &oEngine.m_strDisplayName,   &oEngine.m_strDescription,
                                              &oEngine.m_bFirstCapability, &oEngine.m_bSecondCapability};
  EXPECT_TRUE(AreInOrder(apMembers));
  EXPECT_EQ(apMembers[0], reinterpret_cast<const char*>(&oEngine) + sizeof(void*));
  EXPECT_TRUE(oEngine.m_oReposView.IsEmpty());
}

TEST(ProviderBaseTest, ConstructorHandsOverTheIdentity) {
  CEngine oEngine;
  EXPECT_TRUE(oEngine.GetName() == L"test");
  EXPECT_TRUE(oEngine.GetDisplayName() == L"Test");
  EXPECT_TRUE(oEngine.GetDescription() == L"Streams of a test");
  EXPECT_FALSE(oEngine.m_bFirstCapability);
  EXPECT_TRUE(oEngine.m_bSecondCapability);
}

TEST(ProviderBaseTest, FreshProviderHasNothing) {
  CEngine oEngine;
  EXPECT_EQ(oEngine.m_oStreams.GetCount(), 0);
  const MCE::CProvider::TStreamInfo& tStream = oEngine.m_tCurrentStream;
  EXPECT_EQ(tStream.nID + tStream.nParentID + tStream.nBaseChangeID, 0u);
  EXPECT_EQ(tStream.oDestPath.GetCount() + tStream.oSrcPath.GetCount(), 0);
  EXPECT_TRUE(tStream.strName.IsEmpty() && tStream.oProps.IsEmpty());
  EXPECT_EQ(oEngine.m_oWorkFolder.GetCount(), 0);
  EXPECT_EQ(oEngine.m_oProperties.GetCount(), 0);
  EXPECT_EQ(oEngine.m_oProperties.GetCapacity(), 16);
  EXPECT_TRUE(oEngine.m_strDatabasePath.IsEmpty());
  EXPECT_EQ(oEngine.m_poDatabase, nullptr);
  EXPECT_FALSE(oEngine.m_oChangeTable.IsOpen() || oEngine.m_oChangeItemTable.IsOpen());
  EXPECT_EQ(oEngine.m_poTransaction, nullptr);
  EXPECT_EQ(oEngine.m_poChangeIterator, nullptr);
  EXPECT_EQ(oEngine.m_poChangeItemIterator, nullptr);
  EXPECT_EQ(oEngine.m_tChange.nID + oEngine.m_tChangeItem.nID, 0u);
  EXPECT_EQ(oEngine.m_nChangesAdded, 0u);
  EXPECT_FALSE(oEngine.m_bStreamsEstablished || oEngine.m_bChangesetsEstablished);
  EXPECT_FALSE(oEngine.IsLogOpen());
  EXPECT_TRUE(oEngine.GetLogPath().IsEmpty());
}

TEST(ProviderBaseTest, AnyPropertyValueIsValid) {
  CEngine oEngine;
  VCM::CString strValue = L"value";
  VCM::CString strMessage = L"message";
  EXPECT_TRUE(oEngine.ValidateStringProperty(L"Key", strValue, strMessage));
  EXPECT_TRUE(strValue == L"value");
  EXPECT_TRUE(strMessage == L"message");
}

TEST(ProviderBaseTest, BaseHasNothingToReportOfTheEnvironmentAndRetrievesNoStream) {
  CEngine oEngine;
  VCM::CString strMessage = L"untouched";
  EXPECT_EQ(oEngine.CheckEnvironment(strMessage), 0);
  EXPECT_TRUE(strMessage == L"untouched");
  EXPECT_FALSE(oEngine.RetrieveFiles(0));
}

}  // namespace
}  // namespace TALVEK::TEST
