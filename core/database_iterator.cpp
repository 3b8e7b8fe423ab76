#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "core/database.h"
#include "core/database_codec.h"
#include "core/database_table.h"
#include "core/database_transaction.h"

namespace TALVEK::VDB {

/// The cursor's place is a key, not a position in LMDB's tree: that position is only a short cut, good as
/// long as nothing has been written since.
class CIteratorBase::CImpl : public CTransactionUser {
 public:
  /// Null when table and transaction don't go together or there is no such index.
  static std::unique_ptr<CImpl> Open(const CTable& oTable, unsigned nIndex, CTransaction& oTransaction);
  ~CImpl() override;
  CImpl(const CImpl&) = delete;
  CImpl& operator=(const CImpl&) = delete;
  void OnTransactionEnd() override;

  bool GetEqual(void* const* papFields, TFieldSet nWanted);
  bool GetGTE(void* const* papFields, TFieldSet nWanted);
  bool GetLTE(void* const* papFields, TFieldSet nWanted);
  bool GetNext(void* const* papFields, TFieldSet nWanted);
  bool Add(void* const* papFields);
  bool AddLater(void* const* papFields);
  bool Update(void* const* papFields, TFieldSet nAltered);
  bool Remove(void* const* papFields);

 private:
  CImpl(const CTable::CImpl& oTable, unsigned nIndex, CTransaction::CImpl* poTransaction,
        TOpenTable* poOpenTable);

  bool IsUsable() const { return m_poTransaction && m_poTransaction->IsUsable(); }
  /// Usable, and all rows are in index 0.
  bool HasAllRows() const { return IsUsable() && m_poTransaction->WriteLateRows(*m_poTable); }
  /// Usable, and this index has all rows.
  bool IsReady() const { return HasAllRows() && m_poTransaction->WriteLateIndex(*m_poTable, m_nIndex); }
  bool IsLate(unsigned nIndex) const { return m_poTable->atTrees[nIndex].bLate; }
  bool CanWrite();
  MDB_cursor* Shared(unsigned nIndex) const { return m_poTable->atTrees[nIndex].poCursor.get(); }
  /// The cursor by which rows are written. LMDB spares itself the descent of the tree when the row lies on
  /// the page where the cursor is: what has been looked for by index 0 is often what is written next.
  MDB_cursor* ForRows() const { return m_nIndex == 0 ? m_poCursor.get() : Shared(0); }

  bool Move(MDB_cursor_op nOperation);
  bool MoveTo(const CKey& oKey);
  bool Take(void* const* papFields, TFieldSet nWanted);
  bool FetchRow(std::string_view strEntry);
  bool FailDamaged();

  bool FindForWrite(void* const* papFields, std::string_view& strRow);
  bool NextId(std::uint32_t& nId);
  bool Insert(void* const* papFields);
  bool IsFree(unsigned nIndex, const CKey& oEntry);
  int PutRow(const CKey& oKey, std::string_view strRow);
  int PutEntry(unsigned nIndex, const CKey& oEntry);
  int RemoveEntry(unsigned nIndex, const CKey& oEntry);
  bool Replace(std::string_view strOldRow, std::string_view strRow);
  bool Done(int nError);

  std::shared_ptr<const CSchema> m_poSchema;
  unsigned m_nIndex;
  bool m_bReadOnly;
  CTransaction::CImpl* m_poTransaction;
  TOpenTable* m_poTable;
  TCursorPtr m_poCursor;
  CRecordCodec m_oCodec;

  CKey m_oPlace;  // whole entry; its size is 0 before a row has been found
  bool m_bCursorAtPlace = false;
  std::uint64_t m_nWritesAtPlace = 0;

  // What Move found, good until the next write.
  std::string_view m_strEntry;
  std::string_view m_strRow;

