#include "exact/log_line_ends.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/exact/text_source.h"

namespace TALVEK::EXACT {
namespace {

TEST(LogLineEndsTest, FirstLineEndDecidesHoweverTheBytesArrive) {
  const struct {
    std::string strLog;
    std::string strExpected;
  } atCases[] = {
      {"", ""},
      {"a", "a"},
      {"\nRCS file: a\nx\ry\r\nz\r", "\nRCS file: a\nx\ry\r\nz\r"},  // a client's own: nothing changes
      {"\r\nRCS file: a\r\nx\ry\r\r\nz\r\n", "\nRCS file: a\nx\ry\r\nz\n"},
      {"\r\n\r\n", "\n\n"},
      {"a\r\nb\r", "a\nb\r"},
      {"\rRCS file: a\r\rx\r", "\nRCS file: a\n\nx\n"},
      {"a\r", "a\n"},
      {"\xef\xbb\xbf\na\r\n", "\na\r\n"},
      {"\xef\xbb\xbf\r\na\r\n", "\na\n"},
      {"\xef\xbb\xbf", ""},
      {"\xef\xbb", "\xef\xbb"},
      {"a\n\xef\xbb\xbf", "a\n\xef\xbb\xbf"},  // no mark but at the beginning
  };
  for (const auto& tCase : atCases) {
    for (const std::size_t nPiece : {1, 2, 3, 1000}) {
      CTextSource oSource(tCase.strLog, nPiece);
      CLogLineEnds oLineEnds(oSource);
      std::string strRead;
      char achPiece[16];
      while (const std::size_t nRead = oLineEnds.Read(achPiece, sizeof achPiece))
        strRead.append(achPiece, nRead);
      EXPECT_EQ(strRead, tCase.strExpected) << tCase.strLog << " in pieces of " << nPiece;
    }
  }
}

}  // namespace
}  // namespace TALVEK::EXACT
