#include "core/database.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/text_codec.h"
#include "tests/core/database_records.h"
#include "tests/support/temp_folder.h"

// Connection strings, transactions and tables.
namespace TALVEK::TEST {

using VCM::CString;
using VDB::CDatabase;
using VDB::CDatabaseFactory;
using VDB::CIterator;
using VDB::CTransaction;

namespace {

class DatabaseTest : public testing::Test {
 protected:
  std::string LastError() const { return VCM::ToUtf8(m_poDatabase->GetLastErrorText()); }
  std::string ErrorOfDataFile(const std::string& strWhat) const {
    return (m_oFolder / "db.tdf").string() + ": " + strWhat;
  }

  CTempFolder m_oFolder;
  std::unique_ptr<CDatabase> m_poDatabase = CDatabaseFactory::Create(NewDatabase(m_oFolder / "db"));
};

struct TProgressNotes : VDB::CProgressHelper, VDB::CCommitFunctor {
  std::string strNotes;
  void OnProgress(unsigned nDone, unsigned nTotal) override {
    strNotes += std::to_string(nDone) + "/" + std::to_string(nTotal) + " ";
  }
  void OnCommitted() override { strNotes += "committed "; }
};

/// A table with definitions that a test can change.
struct TTableByDefs : VDB::CTable {
  VDB::TFileDef tFileDef = {L"table", 1};
  std::vector<VDB::TFieldDef> atFields = {{L"ID", VDB::FIELD_UINT32}, {L"Text", VDB::FIELD_STRING}};
  std::vector<VDB::TIndexDef> atIndexes = {{0, 1, {0}}};

