// Reading a log with exact/log_reader.h, from memory.

#include <cstdint>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

#include "bench/history_shape.h"
#include "exact/log_reader.h"
#include "tests/exact/text_source.h"

namespace TALVEK::EXACT {
namespace {

void ReadLog(benchmark::State& oState, const std::string& strLog) {
  for (auto _ : oState) {
    CTextSource oSource(strLog);
    CLogReader oReader(oSource, "/cvs");
    std::size_t nRevisions = 0;
    for (TRcsFile tFile; oReader.Next(tFile);)
      nRevisions += tFile.atRevisions.size();
    benchmark::DoNotOptimize(nRevisions);
  }
  oState.SetBytesProcessed(static_cast<std::int64_t>(strLog.size()) *
                           static_cast<std::int64_t>(oState.iterations()));
}

std::string MakeLog(std::uint32_t nFiles, std::uint32_t nRevisions, std::uint32_t nNames) {
  BENCH::TShape tShape;
  tShape.nFiles = nFiles;
  tShape.nRevisions = nRevisions;
  tShape.nNames = nNames;
  const BENCH::CHistory oHistory(tShape);
  std::string strLog;
  for (std::uint32_t i = 0; i < tShape.nFiles; ++i)
    strLog += BENCH::LogText(oHistory, "/cvs/bench", oHistory.MakeFile(i));
  return strLog;
}

void ReadRevisions(benchmark::State& oState) {
  ReadLog(oState, MakeLog(1000, static_cast<std::uint32_t>(oState.range(0)), 0));
}
BENCHMARK(ReadRevisions)->Arg(10)->Arg(160)->Unit(benchmark::kMillisecond);

void ReadNames(benchmark::State& oState) {
  ReadLog(oState, MakeLog(200, 10, static_cast<std::uint32_t>(oState.range(0))));
}
BENCHMARK(ReadNames)->Arg(50)->Arg(800)->Unit(benchmark::kMillisecond);

// One file; the message of its newest revision contains the log of all its older revisions.
void ReadPasted(benchmark::State& oState) {
  const std::string strOne = MakeLog(1, static_cast<std::uint32_t>(oState.range(0)), 0);
  const std::size_t nRevision = strOne.find("revision ");
  const std::size_t nMessage = strOne.find('\n', strOne.find('\n', nRevision) + 1) + 1;
  const std::string strSeparator = "----------------------------\n";
  const std::size_t nOthers = strOne.find(strSeparator, nMessage);
  const std::string strOthers = strOne.substr(
      nOthers, strOne.rfind("=============================================================================") -
                   nOthers);
  ReadLog(oState, strOne.substr(0, nOthers) + strOthers + strOne.substr(nOthers));
}
BENCHMARK(ReadPasted)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace TALVEK::EXACT