  // By index number, kept to be used again.
  std::vector<CKey> m_aoEntries;
  std::vector<CKey> m_aoOldEntries;
};

std::unique_ptr<CIteratorBase::CImpl> CIteratorBase::CImpl::Open(const CTable& oTable, unsigned nIndex,
                                                                 CTransaction& oTransaction) {
  const CTable::CImpl* poTable = oTable.GetImpl();
  CTransaction::CImpl* poTransaction = oTransaction.GetImpl();
  if (!poTable || !poTransaction->IsUsable()) return nullptr;
  if (poTransaction->GetStore() != poTable->poDatabase) return nullptr;
  if (nIndex >= poTable->poSchema->GetIndexCount()) return nullptr;
  TOpenTable* poOpenTable =
      poTransaction->OpenTable(poTable->strName, poTable->poSchema, !poTable->bReadOnly);
  if (!poOpenTable) return nullptr;
  std::unique_ptr<CImpl> poImpl(new CImpl(*poTable, nIndex, poTransaction, poOpenTable));
  return poImpl->m_poCursor ? std::move(poImpl) : nullptr;
}

CIteratorBase::CImpl::CImpl(const CTable::CImpl& oTable, unsigned nIndex, CTransaction::CImpl* poTransaction,
                            TOpenTable* poOpenTable)
    : m_poSchema(oTable.poSchema),
      m_nIndex(nIndex),
      m_bReadOnly(oTable.bReadOnly),
      m_poTransaction(poTransaction),
      m_poTable(poOpenTable),
      m_oCodec(oTable.poSchema),
      m_aoEntries(m_poSchema->GetIndexCount()),
      m_aoOldEntries(m_poSchema->GetIndexCount()) {
  MDB_cursor* poCursor = nullptr;
  const int nError = mdb_cursor_open(poTransaction->Get(), poOpenTable->atTrees[nIndex].nTree, &poCursor);
  if (nError != 0) poTransaction->FailRead(nError);
  m_poCursor.reset(poCursor);
  poTransaction->AddUser(this);
}

CIteratorBase::CImpl::~CImpl() {
  if (m_poTransaction) m_poTransaction->RemoveUser(this);
}

void CIteratorBase::CImpl::OnTransactionEnd() {
  m_poCursor.reset();
  m_poTable = nullptr;
  m_poTransaction = nullptr;
}

bool CIteratorBase::CImpl::GetEqual(void* const* papFields, TFieldSet nWanted) {
  if (!IsReady()) return false;
  CKey oKey;
  m_poSchema->MakeKey(m_nIndex, papFields, oKey);
  return MoveTo(oKey) && m_strEntry.starts_with(oKey.View()) && Take(papFields, nWanted);
}

bool CIteratorBase::CImpl::GetGTE(void* const* papFields, TFieldSet nWanted) {
  if (!IsReady()) return false;
  CKey oKey;
  m_poSchema->MakeKey(m_nIndex, papFields, oKey);
  return MoveTo(oKey) && Take(papFields, nWanted);
}

bool CIteratorBase::CImpl::GetLTE(void* const* papFields, TFieldSet nWanted) {
  if (!IsReady()) return false;
  CKey oKey;
  m_poSchema->MakeKey(m_nIndex, papFields, oKey);
  oKey.AppendHighest(m_poSchema->GetSuffixSize(m_nIndex));
  const bool bAtOrAfter = MoveTo(oKey);
  const bool bFound = bAtOrAfter ? m_strEntry == oKey.View() || Move(MDB_PREV) : Move(MDB_LAST);
  return bFound && Take(papFields, nWanted);
}

bool CIteratorBase::CImpl::GetNext(void* const* papFields, TFieldSet nWanted) {
  if (!IsReady() || m_oPlace.GetSize() == 0) return false;
  const bool bShortCut = m_bCursorAtPlace && m_nWritesAtPlace == m_poTable->nWrites;
  // The row that the cursor was placed on may have moved to another key, and then its old place is empty.
  const bool bAtPlace = bShortCut || (MoveTo(m_oPlace) && m_strEntry == m_oPlace.View());
  if (bAtPlace) return Move(MDB_NEXT) && Take(papFields, nWanted);
  return !m_strEntry.empty() && Take(papFields, nWanted);
}

/// Moves LMDB's cursor; false when there is no entry there, or it can't be read.
bool CIteratorBase::CImpl::Move(MDB_cursor_op nOperation) {
  MDB_val tEntry = ToStoreValue(m_strEntry);
  MDB_val tRow = {};
  m_bCursorAtPlace = false;
  const int nError = mdb_cursor_get(m_poCursor.get(), &tEntry, &tRow, nOperation);
  m_strEntry = nError == 0 ? FromStoreValue(tEntry) : std::string_view();
  m_strRow = nError == 0 ? FromStoreValue(tRow) : std::string_view();
  return nError == 0 || (nError != MDB_NOTFOUND && m_poTransaction->FailRead(nError));
}

/// Moves LMDB's cursor to the first entry at or after a key.
bool CIteratorBase::CImpl::MoveTo(const CKey& oKey) {
  m_strEntry = oKey.View();
  return Move(MDB_SET_RANGE);
}

/// Reads the row that Move found and makes it the place.
bool CIteratorBase::CImpl::Take(void* const* papFields, TFieldSet nWanted) {
  const std::size_t nSize = m_poSchema->GetKeySize(m_nIndex) + m_poSchema->GetSuffixSize(m_nIndex);
  if (m_strEntry.size() != nSize) return FailDamaged();
  m_poTransaction->GetStore()->CountRowRead();
  if (m_nIndex != 0 && !FetchRow(m_strEntry)) return false;
  if (!m_oCodec.Decode(m_strRow, papFields, nWanted)) return FailDamaged();
  m_oPlace.Assign(m_strEntry);
  m_bCursorAtPlace = true;
  m_nWritesAtPlace = m_poTable->nWrites;
  return true;
}

bool CIteratorBase::CImpl::FetchRow(std::string_view strEntry) {
  MDB_val tKey = ToStoreValue(strEntry.substr(m_poSchema->GetKeySize(m_nIndex)));
  MDB_val tRow = {};
  const int nError = mdb_cursor_get(Shared(0), &tKey, &tRow, MDB_SET);
  m_strRow = nError == 0 ? FromStoreValue(tRow) : std::string_view();
  if (nError == MDB_NOTFOUND) return FailDamaged();
  return nError == 0 || m_poTransaction->FailRead(nError);
}

bool CIteratorBase::CImpl::FailDamaged() {
  return m_poTransaction->GetStore()->Fail(L"can't read", L"the data are damaged");
}

bool CIteratorBase::CImpl::CanWrite() {
  if (!HasAllRows()) return false;
  return !m_bReadOnly ||
         m_poTransaction->GetStore()->Fail(L"can't write", L"the table is open for reading only");
}

bool CIteratorBase::CImpl::Add(void* const* papFields) {
  if (!CanWrite()) return false;
  if (!m_poSchema->AssignsIds()) return Insert(papFields);
  std::uint32_t nFormerId = 0;
  std::uint32_t nId = 0;
  if (!NextId(nId)) return false;
  std::memcpy(&nFormerId, papFields[0], sizeof nFormerId);
  std::memcpy(papFields[0], &nId, sizeof nId);
  const bool bAdded = Insert(papFields);
  if (!bAdded) std::memcpy(papFields[0], &nFormerId, sizeof nFormerId);
  return bAdded;
}

bool CIteratorBase::CImpl::AddLater(void* const* papFields) {
  const bool bAlone = m_poSchema->GetIndexCount() == 1 && !m_poSchema->AssignsIds();
  if (m_bReadOnly || !bAlone || !IsUsable()) return Add(papFields);
  const std::string_view strRow = m_oCodec.Encode(papFields);
  // Keeping a large row costs more memory than it saves time.
  if (strRow.size() > CLateRows::LARGE_ROW) return Add(papFields);
  m_poSchema->MakeEntry(0, papFields, m_aoEntries[0]);
  return m_poTransaction->AddLateRow(*m_poTable, m_aoEntries[0].View(), strRow);
}

bool CIteratorBase::CImpl::NextId(std::uint32_t& nId) {
  nId = m_poTable->oLastKey.GetFirstNumber() + 1;
  return nId != 0 || m_poTransaction->GetStore()->Fail(L"can't write", L"the table has no ID left to give");
}

bool CIteratorBase::CImpl::Insert(void* const* papFields) {
  for (unsigned i = 0; i < m_poSchema->GetIndexCount(); ++i) {
    m_poSchema->MakeEntry(i, papFields, m_aoEntries[i]);
    if (i > 0 && m_poSchema->IsUnique(i) && !IsFree(i, m_aoEntries[i])) return false;
  }
  int nError = PutRow(m_aoEntries[0], m_oCodec.Encode(papFields));
  if (nError == MDB_KEYEXIST) return false;
  for (unsigned i = 1; i < m_poSchema->GetIndexCount() && nError == 0; ++i) {
    nError = PutEntry(i, m_aoEntries[i]);
  }
  return Done(nError);
}

/// False when a row has this key in the index already, or that can't be read.
bool CIteratorBase::CImpl::IsFree(unsigned nIndex, const CKey& oEntry) {
  const std::string_view strKey = oEntry.View().substr(0, m_poSchema->GetKeySize(nIndex));
  MDB_val tFound = ToStoreValue(strKey);
  MDB_val tNothing = {};
  const int nError = mdb_cursor_get(Shared(nIndex), &tFound, &tNothing, MDB_SET_RANGE);
  if (nError == 0) return !FromStoreValue(tFound).starts_with(strKey);
  return nError == MDB_NOTFOUND || m_poTransaction->FailRead(nError);
}

int CIteratorBase::CImpl::PutRow(const CKey& oKey, std::string_view strRow) {
  m_bCursorAtPlace = false;
  return m_poTable->PutRow(ForRows(), oKey.View(), strRow);
}

int CIteratorBase::CImpl::PutEntry(unsigned nIndex, const CKey& oEntry) {
  MDB_val tEntry = ToStoreValue(oEntry.View());
  MDB_val tNothing = {};
  return IsLate(nIndex) ? 0 : mdb_cursor_put(Shared(nIndex), &tEntry, &tNothing, MDB_NOOVERWRITE);
}

int CIteratorBase::CImpl::RemoveEntry(unsigned nIndex, const CKey& oEntry) {
  if (IsLate(nIndex)) return 0;
  MDB_val tEntry = ToStoreValue(oEntry.View());
  MDB_val tNothing = {};
  const int nError = mdb_cursor_get(Shared(nIndex), &tEntry, &tNothing, MDB_SET);
  if (nError == MDB_NOTFOUND) return MDB_CORRUPTED;
  return nError != 0 ? nError : mdb_cursor_del(Shared(nIndex), 0);
}

/// Places the cursor for rows on the one with the record's key; the key is then in m_aoEntries[0].
bool CIteratorBase::CImpl::FindForWrite(void* const* papFields, std::string_view& strRow) {
  if (!CanWrite()) return false;
  m_bCursorAtPlace = false;
  m_poSchema->MakeEntry(0, papFields, m_aoEntries[0]);
  MDB_val tKey = ToStoreValue(m_aoEntries[0].View());
  MDB_val tRow = {};
  const int nError = mdb_cursor_get(ForRows(), &tKey, &tRow, MDB_SET);
  if (nError == MDB_NOTFOUND) return false;
  if (nError != 0) return m_poTransaction->FailRead(nError);
  strRow = FromStoreValue(tRow);
  return strRow.size() >= m_poSchema->GetFixedSize() || FailDamaged();
}

bool CIteratorBase::CImpl::Update(void* const* papFields, TFieldSet nAltered) {
  std::string_view strOldRow;
  std::string_view strRow;
  if (!FindForWrite(papFields, strOldRow)) return false;
  if (!m_oCodec.EncodeAltered(strOldRow, papFields, nAltered, strRow)) return FailDamaged();
  return Replace(strOldRow, strRow);
}

bool CIteratorBase::CImpl::Remove(void* const* papFields) {
  std::string_view strRow;
  if (!FindForWrite(papFields, strRow)) return false;
  for (unsigned i = 1; i < m_poSchema->GetIndexCount(); ++i) {
    m_poSchema->MakeEntry(i, strRow, m_aoOldEntries[i]);
  }
  int nError = mdb_cursor_del(ForRows(), 0);
  for (unsigned i = 1; i < m_poSchema->GetIndexCount() && nError == 0; ++i) {
    nError = RemoveEntry(i, m_aoOldEntries[i]);
  }
  return Done(nError);
}

/// Replaces the row that the cursor for rows is on.
bool CIteratorBase::CImpl::Replace(std::string_view strOldRow, std::string_view strRow) {
  if (strRow == strOldRow) return true;
  for (unsigned i = 1; i < m_poSchema->GetIndexCount(); ++i) {
    m_poSchema->MakeEntry(i, strRow, m_aoEntries[i]);
    m_poSchema->MakeEntry(i, strOldRow, m_aoOldEntries[i]);
    const bool bMoves = !(m_aoEntries[i] == m_aoOldEntries[i]);
    if (bMoves && m_poSchema->IsUnique(i) && !IsFree(i, m_aoEntries[i])) return false;
  }
  MDB_val tKey = ToStoreValue(m_aoEntries[0].View());
  MDB_val tRow = ToStoreValue(strRow);
  int nError = mdb_cursor_put(ForRows(), &tKey, &tRow, MDB_CURRENT);
  for (unsigned i = 1; i < m_poSchema->GetIndexCount() && nError == 0; ++i) {
    if (m_aoEntries[i] == m_aoOldEntries[i]) continue;
    nError = RemoveEntry(i, m_aoOldEntries[i]);
    if (nError == 0) nError = PutEntry(i, m_aoEntries[i]);
  }
  return Done(nError);
}

/// The end of every write.
bool CIteratorBase::CImpl::Done(int nError) {
  ++m_poTable->nWrites;
  m_poTransaction->GetStore()->CountRowWritten();
  return nError == 0 || m_poTransaction->FailWrite(nError);
}

CIteratorBase::CIteratorBase(const CTable& oTable, unsigned nIndex, CTransaction& oTransaction)
    : m_poImpl(CImpl::Open(oTable, nIndex, oTransaction)) {}

CIteratorBase::~CIteratorBase() = default;

void CIteratorBase::Close() {
  m_poImpl.reset();
}

bool CIteratorBase::GetEqual(void* const* papFields, TFieldSet nWanted) {
  return m_poImpl && m_poImpl->GetEqual(papFields, nWanted);
}
bool CIteratorBase::GetGTE(void* const* papFields, TFieldSet nWanted) {
  return m_poImpl && m_poImpl->GetGTE(papFields, nWanted);
}
bool CIteratorBase::GetLTE(void* const* papFields, TFieldSet nWanted) {
  return m_poImpl && m_poImpl->GetLTE(papFields, nWanted);
}
bool CIteratorBase::GetNext(void* const* papFields, TFieldSet nWanted) {
  return m_poImpl && m_poImpl->GetNext(papFields, nWanted);
}
bool CIteratorBase::Add(void* const* papFields) {
  return m_poImpl && m_poImpl->Add(papFields);
}
bool CIteratorBase::AddLater(void* const* papFields) {
  return m_poImpl && m_poImpl->AddLater(papFields);
}
bool CIteratorBase::Update(void* const* papFields, TFieldSet nAltered) {
  return m_poImpl && m_poImpl->Update(papFields, nAltered);
}
bool CIteratorBase::Remove(void* const* papFields) {
  return m_poImpl && m_poImpl->Remove(papFields);
}

}  // namespace TALVEK::VDB
