#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "core/database.h"
#include "core/database_store.h"
#include "core/text_codec.h"
#include "tests/core/database_records.h"
#include "tests/support/child_process.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/temp_folder.h"

// Rows that are added later than the caller says.
namespace TALVEK::TEST {

using VCM::CString;
using VDB::CDatabase;
using VDB::CDatabaseFactory;
using VDB::CIterator;
using VDB::CTransaction;

namespace {

/// A row under a key that the caller gives.
struct TNote {
  static constexpr int FIELD_COUNT = 3;
  std::uint32_t nPage = 0;
  std::uint32_t nLine = 0;
  CString strText;

  std::array<void*, FIELD_COUNT> GetFieldAddresses() { return {&nPage, &nLine, &strText}; }
};

class CNoteTable : public VDB::CTable {
 public:
  const VDB::TFileDef* GetFileDef() const override {
    static constexpr VDB::TFileDef s_tDef = {L"note", 0};
    return &s_tDef;
  }
  const VDB::TFieldDef* GetFieldDefs() const override {
    static constexpr VDB::TFieldDef s_atDefs[] = {{L"Page", VDB::FIELD_UINT32},
                                                  {L"Line", VDB::FIELD_UINT32},
                                                  {L"Text", VDB::FIELD_STRING},
                                                  {nullptr, VDB::FIELD_NONE}};
    return s_atDefs;
  }
  const VDB::TIndexDef* GetIndexDefs() const override {
    static constexpr VDB::TIndexDef s_atDefs[] = {{0, 2, {0, 1}}, {}};
    return s_atDefs;
  }
};

struct TNotes {
  CTransaction oTransaction;
  CNoteTable oTable;
  std::unique_ptr<CIterator<TNote>> poNotes;

