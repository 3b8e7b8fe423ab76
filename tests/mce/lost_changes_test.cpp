// Imports whose database can't be made, or can't store everything.

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>

#include "tests/mce/engine_fixture.h"
#include "tests/support/child_process.h"
#include "tests/support/environment_scope.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/import_log.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;

std::string DatabasePath() {
  return "/tmp/talvek-em-" + std::to_string(getpid());
}

std::string LogOf(CEngine& oEngine) {
  return WithoutSeconds(ReadFile(fs::path(VCM::ToUtf8(oEngine.GetLogPath()))));
}

TEST(LostChangesTest, ChangesetsThatFoundNoRoomAreNotEstablished) {
  const CTempFolder oFolder;
  const CEnvironmentScope oTmpDir("TMPDIR", oFolder.Path().string());
  const int nResult = RunInChild([] {
    const CFileSizeLimitScope oLimit(1 << 20);
    CEngine oEngine;
    oEngine.OpenLog(true);
    for (long nTime = 0; nTime < 10'000; ++nTime)
      oEngine.Add("some/file.c").Saying("words to fill the disk with").At(nTime * 1000);
    unsigned nCount = 0;
    for (int nTry = 0; nTry < 2; ++nTry) {
      if (oEngine.EstablishChangesets(nCount) != MCE::RESULT_FAILED) return 11;
    }
    const std::string strWanted =
        "Beginning Import with Test\nFailed to keep the changes in the import database: " + DatabasePath() +
        ".tdf: can't commit: ";
    return LogOf(oEngine).starts_with(strWanted) ? 0 : 12;
  });
  EXPECT_EQ(nResult, 0);
}

// The provider removes the names, which are its own, but never touches the target of a link.
TEST(LostChangesTest, WhatALinkAtTheDatabasePathLeadsToIsLeftAlone) {
  const CTempFolder oFolder;
  for (const char* pszSuffix : {".tdf", ".tlf"}) {
    const fs::path oPlanted = DatabasePath() + pszSuffix;
    WriteFile(oFolder / "victim", "mine");
    fs::create_symlink(oFolder / "victim", oPlanted);
    {
      CEngine oEngine;
      EXPECT_FALSE(oEngine.PrepareForChanges(false));
    }
    EXPECT_FALSE(fs::is_symlink(fs::symlink_status(oPlanted)));
    EXPECT_EQ(ReadFile(oFolder / "victim"), "mine");
    EXPECT_FALSE(fs::exists(DatabasePath() + ".tdf") || fs::exists(DatabasePath() + ".tlf"));
  }
}

TEST(LostChangesTest, LossIsReportedOnce) {
  const CTempFolder oFolder;
  const CEnvironmentScope oTmpDir("TMPDIR", oFolder.Path().string());
  const fs::path oPlanted = DatabasePath() + ".tdf";
  fs::create_directory(oPlanted);
  CEngine oEngine;
  oEngine.OpenLog(true);
  EXPECT_FALSE(oEngine.PrepareForChanges(true));
  oEngine.ReportLostChanges();
  oEngine.ReportLostChanges();
  fs::remove(oPlanted);
  unsigned nCount = 0;
  EXPECT_EQ(oEngine.EstablishChangesets(nCount), MCE::RESULT_FAILED);  // though there is a database by now
  EXPECT_EQ(LogOf(oEngine),
            "Beginning Import with Test\nFailed to keep the changes in the import database: " +
                oPlanted.string() + ": is no plain file\n");
}

/// A row of "citems" with a key and no other fields: it can't be decoded as an item.
struct TBareItem {
  std::array<void*, 2> GetFieldAddresses() { return {&nID, &nItem}; }
  std::uint32_t nID;
  std::uint32_t nItem;
};

class CBareItemTable : public VDB::CTable {
 public:
  const VDB::TFileDef* GetFileDef() const override { return &MCE::CChangeItemTable::s_tFileDef; }
  const VDB::TIndexDef* GetIndexDefs() const override { return MCE::CChangeItemTable::s_atIndexDefs; }
  const VDB::TFieldDef* GetFieldDefs() const override {
    static constexpr VDB::TFieldDef s_atFields[] = {
        {L"ID", VDB::FIELD_UINT32}, {L"Item", VDB::FIELD_UINT32}, {nullptr, VDB::FIELD_NONE}};
    return s_atFields;
  }
};

TEST(LostChangesTest, RowThatCannotBeReadFailsTheWalk) {
  CEngine oEngine;
  oEngine.m_tCurrentStream.nID = 1;
  oEngine.Add("a.c").At(1000);
  oEngine.CommitChanges();
  {
    VDB::CTransaction oTransaction(*oEngine.m_poDatabase, 0);
    CBareItemTable oTable;
    ASSERT_TRUE(oTable.Open(*oEngine.m_poDatabase, nullptr, oTransaction, false));
    VDB::CIterator<TBareItem> oItems(oTable, 0, oTransaction);
    TBareItem tItem = {1, 2};
    ASSERT_TRUE(oItems.Add(tItem));
    oItems.Close();
    ASSERT_TRUE(oTransaction.Commit(false));
  }
  MCE::CProvider::TChangeInfo tChange;
  MCE::CProvider::TChangeItemInfo tItem;
  EXPECT_EQ(oEngine.OnFirstChangeset(tChange), MCE::RESULT_OK);
  EXPECT_EQ(oEngine.OnFirstChangeItem(tItem), MCE::RESULT_OK);
  EXPECT_EQ(oEngine.OnNextChangeItem(tItem), MCE::RESULT_FAILED);
}

TEST(LostChangesTest, NewSearchForStreamsForgetsAFailureThatWasMended) {
  const CTempFolder oFolder;
  const fs::path oPlanted = DatabasePath() + ".tdf";
  fs::create_directory(oPlanted);
  CEngine oEngine;
  unsigned nCount = 0;
  EXPECT_FALSE(oEngine.PrepareForChanges(true));
  oEngine.ReportLostChanges();
  fs::remove(oPlanted);
  EXPECT_EQ(oEngine.EstablishChangesets(nCount), MCE::RESULT_FAILED);
  oEngine.ResetStreams();
  ASSERT_TRUE(oEngine.PrepareForChanges(true));
  ASSERT_TRUE(oEngine.Add("a.c").At(1000));
  EXPECT_EQ(oEngine.EstablishChangesets(nCount), MCE::RESULT_OK);
  EXPECT_EQ(oEngine.Changes(), "1000 joe: a.c\n");
}

}  // namespace
}  // namespace TALVEK::TEST
