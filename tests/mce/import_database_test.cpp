#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "mce/change_item_table.h"
#include "mce/change_table.h"
#include "mce/file_table.h"
#include "mce/folder_table.h"
#include "tests/mce/engine_fixture.h"
#include "tests/support/child_process.h"
#include "tests/support/environment_scope.h"
#include "tests/support/import_log.h"
#include "tests/support/layout.h"
#include "tests/support/slots.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

std::string DatabaseFile(const char* pszSuffix) {
  return "/tmp/talvek-em-" + std::to_string(getpid()) + pszSuffix;
}

bool DatabaseFilesExist() {
  return std::filesystem::exists(DatabaseFile(".tdf")) || std::filesystem::exists(DatabaseFile(".tlf"));
}

std::string Describe(const VDB::CTable& oTable) {
  std::wstring strText = oTable.GetFileDef()->pszName;
  strText += L" " + std::to_wstring(oTable.GetFileDef()->nFlags) + L":";
  for (const VDB::TFieldDef* ptField = oTable.GetFieldDefs(); ptField->pszName; ++ptField) {
    strText += std::wstring(L" ") + ptField->pszName + L"(" + std::to_wstring(ptField->nType) + L")";
  }
  for (const VDB::TIndexDef* ptIndex = oTable.GetIndexDefs(); ptIndex->nFieldCount != 0; ++ptIndex) {
    strText += L" |" + std::to_wstring(ptIndex->nFlags);
    for (int i = 0; i < ptIndex->nFieldCount; ++i)
      strText += L" " + std::to_wstring(ptIndex->anFields[i]);
  }
  return VCM::ToUtf8(VCM::CString(std::move(strText)));
}

TEST(SchemaTest, TablesDeclareTheirFieldsAndIndexes) {
  EXPECT_EQ(Describe(MCE::CChangeTable()),
            "change 1: ID(3) ProviderID(3) StreamID(3) User(4) Time(3) Comment(5) NextItem(3) Props(13)"
            " |0 0 |1 2 4");
  EXPECT_EQ(Describe(MCE::CChangeItemTable()),
            "citems 0: ID(3) Item(3) Type(3) FilePath(12) Revision(3) Props(13) Timestamp(11) |0 0 1");
  EXPECT_EQ(Describe(MCE::CFileTable()), "file 1: ID(3) Path(12) Path(13) |0 0");
  EXPECT_EQ(Describe(MCE::CFolderTable()), "folder 1: ID(3) |0 0");
}

TEST(SchemaTest, DefinitionsHaveTheSizesThatTheEngineReads) {
  EXPECT_EQ(sizeof(VDB::TIndexDef), 24 * sizeof(std::uint16_t));
  EXPECT_EQ(sizeof(VDB::TFileDef), 2 * sizeof(void*));
  EXPECT_EQ(sizeof(VDB::TFieldDef), 2 * sizeof(void*));
  EXPECT_EQ(sizeof(MCE::TPropertyInfo), 4 * sizeof(void*));
}

/// The two words of a definition, read from memory without the names of its members: "TEXT NUMBER", with "-"
/// for a null text.
template <class TDefinition>
std::string Words(const TDefinition& tDefinition) {
  constexpr std::uintptr_t LARGEST_CODE = 13;
  std::uintptr_t anWords[2];
  static_assert(sizeof anWords == sizeof tDefinition);
  std::memcpy(anWords, &tDefinition, sizeof anWords);
  if (anWords[1] > LARGEST_CODE) return "no number";  // don't dereference the first word
  const auto* const pszText = reinterpret_cast<const wchar_t*>(anWords[0]);
  return (pszText ? VCM::ToUtf8(pszText) : "-") + " " + std::to_string(anWords[1]);
}

/// The first `nCount` entries of a list of fields.
std::string FieldWords(const VDB::TFieldDef* ptFields, std::size_t nCount) {
  std::string strText;
  for (std::size_t i = 0; i < nCount; ++i)
    strText += (i > 0 ? ", " : "") + Words(ptFields[i]);
  return strText;
}

