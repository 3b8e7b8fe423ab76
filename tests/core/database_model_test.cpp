#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>

#include "core/database.h"
#include "tests/core/database_records.h"
#include "tests/support/temp_folder.h"

// The cursors, compared with a plain table that is searched linearly.
namespace TALVEK::TEST {

using VCM::CString;
using VDB::CDatabaseFactory;
using VDB::CIterator;
using VDB::CTransaction;

namespace {

constexpr std::uint32_t MAX = 0xFFFFFFFF;

/// The plain version of a table of events: a map that is searched linearly.
class CModel {
 public:
  using TRow = std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>;  // group, time, ID

  void Put(const TEvent& tEvent) { m_atEvents[tEvent.nId] = tEvent; }
  bool Has(std::uint32_t nId) const { return m_atEvents.count(nId) != 0; }
  std::uint32_t NextId() { return ++m_nLastId; }

  /// The first (or the last) event whose entry is accepted.
  const TEvent* Pick(bool bLast, const std::function<bool(const TRow&)>& fnAccept) const {
    std::set<TRow> oRows;
    for (const auto& [nId, tEvent] : m_atEvents) {
      if (fnAccept({tEvent.nGroup, tEvent.nTime, nId})) oRows.insert({tEvent.nGroup, tEvent.nTime, nId});
    }
    if (oRows.empty()) return nullptr;
    return &m_atEvents.at(std::get<2>(bLast ? *oRows.rbegin() : *oRows.begin()));
  }

 private:
  std::map<std::uint32_t, TEvent> m_atEvents;
  std::uint32_t m_nLastId = 0;
};

/// A cursor over groups and times, and the place where it must be.
struct TWatched {
  CIterator<TEvent> oCursor;
  CModel::TRow tPlace;
  bool bPlaced = false;
};

}  // namespace

// Many random sequences of operations; every result is compared with the plain version.
TEST(DatabaseModelTest, CursorsAgreeWithAPlainTable) {
  CTempFolder oFolder;
  const auto poDatabase = CDatabaseFactory::Create(NewDatabase(oFolder / "db"));
  ASSERT_NE(poDatabase, nullptr);
  CTransaction oTransaction(*poDatabase, 60000);
  for (unsigned nSeed = 1; nSeed <= 40; ++nSeed) {
    SCOPED_TRACE("seed " + std::to_string(nSeed));
    std::mt19937 oRandom(nSeed);
    const auto fnBelow = [&](std::uint32_t nBound) { return static_cast<std::uint32_t>(oRandom() % nBound); };
    CEventTable oTable;
    const std::wstring strName = L"events " + std::to_wstring(nSeed);
    ASSERT_TRUE(oTable.Open(*poDatabase, strName.c_str(), oTransaction, false));
    CModel oModel;
    TWatched atCursors[3] = {
        {{oTable, 1, oTransaction}, {}}, {{oTable, 1, oTransaction}, {}}, {{oTable, 1, oTransaction}, {}}};
    for (int nStep = 0; nStep < 400; ++nStep) {
      TWatched& tCursor = atCursors[fnBelow(3)];
      TEvent tEvent = {1 + fnBelow(60), fnBelow(3), fnBelow(10),
                       CString(std::wstring(fnBelow(8) == 0 ? fnBelow(3000) : fnBelow(40), L'x'))};
      const CModel::TRow tLow = {tEvent.nGroup, tEvent.nTime, 0};
      const CModel::TRow tHigh = {tEvent.nGroup, tEvent.nTime, MAX};
      // Every fourth sequence begins with 200 writes, so that the index stays deferred for long.
      const bool bWritesOnly = nSeed % 4 == 0 && nStep < 200;
      const unsigned nOperation = bWritesOnly ? fnBelow(4) : fnBelow(8);
      if (nOperation == 0 || nOperation == 1) {
        const std::uint32_t nId = oModel.NextId();
        ASSERT_TRUE(tCursor.oCursor.Add(tEvent));
        ASSERT_EQ(tEvent.nId, nId);
        oModel.Put(tEvent);
        continue;
      }
      if (nOperation == 2 || nOperation == 3) {
        const bool bThere = oModel.Has(tEvent.nId);
        ASSERT_EQ(tCursor.oCursor.Update(tEvent), bThere);
        if (bThere) oModel.Put(tEvent);
        continue;
      }
      const TEvent* ptWanted = nullptr;
      bool bFound = false;
      if (nOperation == 4) {
        bFound = tCursor.oCursor.GetEqual(tEvent);
        ptWanted = oModel.Pick(false, [&](const auto& tRow) { return tRow >= tLow && tRow <= tHigh; });
      } else if (nOperation == 5) {
        bFound = tCursor.oCursor.GetGTE(tEvent);
        ptWanted = oModel.Pick(false, [&](const auto& tRow) { return tRow >= tLow; });
      } else if (nOperation == 6) {
        bFound = tCursor.oCursor.GetLTE(tEvent);
        ptWanted = oModel.Pick(true, [&](const auto& tRow) { return tRow <= tHigh; });
      } else {
        bFound = tCursor.oCursor.GetNext(tEvent);
        if (tCursor.bPlaced) {
          ptWanted = oModel.Pick(false, [&](const auto& tRow) { return tRow > tCursor.tPlace; });
        }
      }
      ASSERT_EQ(bFound, ptWanted != nullptr) << "step " << nStep << " operation " << nOperation;
      if (!ptWanted) continue;
      ASSERT_EQ(tEvent, *ptWanted) << "step " << nStep << " operation " << nOperation;
      tCursor.tPlace = {tEvent.nGroup, tEvent.nTime, tEvent.nId};
      tCursor.bPlaced = true;
    }
  }
}

}  // namespace TALVEK::TEST
