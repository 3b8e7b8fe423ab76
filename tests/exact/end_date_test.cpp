#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

#include "exact/end_date.h"
#include "tests/support/environment_scope.h"

namespace TALVEK::EXACT {
namespace {

struct TCase {
  std::string strText;
  std::optional<std::int64_t> oTime;
};

const TCase CASES[] = {
    {"2004-12-31 23:59:59", 1104537599},
    {"2004/12/31 23:59:59", 1104537599},
    {"2004-12-31T23:59:59", 1104537599},
    // A date alone ends with its last second, so that the day counts.
    {"2004-12-31", 1104537599},
    {"2004/12/31", 1104537599},
    {"2004-02-29", 1078099199},
    {"2004-07-01 12:00:00", 1088683200},
    {"2004-07-01", 1088726399},
    // The hours that a summer time in Europe and in America skips or has twice, and the days around them.
    {"2004-03-28 01:59:59", 1080439199},
    {"2004-03-28 02:30:00", 1080441000},
    {"2004-03-28 03:30:00", 1080444600},
    {"2004-10-31 02:30:00", 1099189800},
    {"2004-03-27", 1080431999},
    {"2004-03-28", 1080518399},
    {"2004-10-30", 1099180799},
    {"2004-10-31", 1099267199},
    {"2004-04-04 02:30:00", 1081045800},
    {"2004-10-31 01:30:00", 1099186200},
    {"", std::nullopt},
    {"yesterday", std::nullopt},
    {"2004", std::nullopt},
    {"2004-06-31", std::nullopt},
    {"2003-02-29 10:00:00", std::nullopt},
    {"2004-13-01", std::nullopt},
    {"2004-12-31 24:00:00", std::nullopt},
    {"2004-12-31 23:59", std::nullopt},
    {"31.12.2004", std::nullopt},
    {"2004-12-31 ", std::nullopt},
    {"2004-12-31 23:59:59 +0100", std::nullopt},
    {"2004-12-31 23:59:59 x", std::nullopt},
};

class EndDateTest : public ::testing::TestWithParam<const char*> {
 protected:
  ~EndDateTest() override {
    m_oZone.reset();
    tzset();
  }
  std::optional<TALVEK::TEST::CEnvironmentScope> m_oZone;
};

TEST_P(EndDateTest, IsInUtcWhateverTheZone) {
  m_oZone.emplace("TZ", GetParam());
  tzset();
  for (const TCase& t : CASES)
    EXPECT_EQ(ReadEndDate(t.strText), t.oTime) << t.strText;
}

INSTANTIATE_TEST_SUITE_P(Zones, EndDateTest,
                         ::testing::Values("UTC", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M4.1.0,M10.5.0"));

}  // namespace
}  // namespace TALVEK::EXACT
