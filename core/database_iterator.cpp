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

using VCM::CStatus;

/// The cursor's place is a key. The position of LMDB's cursor is only a short cut, valid until the next
/// write.
class CIteratorBase::CImpl : public CTransactionUser {
 public:
  /// Null, with the reason in `oStatus`, when it can't be opened. On success `oStatus` becomes what
  /// operations return after Close.
  static std::unique_ptr<CImpl> Open(const CTable& oTable, unsigned nIndex, CTransaction& oTransaction,
                                     CStatus& oStatus);
  ~CImpl() override;
  CImpl(const CImpl&) = delete;
  CImpl& operator=(const CImpl&) = delete;
  void OnTransactionEnd() override;

  CStatus GetEqual(void* const* papFields, TFieldSet nWanted);
  CStatus GetGTE(void* const* papFields, TFieldSet nWanted);
  CStatus GetLTE(void* const* papFields, TFieldSet nWanted);
  CStatus GetNext(void* const* papFields, TFieldSet nWanted);
  CStatus Add(void* const* papFields);
  CStatus Update(void* const* papFields, TFieldSet nAltered);

 private:
  CImpl(const CTable::CImpl& oTable, unsigned nIndex, CTransaction::CImpl* poTransaction,
        TOpenTable* poOpenTable);

  /// Not ok when the transaction has ended or failed.
  CStatus GetState() const;
  /// GetState; also builds this index if it was deferred.
  CStatus MakeReady();
  bool IsDeferred(unsigned nIndex) const { return m_poTable->atTrees[nIndex].bDeferred; }
  CStatus CanWrite();
  MDB_cursor* Shared(unsigned nIndex) const { return m_poTable->atTrees[nIndex].poCursor.get(); }
  /// The cursor for reading and writing rows. LMDB skips the descent of the tree when the row is on the
  /// cursor's page, and a row found by index 0 is often the next one written.
  MDB_cursor* ForRows() const { return m_nIndex == 0 ? m_poCursor.get() : Shared(0); }

  CStatus Move(MDB_cursor_op nOperation);
  CStatus MoveTo(const CKey& oKey);
  CStatus Take(void* const* papFields, TFieldSet nWanted);
  CStatus FetchRow(std::string_view strEntry);
  CStatus FailDamaged();

  CStatus FindForWrite(void* const* papFields, std::string_view& strRow);
  CStatus NextId(std::uint32_t& nId);
  CStatus Insert(void* const* papFields);
  CStatus IsFree(unsigned nIndex, const CKey& oEntry);
  int PutRow(const CKey& oKey, std::string_view strRow);
  int PutEntry(unsigned nIndex, const CKey& oEntry);
  int RemoveEntry(unsigned nIndex, const CKey& oEntry);
  CStatus Replace(std::string_view strOldRow, std::string_view strRow);
  CStatus Done(int nError);

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

  // What Move found, valid until the next write.
  std::string_view m_strEntry;
  std::string_view m_strRow;

  // By index number; members only to reuse their memory.
  std::vector<CKey> m_aoEntries;
  std::vector<CKey> m_aoOldEntries;
};

