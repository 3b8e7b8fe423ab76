// What the fixed order of equal keys costs: our merge sort against the standard's stable one.

#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "core/merge_sort.h"

namespace TALVEK {
namespace {

/// As many numbers as revisions or names of one file, many of them equal; the same ones in every run.
std::vector<unsigned> MakeNumbers(std::size_t nCount) {
  std::mt19937 oGenerator(1);
  std::vector<unsigned> anNumbers(nCount);
  for (unsigned& nNumber : anNumbers)
    nNumber = static_cast<unsigned>(oGenerator() % nCount);
  return anNumbers;
}

void CountItems(benchmark::State& oState) {
  oState.SetItemsProcessed(oState.range(0) * static_cast<int64_t>(oState.iterations()));
}

void SortByMergeSort(benchmark::State& oState) {
  const std::vector<unsigned> anNumbers = MakeNumbers(static_cast<std::size_t>(oState.range(0)));
  for (auto _ : oState) {
    std::vector<unsigned> anSorted = anNumbers;
    VCM::MergeSort(anSorted, [](const unsigned* pnA, const unsigned* pnB) { return *pnA < *pnB ? -1 : 1; });
    benchmark::DoNotOptimize(anSorted.data());
  }
  CountItems(oState);
}
BENCHMARK(SortByMergeSort)->Arg(16)->Arg(1 << 10)->Arg(1 << 17);

void SortByStableSort(benchmark::State& oState) {
  const std::vector<unsigned> anNumbers = MakeNumbers(static_cast<std::size_t>(oState.range(0)));
  for (auto _ : oState) {
    std::vector<unsigned> anSorted = anNumbers;
    std::stable_sort(anSorted.begin(), anSorted.end());
    benchmark::DoNotOptimize(anSorted.data());
  }
  CountItems(oState);
}
BENCHMARK(SortByStableSort)->Arg(16)->Arg(1 << 10)->Arg(1 << 17);

}  // namespace
}  // namespace TALVEK