TEST(SchemaTest, FileDefinitionIsTheNameAndThenTheFlag) {
  EXPECT_EQ(Words(MCE::CChangeTable::s_tFileDef), "change 1");
  EXPECT_EQ(Words(MCE::CChangeItemTable::s_tFileDef), "citems 0");
  EXPECT_EQ(Words(MCE::CFileTable::s_tFileDef), "file 1");
  EXPECT_EQ(Words(MCE::CFolderTable::s_tFileDef), "folder 1");
}

TEST(SchemaTest, FieldIsTheNameAndThenTheTypeAndZerosEndTheList) {
  EXPECT_EQ(FieldWords(MCE::CChangeTable::s_atFieldDefs, 9),
            "ID 3, ProviderID 3, StreamID 3, User 4, Time 3, Comment 5, NextItem 3, Props 13, - 0");
  EXPECT_EQ(FieldWords(MCE::CChangeItemTable::s_atFieldDefs, 8),
            "ID 3, Item 3, Type 3, FilePath 12, Revision 3, Props 13, Timestamp 11, - 0");
  EXPECT_EQ(FieldWords(MCE::CFileTable::s_atFieldDefs, 4), "ID 3, Path 12, Path 13, - 0");
  EXPECT_EQ(FieldWords(MCE::CFolderTable::s_atFieldDefs, 2), "ID 3, - 0");
}

/// All words of the first `nCount` records of a list of indexes.
std::vector<std::uint16_t> IndexWords(const VDB::TIndexDef* ptIndexes, std::size_t nCount) {
  std::vector<std::uint16_t> anWords(nCount * sizeof *ptIndexes / sizeof(std::uint16_t));
  std::memcpy(anWords.data(), ptIndexes, nCount * sizeof *ptIndexes);
  return anWords;
}

// Flags, number of fields, fields; the other words of the 24 are zero. A record of zeros ends the list.
TEST(SchemaTest, IndexesAreRecordsOf24WordsAndZerosEndTheList) {
  std::vector<std::uint16_t> anTwo(72), anOne(48);
  anTwo[1] = 1;  // unique, by field 0
  anTwo[24] = 1;
  anTwo[25] = 2;
  anTwo[26] = 2;
  anTwo[27] = 4;
  EXPECT_EQ(IndexWords(MCE::CChangeTable::s_atIndexDefs, 3), anTwo);
  anOne[1] = 1;
  EXPECT_EQ(IndexWords(MCE::CFileTable::s_atIndexDefs, 2), anOne);
  EXPECT_EQ(IndexWords(MCE::CFolderTable::s_atIndexDefs, 2), anOne);
  anOne[1] = 2;
  anOne[3] = 1;
  EXPECT_EQ(IndexWords(MCE::CChangeItemTable::s_atIndexDefs, 2), anOne);
}

TEST(RecordTest, DefaultRecordIsEmpty) {
  const MCE::TChangeRecord tChange;
  EXPECT_EQ(tChange.nID + tChange.nProviderID + tChange.nStreamID + tChange.nTime + tChange.nNextItem, 0u);
  EXPECT_TRUE(tChange.strUser.IsEmpty() && tChange.strComment.IsEmpty() && tChange.oProps.IsEmpty());
  const MCE::TChangeItemRecord tItem;
  EXPECT_EQ(tItem.nID + tItem.nItem + tItem.nType, 0u);
  EXPECT_EQ(tItem.nRevision, 0);
  EXPECT_EQ(tItem.oTimestamp.GetUTC(), 0);
  EXPECT_EQ(tItem.oFilePath.GetCount(), 0);
  EXPECT_TRUE(tItem.oProps.IsEmpty());
}

/// Addresses as they are in the record, so that two members of one type can't be mistaken for each other.
template <class TRecord>
std::vector<const void*> FieldAddresses(TRecord& tRecord) {
  const auto apFields = tRecord.GetFieldAddresses();
  return std::vector<const void*>(apFields.begin(), apFields.end());
}

