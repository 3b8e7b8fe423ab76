#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "core/database.h"
#include "tests/core/database_records.h"
#include "tests/support/temp_folder.h"

// Finding, walking, adding and updating rows through the indexes of a table.
namespace TALVEK::TEST {

using VCM::CString;
using VDB::CDatabase;
using VDB::CDatabaseFactory;
using VDB::CIterator;
using VDB::CTransaction;

namespace {

class DatabaseCursorTest : public testing::Test {
 protected:
  CTempFolder m_oFolder;
  std::unique_ptr<CDatabase> m_poDatabase = CDatabaseFactory::Create(NewDatabase(m_oFolder / "db"));
  TEventSession m_tEvents{*m_poDatabase};
};

constexpr std::uint32_t MAX = 0xFFFFFFFF;

}  // namespace

TEST_F(DatabaseCursorTest, IdsCountFromOneAndComeBackInTheRecord) {
  EXPECT_EQ(m_tEvents.Add(5, 7, L"a"), 1U);
  EXPECT_EQ(m_tEvents.Add(5, 7, L"b"), 2U);
  TEvent tEvent = {77, 5, 6, L"c"};  // the caller's ID is ignored
  ASSERT_TRUE(m_tEvents.poByTime->Add(tEvent));
  EXPECT_EQ(Show(tEvent), "3:5/6 c");
  EXPECT_EQ(m_tEvents.List(0), "1:5/7 a\n2:5/7 b\n3:5/6 c\n");
}

TEST_F(DatabaseCursorTest, EqualKeysComeInTheOrderOfIds) {
  m_tEvents.Add(1, 9, L"late");
  m_tEvents.Add(1, 5, L"x");
  m_tEvents.Add(0, 5, L"other group");
  m_tEvents.Add(1, 5, L"y");
  m_tEvents.Add(1, 5, L"z");
  EXPECT_EQ(m_tEvents.List(1), "3:0/5 other group\n2:1/5 x\n4:1/5 y\n5:1/5 z\n1:1/9 late\n");
}

TEST_F(DatabaseCursorTest, LookupsFindFirstOrLastOfEqualKeys) {
  m_tEvents.Add(1, 10);   // 1
  m_tEvents.Add(1, 20);   // 2
  m_tEvents.Add(1, 20);   // 3
  m_tEvents.Add(2, 0);    // 4
  m_tEvents.Add(2, MAX);  // 5
  m_tEvents.Add(MAX, 0);  // 6
  m_tEvents.Add(0, 0);    // 7
  m_tEvents.Add(0, 0);    // 8
  struct TCase {
    std::uint32_t nGroup, nTime, nEqual, nGTE, nLTE;  // IDs; 0: no such row
  };
  const TCase atCases[] = {
      {0, 0, 7, 7, 8},   {0, 1, 0, 1, 8},  {1, 9, 0, 1, 8},   {1, 10, 1, 1, 1},  {1, 19, 0, 2, 1},
      {1, 20, 2, 2, 3},  {1, 21, 0, 4, 3}, {1, MAX, 0, 4, 3}, {2, 0, 4, 4, 4},   {2, 1, 0, 5, 4},
      {2, MAX, 5, 5, 5}, {3, 0, 0, 6, 5},  {MAX, 0, 6, 6, 6}, {MAX, 1, 0, 0, 6}, {MAX, MAX, 0, 0, 6},
  };
  for (const TCase& tCase : atCases) {
    const auto fnLookup = [&](VCM::CStatus (CIterator<TEvent>::*pfnGet)(TEvent&)) {
      TEvent tEvent = {0, tCase.nGroup, tCase.nTime, {}};
      return ((*m_tEvents.poByTime).*pfnGet)(tEvent) ? tEvent.nId : 0;
    };
    EXPECT_EQ(fnLookup(&CIterator<TEvent>::GetEqual), tCase.nEqual) << tCase.nGroup << "/" << tCase.nTime;
    EXPECT_EQ(fnLookup(&CIterator<TEvent>::GetGTE), tCase.nGTE) << tCase.nGroup << "/" << tCase.nTime;
    EXPECT_EQ(fnLookup(&CIterator<TEvent>::GetLTE), tCase.nLTE) << tCase.nGroup << "/" << tCase.nTime;
  }
}

TEST_F(DatabaseCursorTest, LookupsInTheUniqueIndexFindTheirNeighbours) {
  CPartTable oTable;
  ASSERT_TRUE(oTable.Open(*m_poDatabase, nullptr, m_tEvents.oTransaction, false));
  CIterator<TPart> oParts(oTable, 0, m_tEvents.oTransaction);
  for (const auto& [nOwner, nNumber, nCode] :
       {std::tuple{2U, 1U, 1}, {1U, 9U, 2}, {1U, 3U, 3}, {MAX, MAX, 4}}) {
    TPart tPart;
    tPart.nOwner = nOwner;
    tPart.nNumber = nNumber;
    tPart.nCode = nCode;
    ASSERT_TRUE(oParts.Add(tPart));
  }
  const auto fnLookup = [&](VCM::CStatus (CIterator<TPart>::*pfnGet)(TPart&), std::uint32_t nOwner,
                            std::uint32_t nNumber) {
    TPart tPart;
    tPart.nOwner = nOwner;
    tPart.nNumber = nNumber;
    return (oParts.*pfnGet)(tPart) ? tPart.nCode : 0;
  };
  EXPECT_EQ(fnLookup(&CIterator<TPart>::GetEqual, 1, 9), 2);
  EXPECT_EQ(fnLookup(&CIterator<TPart>::GetEqual, 1, 4), 0);
  EXPECT_EQ(fnLookup(&CIterator<TPart>::GetGTE, 0, 0), 3);
  EXPECT_EQ(fnLookup(&CIterator<TPart>::GetGTE, 1, 10), 1);
  EXPECT_EQ(fnLookup(&CIterator<TPart>::GetGTE, MAX, MAX), 4);
  EXPECT_EQ(fnLookup(&CIterator<TPart>::GetLTE, 1, 2), 0);
  EXPECT_EQ(fnLookup(&CIterator<TPart>::GetLTE, 1, 8), 3);
  EXPECT_EQ(fnLookup(&CIterator<TPart>::GetLTE, 2, 1), 1);
  EXPECT_EQ(fnLookup(&CIterator<TPart>::GetLTE, MAX, 0), 1);
}

TEST_F(DatabaseCursorTest, NegativeKeyFieldsComeAfterAllOthers) {
  CPartTable oTable;
  ASSERT_TRUE(oTable.Open(*m_poDatabase, nullptr, m_tEvents.oTransaction, false));
  CIterator<TPart> oParts(oTable, 1, m_tEvents.oTransaction);
  for (const std::int32_t nCode : {-1, 0, 0x7FFFFFFF, -0x7FFFFFFF - 1}) {
    TPart tPart;
    tPart.nNumber = static_cast<std::uint32_t>(nCode);
    tPart.nCode = nCode;
    ASSERT_TRUE(oParts.Add(tPart));
  }
  std::vector<std::int32_t> anCodes;
  TPart tPart;
  for (bool bFound = oParts.GetGTE(tPart); bFound; bFound = oParts.GetNext(tPart)) {
    anCodes.push_back(tPart.nCode);
  }
  EXPECT_EQ(anCodes, (std::vector<std::int32_t>{0, 0x7FFFFFFF, -0x7FFFFFFF - 1, -1}));
}

TEST_F(DatabaseCursorTest, EmptyTableHasNoRows) {
  TEvent tEvent;
  EXPECT_FALSE(m_tEvents.poByTime->GetEqual(tEvent));
  EXPECT_FALSE(m_tEvents.poByTime->GetGTE(tEvent));
  EXPECT_FALSE(m_tEvents.poByTime->GetLTE(tEvent));
  EXPECT_FALSE(m_tEvents.poByTime->GetNext(tEvent));
  EXPECT_FALSE(m_tEvents.poByTime->Update(tEvent));
  EXPECT_TRUE(m_poDatabase->GetLastErrorText().IsEmpty());
}

TEST_F(DatabaseCursorTest, NextIsFalseBeforeAnyRowWasFound) {
  m_tEvents.Add(1, 1);
  TEvent tEvent = {0, 2, 0, L"kept"};
  EXPECT_FALSE(m_tEvents.poByTime->GetNext(tEvent));
  EXPECT_FALSE(m_tEvents.poByTime->GetGTE(tEvent));
  EXPECT_FALSE(m_tEvents.poByTime->GetNext(tEvent));
  EXPECT_EQ(Show(tEvent), "0:2/0 kept");
}

TEST_F(DatabaseCursorTest, NextStaysFalseAtTheEndUntilARowFollows) {
  m_tEvents.Add(1, 1, L"a");
  TEvent tEvent;
  ASSERT_TRUE(m_tEvents.poByTime->GetGTE(tEvent));
  EXPECT_FALSE(m_tEvents.poByTime->GetNext(tEvent));
  EXPECT_FALSE(m_tEvents.poByTime->GetNext(tEvent));
  EXPECT_EQ(Show(tEvent), "1:1/1 a");
  m_tEvents.Add(1, 2, L"b");
  EXPECT_EQ(Show(m_tEvents.poByTime->GetNext(tEvent), tEvent), "2:1/2 b");
  EXPECT_FALSE(m_tEvents.poByTime->GetNext(tEvent));
}

TEST_F(DatabaseCursorTest, FailedLookupLeavesRecordAndPlace) {
  m_tEvents.Add(1, 1, L"a");
  m_tEvents.Add(1, 2, L"b");
  TEvent tEvent = {0, 1, 1, {}};
  ASSERT_TRUE(m_tEvents.poByTime->GetEqual(tEvent));
  TEvent tAbsent = {9, 8, 7, L"kept"};
  EXPECT_FALSE(m_tEvents.poByTime->GetEqual(tAbsent));
  EXPECT_FALSE(m_tEvents.poByTime->GetGTE(tAbsent));
  EXPECT_EQ(Show(tAbsent), "9:8/7 kept");
  tAbsent.nGroup = 0;
  EXPECT_FALSE(m_tEvents.poByTime->GetLTE(tAbsent));
  EXPECT_EQ(Show(tAbsent), "9:0/7 kept");
  EXPECT_EQ(Show(m_tEvents.poByTime->GetNext(tEvent), tEvent), "2:1/2 b");
}

TEST_F(DatabaseCursorTest, AddMovesNoCursor) {
  m_tEvents.Add(1, 10, L"a");
  m_tEvents.Add(1, 30, L"c");
  TEvent tEvent;
  ASSERT_TRUE(m_tEvents.poByTime->GetGTE(tEvent));
  TEvent tBefore = {0, 1, 5, L"before"};
  TEvent tBetween = {0, 1, 20, L"b"};
  ASSERT_TRUE(m_tEvents.poByTime->Add(tBefore));
  ASSERT_TRUE(m_tEvents.poById->Add(tBetween));
  EXPECT_EQ(Show(m_tEvents.poByTime->GetNext(tEvent), tEvent), "4:1/20 b");
  EXPECT_EQ(Show(m_tEvents.poByTime->GetNext(tEvent), tEvent), "2:1/30 c");
}

// The walk goes on from the key where it found the row. So it finds a row again that was moved ahead, and not
// one that was moved back.
TEST_F(DatabaseCursorTest, UpdateOfTheRowUnderTheCursorDoesNotMoveIt) {
  for (const std::uint32_t nTime : {10U, 20U, 30U, 40U}) {
    m_tEvents.Add(1, nTime);
  }
  TEvent tEvent = {0, 1, 20, {}};
  ASSERT_TRUE(m_tEvents.poByTime->GetEqual(tEvent));
  ASSERT_TRUE(m_tEvents.Update({2, 1, 35, L"ahead"}));
  EXPECT_EQ(Show(m_tEvents.poByTime->GetNext(tEvent), tEvent), "3:1/30 ");
  ASSERT_TRUE(m_tEvents.Update({3, 1, 5, L"back"}));
  EXPECT_EQ(Show(m_tEvents.poByTime->GetNext(tEvent), tEvent), "2:1/35 ahead");
  EXPECT_EQ(Show(m_tEvents.poByTime->GetNext(tEvent), tEvent), "4:1/40 ");
  ASSERT_TRUE(m_tEvents.Update({4, 0, 0, L"first now"}));
  EXPECT_FALSE(m_tEvents.poByTime->GetNext(tEvent));
  EXPECT_EQ(m_tEvents.List(1), "4:0/0 first now\n3:1/5 back\n1:1/10 \n2:1/35 ahead\n");
}

TEST_F(DatabaseCursorTest, UpdateReplacesTheWholeRow) {
  m_tEvents.Add(1, 1, L"a");
  m_tEvents.Add(1, 1, L"b");
  m_tEvents.Add(1, 1, L"c");
  EXPECT_TRUE(m_tEvents.Update({2, 1, 1, L"longer than before"}));
  EXPECT_TRUE(m_tEvents.Update({2, 1, 1, L"longer than before"}));
  EXPECT_EQ(m_tEvents.List(0), "1:1/1 a\n2:1/1 longer than before\n3:1/1 c\n");
  EXPECT_EQ(m_tEvents.List(1), m_tEvents.List(0));
  EXPECT_TRUE(m_tEvents.Update({2, 0, 9, {}}));
  EXPECT_EQ(m_tEvents.List(0), "1:1/1 a\n2:0/9 \n3:1/1 c\n");
  EXPECT_EQ(m_tEvents.List(1), "2:0/9 \n1:1/1 a\n3:1/1 c\n");
}

TEST_F(DatabaseCursorTest, UpdateOfSomeFieldsLeavesTheOthers) {
  m_tEvents.Add(1, 1, L"a");
  m_tEvents.Add(1, 2, L"b");
  EXPECT_EQ(m_tEvents.List(1), "1:1/1 a\n2:1/2 b\n");
  TEvent tEvent = {1, 7, 9, L"not looked at"};
  EXPECT_TRUE(m_tEvents.poById->Update(tEvent, VDB::FieldBit(2)));
  EXPECT_EQ(m_tEvents.List(0), "1:1/9 a\n2:1/2 b\n");
  EXPECT_EQ(m_tEvents.List(1), "2:1/2 b\n1:1/9 a\n");
  tEvent.nId = 3;
  EXPECT_FALSE(m_tEvents.poById->Update(tEvent, VDB::FieldBit(2)));
}

// The entries of a deferred index are made when it is first read. All earlier changes to the rows must be in
// it.
TEST_F(DatabaseCursorTest, IndexThatIsReadLateHasTheRowsAsTheyAreThen) {
  for (const std::uint32_t nTime : {30U, 10U, 20U, 40U})
    m_tEvents.Add(1, nTime);
  ASSERT_TRUE(m_tEvents.Update({1, 1, 15, L"earlier"}));
  ASSERT_TRUE(m_tEvents.Update({2, 0, 99, L"other group"}));
  EXPECT_EQ(m_tEvents.List(1), "2:0/99 other group\n1:1/15 earlier\n3:1/20 \n4:1/40 \n");
  // Later changes, too.
  m_tEvents.Add(1, 17, L"new");
  ASSERT_TRUE(m_tEvents.Update({3, 1, 1, L"first"}));
  EXPECT_EQ(m_tEvents.List(1), "2:0/99 other group\n3:1/1 first\n1:1/15 earlier\n5:1/17 new\n4:1/40 \n");
}

TEST_F(DatabaseCursorTest, IndexThatNobodyReadIsThereAfterTheCommit) {
  for (const std::uint32_t nTime : {30U, 10U, 20U})
    m_tEvents.Add(1, nTime);
  ASSERT_TRUE(m_tEvents.Commit());
  TEventSession tEvents(*m_poDatabase);
  EXPECT_EQ(tEvents.List(1), "2:1/10 \n3:1/20 \n1:1/30 \n");
  tEvents.Add(1, 15);
  EXPECT_EQ(tEvents.List(1), "2:1/10 \n4:1/15 \n3:1/20 \n1:1/30 \n");
}

TEST_F(DatabaseCursorTest, IndexOfManyRowsIsComplete) {
  constexpr std::uint32_t MANY = 240'000;
  for (std::uint32_t i = 0; i < MANY; ++i)
    ASSERT_NE(m_tEvents.Add(1, i * 7919 % MANY), 0U);
  std::uint32_t nExpected = 0;
  TEvent tEvent;
  for (bool bFound = m_tEvents.poByTime->GetGTE(tEvent); bFound; bFound = m_tEvents.poByTime->GetNext(tEvent))
    ASSERT_EQ(tEvent.nTime, nExpected++);
  EXPECT_EQ(nExpected, MANY);
}

TEST_F(DatabaseCursorTest, UpdateOfAnAbsentRowIsFalse) {
  m_tEvents.Add(1, 1, L"a");
  EXPECT_FALSE(m_tEvents.Update({2, 1, 1, L"b"}));
  EXPECT_FALSE(m_tEvents.Update({0, 1, 1, L"b"}));
  EXPECT_EQ(m_tEvents.List(0), "1:1/1 a\n");
  EXPECT_TRUE(m_poDatabase->GetLastErrorText().IsEmpty());
}

TEST_F(DatabaseCursorTest, RowsMayGrowPastAPageAndShrinkAgain) {
  const std::wstring strLong(300'000, L'\u00E4');
  for (int i = 0; i < 20; ++i) {
    m_tEvents.Add(1, 1, L"short");
  }
  for (std::uint32_t nId = 1; nId <= 20; nId += 2) {
    ASSERT_TRUE(m_tEvents.Update({nId, 1, 1, CString(strLong)}));
  }
  for (std::uint32_t nId = 1; nId <= 20; ++nId) {
    TEvent tEvent = {nId, 0, 0, {}};
    ASSERT_TRUE(m_tEvents.poById->GetEqual(tEvent));
    ASSERT_TRUE(tEvent.strText == (nId % 2 == 1 ? CString(strLong) : CString(L"short"))) << nId;
  }
  for (std::uint32_t nId = 1; nId <= 20; ++nId) {
    ASSERT_TRUE(m_tEvents.Update({nId, 1, 2, L""}));
  }
  EXPECT_EQ(m_tEvents.List(1).size(),
            std::string("1:1/2 \n").size() * 9 + std::string("10:1/2 \n").size() * 11);
}

TEST_F(DatabaseCursorTest, TakenKeysAreRefusedInEveryUniqueIndex) {
  CPartTable oTable;
  ASSERT_TRUE(oTable.Open(*m_poDatabase, nullptr, m_tEvents.oTransaction, false));
  CIterator<TPart> oParts(oTable, 0, m_tEvents.oTransaction);
  const auto fnPart = [](std::uint32_t nNumber, std::int32_t nCode, const wchar_t* pszName) {
    TPart tPart;
    tPart.nNumber = nNumber;
    tPart.nCode = nCode;
    tPart.strName = pszName;
    return tPart;
  };
  TPart tFirst = fnPart(1, 10, L"first");
  TPart tSecond = fnPart(2, 20, L"second");
  TPart tSameKey = fnPart(1, 30, L"same key");
  TPart tSameCode = fnPart(3, 10, L"same code");
  ASSERT_TRUE(oParts.Add(tFirst));
  ASSERT_TRUE(oParts.Add(tSecond));
  EXPECT_FALSE(oParts.Add(tSameKey));
  EXPECT_FALSE(oParts.Add(tSameCode));
  tSecond.nCode = 10;
  EXPECT_FALSE(oParts.Update(tSecond));
  EXPECT_TRUE(m_poDatabase->GetLastErrorText().IsEmpty());

  std::string strAll;
  CIterator<TPart> oByCode(oTable, 1, m_tEvents.oTransaction);
  TPart tPart;
  for (bool bFound = oByCode.GetGTE(tPart); bFound; bFound = oByCode.GetNext(tPart)) {
    strAll += VCM::ToUtf8(tPart.strName) + " " + std::to_string(tPart.nCode) + "\n";
  }
  EXPECT_EQ(strAll, "first 10\nsecond 20\n");
  tFirst.nCode = 11;
  EXPECT_TRUE(oParts.Update(tFirst));
  tSecond.nCode = 10;  // free now
  EXPECT_TRUE(oParts.Update(tSecond));
}

TEST_F(DatabaseCursorTest, RefusedAddLeavesTheRecordsId) {
  for (int i = 0; i < 3; ++i) {
    m_tEvents.Add(1, 1);
  }
  m_tEvents.oTransaction.Commit(true);
  TEvent tEvent = {77, 1, 1, L"kept"};
  EXPECT_FALSE(m_tEvents.poById->Add(tEvent));  // its transaction has ended
  EXPECT_EQ(Show(tEvent), "77:1/1 kept");
}

TEST_F(DatabaseCursorTest, AMillionRowsSurviveTheirCommit) {
  constexpr std::uint32_t COUNT = 1'000'000;
  TEvent tEvent;
  for (std::uint32_t i = 0; i < COUNT; ++i) {
    tEvent.nGroup = i % 7;
    tEvent.nTime = i * 2654435761U;
    tEvent.strText = L"Some words about what was done here, and why";
    ASSERT_TRUE(m_tEvents.poById->Add(tEvent));
  }
  ASSERT_TRUE(m_tEvents.Commit());
  CTransaction oTransaction(*m_poDatabase, 60000);
  CIterator<TEvent> oByTime(m_tEvents.oTable, 1, oTransaction);
  std::uint32_t nCount = 0;
  std::tuple<std::uint32_t, std::uint32_t, std::uint32_t> tLast;
  TEvent tRow;
  for (bool bFound = oByTime.GetGTE(tRow); bFound; bFound = oByTime.GetNext(tRow)) {
    const std::tuple tPlace = {tRow.nGroup, tRow.nTime, tRow.nId};
    ASSERT_LT(tLast, tPlace);
    ASSERT_EQ(tRow.nTime, (tRow.nId - 1) * 2654435761U);
    tLast = tPlace;
    ++nCount;
  }
  EXPECT_EQ(nCount, COUNT);
}

}  // namespace TALVEK::TEST
