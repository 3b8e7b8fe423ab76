#include "core/text_codec.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cwchar>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/locale_scope.h"
#include "tests/support/print.h"

namespace TALVEK::VCM {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

/// The expected result of FromBytes, made by the C library, one call per character.
CString DecodeByLibrary(std::string_view strBytes) {
  CString strText;
  while (!strBytes.empty()) {
    std::mbstate_t tState{};
    wchar_t ch = 0;
    std::size_t nLength = std::mbrtowc(&ch, strBytes.data(), strBytes.size(), &tState);
    if (nLength == 0) nLength = 1;  // a NUL
    const bool bCharacter = nLength <= strBytes.size() && ch <= 0x10FFFF && (ch < 0xD800 || ch > 0xDFFF);
    if (!bCharacter) {
      ch = 0xDC00 + static_cast<unsigned char>(strBytes[0]);
      nLength = 1;
    }
    strText += ch;
    strBytes.remove_prefix(nLength);
  }
  return strText;
}

/// Runs in the two locales that every Debian system has.
class TextCodecTest : public testing::TestWithParam<const char*> {
 protected:
  void ExpectComesBack(const std::string& strBytes) {
    const CString strText = FromBytes(strBytes);
    ASSERT_EQ(ToBytes(strText), strBytes) << testing::PrintToString(strBytes);
    ASSERT_EQ(strText, DecodeByLibrary(strBytes)) << testing::PrintToString(strBytes);
  }

