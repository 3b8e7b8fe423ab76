#pragma once

#include <algorithm>
#include <chrono>
#include <limits>

namespace TALVEK::TEST {

/// How many times longer an element takes among many than among few: about 1 where work grows with the number
/// of elements, `nMany / nFew` where it grows with its square. `fnRun(n)` does the work for n elements. The
/// quickest of several runs counts, so that a busy machine doesn't; allow for caches and logarithms all the
/// same.
template <class TRun>
double CostGrowth(int nFew, int nMany, TRun fnRun) {
  constexpr int RUNS = 5;
  const auto fnSecondsPerElement = [&](int nElements) {
    double fBest = std::numeric_limits<double>::max();
    for (int i = 0; i < RUNS; ++i) {
      const auto oStart = std::chrono::steady_clock::now();
      fnRun(nElements);
      const std::chrono::duration<double> oTaken = std::chrono::steady_clock::now() - oStart;
      fBest = std::min(fBest, oTaken.count() / nElements);
    }
    return fBest;
  };
  const double fFew = fnSecondsPerElement(nFew);
  return fnSecondsPerElement(nMany) / fFew;
}

}  // namespace TALVEK::TEST
