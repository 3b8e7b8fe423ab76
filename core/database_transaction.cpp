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
  if (!WriteAllLateRows()) {
    Abort();
    return false;
  }
  LetGo();
  const int nError = mdb_txn_commit(std::exchange(m_poTransaction, nullptr));
  if (nError != 0) return m_poStore->Fail(L"can't commit", StoreReason(nError));
  m_poStore->Renew();  // whether that works shows when the next transaction begins
  return true;
}

bool CTransaction::CImpl::WriteAllLateRows() {
  for (auto& [strName, tTable] : m_atTables) {
    if (!m_bFailed) WriteLateRows(tTable);
  }
  return !m_bFailed;
}

bool CTransaction::CImpl::WriteLateRows(TOpenTable& tTable) {
  if (tTable.oLateRows.IsEmpty()) return true;
  ++tTable.nWrites;
  return tTable.oLateRows.Write([&](std::string_view strKey, std::string_view strRow) {
    const int nError = tTable.PutRow(tTable.atTrees[0].poCursor.get(), strKey, strRow);
    m_poStore->CountRowWritten();
    return nError == 0 || nError == MDB_KEYEXIST || FailWrite(nError);
  });
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

TOpenTable* CTransaction::CImpl::OpenTable(const std::string& strName, const CSchema& oSchema, bool bCreate) {
  if (!IsUsable()) return nullptr;
  const auto itKnown = m_atTables.find(strName);
  if (itKnown != m_atTables.end()) {
    return itKnown->second.atTrees.size() == oSchema.GetIndexCount() ? &itKnown->second : nullptr;
  }
  TOpenTable tTable;
  tTable.atTrees.resize(oSchema.GetIndexCount());
  for (std::size_t i = 0; i < tTable.atTrees.size(); ++i) {
    const std::string strTree = strName + "#" + std::to_string(i);
    if (!OpenTree(strTree, bCreate ? MDB_CREATE : 0, tTable.atTrees[i])) return nullptr;
  }
  if (!ReadLastKey(tTable, oSchema.GetKeySize(0))) return nullptr;
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

bool CTransaction::CImpl::ReadLastKey(TOpenTable& tTable, std::size_t nKeySize) {
  MDB_val tKey = {};
  MDB_val tRow = {};
  const int nError = mdb_cursor_get(tTable.atTrees[0].poCursor.get(), &tKey, &tRow, MDB_LAST);
  if (nError == MDB_NOTFOUND) return true;
  if (nError != 0) return FailRead(nError);
  if (tKey.mv_size != nKeySize) {
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