  TEST::CLocaleScope m_oLocale{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Locales, TextCodecTest, testing::Values("C", "C.UTF-8"),
                         [](const auto& tInfo) { return tInfo.param == "C"sv ? "C" : "Utf8"; });

TEST_P(TextCodecTest, EveryByteAndEveryPairOfBytesComesBack) {
  for (int nFirst = 0; nFirst < 256; ++nFirst) {
    std::string strBytes(1, static_cast<char>(nFirst));
    ExpectComesBack(strBytes);
    strBytes += '\0';
    for (int nSecond = 0; nSecond < 256; ++nSecond) {
      strBytes[1] = static_cast<char>(nSecond);
      ExpectComesBack(strBytes);
    }
  }
}

TEST_P(TextCodecTest, EveryThreeBytesFromTheEdgesOfUtf8ComeBack) {
  const std::string_view strEdges =
      "\0\x09"
      "A\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xED\xEF\xF0\xF4\xF5\xF8\xFB\xFC\xFE\xFF"sv;
  for (const char chFirst : strEdges) {
    for (const char chSecond : strEdges) {
      for (const char chThird : strEdges) {
        for (const char* pszRest : {"", "\x80", "\xBF\x80", "\xBF\xBF\xBF"})
          ExpectComesBack(std::string{chFirst, chSecond, chThird} + pszRest);
      }
    }
  }
}

TEST_P(TextCodecTest, RandomBytesComeBack) {
  std::mt19937 oRandom(3);
  for (int nRound = 0; nRound < 20000; ++nRound) {
    std::string strBytes(oRandom() % 40, '\0');
    // Half of the bytes are ASCII, so that there are runs of ASCII of all lengths.
    for (char& ch : strBytes)
      ch = static_cast<char>(oRandom() % 2 ? oRandom() % 0x80 : oRandom());
    ExpectComesBack(strBytes);
  }
}

TEST_P(TextCodecTest, TextsInForeignEncodingsComeBack) {
  const std::string astrTexts[] = {
      "caf\xE9, na\xEFve, \xA9 1999"s,                                  // Latin-1
      "\xC6\xFC\xCB\xDC\xB8\xEC \x8E\xB1 \x8F\xB0\xA1"s,                // EUC-JP
      "\x93\xFA\x96\x7B\x8C\xEA \x5C"s,                                 // Shift-JIS
      "\xEF\xBB\xBFgr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80"s,  // UTF-8
      "\xFF\xFEt\0e\0x\0t\0"s,                                          // UTF-16
      "with\0NULs\0\0"s,
  };
  for (const std::string& strBytes : astrTexts)
    ExpectComesBack(strBytes);
}

TEST_P(TextCodecTest, DecodeBytesReplacesTheTextBefore) {
  CString strText;
  for (const std::string_view strBytes : {"a long line of text"sv, "\xE9"sv, ""sv, "short"sv}) {
    DecodeBytes(strBytes, strText);
    EXPECT_EQ(strText, FromBytes(strBytes));
  }
}

TEST_P(TextCodecTest, EveryCharacterTakesTheSameWayAsInTheLibrary) {
  for (wchar_t ch = 0; ch <= 0x10FFFF; ++ch) {
    char szBytes[MB_LEN_MAX];
    std::mbstate_t tState{};
    const std::size_t nLength = std::wcrtomb(szBytes, ch, &tState);
    // The C locale's conversion gives no bytes for some characters, which would lose them (next test).
    if (nLength == static_cast<std::size_t>(-1) || nLength == 0) continue;
    const CString strText(std::wstring_view(&ch, 1));
    ASSERT_EQ(ToBytes(strText), std::string(szBytes, nLength));
    ASSERT_EQ(FromBytes({szBytes, nLength}), strText);
  }
}

TEST_P(TextCodecTest, CharacterThatTheLocaleLacksIsWrittenInUtf8) {
  EXPECT_EQ(ToBytes(L"\xE9 \x20AC \x1F600"), "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80");
  EXPECT_EQ(ToBytes(L"\xD83D"), "\xED\xA0\xBD");
  EXPECT_EQ(ToBytes(L"\xE0041"), "\xF3\xA0\x81\x81");  // a tag: the C locale's conversion swallows it
}

TEST_P(TextCodecTest, SystemPathRefusesANul) {
  std::string strPath = "before";
  EXPECT_FALSE(ToSystemPath(CString(L"a\0b"sv), strPath));
  EXPECT_EQ(strPath, "before");
  EXPECT_TRUE(ToSystemPath(FromBytes("caf\xE9"), strPath));
  EXPECT_EQ(strPath, "caf\xE9");
}

TEST_P(TextCodecTest, NumbersAreReadAsStrtolReadsThem) {
  const struct {
    const wchar_t* pszText;
    long nValue;
  } atCases[] = {
      {L"", 0},
      {L"0", 0},
      {L"12", 12},
      {L"012", 12},
      {L"-12", -12},
      {L"+12", 12},
      {L"--1", 0},
      {L"+-1", 0},
      {L"- 1", 0},
      {L" \t\n\v\f\r 7", 7},
      {L"7 ", 7},
      {L"5\tlock", 5},
      {L"1.5", 1},
      {L"x7", 0},
      {L"0x10", 0},
      {L"9223372036854775807", LONG_MAX},
      {L"9223372036854775808", LONG_MAX},
      {L"-9223372036854775808", LONG_MIN},
      {L"-9223372036854775809", LONG_MIN},
      {L"99999999999999999999999x", LONG_MAX},
      {L"4294967296", 4294967296},
  };
  for (const auto& tCase : atCases) {
    EXPECT_EQ(ParseNumber(tCase.pszText), tCase.nValue) << ToUtf8(tCase.pszText);
    EXPECT_EQ(std::strtol(ToBytes(tCase.pszText).c_str(), nullptr, 10), tCase.nValue) << "a wrong case";
  }
  EXPECT_EQ(ParseNumber(CString(L"12\0"
                                L"34"sv)),
            12);
}

TEST_P(TextCodecTest, NumberWithACharacterThatNoLocaleHasIsZero) {
  for (const wchar_t* pszText : {L"12\xDC80", L"\xDCE9", L"12\xD800", L"12 \x110000"})
    EXPECT_EQ(ParseNumber(pszText), 0);
  EXPECT_EQ(ParseNumber(CString(L"12\0\xDC80"sv)), 0);
}

TEST(TextCodecLocaleTest, NumberIsZeroWithCharactersThatTheLocaleLacks) {
  const wchar_t* const pszText = L"12 \xE9";
  {
    const TEST::CLocaleScope oScope("C.UTF-8");
    EXPECT_EQ(ParseNumber(pszText), 12);
    EXPECT_EQ(ParseNumber(L"\x0661"), 0);  // a digit, but not one of strtol's
  }
  const TEST::CLocaleScope oScope("C");
  EXPECT_EQ(ParseNumber(pszText), 0);
}

TEST(TextCodecLocaleTest, UndecodableByteBecomesOneCharacterAndDecodingGoesOn) {
  const struct {
    std::string_view strBytes;
    std::wstring_view strText;
  } atCases[] = {
      {"a\xE9z"sv, L"a\xDCE9z"sv},  // no sequence
      {"\xC3\xA9"sv, L"\xE9"sv},
      {"\xE2\x82"sv, L"\xDCE2\xDC82"sv},              // cut off by the end
      {"\xE2\x82\xC3\xA9"sv, L"\xDCE2\xDC82\xE9"sv},  // cut off by a sequence
      {"\xC0\x80"sv, L"\xDCC0\xDC80"sv},              // overlong
      {"\xED\xB2\x80"sv, L"\xDCED\xDCB2\xDC80"sv},    // U+DC80 itself, written as a sequence
      {"\xF4\x8F\xBF\xBF"sv, L"\x10FFFF"sv},
      {"\xF4\x90\x80\x80"sv, L"\xDCF4\xDC90\xDC80\xDC80"sv},  // U+110000
      {"\xF8\x88\x80\x80\x80"sv, L"\xDCF8\xDC88\xDC80\xDC80\xDC80"sv},
      {"\0\x80\0"sv, L"\0\xDC80\0"sv},
  };
  const TEST::CLocaleScope oScope("C.UTF-8");
  for (const auto& tCase : atCases) {
    EXPECT_EQ(FromBytes(tCase.strBytes), CString(tCase.strText)) << testing::PrintToString(tCase.strBytes);
    EXPECT_EQ(ToBytes(CString(tCase.strText)), tCase.strBytes) << testing::PrintToString(tCase.strBytes);
  }
}

TEST(TextCodecLocaleTest, CLocaleHasAsciiOnly) {
  const TEST::CLocaleScope oScope("C");
  EXPECT_EQ(FromBytes("a\xC3\xA9"), L"a\xDCC3\xDCA9");
}

TEST(TextCodecLocaleTest, Utf8ShowsWhatIsNoCharacterAsTheReplacement) {
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    const TEST::CLocaleScope oScope(pszLocale);
    const CString strText(L"a\0\xE9\x10FFFF\xDC80\xD800\x110000z"sv);
    EXPECT_EQ(ToUtf8(strText), "a\0\xC3\xA9\xF4\x8F\xBF\xBF\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDz"s);
  }
}

// The encoder handles runs of ASCII as blocks, so the place of another character matters.
TEST(TextCodecLocaleTest, CharacterIsEncodedAtEveryPlaceOfALongText) {
  for (std::size_t nPlace = 0; nPlace < 200; ++nPlace) {
    CString strText(std::wstring(nPlace, L'a'));
    strText += std::wstring(L"\xE9") + std::wstring(200 - nPlace, L'b');
    EXPECT_EQ(ToUtf8(strText), std::string(nPlace, 'a') + "\xC3\xA9" + std::string(200 - nPlace, 'b'));
  }
}

std::string Stored(const CString& strText) {
  std::string strBytes;
  EncodeStored(strText.View(), strBytes);
  return strBytes;
}

TEST(TextCodecLocaleTest, StoredFormIsUtf8WithSurrogatesInEveryLocale) {
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    const TEST::CLocaleScope oScope(pszLocale);
    const CString strText(L"a\0\xE9\xDC80\x1F600"sv);
    EXPECT_EQ(Stored(strText), "a\0\xC3\xA9\xED\xB2\x80\xF0\x9F\x98\x80"s);
    EXPECT_EQ(DecodeStored(Stored(strText)), strText);
  }
}

TEST(TextCodecLocaleTest, EncodeStoredAppends) {
  std::string strBytes = "before ";
  EncodeStored(L"\xE9", strBytes);
  EXPECT_EQ(strBytes, "before \xC3\xA9");
}

TEST(TextCodecLocaleTest, EveryWideCharacterComesBackFromItsStoredForm) {
  std::vector<wchar_t> achCharacters{INT_MAX, INT_MIN, -1, 0x3FFFFFF, 0x4000000, 0x1FFFFF, 0x200000};
  for (wchar_t ch = 0; ch <= 0x110000; ++ch)
    achCharacters.push_back(ch);
  for (const wchar_t ch : achCharacters) {
    const CString strText(std::wstring_view(&ch, 1));
    ASSERT_EQ(DecodeStored(Stored(strText)), strText);
  }
}

TEST(TextCodecLocaleTest, StoredFormThatIsDamagedLosesNoByte) {
  EXPECT_EQ(DecodeStored("a\xFF\xC3"), L"a\xDCFF\xDCC3");
}

}  // namespace
}  // namespace TALVEK::VCM
