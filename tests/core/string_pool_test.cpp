#include "core/string_pool.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/print.h"

namespace TALVEK::VCM {
namespace {

using namespace std::string_view_literals;

TEST(StringPoolTest, EqualTextsAreStoredOnce) {
  CStringPool oPool;
  const CStringRef oFirst = oPool.Intern(L"joe");
  const CStringRef oSecond = oPool.Intern(CString(L"joe").View());
  EXPECT_EQ(&oFirst.GetText(), &oSecond.GetText());
  EXPECT_EQ(oFirst.GetText(), L"joe");
  EXPECT_EQ(oPool.GetCount(), 1);
}

TEST(StringPoolTest, TextsThatDifferInCaseOrBehindANulAreApart) {
  CStringPool oPool;
  oPool.Intern(L"joe");
  oPool.Intern(L"Joe");
  oPool.Intern(L"joe\0a"sv);
  oPool.Intern(L"joe\0b"sv);
  EXPECT_EQ(oPool.GetCount(), 4);
}

TEST(StringPoolTest, ReferencesStayGoodWhileThePoolGrows) {
  CStringPool oPool;
  std::vector<CStringRef> aoRefs;
  for (int i = 0; i < 5000; ++i)
    aoRefs.push_back(oPool.Intern(std::to_wstring(i)));
  for (int i = 0; i < 5000; ++i) {
    const CString strExpected(std::to_wstring(i));
    EXPECT_EQ(aoRefs[static_cast<std::size_t>(i)].GetText(), strExpected);
    EXPECT_EQ(&oPool.Intern(strExpected.View()).GetText(), &aoRefs[static_cast<std::size_t>(i)].GetText());
  }
  EXPECT_EQ(oPool.GetCount(), 5000);
}

TEST(StringPoolTest, DefaultReferenceIsTheEmptyText) {
  const CStringRef oNone;
  EXPECT_TRUE(oNone.IsEmpty());
  EXPECT_EQ(oNone.GetText(), L"");
}

}  // namespace
}  // namespace TALVEK::VCM
