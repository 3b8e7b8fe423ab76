#include "core/case_map.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cwctype>

#include "tests/support/locale_scope.h"

namespace TALVEK::VCM {
namespace {

// Compares with the C library that the table was made from, that of Debian 12. Others may map more
// characters.
TEST(CaseMapTest, EveryCharacterMapsAsInAUtf8Locale) {
  const locale_t oLocale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  ASSERT_TRUE(oLocale);
  int nMapped = 0;
  for (wint_t ch = 0; ch <= 0x10FFFF; ++ch) {
    const wint_t chExpected = towlower_l(ch, oLocale);
    if (chExpected != ch) ++nMapped;
    ASSERT_EQ(static_cast<wint_t>(ToLower(static_cast<wchar_t>(ch))), chExpected) << std::hex << ch;
  }
  freelocale(oLocale);
  EXPECT_GT(nMapped, 1000);
}

TEST(CaseMapTest, MapsTheSameInTheCLocale) {
  const TEST::CLocaleScope oScope("C");
  EXPECT_EQ(ToLower(L'\xC4'), L'\xE4');
  EXPECT_EQ(ToLower(L'\x416'), L'\x436');
}

TEST(CaseMapTest, WhatIsNoCharacterMapsToItself) {
  for (const wchar_t ch :
       {wchar_t{0xDC80}, wchar_t{0xDCFF}, wchar_t{0x110000}, wchar_t{INT_MAX}, wchar_t{-1}, wchar_t{INT_MIN}})
    EXPECT_EQ(ToLower(ch), ch);
}

}  // namespace
}  // namespace TALVEK::VCM