TEST(RecordTest, FieldsAreTheMembersInTheirOrder) {
  using TAddresses = std::vector<const void*>;
  MCE::TChangeRecord c;
  EXPECT_EQ(FieldAddresses(c), (TAddresses{&c.nID, &c.nProviderID, &c.nStreamID, &c.strUser, &c.nTime,
                                           &c.strComment, &c.nNextItem, &c.oProps}));
  MCE::TChangeItemRecord i;
  EXPECT_EQ(FieldAddresses(i),
            (TAddresses{&i.nID, &i.nItem, &i.nType, &i.oFilePath, &i.nRevision, &i.oProps, &i.oTimestamp}));
  MCE::TFileRecord f;
  EXPECT_EQ(FieldAddresses(f), (TAddresses{&f.nID, &f.oPath, &f.oProps}));
  MCE::TFolderRecord o;
  EXPECT_EQ(FieldAddresses(o), TAddresses{&o.nID});
  for (const TAddresses& apFields : {FieldAddresses(c), FieldAddresses(i), FieldAddresses(f)})
    EXPECT_TRUE(AreInOrder(apFields));
  EXPECT_TRUE(AreInOrder(&o, {&o.nID, &o.oFolders, &o.oFiles}));
  static_assert(std::is_polymorphic_v<MCE::TChangeRecord> && std::is_polymorphic_v<MCE::TChangeItemRecord>);
  static_assert(!std::is_polymorphic_v<MCE::TFileRecord> && !std::is_polymorphic_v<MCE::TFolderRecord>);
}

TEST(RecordTest, CloneAndCopyFromTakeEveryField) {
  MCE::TChangeRecord tChange;
  tChange.nID = 1;
  tChange.nProviderID = 2;
  tChange.nStreamID = 3;
  tChange.strUser = L"joe";
  tChange.nTime = 4;
  tChange.strComment = L"text";
  tChange.nNextItem = 5;
  tChange.oProps.SetProperty(0, 6u);
  auto* ptClone = static_cast<MCE::TChangeRecord*>(tChange.Clone());
  MCE::TChangeRecord tCopy;
  EXPECT_EQ(&tCopy.CopyFrom(ptClone), &tCopy);
  ptClone->Delete();
  tCopy.CopyFrom(&tCopy);
  EXPECT_EQ(tCopy.nID, 1u);
  EXPECT_EQ(tCopy.nProviderID, 2u);
  EXPECT_EQ(tCopy.nStreamID, 3u);
  EXPECT_TRUE(tCopy.strUser == L"joe");
  EXPECT_EQ(tCopy.nTime, 4u);
  EXPECT_TRUE(tCopy.strComment == L"text");
  EXPECT_EQ(tCopy.nNextItem, 5u);
  EXPECT_EQ(tCopy.oProps.GetNumber(0, 0), 6u);
}

TEST(RecordTest, CloneAndCopyFromTakeEveryFieldOfAnItem) {
  MCE::TChangeItemRecord tItem;
  tItem.nID = 1;
  tItem.nItem = 2;
  tItem.nType = 3;
  tItem.oFilePath.Parse(L"dir/a.c");
  tItem.nRevision = -4;
  tItem.oProps.SetProperty(1, L"1.5");
  tItem.oTimestamp.Set(6);
  auto* ptClone = static_cast<MCE::TChangeItemRecord*>(tItem.Clone());
  MCE::TChangeItemRecord tCopy;
  EXPECT_EQ(&tCopy.CopyFrom(ptClone), &tCopy);
  ptClone->Delete();
  tCopy.CopyFrom(&tCopy);
  EXPECT_EQ(tCopy.nID, 1u);
  EXPECT_EQ(tCopy.nItem, 2u);
  EXPECT_EQ(tCopy.nType, 3u);
  EXPECT_TRUE(tCopy.oFilePath.GeneratePath() == L"dir/a.c");
  EXPECT_EQ(tCopy.nRevision, -4);
  EXPECT_EQ(tCopy.oProps, tItem.oProps);
  EXPECT_EQ(tCopy.oTimestamp.GetUTC(), 6);
}

