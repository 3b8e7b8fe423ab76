// Reading a log with CFileEnum, from memory: lines, items, and each file's sorted names and revisions.

#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>
#include <wx/mstream.h>

#include "bench/history_shape.h"
#include "mcv/file_enum.h"

namespace TALVEK {
namespace {

std::string MakeLog(const BENCH::TShape& tShape) {
  const BENCH::CHistory oHistory(tShape);
  std::string strLog;
  for (std::uint32_t i = 0; i < tShape.nFiles; ++i)
    strLog += BENCH::LogText(oHistory, "/cvs/bench", oHistory.MakeFile(i));
  return strLog;
}

void ParseLog(benchmark::State& oState, const BENCH::TShape& tShape) {
  const std::string strLog = MakeLog(tShape);
  for (auto _ : oState) {
    wxMemoryInputStream oStream(strLog.data(), strLog.size());
    MCV::CFileEnum oFiles(&oStream, L"bench", L"/cvs");
    MCV::TFileInfo tFile;
    while (oFiles.GetNextFile(tFile, {}, {}, true))
      benchmark::DoNotOptimize(tFile.atRevisions.GetCount());
  }
  oState.SetBytesProcessed(static_cast<std::int64_t>(strLog.size()) *
                           static_cast<std::int64_t>(oState.iterations()));
}

void ParseRevisions(benchmark::State& oState) {
  BENCH::TShape tShape;
  tShape.nFiles = 200;
  tShape.nRevisions = static_cast<std::uint32_t>(oState.range(0));
  tShape.nNames = 0;
  ParseLog(oState, tShape);
}
BENCHMARK(ParseRevisions)->Arg(10)->Arg(160)->Unit(benchmark::kMillisecond);

void ParseNames(benchmark::State& oState) {
  BENCH::TShape tShape;
  tShape.nFiles = 200;
  tShape.nNames = static_cast<std::uint32_t>(oState.range(0));
  ParseLog(oState, tShape);
}
BENCHMARK(ParseNames)->Arg(50)->Arg(800)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace TALVEK
