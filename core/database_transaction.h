#pragma once

#include <lmdb.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/database.h"
#include "core/database_schema.h"
#include "core/database_store.h"

namespace TALVEK::VDB {

/// Owns an LMDB cursor, which must be closed before its transaction ends.
struct TCloseCursor {
  void operator()(MDB_cursor* poCursor) const { mdb_cursor_close(poCursor); }
};
using TCursorPtr = std::unique_ptr<MDB_cursor, TCloseCursor>;

/// Is told when the transaction is about to end, and must then close its cursors.
class CTransactionUser {
 public:
  virtual ~CTransactionUser() = default;
  virtual void OnTransactionEnd() = 0;
};

/// A table within one transaction: its trees, and for each a cursor that all iterators share for writing and
/// for reading single rows. It ends with the transaction, because an abort invalidates the handles of trees
/// that the transaction has made.
struct TOpenTable {
  struct TTree {
    MDB_dbi nTree = 0;
    TCursorPtr poCursor;
    bool bDeferred = false;  ///< still empty; will be built from the rows before it is first read
  };

  std::shared_ptr<const CSchema> poSchema;
  std::vector<TTree> atTrees;  ///< by index number
  CKey oLastKey;               ///< the last key of index 0; its size is 0 when there is none
  std::uint64_t nWrites = 0;   ///< counts writes, each of which makes positions of cursors invalid

  /// Inserts a row into index 0 through one of its cursors. Returns LMDB's error code; MDB_KEYEXIST when the
  /// key is taken.
  int PutRow(MDB_cursor* poCursor, std::string_view strKey, std::string_view strRow);
};

class CTransaction::CImpl {
 public:
  explicit CImpl(CDatabaseStore* poStore);
  ~CImpl();
  CImpl(const CImpl&) = delete;
  CImpl& operator=(const CImpl&) = delete;

  void Begin();
  void Abort();
  VCM::CStatus Commit();

  bool IsOpen() const { return m_poTransaction != nullptr; }
  /// Not ok once a write has failed: then nothing is read or written any more, because a row may be half
  /// written.
  const VCM::CStatus& GetState() const { return m_oState; }
  /// Null for a database of another kind. Good while the transaction is open.
  CDatabaseStore* GetStore() const { return m_poStore; }
  MDB_txn* Get() const { return m_poTransaction; }

  /// The table's trees; `bCreate` makes them when they don't exist.
  VCM::CStatus OpenTable(const std::string& strName, const std::shared_ptr<const CSchema>& poSchema,
                         bool bCreate, TOpenTable*& ptTable);

  /// Builds a deferred index: sorts the entries of all rows and appends them. Inserted row by row, each entry
  /// would cost a descent of the tree, and two more when its row is altered; an import of 1.6 million
  /// revisions takes 7 % longer that way.
  VCM::CStatus MakeDeferredIndex(TOpenTable& tTable, unsigned nIndex);

  void AddUser(CTransactionUser* poUser) { m_apoUsers.push_back(poUser); }
  void RemoveUser(CTransactionUser* poUser);

  /// Makes a failed read the database's last error, and returns it.
  VCM::CStatus FailRead(int nError);
  /// The same for a failed write. It also fails the whole transaction, as a row may be half written.
  VCM::CStatus FailWrite(int nError);

 private:
  VCM::CStatus OpenTree(const std::string& strName, unsigned nFlags, TOpenTable::TTree& tTree);
  VCM::CStatus ReadLastKey(TOpenTable& tTable);
  VCM::CStatus MakeDeferredIndexes();
  VCM::CStatus ReadEntries(TOpenTable& tTable, unsigned nIndex, std::vector<std::string>& astrEntries);
  void LetGo();

  CDatabaseStore* m_poStore;
  MDB_txn* m_poTransaction = nullptr;
  VCM::CStatus m_oState = VCM::CStatus::Failed(L"no transaction is open");
  std::map<std::string, TOpenTable> m_atTables;
  std::vector<CTransactionUser*> m_apoUsers;
};

}  // namespace TALVEK::VDB