TEST(RecordTest, FilesAndFoldersAreValues) {
  MCE::TFileRecord tFile;
  EXPECT_EQ(tFile.nID, 0u);
  tFile.nID = 1;
  tFile.oPath.Parse(L"a.c");
  tFile.oProps.SetProperty(0, 2u);
  const MCE::TFileRecord tFileCopy = tFile;
  EXPECT_EQ(tFileCopy.nID, 1u);
  EXPECT_EQ(tFileCopy.oPath, tFile.oPath);
  EXPECT_EQ(tFileCopy.oProps, tFile.oProps);

  MCE::TFolderRecord tFolder;
  EXPECT_EQ(tFolder.nID, 0u);
  tFolder.nID = 3;
  tFolder.oFolders.AddEntry(L"dir");
  tFolder.oFiles.AddEntry(L"a.c");
  MCE::TFolderRecord tFolderCopy;
  tFolderCopy = tFolder;
  EXPECT_EQ(tFolderCopy.nID, 3u);
  EXPECT_EQ(tFolderCopy.oFolders, tFolder.oFolders);
  EXPECT_EQ(tFolderCopy.oFiles, tFolder.oFiles);
}

// Slots 0 and 1 are the destructors.
TEST(RecordTest, NullRecordCanBeDeleted) {
  constexpr std::size_t SLOT_DELETE = 3;
  const MCE::TChangeRecord tChange;
  const MCE::TChangeItemRecord tItem;
  Slot<void(void*)>(&tChange, SLOT_DELETE)(nullptr);
  Slot<void(void*)>(&tItem, SLOT_DELETE)(nullptr);
}

/// Calls Clone by slot 2 and CopyFrom by slot 4.
template <class TRecord>
void ExpectCloneAndCopyFromInTheirSlots() {
  TRecord tRecord, tOther;
  tRecord.nID = 7;
  auto* const ptClone = static_cast<TRecord*>(Slot<VDB::TRecordBase*(const void*)>(&tRecord, 2)(&tRecord));
  ASSERT_NE(ptClone, &tRecord);
  EXPECT_EQ(ptClone->nID, 7u);
  ptClone->Delete();
  EXPECT_EQ(Slot<VDB::TRecordBase*(void*, const void*)>(&tOther, 4)(&tOther, &tRecord), &tOther);
  EXPECT_EQ(tOther.nID, 7u);
}

TEST(RecordTest, CloneStandsInSlotTwoAndCopyFromInSlotFour) {
  ExpectCloneAndCopyFromInTheirSlots<MCE::TChangeRecord>();
  ExpectCloneAndCopyFromInTheirSlots<MCE::TChangeItemRecord>();
}

TEST(SchemaTest, DefinitionsStandInSlotsTwoToFour) {
  using TGetDefinition = const void*(const void*);
  const MCE::CChangeTable oTable;
  EXPECT_EQ(Slot<TGetDefinition>(&oTable, 2)(&oTable), &MCE::CChangeTable::s_tFileDef);
  EXPECT_EQ(Slot<TGetDefinition>(&oTable, 3)(&oTable), MCE::CChangeTable::s_atFieldDefs);
  EXPECT_EQ(Slot<TGetDefinition>(&oTable, 4)(&oTable), MCE::CChangeTable::s_atIndexDefs);
}

TEST(ImportDatabaseTest, ProviderWithoutChangesLeavesNoFiles) {
  { CEngine oEngine; }
  EXPECT_FALSE(DatabaseFilesExist());
}

// Without a database the path is empty: path and suffix would be the names of files in the working folder.
TEST(ImportDatabaseTest, ProviderWithoutChangesRemovesNoFileOfTheWorkingFolder) {
  const CTempFolder oFolder;
  WriteFile(oFolder / ".tdf", "data");
  WriteFile(oFolder / ".tlf", "lock");
  const int nResult = RunInChild([&] {
    if (chdir(oFolder.Path().c_str()) != 0) return 1;
    { CEngine oEngine; }
    return 0;
  });
  EXPECT_EQ(nResult, 0);
  EXPECT_EQ(ReadFile(oFolder / ".tdf") + ReadFile(oFolder / ".tlf"), "datalock");
}

