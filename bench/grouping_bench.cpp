// Grouping file revisions into changesets: the cost of AddChangeItem in several kinds of history.

#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>

#include "core/text_codec.h"
#include "mce/provider_base.h"

namespace TALVEK {
namespace {

/// The engine alone, without a foreign system.
class CEngine : public MCE::CProviderBase {
 public:
  CEngine() : CProviderBase(L"bench", L"Bench", L"", false, true) {}
  int ResolveStreamLinkage() override { return 0; }
  const MCE::TPropertyInfo* GetPropertyInfo() override { return nullptr; }
  bool InitialiseClients(const VCM::CString&) override { return true; }
  bool RemoveClients() override { return true; }
  int RetrieveChangeFiles(const MCE::TChangeRecord&) override { return 0; }
  int RetrieveChangeItemFile(const MCE::TChangeItemRecord&, const VCM::CString&) override { return 0; }
  bool SearchForStreams() override { return true; }
  bool EnumerateChanges() override { return true; }
};

VCM::CFilePath File(std::int64_t nFile) {
  VCM::CFilePath oPath;
  oPath.Parse(VCM::FromBytes("folder" + std::to_string(nFile / 25) + "/file" + std::to_string(nFile) + ".c"));
  return oPath;
}

/// Adds oState.range(0) items. Item i belongs to change fnChange(i, count); changes are 1000 seconds apart.
template <class TChange>
void Group(benchmark::State& oState, TChange fnChange) {
  MCE::CProvider::TStreamInfo tStream;
  tStream.nID = 1;
  const std::int64_t nItems = oState.range(0);
  for (auto _ : oState) {
    CEngine oEngine;
    for (std::int64_t i = 0; i < nItems; ++i) {
      const std::int64_t nChange = fnChange(i, nItems);
      const VCM::CString strComment =
          VCM::FromBytes("Commit " + std::to_string(nChange) + ": fix the parser");
      oEngine.AddChangeItem(tStream, L"joe", MCE::CHANGE_ITEM_EDIT, File(i), nChange * 1000, strComment,
                            MCE::TCVSRevision(L"1.2"), -1);
    }
  }
  oState.SetItemsProcessed(nItems * static_cast<std::int64_t>(oState.iterations()));
}

void GroupIntoOneChange(benchmark::State& oState) {
  Group(oState, [](std::int64_t, std::int64_t) { return 1; });
}
BENCHMARK(GroupIntoOneChange)->Arg(1 << 10)->Arg(1 << 14)->Unit(benchmark::kMillisecond);

void GroupIntoChangesOfEightNeighbours(benchmark::State& oState) {
  Group(oState, [](std::int64_t i, std::int64_t) { return i / 8 + 1; });
}
BENCHMARK(GroupIntoChangesOfEightNeighbours)->Arg(1 << 10)->Arg(1 << 14)->Unit(benchmark::kMillisecond);

// The files of a commit are far apart in the log.
void GroupIntoChangesOfEightStrangers(benchmark::State& oState) {
  Group(oState, [](std::int64_t i, std::int64_t nItems) { return i % (nItems / 8) + 1; });
}
BENCHMARK(GroupIntoChangesOfEightStrangers)->Arg(1 << 10)->Arg(1 << 14)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace TALVEK
