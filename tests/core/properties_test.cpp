#include "core/properties.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "core/text_codec.h"
#include "tests/support/print.h"

namespace TALVEK::VCM {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

std::string Encoded(const CProperties& oProperties) {
  std::string strBytes;
  oProperties.Encode(strBytes);
  return strBytes;
}

TEST(PropertiesTest, AbsentPropertyReadsAsFalseAndLeavesTheResultAlone) {
  const CProperties oProperties;
  CString strValue = L"before";
  std::uint32_t nValue = 42;
  EXPECT_FALSE(oProperties.GetProperty(0, strValue));
  EXPECT_FALSE(oProperties.GetProperty(0, nValue));
  EXPECT_EQ(strValue, L"before");
  EXPECT_EQ(nValue, 42U);
  EXPECT_EQ(oProperties.GetNumber(0, 7), 7U);
  EXPECT_TRUE(oProperties.IsEmpty());
}

TEST(PropertiesTest, AddRefusesAPropertyThatIsThereAndChangeOneThatIsNot) {
  CProperties oProperties;
  EXPECT_FALSE(oProperties.ChangeProperty(1, 10U));
  EXPECT_TRUE(oProperties.IsEmpty());
  EXPECT_TRUE(oProperties.AddProperty(1, 10U));
  EXPECT_FALSE(oProperties.AddProperty(1, 11U));
  EXPECT_EQ(oProperties.GetNumber(1, 0), 10U);
  EXPECT_TRUE(oProperties.ChangeProperty(1, 12U));
  EXPECT_EQ(oProperties.GetNumber(1, 0), 12U);
  EXPECT_EQ(oProperties.GetCount(), 1);
}

TEST(PropertiesTest, SetAddsOrReplaces) {
  CProperties oProperties;
  oProperties.SetProperty(0xFFFF, L"one");
  oProperties.SetProperty(0xFFFF, L"two");
  oProperties.SetProperty(0, 5U);
  CString strValue;
  EXPECT_TRUE(oProperties.GetProperty(0xFFFF, strValue));
  EXPECT_EQ(strValue, L"two");
  EXPECT_EQ(oProperties.GetCount(), 2);
  EXPECT_TRUE(oProperties.HasProperty(0));
  EXPECT_FALSE(oProperties.HasProperty(1));
}

TEST(PropertiesTest, NumberIsFourBytesMostSignificantFirst) {
  CProperties oProperties;
  oProperties.SetProperty(1, L"\x01\x02\x03\x04");
  EXPECT_EQ(oProperties.GetNumber(1, 0), 0x01020304U);
  oProperties.SetProperty(1, 0x41424344U);
  CString strValue;
  EXPECT_TRUE(oProperties.GetProperty(1, strValue));
  EXPECT_EQ(strValue, L"ABCD");
  oProperties.SetProperty(1, 0xFFFFFFFFU);
  EXPECT_EQ(oProperties.GetNumber(1, 0), 0xFFFFFFFFU);
}

TEST(PropertiesTest, TextOfAnotherLengthIsNoNumber) {
  CProperties oProperties;
  for (const wchar_t* pszText : {L"", L"123", L"12345"}) {
    oProperties.SetProperty(1, pszText);
    std::uint32_t nValue = 42;
    EXPECT_FALSE(oProperties.GetProperty(1, nValue));
    EXPECT_EQ(nValue, 42U);
  }
}

TEST(PropertiesTest, TextComesBackWhateverItHolds) {
  const CString strOdd(L"1.2\0\xE9\xDC80\x1F600"sv);
  CProperties oProperties;
  oProperties.SetProperty(1, strOdd);
  CString strValue;
  EXPECT_TRUE(oProperties.GetProperty(1, strValue));
  EXPECT_EQ(strValue, strOdd);
}

TEST(PropertiesTest, EncodingIsInOrderOfTheNumbersWhateverTheOrderOfCalls) {
  CProperties oProperties;
  EXPECT_EQ(Encoded(oProperties), "");
  oProperties.SetProperty(0x0102, L"1.2");
  oProperties.SetProperty(0, 0x01020304U);
  EXPECT_EQ(Encoded(oProperties),
            "\0\0\x04\x01\x02\x03\x04\x01\x02\x03"
            "1.2"s);
  CProperties oOther;
  oOther.SetProperty(0, 0x01020304U);
  oOther.SetProperty(0x0102, L"1.2");
  EXPECT_EQ(oOther, oProperties);
}

TEST(PropertiesTest, DecodeReadsWhatEncodeWrote) {
  for (const std::size_t nLength : {0U, 1U, 127U, 128U, 16383U, 16384U, 3000000U}) {
    CProperties oProperties;
    oProperties.SetProperty(3, 77U);
    oProperties.SetProperty(9, CString(std::wstring(nLength, L'x')));
    CProperties oRead;
    oRead.SetProperty(1, L"before");
    EXPECT_TRUE(oRead.Decode(Encoded(oProperties)));
    EXPECT_EQ(oRead, oProperties) << nLength;
  }
  CProperties oRead;
  oRead.SetProperty(1, L"before");
  EXPECT_TRUE(oRead.Decode(""));
  EXPECT_TRUE(oRead.IsEmpty());
}

TEST(PropertiesTest, DecodeRefusesEverythingElse) {
  const std::string_view astrBad[] = {
      "\0"sv,              // half a number
      "\0\1"sv,            // no length
      "\0\1\2x"sv,         // text too short
      "\0\1\x81"sv,        // half a length
      "\0\1\x80\0"sv,      // a length in more bytes than it needs
      "\0\1\1x\0\1\1y"sv,  // the same property twice
      "\0\2\1x\0\1\1y"sv,  // out of order
      "\0\1\1x\0"sv,       // another byte at the end
      "\0\1\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F"sv,
  };
  for (const std::string_view strBad : astrBad) {
    CProperties oProperties;
    oProperties.SetProperty(1, L"before");
    EXPECT_FALSE(oProperties.Decode(strBad)) << testing::PrintToString(strBad);
    EXPECT_TRUE(oProperties.IsEmpty());
  }
}

TEST(PropertiesTest, EveryCutOfAnEncodingIsRefusedOrAWholeSet) {
  CProperties oProperties;
  oProperties.SetProperty(0, 1U);
  oProperties.SetProperty(1, L"1.2.2.1");
  const std::string strBytes = Encoded(oProperties);
  for (std::size_t n = 0; n < strBytes.size(); ++n) {
    CProperties oRead;
    const bool bWholeEntries = n == 0 || n == 7;
    EXPECT_EQ(oRead.Decode(strBytes.substr(0, n)), bWholeEntries) << n;
  }
}

}  // namespace
}  // namespace TALVEK::VCM