  const VDB::TFileDef* GetFileDef() const override { return &tFileDef; }
  const VDB::TFieldDef* GetFieldDefs() const override { return atFields.data(); }
  const VDB::TIndexDef* GetIndexDefs() const override { return atIndexes.data(); }
  bool OpenIn(CDatabase& oDatabase, CTransaction& oTransaction) {
    atFields.push_back({nullptr, VDB::FIELD_NONE});
    atIndexes.push_back({});
    return Open(oDatabase, nullptr, oTransaction, false);
  }
};

}  // namespace

TEST(DatabaseConnectionTest, UnknownConnectionStringsGiveNoDatabase) {
  CTempFolder oFolder;
  const CString strPath = VCM::FromBytes((oFolder / "db").string());
  const std::vector<CString> atBad = {
      L"",
      L"type=native",
      L"type=native;create=1",
      L"type=native;path=;create=1",
      CString(L"path=") + strPath + L";create=1",
      CString(L"type=other;path=") + strPath + L";create=1",
      CString(L"type=native;path=") + strPath + L";create=yes",
      CString(L"type=native;path=") + strPath + L";create=1;colour=red",
      CString(L"type=native;path=") + strPath + L";create=1;nobinaries",
      CString(L"type=native;path=") + strPath + CString(std::wstring_view(L"\0x", 2)) + L";create=1",
  };
  for (const CString& strBad : atBad) {
    CString strError;
    EXPECT_EQ(CDatabaseFactory::Create(strBad, &strError), nullptr) << VCM::ToUtf8(strBad);
    EXPECT_EQ(VCM::ToUtf8(strError), "unknown connection string: " + VCM::ToUtf8(strBad));
  }
  EXPECT_TRUE(std::filesystem::is_empty(oFolder.Path()));
}

TEST(DatabaseConnectionTest, PartsMayComeInAnyOrder) {
  CTempFolder oFolder;
  const CString strPath = VCM::FromBytes((oFolder / "a=b").string());
  CString strError = L"unset";
  EXPECT_NE(CDatabaseFactory::Create(CString(L"create=1;path=") + strPath + L";type=native;", &strError),
            nullptr);
  EXPECT_TRUE(strError.IsEmpty());
  EXPECT_TRUE(std::filesystem::exists(oFolder / "a=b.tdf"));
}

TEST_F(DatabaseTest, NothingHasGoneWrongAtFirst) {
  EXPECT_EQ(LastError(), "");
}

TEST_F(DatabaseTest, SecondTransactionIsNotOpenWhileTheFirstIs) {
  auto poFirst = std::make_unique<CTransaction>(*m_poDatabase, 60000);
  EXPECT_TRUE(poFirst->IsOpen());
  {
    CTransaction oSecond(*m_poDatabase, 60000);
    EXPECT_FALSE(oSecond.IsOpen());
    EXPECT_FALSE(oSecond.Commit(false));
    EXPECT_EQ(LastError(), ErrorOfDataFile("can't begin a transaction: another one is open"));
    CEventTable oTable;
    EXPECT_FALSE(oTable.Open(*m_poDatabase, nullptr, oSecond, false));
  }
  EXPECT_TRUE(poFirst->IsOpen());
  poFirst.reset();
  EXPECT_TRUE(CTransaction(*m_poDatabase, 60000).IsOpen());
}

TEST_F(DatabaseTest, CommittedRowsAreThereInTheNextTransaction) {
  {
    TEventSession tEvents(*m_poDatabase);
    tEvents.Add(1, 2, L"a");
    EXPECT_TRUE(tEvents.Commit());
    EXPECT_FALSE(tEvents.oTransaction.IsOpen());
  }
  EXPECT_EQ(ListEvents(*m_poDatabase), "1:1/2 a\n");
}

TEST_F(DatabaseTest, UncommittedRowsAreDiscarded) {
  {
    TEventSession tEvents(*m_poDatabase);
    tEvents.Add(1, 1, L"a");
    tEvents.Commit();
  }
  {
    TEventSession tEvents(*m_poDatabase);
    tEvents.Add(1, 2, L"lost");
    tEvents.Update({1, 3, 3, L"lost too"});
    EXPECT_EQ(tEvents.List(0), "1:3/3 lost too\n2:1/2 lost\n");
  }
  TEventSession tEvents(*m_poDatabase);
  EXPECT_EQ(tEvents.List(0), "1:1/1 a\n");
  EXPECT_EQ(tEvents.List(1), "1:1/1 a\n");
}

TEST_F(DatabaseTest, IdsGoOnAcrossCommitsAndAreGivenAgainAfterAnAbort) {
  std::vector<std::uint32_t> anIds;
  for (const bool bCommit : {true, false, true, false, false, true}) {
    TEventSession tEvents(*m_poDatabase);
    anIds.push_back(tEvents.Add(1, 1));
    anIds.push_back(tEvents.Add(1, 1));
    if (bCommit) tEvents.Commit();
  }
  EXPECT_EQ(anIds, (std::vector<std::uint32_t>{1, 2, 3, 4, 3, 4, 5, 6, 5, 6, 5, 6}));
}

TEST_F(DatabaseTest, OpenTableOutlivesTheTransactionThatMadeIt) {
  CEventTable oTable;
  {
    CTransaction oAborted(*m_poDatabase, 60000);
    ASSERT_TRUE(oTable.Open(*m_poDatabase, nullptr, oAborted, false));
  }
  for (int nRound = 1; nRound <= 4; ++nRound) {
    CTransaction oTransaction(*m_poDatabase, 60000);
    CIterator<TEvent> oEvents(oTable, 1, oTransaction);
    ASSERT_TRUE(oEvents.IsOpen());
    TEvent tEvent;
    ASSERT_TRUE(oEvents.Add(tEvent));
    oEvents.Close();
    ASSERT_TRUE(nRound % 2 == 1 || oTransaction.Commit(false));
  }
  EXPECT_TRUE(oTable.IsOpen());
  EXPECT_EQ(ListEvents(*m_poDatabase), "1:0/0 \n2:0/0 \n");
}

TEST_F(DatabaseTest, CommitOfAnEndedTransactionIsFalse) {
  CTransaction oTransaction(*m_poDatabase, 60000);
  EXPECT_TRUE(oTransaction.Commit(false));
  EXPECT_FALSE(oTransaction.IsOpen());
  EXPECT_FALSE(oTransaction.Commit(false));
}

TEST_F(DatabaseTest, CommitCanKeepTheTransactionOpen) {
  TEventSession tEvents(*m_poDatabase);
  tEvents.Add(1, 1, L"a");
  ASSERT_TRUE(tEvents.oTransaction.Commit(true));
  EXPECT_TRUE(tEvents.oTransaction.IsOpen());
  CIterator<TEvent> oEvents(tEvents.oTable, 0, tEvents.oTransaction);
  TEvent tEvent = {0, 1, 2, L"b"};
  ASSERT_TRUE(oEvents.Add(tEvent));
  oEvents.Close();
  EXPECT_TRUE(tEvents.oTransaction.Commit(false));
  EXPECT_EQ(ListEvents(*m_poDatabase), "1:1/1 a\n2:1/2 b\n");
}

TEST_F(DatabaseTest, CommitTellsProgressAndSuccess) {
  TProgressNotes tNotes;
  CTransaction oTransaction(*m_poDatabase, 60000);
  ASSERT_TRUE(oTransaction.Commit(false, &tNotes, &tNotes));
  EXPECT_EQ(tNotes.strNotes, "0/1 1/1 committed ");
}

TEST_F(DatabaseTest, CursorsLeftOpenEndWithTheirTransaction) {
  TEventSession tEvents(*m_poDatabase);
  tEvents.Add(1, 1, L"a");
  TEvent tEvent;
  ASSERT_TRUE(tEvents.poById->GetGTE(tEvent));
  ASSERT_TRUE(tEvents.oTransaction.Commit(true));
  tEvent = {1, 9, 9, L"kept"};
  EXPECT_FALSE(tEvents.poById->GetEqual(tEvent));
  EXPECT_FALSE(tEvents.poById->GetGTE(tEvent));
  EXPECT_FALSE(tEvents.poById->GetLTE(tEvent));
  EXPECT_FALSE(tEvents.poById->GetNext(tEvent));
  EXPECT_FALSE(tEvents.poById->Add(tEvent));
  EXPECT_FALSE(tEvents.poById->Update(tEvent));
  EXPECT_EQ(Show(tEvent), "1:9/9 kept");
}

TEST_F(DatabaseTest, TransactionThatOutlivesItsDatabaseIsEnded) {
  TEventSession tEvents(*m_poDatabase);
  tEvents.Add(1, 1, L"a");
  m_poDatabase.reset();
  TEvent tEvent;
  EXPECT_FALSE(tEvents.oTransaction.IsOpen());
  EXPECT_FALSE(tEvents.poById->GetGTE(tEvent));
  EXPECT_FALSE(tEvents.oTransaction.Commit(true));
}

TEST_F(DatabaseTest, TablesOfOneDatabaseDoNotMix) {
  CTransaction oTransaction(*m_poDatabase, 60000);
  CEventTable aoTables[4];
  const wchar_t* const apszNames[] = {nullptr, L"a", L"a#0", L"\u00FC"};
  for (int i = 0; i < 4; ++i) {
    ASSERT_TRUE(aoTables[i].Open(*m_poDatabase, apszNames[i], oTransaction, false));
  }
  for (std::uint32_t i = 0; i < 4; ++i) {
    CIterator<TEvent> oEvents(aoTables[i], 0, oTransaction);
    TEvent tEvent = {0, i, 0, L"x"};
    ASSERT_TRUE(oEvents.Add(tEvent));
    EXPECT_EQ(tEvent.nId, 1U);
  }
  for (std::uint32_t i = 0; i < 4; ++i) {
    CIterator<TEvent> oEvents(aoTables[i], 1, oTransaction);
    TEvent tEvent;
    ASSERT_TRUE(oEvents.GetGTE(tEvent));
    EXPECT_EQ(tEvent.nGroup, i);
    EXPECT_FALSE(oEvents.GetNext(tEvent));
  }
}

TEST_F(DatabaseTest, TableWithoutANameHasTheNameOfItsDefinition) {
  CTransaction oTransaction(*m_poDatabase, 60000);
  CEventTable oByDefault;
  CEventTable oByName;
  ASSERT_TRUE(oByDefault.Open(*m_poDatabase, nullptr, oTransaction, false));
  ASSERT_TRUE(oByName.Open(*m_poDatabase, L"event", oTransaction, false));
  CIterator<TEvent> oFirst(oByDefault, 0, oTransaction);
  CIterator<TEvent> oSecond(oByName, 0, oTransaction);
  TEvent tEvent = {0, 1, 2, L"x"};
  ASSERT_TRUE(oFirst.Add(tEvent));
  ASSERT_TRUE(oSecond.Add(tEvent));
  EXPECT_EQ(tEvent.nId, 2U);
}

TEST_F(DatabaseTest, TableOpenForReadingIsNotMadeAndNotWritten) {
  CTransaction oTransaction(*m_poDatabase, 60000);
  CEventTable oTable;
  EXPECT_FALSE(oTable.Open(*m_poDatabase, nullptr, oTransaction, true));
  EXPECT_FALSE(oTable.IsOpen());
  CEventTable oWritten;
  ASSERT_TRUE(oWritten.Open(*m_poDatabase, nullptr, oTransaction, false));
  ASSERT_TRUE(oTable.Open(*m_poDatabase, nullptr, oTransaction, true));
  CIterator<TEvent> oWriter(oWritten, 0, oTransaction);
  CIterator<TEvent> oReader(oTable, 0, oTransaction);
  TEvent tEvent = {0, 1, 1, L"a"};
  EXPECT_FALSE(oReader.Add(tEvent));
  EXPECT_EQ(LastError(), ErrorOfDataFile("can't write: the table is open for reading only"));
  ASSERT_TRUE(oWriter.Add(tEvent));
  EXPECT_FALSE(oReader.Update(tEvent));
  EXPECT_EQ(Show(oReader.GetLTE(tEvent), tEvent), "1:1/1 a");
  oReader.Close();
  oWriter.Close();
  EXPECT_TRUE(oTransaction.Commit(false));
}

TEST_F(DatabaseTest, TableCanBeClosedAndOpenedAgain) {
  TEventSession tEvents(*m_poDatabase);
  tEvents.Add(1, 1, L"a");
  tEvents.oTable.Close();
  EXPECT_FALSE(tEvents.oTable.IsOpen());
  EXPECT_FALSE(CIterator<TEvent>(tEvents.oTable, 0, tEvents.oTransaction).IsOpen());
  ASSERT_TRUE(tEvents.oTable.Open(*m_poDatabase, nullptr, tEvents.oTransaction, false));
  EXPECT_EQ(tEvents.List(0), "1:1/1 a\n");
}

TEST_F(DatabaseTest, CursorOnAnIndexThatIsNotThereIsNotOpen) {
  TEventSession tEvents(*m_poDatabase);
  CIterator<TEvent> oEvents(tEvents.oTable, 2, tEvents.oTransaction);
  TEvent tEvent;
  EXPECT_FALSE(oEvents.IsOpen());
  EXPECT_FALSE(oEvents.GetGTE(tEvent));
  EXPECT_FALSE(oEvents.Add(tEvent));
}

TEST_F(DatabaseTest, ClosedCursorDoesNothing) {
  TEventSession tEvents(*m_poDatabase);
  tEvents.Add(1, 1, L"a");
  EXPECT_TRUE(tEvents.poById->IsOpen());
  tEvents.poById->Close();
  EXPECT_FALSE(tEvents.poById->IsOpen());
  tEvents.poById->Close();
  TEvent tEvent;
  EXPECT_FALSE(tEvents.poById->GetGTE(tEvent));
}

TEST_F(DatabaseTest, TableOfAnotherDatabaseIsRefused) {
  auto poOther = CDatabaseFactory::Create(NewDatabase(m_oFolder / "other"));
  ASSERT_NE(poOther, nullptr);
  TEventSession tEvents(*m_poDatabase);
  CTransaction oOther(*poOther, 60000);
  EXPECT_FALSE(CIterator<TEvent>(tEvents.oTable, 0, oOther).IsOpen());
  CEventTable oTable;
  EXPECT_FALSE(oTable.Open(*m_poDatabase, nullptr, oOther, false));
}

TEST_F(DatabaseTest, DefinitionsThatCannotBeServedAreRefused) {
  CTransaction oTransaction(*m_poDatabase, 60000);
  const auto fnError = [&](const auto& fnSpoil) {
    TTableByDefs tTable;
    fnSpoil(tTable);
    return tTable.OpenIn(*m_poDatabase, oTransaction) ? std::string() : LastError();
  };
  const std::string strTable = ErrorOfDataFile("can't open table table: ");
  EXPECT_EQ(fnError([](TTableByDefs&) {}), "");
  EXPECT_EQ(fnError([](auto& tTable) { tTable.atFields[1].nType = 99; }),
            strTable + "a field has an unknown type");
  EXPECT_EQ(fnError([](auto& tTable) { tTable.atIndexes.clear(); }), strTable + "index 0 isn't unique");
  EXPECT_EQ(fnError([](auto& tTable) { tTable.atIndexes[0].nFlags = 1; }), strTable + "index 0 isn't unique");
  EXPECT_EQ(fnError([](auto& tTable) {
              tTable.atIndexes.push_back({1, 1, {1}});
            }),
            strTable + "an index has a field that isn't a 32-bit number");
  EXPECT_EQ(fnError([](auto& tTable) {
              tTable.atIndexes.push_back({1, 1, {2}});
            }),
            strTable + "an index has a field that isn't a 32-bit number");
  EXPECT_EQ(fnError([](auto& tTable) {
              tTable.atIndexes.push_back({1, 0, {}});
            }),
            strTable + "an index has no field or too many");
  EXPECT_EQ(fnError([](auto& tTable) {
              tTable.atIndexes.push_back({1, 23, {}});
            }),
            strTable + "an index has no field or too many");
  EXPECT_EQ(fnError([](auto& tTable) {
              tTable.atIndexes[0] = {0, 2, {0, 0}};
            }),
            strTable + "IDs are to be assigned, but index 0 isn't the first field alone");
  EXPECT_TRUE(oTransaction.Commit(false));
}

TEST_F(DatabaseTest, WhatIsAbsentHasNotFailed) {
  TEventSession tEvents(*m_poDatabase);
  TEvent tEvent = {7, 1, 1, L"a"};
  EXPECT_TRUE(tEvents.poById->GetEqual(tEvent).IsAbsent());
  EXPECT_TRUE(tEvents.poById->GetGTE(tEvent).IsAbsent());
  EXPECT_TRUE(tEvents.poById->GetLTE(tEvent).IsAbsent());
  EXPECT_TRUE(tEvents.poById->GetNext(tEvent).IsAbsent());
  EXPECT_TRUE(tEvents.poById->Update(tEvent).IsAbsent());
  tEvents.poById->Close();
  EXPECT_TRUE(tEvents.poById->GetGTE(tEvent).HasFailed());
}

TEST_F(DatabaseTest, RowsOfOtherDefinitionsAreNotRead) {
  TEventSession tEvents(*m_poDatabase);
  tEvents.Add(1, 1, L"a");
  struct TOther {
    std::uint32_t nId = 0;
    CString strText = L"kept";
    std::array<void*, 2> GetFieldAddresses() { return {&nId, &strText}; }
  };
  tEvents.Commit();
  CTransaction oTransaction(*m_poDatabase, 60000);
  TTableByDefs tTable;
  tTable.tFileDef.pszName = L"event";
  ASSERT_TRUE(tTable.OpenIn(*m_poDatabase, oTransaction));
  CIterator<TOther> oOthers(tTable, 0, oTransaction);
  TOther tOther;
  const VCM::CStatus oRead = oOthers.GetGTE(tOther);
  EXPECT_TRUE(oRead.HasFailed() && !oRead && !oRead.IsAbsent());
  EXPECT_TRUE(tOther.strText == L"kept");
  EXPECT_EQ(VCM::ToUtf8(oRead.GetReason()), ErrorOfDataFile("can't read: the data are damaged"));
}

// The row has already been replaced when the index turns out to lack its entry, so the whole transaction must
// fail.
TEST_F(DatabaseTest, UpdateThatFindsTheIndexDamagedSpoilsItsTransaction) {
  TTableByDefs tWithoutSecondIndex;
  tWithoutSecondIndex.tFileDef.pszName = L"event";
  tWithoutSecondIndex.atFields = {{L"ID", VDB::FIELD_UINT32},
                                  {L"Group", VDB::FIELD_UINT32},
                                  {L"Time", VDB::FIELD_UINT32},
                                  {L"Text", VDB::FIELD_LONG_TEXT}};
  {
    CTransaction oTransaction(*m_poDatabase, 60000);
    ASSERT_TRUE(tWithoutSecondIndex.OpenIn(*m_poDatabase, oTransaction));
    CIterator<TEvent> oEvents(tWithoutSecondIndex, 0, oTransaction);
    TEvent tEvent = {0, 1, 1, L"a"};
    ASSERT_TRUE(oEvents.Add(tEvent));
    oEvents.Close();
    ASSERT_TRUE(oTransaction.Commit(false));
  }
  {
    TEventSession tEvents(*m_poDatabase);
    EXPECT_FALSE(tEvents.Update({1, 2, 2, L"b"}));
    EXPECT_EQ(LastError(), ErrorOfDataFile("can't write: MDB_CORRUPTED: Located page was wrong type"));
    EXPECT_EQ(tEvents.List(0), "");
    EXPECT_EQ(tEvents.Add(1, 1), 0U);
    EXPECT_FALSE(tEvents.Commit());
  }
  EXPECT_EQ(ListEvents(*m_poDatabase), "1:1/1 a\n");
}

TEST_F(DatabaseTest, LastIdIsFollowedByNone) {
  CTransaction oTransaction(*m_poDatabase, 60000);
  TTableByDefs tByCaller;
  tByCaller.tFileDef.nFlags = 0;
  ASSERT_TRUE(tByCaller.OpenIn(*m_poDatabase, oTransaction));
  TTableByDefs tAssigning;
  ASSERT_TRUE(tAssigning.OpenIn(*m_poDatabase, oTransaction));
  struct TRow {
    std::uint32_t nId = 0xFFFFFFFF;
    CString strText;
    std::array<void*, 2> GetFieldAddresses() { return {&nId, &strText}; }
  };
  TRow tRow;
  CIterator<TRow> oByCaller(tByCaller, 0, oTransaction);
  CIterator<TRow> oAssigning(tAssigning, 0, oTransaction);
  ASSERT_TRUE(oByCaller.Add(tRow));
  tRow.nId = 5;
  EXPECT_FALSE(oAssigning.Add(tRow));
  EXPECT_EQ(tRow.nId, 5U);
  EXPECT_EQ(LastError(), ErrorOfDataFile("can't write: the table has no ID left to give"));
  EXPECT_TRUE(oByCaller.Add(tRow));
}

}  // namespace TALVEK::TEST
