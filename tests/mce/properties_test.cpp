#include <gtest/gtest.h>

#include "core/file_system.h"
#include "core/text_codec.h"
#include "tests/mce/engine_fixture.h"

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

TEST(ProviderBaseTest, ConstructorHandsOverTheIdentity) {
  CEngine oEngine;
  EXPECT_TRUE(oEngine.GetName() == L"test");
  EXPECT_TRUE(oEngine.GetDisplayName() == L"Test");
  EXPECT_TRUE(oEngine.GetDescription() == L"Streams of a test");
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