std::unique_ptr<CIteratorBase::CImpl> CIteratorBase::CImpl::Open(const CTable& oTable, unsigned nIndex,
                                                                 CTransaction& oTransaction,
                                                                 CStatus& oStatus) {
  const CTable::CImpl* poTable = oTable.GetImpl();
  CTransaction::CImpl* poTransaction = oTransaction.GetImpl();
  oStatus = CStatus::Failed(L"the table isn't open in this transaction");
  if (!poTable || poTransaction->GetStore() != poTable->poDatabase) return nullptr;
  if (nIndex >= poTable->poSchema->GetIndexCount()) return nullptr;
  TOpenTable* poOpenTable = nullptr;
  oStatus = poTransaction->OpenTable(poTable->strName, poTable->poSchema, !poTable->bReadOnly, poOpenTable);
  if (!oStatus) return nullptr;
  std::unique_ptr<CImpl> poImpl(new CImpl(*poTable, nIndex, poTransaction, poOpenTable));
  oStatus = CStatus::Failed(L"the iterator is closed");
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

CStatus CIteratorBase::CImpl::GetState() const {
  return m_poTransaction ? m_poTransaction->GetState() : CStatus::Failed(L"the transaction has ended");
}

CStatus CIteratorBase::CImpl::MakeReady() {
  CStatus oState = GetState();
  return oState ? m_poTransaction->MakeDeferredIndex(*m_poTable, m_nIndex) : oState;
}

CStatus CIteratorBase::CImpl::GetEqual(void* const* papFields, TFieldSet nWanted) {
  if (CStatus oReady = MakeReady(); !oReady) return oReady;
  CKey oKey;
  m_poSchema->MakeKey(m_nIndex, papFields, oKey);
  if (CStatus oFound = MoveTo(oKey); !oFound) return oFound;
  return m_strEntry.starts_with(oKey.View()) ? Take(papFields, nWanted) : CStatus::Absent();
}

CStatus CIteratorBase::CImpl::GetGTE(void* const* papFields, TFieldSet nWanted) {
  if (CStatus oReady = MakeReady(); !oReady) return oReady;
  CKey oKey;
  m_poSchema->MakeKey(m_nIndex, papFields, oKey);
  CStatus oFound = MoveTo(oKey);
  return oFound ? Take(papFields, nWanted) : oFound;
}

CStatus CIteratorBase::CImpl::GetLTE(void* const* papFields, TFieldSet nWanted) {
  if (CStatus oReady = MakeReady(); !oReady) return oReady;
  CKey oKey;
  m_poSchema->MakeKey(m_nIndex, papFields, oKey);
  oKey.AppendHighest(m_poSchema->GetSuffixSize(m_nIndex));
  CStatus oFound = MoveTo(oKey);
  if (oFound.HasFailed()) return oFound;
  if (!oFound) {
    oFound = Move(MDB_LAST);
  } else if (m_strEntry != oKey.View()) {
    oFound = Move(MDB_PREV);
  }
  return oFound ? Take(papFields, nWanted) : oFound;
}

CStatus CIteratorBase::CImpl::GetNext(void* const* papFields, TFieldSet nWanted) {
  if (CStatus oReady = MakeReady(); !oReady) return oReady;
  if (m_oPlace.GetSize() == 0) return CStatus::Absent();
  CStatus oFound;
  if (!m_bCursorAtPlace || m_nWritesAtPlace != m_poTable->nWrites) {
    oFound = MoveTo(m_oPlace);
  } else {
    m_strEntry = m_oPlace.View();
  }
  // If an update has moved the current row to another key, MoveTo has already found the next one.
  if (oFound && m_strEntry == m_oPlace.View()) oFound = Move(MDB_NEXT);
  return oFound ? Take(papFields, nWanted) : oFound;
}

CStatus CIteratorBase::CImpl::Move(MDB_cursor_op nOperation) {
  MDB_val tEntry = ToStoreValue(m_strEntry);
  MDB_val tRow = {};
  m_bCursorAtPlace = false;
  const int nError = mdb_cursor_get(m_poCursor.get(), &tEntry, &tRow, nOperation);
  m_strEntry = nError == 0 ? FromStoreValue(tEntry) : std::string_view();
  m_strRow = nError == 0 ? FromStoreValue(tRow) : std::string_view();
  if (nError == 0) return {};
  return nError == MDB_NOTFOUND ? CStatus::Absent() : m_poTransaction->FailRead(nError);
}

/// Moves LMDB's cursor to the first entry at or after a key.
CStatus CIteratorBase::CImpl::MoveTo(const CKey& oKey) {
  m_strEntry = oKey.View();
  return Move(MDB_SET_RANGE);
}

/// Decodes the row that Move found, and makes it the cursor's place.
CStatus CIteratorBase::CImpl::Take(void* const* papFields, TFieldSet nWanted) {
  const std::size_t nSize = m_poSchema->GetKeySize(m_nIndex) + m_poSchema->GetSuffixSize(m_nIndex);
  if (m_strEntry.size() != nSize) return FailDamaged();
  m_poTransaction->GetStore()->CountStep();
  if (m_nIndex != 0) {
    if (CStatus oFetched = FetchRow(m_strEntry); !oFetched) return oFetched;
  }
  if (!m_oCodec.Decode(m_strRow, papFields, nWanted)) return FailDamaged();
  m_oPlace.Assign(m_strEntry);
  m_bCursorAtPlace = true;
  m_nWritesAtPlace = m_poTable->nWrites;
  return {};
}

CStatus CIteratorBase::CImpl::FetchRow(std::string_view strEntry) {
  MDB_val tKey = ToStoreValue(strEntry.substr(m_poSchema->GetKeySize(m_nIndex)));
  MDB_val tRow = {};
  const int nError = mdb_cursor_get(Shared(0), &tKey, &tRow, MDB_SET);
  m_strRow = nError == 0 ? FromStoreValue(tRow) : std::string_view();
  if (nError == MDB_NOTFOUND) return FailDamaged();
  return nError == 0 ? CStatus() : m_poTransaction->FailRead(nError);
}

CStatus CIteratorBase::CImpl::FailDamaged() {
  return m_poTransaction->GetStore()->Fail(L"can't read", L"the data are damaged");
}

CStatus CIteratorBase::CImpl::CanWrite() {
  CStatus oState = GetState();
  if (!oState || !m_bReadOnly) return oState;
  return m_poTransaction->GetStore()->Fail(L"can't write", L"the table is open for reading only");
}

CStatus CIteratorBase::CImpl::Add(void* const* papFields) {
  if (CStatus oState = CanWrite(); !oState) return oState;
  if (!m_poSchema->AssignsIds()) return Insert(papFields);
  std::uint32_t nFormerId = 0;
  std::uint32_t nId = 0;
  if (CStatus oState = NextId(nId); !oState) return oState;
  std::memcpy(&nFormerId, papFields[0], sizeof nFormerId);
  std::memcpy(papFields[0], &nId, sizeof nId);
  CStatus oAdded = Insert(papFields);
  if (!oAdded) std::memcpy(papFields[0], &nFormerId, sizeof nFormerId);
  return oAdded;
}

CStatus CIteratorBase::CImpl::NextId(std::uint32_t& nId) {
  nId = m_poTable->oLastKey.GetFirstNumber() + 1;
  if (nId != 0) return {};
  return m_poTransaction->GetStore()->Fail(L"can't write", L"the table has no ID left to give");
}

CStatus CIteratorBase::CImpl::Insert(void* const* papFields) {
  for (unsigned i = 0; i < m_poSchema->GetIndexCount(); ++i) {
    m_poSchema->MakeEntry(i, papFields, m_aoEntries[i]);
    if (i == 0 || !m_poSchema->IsUnique(i)) continue;
    if (CStatus oFree = IsFree(i, m_aoEntries[i]); !oFree) return oFree;
  }
  int nError = PutRow(m_aoEntries[0], m_oCodec.Encode(papFields));
  if (nError == MDB_KEYEXIST) return CStatus::Absent();
  for (unsigned i = 1; i < m_poSchema->GetIndexCount() && nError == 0; ++i) {
    nError = PutEntry(i, m_aoEntries[i]);
  }
  return Done(nError);
}

/// Absent when the index already has this key.
CStatus CIteratorBase::CImpl::IsFree(unsigned nIndex, const CKey& oEntry) {
  const std::string_view strKey = oEntry.View().substr(0, m_poSchema->GetKeySize(nIndex));
  MDB_val tFound = ToStoreValue(strKey);
  MDB_val tNothing = {};
  const int nError = mdb_cursor_get(Shared(nIndex), &tFound, &tNothing, MDB_SET_RANGE);
  if (nError == 0) return FromStoreValue(tFound).starts_with(strKey) ? CStatus::Absent() : CStatus();
  return nError == MDB_NOTFOUND ? CStatus() : m_poTransaction->FailRead(nError);
}

int CIteratorBase::CImpl::PutRow(const CKey& oKey, std::string_view strRow) {
  m_bCursorAtPlace = false;
  return m_poTable->PutRow(ForRows(), oKey.View(), strRow);
}

int CIteratorBase::CImpl::PutEntry(unsigned nIndex, const CKey& oEntry) {
  MDB_val tEntry = ToStoreValue(oEntry.View());
  MDB_val tNothing = {};
  return IsDeferred(nIndex) ? 0 : mdb_cursor_put(Shared(nIndex), &tEntry, &tNothing, MDB_NOOVERWRITE);
}

int CIteratorBase::CImpl::RemoveEntry(unsigned nIndex, const CKey& oEntry) {
  if (IsDeferred(nIndex)) return 0;
  MDB_val tEntry = ToStoreValue(oEntry.View());
  MDB_val tNothing = {};
  const int nError = mdb_cursor_get(Shared(nIndex), &tEntry, &tNothing, MDB_SET);
  if (nError == MDB_NOTFOUND) return MDB_CORRUPTED;
  return nError != 0 ? nError : mdb_cursor_del(Shared(nIndex), 0);
}

/// Places ForRows() on the row with the record's key, and puts the key into m_aoEntries[0].
CStatus CIteratorBase::CImpl::FindForWrite(void* const* papFields, std::string_view& strRow) {
  if (CStatus oState = CanWrite(); !oState) return oState;
  m_bCursorAtPlace = false;
  m_poSchema->MakeEntry(0, papFields, m_aoEntries[0]);
  MDB_val tKey = ToStoreValue(m_aoEntries[0].View());
  MDB_val tRow = {};
  const int nError = mdb_cursor_get(ForRows(), &tKey, &tRow, MDB_SET);
  if (nError == MDB_NOTFOUND) return CStatus::Absent();
  if (nError != 0) return m_poTransaction->FailRead(nError);
  strRow = FromStoreValue(tRow);
  return strRow.size() >= m_poSchema->GetFixedSize() ? CStatus() : FailDamaged();
}

CStatus CIteratorBase::CImpl::Update(void* const* papFields, TFieldSet nAltered) {
  std::string_view strOldRow;
  std::string_view strRow;
  if (CStatus oFound = FindForWrite(papFields, strOldRow); !oFound) return oFound;
  if (!m_oCodec.EncodeAltered(strOldRow, papFields, nAltered, strRow)) return FailDamaged();
  return Replace(strOldRow, strRow);
}

/// Replaces the row that ForRows() is on.
CStatus CIteratorBase::CImpl::Replace(std::string_view strOldRow, std::string_view strRow) {
  if (strRow == strOldRow) return {};
  for (unsigned i = 1; i < m_poSchema->GetIndexCount(); ++i) {
    m_poSchema->MakeEntry(i, strRow, m_aoEntries[i]);
    m_poSchema->MakeEntry(i, strOldRow, m_aoOldEntries[i]);
    if (m_aoEntries[i] == m_aoOldEntries[i] || !m_poSchema->IsUnique(i)) continue;
    if (CStatus oFree = IsFree(i, m_aoEntries[i]); !oFree) return oFree;
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

/// Ends every write, failed or not.
CStatus CIteratorBase::CImpl::Done(int nError) {
  ++m_poTable->nWrites;
  m_poTransaction->GetStore()->CountStep();
  return nError == 0 ? CStatus() : m_poTransaction->FailWrite(nError);
}

CIteratorBase::CIteratorBase(const CTable& oTable, unsigned nIndex, CTransaction& oTransaction)
    : m_poImpl(CImpl::Open(oTable, nIndex, oTransaction, m_oState)) {}

CIteratorBase::~CIteratorBase() = default;

void CIteratorBase::Close() {
  m_poImpl.reset();
}

CStatus CIteratorBase::GetEqual(void* const* papFields, TFieldSet nWanted) {
  return m_poImpl ? m_poImpl->GetEqual(papFields, nWanted) : m_oState;
}
CStatus CIteratorBase::GetGTE(void* const* papFields, TFieldSet nWanted) {
  return m_poImpl ? m_poImpl->GetGTE(papFields, nWanted) : m_oState;
}
CStatus CIteratorBase::GetLTE(void* const* papFields, TFieldSet nWanted) {
  return m_poImpl ? m_poImpl->GetLTE(papFields, nWanted) : m_oState;
}
CStatus CIteratorBase::GetNext(void* const* papFields, TFieldSet nWanted) {
  return m_poImpl ? m_poImpl->GetNext(papFields, nWanted) : m_oState;
}
CStatus CIteratorBase::Add(void* const* papFields) {
  return m_poImpl ? m_poImpl->Add(papFields) : m_oState;
}
CStatus CIteratorBase::Update(void* const* papFields, TFieldSet nAltered) {
  return m_poImpl ? m_poImpl->Update(papFields, nAltered) : m_oState;
}

}  // namespace TALVEK::VDB
