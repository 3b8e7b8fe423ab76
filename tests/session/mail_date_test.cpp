#include "session/mail_date.h"

#include <gtest/gtest.h>

namespace TALVEK::SESSION {
namespace {

TEST(MailDateTest, IsReadInItsZone) {
  EXPECT_EQ(ParseMailDate("6 Nov 2001 06:51:22 -0000"), 1005029482);
  EXPECT_EQ(ParseMailDate("26 May 1997 13:01:40 -0400"), 864666100);
  EXPECT_EQ(ParseMailDate("26 May 1997 13:01:40 +0530"), 864631900);
  for (const char* pszText :
       {"", "yesterday", "6 Nov 2001", "6 Foo 2001 06:51:22 -0000", "6 ovD 2001 06:51:22 -0000"})
    EXPECT_EQ(ParseMailDate(pszText), std::nullopt) << pszText;
}

TEST(MailDateTest, EntriesPadTheDayWithABlank) {
  EXPECT_EQ(EntryTime(1005029482), "Tue Nov  6 06:51:22 2001");
  EXPECT_EQ(EntryTime(1005893883), "Fri Nov 16 06:58:03 2001");
}

}  // namespace
}  // namespace TALVEK::SESSION