  explicit TNotes(CDatabase& oDatabase) : oTransaction(oDatabase, 60000) {
    oTable.Open(oDatabase, nullptr, oTransaction, false);
    poNotes = std::make_unique<CIterator<TNote>>(oTable, 0, oTransaction);
  }
  bool AddLater(std::uint32_t nPage, std::uint32_t nLine, const wchar_t* pszText) {
    TNote tNote = {nPage, nLine, pszText};
    return poNotes->AddLater(tNote);
  }
  bool Commit() {
    poNotes->Close();
    return oTransaction.Commit(false);
  }
  std::string List() {
    std::string strAll;
    TNote tNote;
    for (bool bFound = poNotes->GetGTE(tNote); bFound; bFound = poNotes->GetNext(tNote)) {
      strAll += std::to_string(tNote.nPage) + "/" + std::to_string(tNote.nLine) + " " +
                VCM::ToUtf8(tNote.strText) + "\n";
    }
    return strAll;
  }
};

class LateRowsTest : public testing::Test {
 protected:
  CTempFolder m_oFolder;
  std::unique_ptr<CDatabase> m_poDatabase = CDatabaseFactory::Create(NewDatabase(m_oFolder / "db"));
};

}  // namespace

TEST_F(LateRowsTest, AreThereForEveryOperation) {
  TNotes tNotes(*m_poDatabase);
  CIterator<TNote> oOther(tNotes.oTable, 0, tNotes.oTransaction);
  TNote tNote = {2, 1, L""};
  ASSERT_TRUE(tNotes.AddLater(2, 1, L"equal"));
  EXPECT_TRUE(oOther.GetEqual(tNote) && tNote.strText == L"equal");
  ASSERT_TRUE(tNotes.AddLater(2, 3, L"next"));
  EXPECT_TRUE(oOther.GetNext(tNote) && tNote.strText == L"next");
  ASSERT_TRUE(tNotes.AddLater(2, 2, L"before"));
  tNote.nLine = 2;
  EXPECT_TRUE(oOther.GetLTE(tNote) && tNote.strText == L"before");
  ASSERT_TRUE(tNotes.AddLater(1, 1, L"taken"));
  tNote = {1, 1, L"refused"};
  EXPECT_FALSE(oOther.Add(tNote));
  ASSERT_TRUE(tNotes.AddLater(3, 1, L"old"));
  tNote = {3, 1, L"new"};
  EXPECT_TRUE(oOther.Update(tNote));
  ASSERT_TRUE(tNotes.AddLater(3, 2, L"gone"));
  tNote = {3, 2, L""};
  EXPECT_TRUE(oOther.Remove(tNote));
  EXPECT_EQ(tNotes.List(), "1/1 taken\n2/1 equal\n2/2 before\n2/3 next\n3/1 new\n");
}

TEST_F(LateRowsTest, CommitWritesThem) {
  {
    TNotes tNotes(*m_poDatabase);
    tNotes.AddLater(2, 1, L"b");
    tNotes.AddLater(1, 1, L"a");
    ASSERT_TRUE(tNotes.Commit());
  }
  EXPECT_EQ(TNotes(*m_poDatabase).List(), "1/1 a\n2/1 b\n");
}

TEST_F(LateRowsTest, AreDiscardedWithTheirTransaction) {
  { TNotes(*m_poDatabase).AddLater(1, 1, L"a"); }
  EXPECT_EQ(TNotes(*m_poDatabase).List(), "");
}

TEST_F(LateRowsTest, FirstOneWithAKeyStays) {
  TNotes tNotes(*m_poDatabase);
  tNotes.AddLater(1, 1, L"first");
  tNotes.AddLater(1, 1, L"second");
  EXPECT_EQ(tNotes.List(), "1/1 first\n");
  tNotes.AddLater(1, 1, L"third");
  tNotes.AddLater(1, 2, L"other");
  EXPECT_EQ(tNotes.List(), "1/1 first\n1/2 other\n");
}

// More than are kept back, in an order that is neither that of the keys nor its reverse.
TEST_F(LateRowsTest, AreAllThereHoweverManyTheyAre) {
  constexpr std::uint32_t MANY = 200'000;
  TNotes tNotes(*m_poDatabase);
  for (std::uint32_t i = 0; i < MANY; ++i)
    ASSERT_TRUE(tNotes.AddLater(i * 7919 % MANY, 1, L"some text that takes room"));
  std::uint32_t nExpected = 0;
  TNote tNote;
  for (bool bFound = tNotes.poNotes->GetGTE(tNote); bFound; bFound = tNotes.poNotes->GetNext(tNote))
    ASSERT_EQ(tNote.nPage, nExpected++);
  EXPECT_EQ(nExpected, MANY);
}

// A file takes those that don't fit into memory; nobody sees it.
TEST_F(LateRowsTest, LeaveNoFileBehind) {
  TNotes tNotes(*m_poDatabase);
  const std::wstring strLong(1000, L'x');
  for (std::uint32_t i = 0; i < 20'000; ++i)
    ASSERT_TRUE(tNotes.AddLater(20'000 - i, 1, strLong.c_str()));
  std::set<std::string> astrNames;
  for (const auto& oEntry : std::filesystem::directory_iterator(m_oFolder.Path()))
    astrNames.insert(oEntry.path().filename().string());
  EXPECT_EQ(astrNames, (std::set<std::string>{"db.tdf", "db.tlf"}));
}

TEST(LateRowsFullTest, DiskThatIsFullBeforeTheyAreWrittenIsAnError) {
  CTempFolder oFolder;
  const auto fnFill = [&] {
    const CFileSizeLimitScope oLimit(1 << 20);
    const auto poDatabase = CDatabaseFactory::Create(NewDatabase(oFolder / "db"));
    if (!poDatabase) return 2;
    TNotes tNotes(*poDatabase);
    const std::wstring strLong(1000, L'x');
    std::uint32_t nAdded = 0;
    while (nAdded < 20'000 && tNotes.AddLater(nAdded, 1, strLong.c_str()))
      ++nAdded;
    if (nAdded == 20'000) return 3;
    const std::string strError = VCM::ToUtf8(poDatabase->GetLastErrorText());
    if (strError != (oFolder / "db.tdf").string() + ": can't write: File too large") return 4;
    return tNotes.Commit() ? 5 : 0;
  };
  EXPECT_EQ(RunInChild(fnFill), 0);
}

TEST_F(LateRowsTest, RowsWithAssignedIdsAreWrittenAtOnce) {
  TEventSession tEvents(*m_poDatabase);
  TEvent tEvent = {0, 1, 2, L"text"};
  ASSERT_TRUE(tEvents.poById->AddLater(tEvent));
  EXPECT_EQ(tEvent.nId, 1U);
  EXPECT_EQ(tEvents.List(1), "1:1/2 text\n");
}

TEST_F(LateRowsTest, TableOpenForReadingTakesNone) {
  ASSERT_TRUE(TNotes(*m_poDatabase).Commit());
  CTransaction oTransaction(*m_poDatabase, 60000);
  CNoteTable oTable;
  ASSERT_TRUE(oTable.Open(*m_poDatabase, nullptr, oTransaction, true));
  TNote tNote = {1, 1, L"a"};
  EXPECT_FALSE(CIterator<TNote>(oTable, 0, oTransaction).AddLater(tNote));
}

TEST(LateRowsFullTest, CommitFailsWhenTheyDoNotFit) {
  CTempFolder oFolder;
  CString strError;
  auto poFiles = VDB::CDatabaseFiles::Open((oFolder / "db").string(), true, geteuid(), strError);
  const auto poDatabase = VDB::CDatabaseStore::Open(std::move(poFiles), std::size_t{1} << 17, strError);
  ASSERT_NE(poDatabase, nullptr);
  TNotes tNotes(*poDatabase);
  const std::wstring strLong(1000, L'x');
  for (std::uint32_t i = 0; i < 1000; ++i)
    ASSERT_TRUE(tNotes.AddLater(i, 1, strLong.c_str()));
  EXPECT_FALSE(tNotes.Commit());
  EXPECT_EQ(VCM::ToUtf8(poDatabase->GetLastErrorText()),
            (oFolder / "db.tdf").string() +
                ": can't write: the data file has grown to the size that addresses were reserved for");
}

}  // namespace TALVEK::TEST