TEST(ImportDatabaseTest, FilesLiveAsLongAsTheProvider) {
  {
    CEngine oEngine;
    ASSERT_TRUE(oEngine.PrepareForChanges(false));
    EXPECT_TRUE(std::filesystem::exists(DatabaseFile(".tdf")));
    EXPECT_TRUE(std::filesystem::exists(DatabaseFile(".tlf")));
  }
  EXPECT_FALSE(DatabaseFilesExist());
}

TEST(ImportDatabaseTest, DestroyEndsTheProviderAndItsFiles) {
  auto* poEngine = new CEngine;
  ASSERT_TRUE(poEngine->PrepareForChanges(false));
  poEngine->Destroy();
  EXPECT_FALSE(DatabaseFilesExist());
}

TEST(ImportDatabaseTest, SecondCommitDoesNothing) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.CommitChanges();
  EXPECT_EQ(oEngine.m_poTransaction, nullptr);
  EXPECT_EQ(oEngine.m_poChangeIterator, nullptr);
  oEngine.CommitChanges();
  EXPECT_EQ(oEngine.Changes(), "1000 joe: a.c\n");
}

TEST(ImportDatabaseTest, CommitLeavesTheTablesOpen) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.CommitChanges();
  EXPECT_TRUE(oEngine.m_oChangeTable.IsOpen());
  EXPECT_TRUE(oEngine.m_oChangeItemTable.IsOpen());
  EXPECT_EQ(oEngine.m_poChangeItemIterator, nullptr);
}

TEST(ImportDatabaseTest, ChangesAndItemsCanBeAddedAfterACommit) {
  CEngine oEngine;
  VCM::CFilePath oPath;
  oPath.Parse(L"c.c");
  oEngine.Add("a.c").At(1000);
  oEngine.CommitChanges();
  oEngine.Add("b.c").At(1010);
  oEngine.CommitChanges();
  EXPECT_TRUE(oEngine.AddChangeItem(1u, 3u, MCE::CHANGE_ITEM_ADD, oPath, 0u));
  oEngine.CommitChanges();
  EXPECT_EQ(oEngine.AddChange(0, 1, L"joe", L"later", 2000), 2u);
  EXPECT_EQ(oEngine.Changes(), "1010 joe: a.c b.c c.c\n2000 joe:\n");
}

TEST(ImportDatabaseTest, WalkAndSearchMakeTheDatabase) {
  {
    CEngine oEngine;
    MCE::CProvider::TChangeInfo tChange;
    EXPECT_EQ(oEngine.OnFirstChangeset(tChange), MCE::RESULT_END);
    EXPECT_TRUE(DatabaseFilesExist());
  }
  {
    CEngine oEngine;
    EXPECT_EQ(oEngine.FindNearestChange(Stream(1, 0, L"Main"), 1000), 0u);
    EXPECT_TRUE(DatabaseFilesExist());
  }
  CEngine oEngine;
  unsigned nCount = 77;
  EXPECT_EQ(oEngine.EstablishChangesets(nCount), MCE::RESULT_OK);
  EXPECT_EQ(nCount, 0u);
  EXPECT_TRUE(DatabaseFilesExist());
}

TEST(ImportDatabaseTest, CommitWithoutDatabaseDoesNothing) {
  CEngine oEngine;
  oEngine.CommitChanges();
  EXPECT_EQ(oEngine.m_poDatabase, nullptr);
}

TEST(ImportDatabaseTest, ResetAfterCommitOpensNewTransactionAndKeepsWhatWasCommitted) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.CommitChanges();
  EXPECT_TRUE(oEngine.PrepareForChanges(true));
  EXPECT_TRUE(oEngine.m_poTransaction->IsOpen());
  EXPECT_TRUE(oEngine.m_oChangeTable.IsOpen());
  EXPECT_EQ(oEngine.Changes(), "1000 joe: a.c\n");
}

TEST(ImportDatabaseTest, ResetDiscardsWhatWasNotCommitted) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  EXPECT_TRUE(oEngine.PrepareForChanges(true));
  EXPECT_EQ(oEngine.Changes(), "");
}

