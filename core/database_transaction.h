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

/// A cursor of LMDB, closed at the end; must be closed before its transaction ends.
struct TCloseCursor {
  void operator()(MDB_cursor* poCursor) const { mdb_cursor_close(poCursor); }
};
using TCursorPtr = std::unique_ptr<MDB_cursor, TCloseCursor>;

/// Told to let go of the transaction before it ends.
class CTransactionUser {
 public:
  virtual ~CTransactionUser() = default;
  virtual void OnTransactionEnd() = 0;
};

/// A table within one transaction: its trees, and for each a cursor that all iterators share for writing and
/// for reading single rows. Aborting takes back trees that the transaction made, handles included; as nothing
/// of this outlives the transaction, nothing stale is left.
struct TOpenTable {
  struct TTree {
    MDB_dbi nTree = 0;
    TCursorPtr poCursor;
    bool bDeferred = false;  ///< empty as yet; made from the rows before it is read
  };

  std::shared_ptr<const CSchema> poSchema;
  std::vector<TTree> atTrees;  ///< by index number
  CKey oLastKey;               ///< the last key of index 0; its size is 0 when there is none
  std::uint64_t nWrites = 0;   ///< grows with every write, after which no cursor is sure of its place

  /// Puts a row into index 0 by one of its cursors. Returns LMDB's result, MDB_KEYEXIST when the key is
  /// taken.
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
  /// Not ok once a write has failed: nothing is read or written any more, so that no half-written row is
  /// seen.
  const VCM::CStatus& GetState() const { return m_oState; }
  /// Null for a database of another kind. Good while the transaction is open.
  CDatabaseStore* GetStore() const { return m_poStore; }
  MDB_txn* Get() const { return m_poTransaction; }

  /// The table's trees, made with `bCreate` when they aren't there.
  VCM::CStatus OpenTable(const std::string& strName, const std::shared_ptr<const CSchema>& poSchema,
                         bool bCreate, TOpenTable*& ptTable);

  /// Makes an index that has been deferred. Entries that come row by row each have to find their place, and
  /// find it again when the row is altered; sorted, they are appended. Row by row, an import of 1.6 million
  /// revisions takes 7 % longer.
  VCM::CStatus MakeDeferredIndex(TOpenTable& tTable, unsigned nIndex);

  void AddUser(CTransactionUser* poUser) { m_apoUsers.push_back(poUser); }
  void RemoveUser(CTransactionUser* poUser);

  /// Notes a failed read, and returns it.
  VCM::CStatus FailRead(int nError);
  /// Notes a failed write, and gives the transaction up: what it has written may be half a row.
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
