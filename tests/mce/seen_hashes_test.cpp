#include "mce/seen_hashes.h"

#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace TALVEK::TEST {

using MCE::CSeenHashes;

namespace {

/// Notes so many hashes, expects all to be there, and returns how many of as many new ones pass for them.
int CountMistakes(CSeenHashes& oSeen, int nHashes) {
  std::mt19937 oEngine(7);
  const auto fnRandom = [&oEngine] { return static_cast<std::uint32_t>(oEngine()); };
  std::vector<std::pair<std::uint32_t, std::uint32_t>> anNoted;
  for (int i = 0; i < nHashes; ++i) {
    anNoted.emplace_back(fnRandom(), fnRandom());
    oSeen.Note(anNoted.back().first, anNoted.back().second);
  }
  for (const auto& [nHigh, nLow] : anNoted)
    EXPECT_TRUE(oSeen.Has(nHigh, nLow));
  int nMistakes = 0;
  for (int i = 0; i < nHashes; ++i) {
    const std::uint32_t nHigh = fnRandom();
    nMistakes += oSeen.Has(nHigh, fnRandom()) ? 1 : 0;
  }
  return nMistakes;
}

}  // namespace

TEST(SeenHashesTest, NothingHasBeenSeenAtFirst) {
  const CSeenHashes oSeen(1 << 20);
  EXPECT_FALSE(oSeen.Has(0, 0));
  EXPECT_FALSE(oSeen.Has(1, 2));
}

TEST(SeenHashesTest, NewHashesHardlyEverPassForNotedOnes) {
  CSeenHashes oSeen(std::size_t{8} << 20);
  EXPECT_LE(CountMistakes(oSeen, 1'000'000), 5);
}

TEST(SeenHashesTest, NotedOnesAreSeenBeyondTheRoomThatThereIs) {
  CSeenHashes oSeen(std::size_t{100} << 10);
  const int nMistakes = CountMistakes(oSeen, 30'000);
  EXPECT_GT(nMistakes, 0);
  EXPECT_LT(nMistakes, 30'000);
}

}  // namespace TALVEK::TEST