TEST(ImportDatabaseTest, PreparingTwiceKeepsTheTransaction) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  const VDB::CTransaction* const poTransaction = oEngine.m_poTransaction.get();
  EXPECT_TRUE(oEngine.PrepareForChanges(false));
  EXPECT_EQ(oEngine.m_poTransaction.get(), poTransaction);
}

TEST(ImportDatabaseTest, TimeBeyond32BitsIsTruncated) {
  CEngine oEngine;
  oEngine.AddChange(0, 1, L"joe", L"far away", 4294967296L + 77);
  EXPECT_EQ(oEngine.Changes(), "77 joe:\n");
}

TEST(ImportDatabaseTest, AddedChangeHasNoItemsAndNoProperties) {
  CEngine oEngine;
  EXPECT_EQ(oEngine.AddChange(42, 1, L"joe", L"text", 1000), 1u);
  EXPECT_EQ(oEngine.AddChange(43, 1, L"joe", L"text", 1000), 2u);
  EXPECT_EQ(oEngine.m_nChangesAdded, 2u);
  EXPECT_EQ(oEngine.m_tChange.nProviderID, 43u);
  EXPECT_EQ(oEngine.m_tChange.nNextItem, 0u);
  EXPECT_TRUE(oEngine.m_tChange.oProps.IsEmpty());
}

TEST(ImportDatabaseTest, ItemCountOfUnknownChangeIsNotWritten) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  EXPECT_FALSE(oEngine.UpdateChangeItemCount(99, 7));
  EXPECT_TRUE(oEngine.UpdateChangeItemCount(1, 7));
  EXPECT_EQ(oEngine.m_tChange.nID, 1u);
  oEngine.VisitChanges(1, [](const MCE::TChangeRecord& tChange) { EXPECT_EQ(tChange.nNextItem, 7u); });
  // Nothing of the record's former content (change 2) is left in it.
  oEngine.AddChange(5, 2, L"ann", L"other", 9000);
  EXPECT_TRUE(oEngine.UpdateChangeItemCount(1, 8));
  const MCE::TChangeRecord& tRead = oEngine.m_tChange;
  EXPECT_EQ(std::tuple(tRead.nID, tRead.nProviderID, tRead.nStreamID, tRead.nTime, tRead.nNextItem),
            std::tuple(1u, 0u, 1u, 1000u, 8u));
  EXPECT_TRUE(tRead.strUser == L"joe" && tRead.strComment == L"work");
  EXPECT_EQ(tRead.oProps.GetNumber(MCE::CHANGE_BASE_TIME, 0), 1000u);
}

TEST(ImportDatabaseTest, NothingIsFoundOrChangedWithoutATransaction) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  MCE::TChangeRecord tChange = oEngine.m_tChange;
  VCM::CFilePath oPath;
  oPath.Parse(L"a.c");
  int nRevision = 77;
  EXPECT_TRUE(oEngine.CheckForExistingItem(tChange, oPath, nRevision));
  oEngine.CommitChanges();
  EXPECT_FALSE(oEngine.UpdateChangeItemCount(1, 7));
  nRevision = 77;
  EXPECT_FALSE(oEngine.CheckForExistingItem(tChange, oPath, nRevision));
  EXPECT_EQ(nRevision, 77);
  oEngine.VisitChanges(1, [](const MCE::TChangeRecord& tFound) { EXPECT_EQ(tFound.nNextItem, 2u); });
}

// The server's own tools open them by these names.
TEST(ImportDatabaseTest, TablesAreCalledChangeAndCitems) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.CommitChanges();
  VDB::CTransaction oTransaction(*oEngine.m_poDatabase, 0);
  MCE::CChangeTable oChanges;
  MCE::CChangeItemTable oItems;
  ASSERT_TRUE(oChanges.Open(*oEngine.m_poDatabase, L"change", oTransaction, true));
  ASSERT_TRUE(oItems.Open(*oEngine.m_poDatabase, L"citems", oTransaction, true));
  MCE::TChangeRecord tChange;
  tChange.nID = 1;
  EXPECT_TRUE(VDB::CIterator<MCE::TChangeRecord>(oChanges, 0, oTransaction).GetEqual(tChange));
  EXPECT_EQ(tChange.nTime, 1000u);
  MCE::TChangeItemRecord tItem;
  tItem.nID = tItem.nItem = 1;
  EXPECT_TRUE(VDB::CIterator<MCE::TChangeItemRecord>(oItems, 0, oTransaction).GetEqual(tItem));
  EXPECT_TRUE(tItem.oFilePath.GeneratePath() == L"a.c");
}

