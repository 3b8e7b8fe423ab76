#include "core/database_transaction.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace TALVEK::VDB {

// Rows mostly come in the order of their keys. Appending then fills each page before it begins the next;
// without it every page would be split in halves and stay half empty.
int TOpenTable::PutRow(MDB_cursor* poCursor, std::string_view strKey, std::string_view strRow) {
  const bool bLast = strKey > oLastKey.View();
  MDB_val tKey = ToStoreValue(strKey);
  MDB_val tRow = ToStoreValue(strRow);
  const int nError = mdb_cursor_put(poCursor, &tKey, &tRow, bLast ? MDB_APPEND : MDB_NOOVERWRITE);
  if (nError == 0 && bLast) oLastKey.Assign(strKey);
  return nError;
}

CTransaction::CImpl::CImpl(CDatabaseStore* poStore) : m_poStore(poStore) {}

CTransaction::CImpl::~CImpl() {
  Abort();
}

bool CTransaction::CImpl::Begin() {
  if (!m_poStore || !m_poStore->GetEnvironment()) return false;
  // LMDB would wait for its lock here; without one (NOLOCK), two transactions would overwrite each other.
  if (m_poStore->GetTransaction()) {
    return m_poStore->Fail(L"can't begin a transaction", L"another one is open");
  }
  const int nError = mdb_txn_begin(m_poStore->GetEnvironment(), nullptr, 0, &m_poTransaction);
  if (nError != 0) {
    m_poTransaction = nullptr;
    return m_poStore->Fail(L"can't begin a transaction", StoreReason(nError));
  }
  m_bFailed = false;
  m_poStore->SetTransaction(this);
  return true;
}

void CTransaction::CImpl::Abort() {
  if (!m_poTransaction) return;
  LetGo();
  mdb_txn_abort(std::exchange(m_poTransaction, nullptr));
}

bool CTransaction::CImpl::Commit() {
  if (!m_poTransaction) return false;
  if (!WriteAllThatIsLate()) {
    Abort();
    return false;
  }
  LetGo();
  const int nError = mdb_txn_commit(std::exchange(m_poTransaction, nullptr));
  if (nError != 0) return m_poStore->Fail(L"can't commit", StoreReason(nError));
  m_poStore->Renew();  // whether that works shows when the next transaction begins
  return true;
}

bool CTransaction::CImpl::WriteAllThatIsLate() {
  for (auto& [strName, tTable] : m_atTables) {
    if (m_bFailed || !WriteLateRows(tTable)) return false;
    for (unsigned i = 1; i < tTable.atTrees.size(); ++i) {
      if (!WriteLateIndex(tTable, i)) return false;
    }
  }
  return !m_bFailed;
}

bool CTransaction::CImpl::AddLateRow(TOpenTable& tTable, std::string_view strKey, std::string_view strRow) {
  return AddLate(tTable.oLateRows, strKey, strRow);
}

bool CTransaction::CImpl::AddLate(CLateRows& oRows, std::string_view strKey, std::string_view strRow) {
  oRows.Add(strKey, strRow);
  return !oRows.IsFull() || oRows.Spill(m_poStore->GetFiles()) || FailWrite(oRows.GetError());
}

/// Writes all by `fnPut(cursor's key, row)`, which gives LMDB's result.
template <class TPut>
bool CTransaction::CImpl::WriteLate(CLateRows& oRows, TPut fnPut) {
  const bool bWritten = oRows.Write([&](std::string_view strKey, std::string_view strRow) {
    m_poStore->CountRowWritten();
    const int nError = fnPut(strKey, strRow);
    return nError == 0 || FailWrite(nError);
  });
  return bWritten || m_bFailed ? bWritten : FailWrite(oRows.GetError());
}

bool CTransaction::CImpl::WriteLateRows(TOpenTable& tTable) {
  if (tTable.oLateRows.IsEmpty()) return true;
  ++tTable.nWrites;
  return WriteLate(tTable.oLateRows, [&](std::string_view strKey, std::string_view strRow) {
    const int nError = tTable.PutRow(tTable.atTrees[0].poCursor.get(), strKey, strRow);
    return nError == MDB_KEYEXIST ? 0 : nError;
  });
}

// Entries that come in any order, row by row, each have to find their place in a tree that soon is larger
// than the processor's caches, and have to find it again when the row is altered. In their own order they are
// appended.
bool CTransaction::CImpl::WriteLateIndex(TOpenTable& tTable, unsigned nIndex) {
  TOpenTable::TTree& tTree = tTable.atTrees[nIndex];
  if (!tTree.bLate) return true;
  CLateRows oEntries;
  if (!ReadEntries(tTable, nIndex, oEntries)) return false;
  tTree.bLate = false;
  return WriteLate(oEntries, [&](std::string_view strEntry, std::string_view strNothing) {
    MDB_val tEntry = ToStoreValue(strEntry);
    MDB_val tNothing = ToStoreValue(strNothing);
    return mdb_cursor_put(tTree.poCursor.get(), &tEntry, &tNothing, MDB_APPEND);
  });
}

