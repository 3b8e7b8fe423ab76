#include "core/database_transaction.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace TALVEK::VDB {

using VCM::CStatus;

// Rows mostly come in key order. MDB_APPEND then fills each page before it begins the next; without it LMDB
// would split full pages and leave each half empty.
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

void CTransaction::CImpl::Begin() {
  m_oState = CStatus::Failed(L"no database is open");
  if (!m_poStore || !m_poStore->GetEnvironment()) return;
  // With MDB_NOLOCK LMDB doesn't prevent a second write transaction, which would overwrite the first.
  if (m_poStore->GetTransaction()) {
    m_oState = m_poStore->Fail(L"can't begin a transaction", L"another one is open");
    return;
  }
  const int nError = mdb_txn_begin(m_poStore->GetEnvironment(), nullptr, 0, &m_poTransaction);
  if (nError != 0) {
    m_poTransaction = nullptr;
    m_oState = m_poStore->Fail(L"can't begin a transaction", StoreReason(nError));
    return;
  }
  m_oState = {};
  m_poStore->SetTransaction(this);
}

void CTransaction::CImpl::Abort() {
  if (!m_poTransaction) return;
  LetGo();
  mdb_txn_abort(std::exchange(m_poTransaction, nullptr));
  if (m_oState) m_oState = CStatus::Failed(L"the transaction has ended");
}

CStatus CTransaction::CImpl::Commit() {
  CStatus oStatus = MakeDeferredIndexes();
  if (!oStatus) {
    Abort();
    return oStatus;
  }
  LetGo();
  const int nError = mdb_txn_commit(std::exchange(m_poTransaction, nullptr));
  if (nError != 0) return m_oState = m_poStore->Fail(L"can't commit", StoreReason(nError));
  m_oState = CStatus::Failed(L"the transaction has ended");
  m_poStore->Renew();  // if that fails, the next transaction can't begin
  return {};
}

CStatus CTransaction::CImpl::MakeDeferredIndexes() {
  for (auto& [strName, tTable] : m_atTables) {
    for (unsigned i = 1; i < tTable.atTrees.size(); ++i) {
      if (m_oState) MakeDeferredIndex(tTable, i);
    }
  }
  return m_oState;
}

CStatus CTransaction::CImpl::MakeDeferredIndex(TOpenTable& tTable, unsigned nIndex) {
  TOpenTable::TTree& tTree = tTable.atTrees[nIndex];
  if (!tTree.bDeferred) return {};
  std::vector<std::string> astrEntries;
  if (CStatus oStatus = ReadEntries(tTable, nIndex, astrEntries); !oStatus) return oStatus;
  std::sort(astrEntries.begin(), astrEntries.end());
  tTree.bDeferred = false;
  for (const std::string& strEntry : astrEntries) {
    MDB_val tEntry = ToStoreValue(strEntry);
    MDB_val tNothing = {};
    const int nError = mdb_cursor_put(tTree.poCursor.get(), &tEntry, &tNothing, MDB_APPEND);
    if (nError != 0) return FailWrite(nError);
  }
  return {};
}

/// The entries that an index must have for the rows of index 0.
CStatus CTransaction::CImpl::ReadEntries(TOpenTable& tTable, unsigned nIndex,
                                         std::vector<std::string>& astrEntries) {
  MDB_cursor* const poRows = tTable.atTrees[0].poCursor.get();
  MDB_stat tStat = {};
  if (mdb_stat(m_poTransaction, tTable.atTrees[0].nTree, &tStat) == 0) astrEntries.reserve(tStat.ms_entries);
  MDB_val tKey = {};
  MDB_val tRow = {};
  CKey oEntry;
  int nError = mdb_cursor_get(poRows, &tKey, &tRow, MDB_FIRST);
  for (; nError == 0; nError = mdb_cursor_get(poRows, &tKey, &tRow, MDB_NEXT)) {
    m_poStore->CountStep();
    if (tRow.mv_size < tTable.poSchema->GetFixedSize()) return FailWrite(MDB_CORRUPTED);
    tTable.poSchema->MakeEntry(nIndex, FromStoreValue(tRow), oEntry);
    astrEntries.emplace_back(oEntry.View());
  }
  return nError == MDB_NOTFOUND ? CStatus() : FailWrite(nError);
}

/// Closes everything that depends on the transaction.
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

CStatus CTransaction::CImpl::OpenTable(const std::string& strName,
                                       const std::shared_ptr<const CSchema>& poSchema, bool bCreate,
                                       TOpenTable*& ptTable) {
  if (!m_oState) return m_oState;
  const auto itKnown = m_atTables.find(strName);
  if (itKnown != m_atTables.end()) {
    ptTable = &itKnown->second;
    if (ptTable->atTrees.size() == poSchema->GetIndexCount()) return {};
    return m_poStore->Fail(L"can't open a table", L"it has other indexes");
  }
  TOpenTable tTable;
  tTable.poSchema = poSchema;
  tTable.atTrees.resize(poSchema->GetIndexCount());
  for (std::size_t i = 0; i < tTable.atTrees.size(); ++i) {
    const std::string strTree = strName + "#" + std::to_string(i);
    CStatus oStatus = OpenTree(strTree, bCreate ? MDB_CREATE : 0, tTable.atTrees[i]);
    if (!oStatus) return oStatus;
  }
  if (CStatus oStatus = ReadLastKey(tTable); !oStatus) return oStatus;
  // A unique index is searched for every new row, so it can't be deferred.
  for (unsigned i = 1; i < poSchema->GetIndexCount(); ++i)
    tTable.atTrees[i].bDeferred = tTable.oLastKey.GetSize() == 0 && !poSchema->IsUnique(i);
  ptTable = &m_atTables.emplace(strName, std::move(tTable)).first->second;
  return {};
}

CStatus CTransaction::CImpl::OpenTree(const std::string& strName, unsigned nFlags, TOpenTable::TTree& tTree) {
  int nError = mdb_dbi_open(m_poTransaction, strName.c_str(), nFlags, &tTree.nTree);
  if (nError == 0) {
    MDB_cursor* poCursor = nullptr;
    nError = mdb_cursor_open(m_poTransaction, tTree.nTree, &poCursor);
    tTree.poCursor.reset(poCursor);
  }
  if (nError == 0) return {};
  return m_poStore->Fail(L"can't open a table", StoreReason(nError));
}

CStatus CTransaction::CImpl::ReadLastKey(TOpenTable& tTable) {
  MDB_val tKey = {};
  MDB_val tRow = {};
  const int nError = mdb_cursor_get(tTable.atTrees[0].poCursor.get(), &tKey, &tRow, MDB_LAST);
  if (nError == MDB_NOTFOUND) return {};
  if (nError != 0) return FailRead(nError);
  if (tKey.mv_size != tTable.poSchema->GetKeySize(0)) {
    return m_poStore->Fail(L"can't open a table", L"its keys are of another kind");
  }
  tTable.oLastKey.Assign(FromStoreValue(tKey));
  return {};
}

CStatus CTransaction::CImpl::FailRead(int nError) {
  return m_poStore->Fail(L"can't read", StoreReason(nError));
}

CStatus CTransaction::CImpl::FailWrite(int nError) {
  return m_oState = m_poStore->Fail(L"can't write", StoreReason(nError));
}

}  // namespace TALVEK::VDB