TEST(ImportDatabaseTest, ItemTableIsOpenedAlongWithTheOtherOnly) {
  CEngine oEngine;
  ASSERT_TRUE(oEngine.PrepareForChanges(false));
  oEngine.CommitChanges();
  oEngine.m_oChangeItemTable.Close();
  EXPECT_TRUE(oEngine.PrepareForChanges(false));
  EXPECT_FALSE(oEngine.m_oChangeItemTable.IsOpen());
  oEngine.CommitChanges();
  oEngine.m_oChangeTable.Close();
  EXPECT_TRUE(oEngine.PrepareForChanges(false));
  EXPECT_TRUE(oEngine.m_oChangeTable.IsOpen() && oEngine.m_oChangeItemTable.IsOpen());
}

TEST(ImportDatabaseTest, ResetOpensBothTablesAnew) {
  CEngine oEngine;
  ASSERT_TRUE(oEngine.PrepareForChanges(false));
  oEngine.m_oChangeItemTable.Close();
  EXPECT_TRUE(oEngine.PrepareForChanges(true));
  EXPECT_TRUE(oEngine.m_oChangeTable.IsOpen() && oEngine.m_oChangeItemTable.IsOpen());
}

TEST(ImportDatabaseTest, FilesThatAreGoneAlreadyGiveNoMessage) {
  testing::internal::CaptureStderr();
  {
    CEngine oEngine;
    oEngine.Add("a.c").At(1000);
    std::filesystem::remove(DatabaseFile(".tdf"));
    std::filesystem::remove(DatabaseFile(".tlf"));
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_FALSE(DatabaseFilesExist());
}

// Only one import per process at a time is supported. With two, the end of the second removes the files.
TEST(ImportDatabaseTest, SecondProvidersEndRemovesTheFilesOfTheFirst) {
  CEngine oFirst;
  oFirst.Add("a.c").At(1000);
  EXPECT_TRUE(DatabaseFilesExist());
  { EXPECT_FALSE(CEngine().PrepareForChanges(false)); }
  EXPECT_FALSE(DatabaseFilesExist());
  EXPECT_EQ(oFirst.Changes(), "1000 joe: a.c\n");
}

TEST(ImportDatabaseTest, WithoutDatabaseNothingSucceeds) {
  CEngine oOwner;
  ASSERT_TRUE(oOwner.PrepareForChanges(false));
  const CTempFolder oTemp;
  const CEnvironmentScope oTempVariable("TMPDIR", oTemp.Path().string());
  CEngine oSecond;  // the same process, so the same path
  oSecond.OpenLog(true);
  oSecond.m_atFound = {Stream(1, 0, L"Main")};
  unsigned nCount = 0;
  MCE::CProvider::TChangeInfo tChange;
  EXPECT_FALSE(oSecond.PrepareForChanges(false));
  EXPECT_EQ(oSecond.EstablishChangesets(nCount), MCE::RESULT_FAILED);
  EXPECT_EQ(oSecond.m_nEnumerations, 0);  // not asked for changes that can't be stored
  EXPECT_EQ(oSecond.OnFirstChangeset(tChange), MCE::RESULT_FAILED);
  EXPECT_FALSE(oSecond.Add("a.c").At(1000));
  EXPECT_EQ(oSecond.FindNearestChange(Stream(1, 0, L"Main"), 1000), 0u);
  EXPECT_EQ(WithoutSeconds(ReadFile(VCM::ToBytes(oSecond.GetLogPath()))), "Beginning Import with Test\n");
}

}  // namespace
}  // namespace TALVEK::TEST