/// The entries that an index must have for the rows of index 0.
bool CTransaction::CImpl::ReadEntries(TOpenTable& tTable, unsigned nIndex, CLateRows& oEntries) {
  MDB_cursor* const poRows = tTable.atTrees[0].poCursor.get();
  MDB_val tKey = {};
  MDB_val tRow = {};
  CKey oEntry;
  int nError = mdb_cursor_get(poRows, &tKey, &tRow, MDB_FIRST);
  for (; nError == 0; nError = mdb_cursor_get(poRows, &tKey, &tRow, MDB_NEXT)) {
    m_poStore->CountRowRead();
    if (tRow.mv_size < tTable.poSchema->GetFixedSize()) return FailWrite(MDB_CORRUPTED);
    tTable.poSchema->MakeEntry(nIndex, FromStoreValue(tRow), oEntry);
    if (!AddLate(oEntries, oEntry.View(), {})) return false;
  }
  return nError == MDB_NOTFOUND || FailWrite(nError);
}

/// Closes everything that hangs on the transaction.
void CTransaction::CImpl::LetGo() {
  for (CTransactionUser* poUser : m_apoUsers) {
    poUser->OnTransactionEnd();
  }
  m_apoUsers.clear();
  m_atTables.clear();
  m_poStore->SetTransaction(nullptr);
}

void CTransaction::CImpl::RemoveUser(CTransactionUser* poUser) {
  m_apoUsers.erase(std::remove(m_apoUsers.begin(), m_apoUsers.end(), poUser), m_apoUsers.end());
}

TOpenTable* CTransaction::CImpl::OpenTable(const std::string& strName,
                                           const std::shared_ptr<const CSchema>& poSchema, bool bCreate) {
  if (!IsUsable()) return nullptr;
  const auto itKnown = m_atTables.find(strName);
  if (itKnown != m_atTables.end()) {
    return itKnown->second.atTrees.size() == poSchema->GetIndexCount() ? &itKnown->second : nullptr;
  }
  TOpenTable tTable;
  tTable.poSchema = poSchema;
  tTable.atTrees.resize(poSchema->GetIndexCount());
  for (std::size_t i = 0; i < tTable.atTrees.size(); ++i) {
    const std::string strTree = strName + "#" + std::to_string(i);
    if (!OpenTree(strTree, bCreate ? MDB_CREATE : 0, tTable.atTrees[i])) return nullptr;
  }
  if (!ReadLastKey(tTable)) return nullptr;
  // Whether a unique index has a key already is asked at every row, so that one can't wait.
  for (unsigned i = 1; i < poSchema->GetIndexCount(); ++i)
    tTable.atTrees[i].bLate = tTable.oLastKey.GetSize() == 0 && !poSchema->IsUnique(i);
  return &m_atTables.emplace(strName, std::move(tTable)).first->second;
}

bool CTransaction::CImpl::OpenTree(const std::string& strName, unsigned nFlags, TOpenTable::TTree& tTree) {
  int nError = mdb_dbi_open(m_poTransaction, strName.c_str(), nFlags, &tTree.nTree);
  if (nError == 0) {
    MDB_cursor* poCursor = nullptr;
    nError = mdb_cursor_open(m_poTransaction, tTree.nTree, &poCursor);
    tTree.poCursor.reset(poCursor);
  }
  if (nError == 0) return true;
  return m_poStore->Fail(L"can't open a table", StoreReason(nError));
}

bool CTransaction::CImpl::ReadLastKey(TOpenTable& tTable) {
  MDB_val tKey = {};
  MDB_val tRow = {};
  const int nError = mdb_cursor_get(tTable.atTrees[0].poCursor.get(), &tKey, &tRow, MDB_LAST);
  if (nError == MDB_NOTFOUND) return true;
  if (nError != 0) return FailRead(nError);
  if (tKey.mv_size != tTable.poSchema->GetKeySize(0)) {
    return m_poStore->Fail(L"can't open a table", L"its keys are of another kind");
  }
  tTable.oLastKey.Assign(FromStoreValue(tKey));
  return true;
}

bool CTransaction::CImpl::FailRead(int nError) {
  return m_poStore->Fail(L"can't read", StoreReason(nError));
}

bool CTransaction::CImpl::FailWrite(int nError) {
  m_bFailed = true;
  return m_poStore->Fail(L"can't write", StoreReason(nError));
}

}  // namespace TALVEK::VDB
