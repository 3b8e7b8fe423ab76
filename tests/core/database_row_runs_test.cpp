#include "core/database_row_runs.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

using VCM::CDescriptor;
using VDB::CRowRuns;

namespace {

using TRows = std::vector<std::pair<std::string, std::string>>;

class RowRunsTest : public testing::Test {
 protected:
  CDescriptor OpenFile() const {
    return CDescriptor(open((m_oFolder / "runs").c_str(), O_RDWR | O_CREAT, 0600));
  }

  static bool AddRun(CRowRuns& oRuns, const TRows& atRows) {
    oRuns.BeginRun();
    for (const auto& [strKey, strRow] : atRows) {
      if (!oRuns.Add(strKey, strRow)) return false;
    }
    return oRuns.EndRun();
  }
  static TRows Merge(CRowRuns& oRuns) {
    TRows atRows;
    EXPECT_TRUE(oRuns.Merge([&](std::string_view strKey, std::string_view strRow) {
      atRows.emplace_back(strKey, strRow);
      return true;
    }));
    return atRows;
  }

  CTempFolder m_oFolder;
};

}  // namespace

TEST_F(RowRunsTest, MergeTable) {
  const struct {
    std::vector<TRows> aatRuns;
    TRows atMerged;
  } atCases[] = {
      {{}, {}},
      {{{}}, {}},
      {{{{"aaaa", "1"}}}, {{"aaaa", "1"}}},
      {{{{"aaaa", "1"}, {"cccc", "3"}}, {}, {{"bbbb", "2"}, {"dddd", ""}}},
       {{"aaaa", "1"}, {"bbbb", "2"}, {"cccc", "3"}, {"dddd", ""}}},
      // Keys that begin alike, and one that another begins with.
      {{{{"aaaaaaaab", "2"}}, {{"aaaaaaaa", "1"}, {"aaaaaaaac", "3"}}},
       {{"aaaaaaaa", "1"}, {"aaaaaaaab", "2"}, {"aaaaaaaac", "3"}}},
      {{{{std::string("aaaa\0", 5), "2"}}, {{"aaaa", "1"}}},
       {{"aaaa", "1"}, {std::string("aaaa\0", 5), "2"}}},
      // Bytes from 80 on come last.
      {{{{"\xFF\xFF\xFF\xFF", "2"}}, {{"\x7F\xFF\xFF\xFF", "1"}}},
       {{"\x7F\xFF\xFF\xFF", "1"}, {"\xFF\xFF\xFF\xFF", "2"}}},
      // The order of the runs decides between equal keys.
      {{{{"aaaa", "first"}, {"aaaa", "second"}}, {{"aaaa", "third"}}, {{"aaaa", "fourth"}}},
       {{"aaaa", "first"}, {"aaaa", "second"}, {"aaaa", "third"}, {"aaaa", "fourth"}}},
  };
  for (const auto& tCase : atCases) {
    CRowRuns oRuns(OpenFile());
    for (const TRows& atRun : tCase.aatRuns)
      ASSERT_TRUE(AddRun(oRuns, atRun));
    EXPECT_EQ(Merge(oRuns), tCase.atMerged);
  }
}

// Rows of all lengths, so that they lie across the blocks that are written and read in every way.
TEST_F(RowRunsTest, RowsOfEveryLengthComeBack) {
  std::mt19937 oRandom(1);
  CRowRuns oRuns(OpenFile());
  TRows atAll;
  for (int nRun = 0; nRun < 5; ++nRun) {
    TRows atRows;
    for (int i = 0; i < 2000; ++i) {
      const std::size_t nLength = oRandom() % 100 == 0 ? oRandom() % 100'000 : oRandom() % 200;
      atRows.emplace_back(std::to_string(100'000 + 5 * i + nRun),
                          std::string(nLength, static_cast<char>('a' + nRun)));
    }
    ASSERT_TRUE(AddRun(oRuns, atRows));
    atAll.insert(atAll.end(), atRows.begin(), atRows.end());
  }
  std::sort(atAll.begin(), atAll.end());
  EXPECT_TRUE(Merge(oRuns) == atAll);
}

TEST_F(RowRunsTest, FileIsEmptyAfterMergingAndCanBeUsedAgain) {
  CRowRuns oRuns(OpenFile());
  for (const char* pszRow : {"one", "two"}) {
    ASSERT_TRUE(AddRun(oRuns, {{"aaaa", pszRow}}));
    EXPECT_FALSE(oRuns.IsEmpty());
    EXPECT_EQ(Merge(oRuns), (TRows{{"aaaa", pszRow}}));
    EXPECT_TRUE(oRuns.IsEmpty());
    struct stat tStat = {};
    EXPECT_EQ(stat((m_oFolder / "runs").c_str(), &tStat), 0);
    EXPECT_EQ(tStat.st_size, 0);
  }
}

TEST_F(RowRunsTest, VisitorEndsTheMerging) {
  CRowRuns oRuns(OpenFile());
  ASSERT_TRUE(AddRun(oRuns, {{"aaaa", "1"}, {"bbbb", "2"}}));
  int nVisited = 0;
  EXPECT_FALSE(oRuns.Merge([&](std::string_view, std::string_view) { return ++nVisited < 1; }));
  EXPECT_EQ(nVisited, 1);
  EXPECT_EQ(oRuns.GetError(), 0);
  EXPECT_TRUE(oRuns.IsEmpty());
}

TEST_F(RowRunsTest, FileThatWasCutIsAnError) {
  CRowRuns oRuns(OpenFile());
  ASSERT_TRUE(AddRun(oRuns, {{"aaaa", std::string(100'000, 'x')}, {"bbbb", std::string(100'000, 'y')}}));
  ASSERT_EQ(truncate((m_oFolder / "runs").c_str(), 150'000), 0);
  EXPECT_FALSE(oRuns.Merge([](std::string_view, std::string_view) { return true; }));
  EXPECT_EQ(oRuns.GetError(), EIO);
}

TEST_F(RowRunsTest, FullDiskIsAnError) {
  const auto fnFill = [&] {
    const CFileSizeLimitScope oLimit(1 << 20);
    CRowRuns oRuns(OpenFile());
    if (AddRun(oRuns, TRows(1000, {"aaaa", std::string(2000, 'x')}))) return 2;
    return oRuns.GetError() == EFBIG ? 0 : 3;
  };
  EXPECT_EQ(RunInChild(fnFill), 0);
}

}  // namespace TALVEK::TEST
