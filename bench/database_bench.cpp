// The cost of the import database's operations, on a table of `range` change items.

#include <unistd.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>

#include <benchmark/benchmark.h>

#include "core/database.h"
#include "core/file_system.h"
#include "core/text_codec.h"
#include "mce/change_item_table.h"

namespace TALVEK {
namespace {

constexpr std::uint32_t ITEMS_OF_CHANGE = 8;

/// A temporary database with one open table.
class CItems {
 public:
  CItems() : m_strPath(VCM::FromBytes("/tmp/talvek-bench-" + std::to_string(getpid()))) {
    m_poDatabase =
        VDB::CDatabaseFactory::Create(L"type=native;path=" + m_strPath + L";create=1;nobinaries=1");
    m_poTransaction = std::make_unique<VDB::CTransaction>(*m_poDatabase, 60000);
    m_oTable.Open(*m_poDatabase, nullptr, *m_poTransaction, false);
    m_poRows = std::make_unique<VDB::CIterator<MCE::TChangeItemRecord>>(m_oTable, 0, *m_poTransaction);
  }
  ~CItems() {
    m_poRows.reset();
    m_poTransaction.reset();
    m_poDatabase.reset();
    VCM::RemoveFile(m_strPath + L".tdf");
    VCM::RemoveFile(m_strPath + L".tlf");
  }
  CItems(const CItems&) = delete;
  CItems& operator=(const CItems&) = delete;

  VDB::CIterator<MCE::TChangeItemRecord>& Rows() { return *m_poRows; }

  void Fill(std::int64_t nRows) {
    MCE::TChangeItemRecord tItem = MakeItem();
    for (std::int64_t i = 0; i < nRows; ++i) {
      SetKey(static_cast<std::uint32_t>(i), tItem);
      m_poRows->Add(tItem);
    }
  }
  static void SetKey(std::uint32_t nRow, MCE::TChangeItemRecord& tItem) {
    tItem.nID = nRow / ITEMS_OF_CHANGE + 1;
    tItem.nItem = nRow % ITEMS_OF_CHANGE + 1;
  }
  static MCE::TChangeItemRecord MakeItem() {
    MCE::TChangeItemRecord tItem;
    tItem.oFilePath.Parse(L"folder12/part3/file12345.c");
    tItem.oProps.SetProperty(MCE::ITEM_FOREIGN_REVISION, L"1.12.2.3");
    tItem.oTimestamp.Set(1000000000);
    return tItem;
  }

 private:
  VCM::CString m_strPath;
  std::unique_ptr<VDB::CDatabase> m_poDatabase;
  std::unique_ptr<VDB::CTransaction> m_poTransaction;
  MCE::CChangeItemTable m_oTable;
  std::unique_ptr<VDB::CIterator<MCE::TChangeItemRecord>> m_poRows;
};

void CountRows(benchmark::State& oState, std::int64_t nRowsEach) {
  oState.SetItemsProcessed(nRowsEach * static_cast<std::int64_t>(oState.iterations()));
}

void AddRowsInOrder(benchmark::State& oState) {
  for (auto _ : oState) {
    CItems oItems;
    oItems.Fill(oState.range(0));
  }
  CountRows(oState, oState.range(0));
}
BENCHMARK(AddRowsInOrder)->Arg(1 << 10)->Arg(1 << 17)->Unit(benchmark::kMillisecond);

void AddRowsAnywhere(benchmark::State& oState) {
  for (auto _ : oState) {
    CItems oItems;
    MCE::TChangeItemRecord tItem = CItems::MakeItem();
    std::mt19937 oRandom(1);
    for (std::int64_t i = 0; i < oState.range(0); ++i) {
      tItem.nID = static_cast<std::uint32_t>(oRandom());
      oItems.Rows().Add(tItem);
    }
  }
  CountRows(oState, oState.range(0));
}
BENCHMARK(AddRowsAnywhere)->Arg(1 << 10)->Arg(1 << 17)->Unit(benchmark::kMillisecond);

void FindRowsAnywhere(benchmark::State& oState) {
  CItems oItems;
  oItems.Fill(oState.range(0));
  MCE::TChangeItemRecord tItem;
  std::mt19937 oRandom(1);
  for (auto _ : oState) {
    CItems::SetKey(static_cast<std::uint32_t>(oRandom()) % static_cast<std::uint32_t>(oState.range(0)),
                   tItem);
    benchmark::DoNotOptimize(oItems.Rows().GetEqual(tItem));
  }
  CountRows(oState, 1);
}
BENCHMARK(FindRowsAnywhere)->Arg(1 << 10)->Arg(1 << 17);

void UpdateRowsAnywhere(benchmark::State& oState) {
  CItems oItems;
  oItems.Fill(oState.range(0));
  MCE::TChangeItemRecord tItem = CItems::MakeItem();
  std::mt19937 oRandom(1);
  for (auto _ : oState) {
    CItems::SetKey(static_cast<std::uint32_t>(oRandom()) % static_cast<std::uint32_t>(oState.range(0)),
                   tItem);
    ++tItem.nRevision;
    oItems.Rows().Update(tItem);
  }
  CountRows(oState, 1);
}
BENCHMARK(UpdateRowsAnywhere)->Arg(1 << 10)->Arg(1 << 17);

void WalkRows(benchmark::State& oState) {
  CItems oItems;
  oItems.Fill(oState.range(0));
  for (auto _ : oState) {
    MCE::TChangeItemRecord tItem;
    for (bool bFound = oItems.Rows().GetGTE(tItem); bFound; bFound = oItems.Rows().GetNext(tItem))
      benchmark::DoNotOptimize(tItem.nRevision);
  }
  CountRows(oState, oState.range(0));
}
BENCHMARK(WalkRows)->Arg(1 << 17)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace TALVEK
