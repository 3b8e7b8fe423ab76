#pragma once

#include <algorithm>
#include <ctime>
#include <limits>
#include <type_traits>

namespace TALVEK::TEST {

/// Processor seconds that the calling thread has used.
inline double ThreadSeconds() {
  std::timespec tNow{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &tNow);
  return static_cast<double>(tNow.tv_sec) + static_cast<double>(tNow.tv_nsec) / 1e9;
}

/// How many times more processor time an element takes among many than among few: about 1 where work grows
/// with the number of elements, `nMany / nFew` where it grows with its square. `fnRun(n)` does the work for n
/// elements; where only a part of it counts, it returns that part's seconds (ThreadSeconds). Both sizes take
/// turns and the quickest run of each counts, so that a busy machine doesn't; allow for caches and logarithms
/// all the same.
template <class TRun>
double CostGrowth(int nFew, int nMany, TRun fnRun) {
  constexpr int RUNS = 5;
  const auto fnSecondsPerElement = [&](int nElements) {
    const double fStart = ThreadSeconds();
    if constexpr (std::is_same_v<decltype(fnRun(nElements)), double>) {
      return fnRun(nElements) / nElements;
    } else {
      fnRun(nElements);
      return (ThreadSeconds() - fStart) / nElements;
    }
  };
  double fFew = std::numeric_limits<double>::max();
  double fMany = fFew;
  for (int i = 0; i < RUNS; ++i) {
    fFew = std::min(fFew, fnSecondsPerElement(nFew));
    fMany = std::min(fMany, fnSecondsPerElement(nMany));
  }
  return fMany / fFew;
}

}  // namespace TALVEK::TEST
