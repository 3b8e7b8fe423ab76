// Reading the lines of a log: CLineReader against wxTextInputStream, which reads byte by byte.

#include <cstddef>
#include <string>

#include <benchmark/benchmark.h>
#include <wx/mstream.h>
#include <wx/string.h>
#include <wx/txtstrm.h>

#include "core/line_reader.h"
#include "core/string.h"

namespace TALVEK {
namespace {

/// About `nBytes` bytes of typical log: headers of revisions and one-line messages.
std::string MakeLog(std::size_t nBytes) {
  std::string strLog;
  for (int nRevision = 1; strLog.size() < nBytes; ++nRevision) {
    strLog += "----------------------------\nrevision 1." + std::to_string(nRevision) +
              "\ndate: 2004-01-12 09:15:00 +0000;  author: ada;  state: Exp;  lines: +1 -1;\n"
              "Multiply before adding; ask with a prompt\n";
  }
  return strLog;
}

void CountBytes(benchmark::State& oState, const std::string& strLog) {
  oState.SetBytesProcessed(static_cast<int64_t>(strLog.size()) * static_cast<int64_t>(oState.iterations()));
}

void LinesByLineReader(benchmark::State& oState) {
  const std::string strLog = MakeLog(static_cast<std::size_t>(oState.range(0)));
  for (auto _ : oState) {
    wxMemoryInputStream oStream(strLog.data(), strLog.size());
    VCM::CLineReader oReader(&oStream);
    VCM::CString strLine;
    while (oReader.ReadLine(strLine))
      benchmark::DoNotOptimize(strLine);
  }
  CountBytes(oState, strLog);
}
BENCHMARK(LinesByLineReader)->Arg(1 << 20)->Unit(benchmark::kMillisecond);

void LinesByTextInputStream(benchmark::State& oState) {
  const std::string strLog = MakeLog(static_cast<std::size_t>(oState.range(0)));
  for (auto _ : oState) {
    wxMemoryInputStream oStream(strLog.data(), strLog.size());
    wxTextInputStream oReader(oStream);
    while (!oStream.Eof()) {
      const wxString strLine = oReader.ReadLine();
      benchmark::DoNotOptimize(strLine.length());
    }
  }
  CountBytes(oState, strLog);
}
BENCHMARK(LinesByTextInputStream)->Arg(1 << 20)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace TALVEK
