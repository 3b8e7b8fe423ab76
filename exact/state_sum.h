#pragma once

#include <cstddef>
#include <cstdint>

#include "exact/records.h"

namespace TALVEK::EXACT {

/// A sum over the revisions of a state, in which each revision has a fixed value of 128 random-looking bits:
/// two states have the same sum if they have the same files in the same revisions, and else with a
/// probability of 2^-128. (A revision belongs to one file, so it stands for both.)
struct TStateSum {
  std::uint64_t nLow = 0;
  std::uint64_t nHigh = 0;

  void Add(TIndex nRevision) {
    if (nRevision == NONE) return;
    nLow += Mix(nRevision);
    nHigh += Mix(nRevision + (std::uint64_t{1} << 40));
  }
  void Remove(TIndex nRevision) {
    if (nRevision == NONE) return;
    nLow -= Mix(nRevision);
    nHigh -= Mix(nRevision + (std::uint64_t{1} << 40));
  }
  bool operator==(const TStateSum&) const = default;

  struct THash {
    std::size_t operator()(const TStateSum& tSum) const { return static_cast<std::size_t>(tSum.nLow); }
  };

 private:
  /// The output function of the generator splitmix64.
  static std::uint64_t Mix(std::uint64_t n) {
    n = (n + 1) * 0x9E3779B97F4A7C15;
    n = (n ^ (n >> 30)) * 0xBF58476D1CE4E5B9;
    n = (n ^ (n >> 27)) * 0x94D049BB133111EB;
    return n ^ (n >> 31);
  }
};

}  // namespace TALVEK::EXACT
