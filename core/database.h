#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/export.h"
#include "core/status.h"
#include "core/string.h"

/// The embedded database: tables of records, declared by static definitions, in one data file.
///
/// A table is opened in a transaction; iterators over one of its indexes find, walk, add and update records
/// in that transaction. Everything happens on one thread.
///
///   auto poDatabase = CDatabaseFactory::Create(L"type=native;path=/tmp/x;create=1;nobinaries=1");
///   CTransaction oTransaction(*poDatabase, 60000);
///   CChangeTable oTable;
///   oTable.Open(*poDatabase, nullptr, oTransaction, false);
///   CIterator<TChangeRecord> oChanges(oTable, 0, oTransaction);
///   oChanges.Add(tChange);  // gives tChange its "ID"
///   oChanges.Close();
///   oTransaction.Commit(false);
namespace TALVEK::VDB {

/// Codes of field types, and the C++ type of the record's member.
enum TFieldType : unsigned long {
  FIELD_NONE = 0,         ///< ends a list of fields
  FIELD_UINT32 = 3,       ///< std::uint32_t or std::int32_t
  FIELD_STRING = 4,       ///< VCM::CString
  FIELD_LONG_TEXT = 5,    ///< VCM::CString
  FIELD_TIMESTAMP = 11,   ///< VCM::CTimestamp
  FIELD_FILE_PATH = 12,   ///< VCM::CFilePath
  FIELD_PROPERTIES = 13,  ///< VCM::CProperties
};

/// A table's name; `nFlags` 1 when the database assigns the first field ("ID") of an added record.
struct TFileDef {
  const wchar_t* pszName;
  unsigned long nFlags;
};

/// One field; a list ends with {nullptr, FIELD_NONE}. The position in the list is the field's number.
struct TFieldDef {
  const wchar_t* pszName;
  unsigned long nType;
};

/// One index: 24 words of 16 bits. An all-zero record ends a list. `nFlags` 0: unique, 1: equal keys allowed.
struct TIndexDef {
  static constexpr int MAX_FIELDS = 22;
  std::uint16_t nFlags;
  std::uint16_t nFieldCount;
  std::uint16_t anFields[MAX_FIELDS];
};

/// Base of records that are handled by pointer.
class TALVEK_CORE_API TRecordBase {
 public:
  virtual ~TRecordBase();
  /// A new copy on the heap; the caller owns it.
  virtual TRecordBase* Clone() const = 0;
  /// Deletes the record; does nothing on a null record.
  virtual void Delete() = 0;
  /// Assigns all fields from `poOther`, which must be of the same type.
  virtual TRecordBase& CopyFrom(const TRecordBase* poOther) = 0;
};

/// A set of fields, a bit for each field's number.
using TFieldSet = std::uint32_t;
inline constexpr TFieldSet ALL_FIELDS = ~TFieldSet{0};
constexpr TFieldSet FieldBit(unsigned nField) {
  return TFieldSet{1} << nField;
}

/// Told how far a commit is.
class TALVEK_CORE_API CProgressHelper {
 public:
  virtual ~CProgressHelper();
  virtual void OnProgress(unsigned nDone, unsigned nTotal) = 0;
};

/// Called once a commit has succeeded, before Commit returns.
class TALVEK_CORE_API CCommitFunctor {
 public:
  virtual ~CCommitFunctor();
  virtual void OnCommitted() = 0;
};

class CTransaction;

/// An open database: a data file and the lock that says whose it is.
///
/// Files    "PATH.tdf" holds the data, "PATH.tlf" the owner's process number under an exclusive lock. Both
///          have mode 0600, and neither is ever reached through a symbolic link or taken from another user.
///          The data last as long as the system runs: nothing is forced to the disk.
/// Owns     Both files open; closes them when destroyed, and leaves them on disk.
class TALVEK_CORE_API CDatabase {
 public:
  virtual ~CDatabase();
  /// What went wrong last, in words for a person; empty when nothing has. Stays until the database is closed.
  virtual VCM::CString GetLastErrorText() const = 0;
};

class TALVEK_CORE_API CDatabaseFactory {
 public:
  /// Opens the database that a connection string names: "type=native;path=PATH;create=1;nobinaries=1".
  /// create=1 starts an empty one, in place of files that a dead process has left; without it a data file
  /// must be there. Null when the string is unknown, another owner (also in this process) holds the path, a
  /// file there is a symbolic link or another user's, or the files can't be made. `pstrError`, if given, then
  /// says which.
  static std::unique_ptr<CDatabase> Create(const VCM::CString& strConnection,
                                           VCM::CString* pstrError = nullptr);
};

/// A transaction that reads and writes. One may be open on a database at a time; a second one is not open.
/// Destroying it uncommitted discards it.
class TALVEK_CORE_API CTransaction {
 public:
  /// `nTimeoutMilliseconds` bounds the wait for another owner's transaction. A database has one owner, so
  /// there is nothing to wait for yet.
  CTransaction(CDatabase& oDatabase, unsigned nTimeoutMilliseconds);
  ~CTransaction();
  CTransaction(const CTransaction&) = delete;
  CTransaction& operator=(const CTransaction&) = delete;

  bool IsOpen() const;
  /// Makes the changes last and ends the transaction. When they can't all be written, none is.
  /// `bKeepOpen` begins a new transaction at once. Close iterators first: what is left open finds nothing any
  /// more.
  VCM::CStatus Commit(bool bKeepOpen, CProgressHelper* poProgress = nullptr,
                      CCommitFunctor* poFunctor = nullptr);

  class CImpl;
  CImpl* GetImpl() const { return m_poImpl.get(); }

 private:
  std::unique_ptr<CImpl> m_poImpl;
};

/// A table. Derived classes give the static definitions; index 0 must be unique.
class TALVEK_CORE_API CTable {
 public:
  CTable();
  virtual ~CTable();
  CTable(const CTable&) = delete;
  CTable& operator=(const CTable&) = delete;

  virtual const TFileDef* GetFileDef() const = 0;
  virtual const TFieldDef* GetFieldDefs() const = 0;
  virtual const TIndexDef* GetIndexDefs() const = 0;

  /// Opens the table, which is made when it isn't there. A null name means the name of the file definition.
  /// Fails when the definitions can't be served (key fields other than FIELD_UINT32, no unique index 0) or
  /// the database refuses.
  VCM::CStatus Open(CDatabase& oDatabase, const wchar_t* pszName, CTransaction& oTransaction, bool bReadOnly);
  void Close();
  bool IsOpen() const { return m_poImpl != nullptr; }

  class CImpl;
  CImpl* GetImpl() const { return m_poImpl.get(); }

 private:
  std::unique_ptr<CImpl> m_poImpl;
};

/// What CIterator does, on records given as arrays of field addresses (in field order).
class TALVEK_CORE_API CIteratorBase {
 public:
  CIteratorBase(const CTable& oTable, unsigned nIndex, CTransaction& oTransaction);
  ~CIteratorBase();
  CIteratorBase(const CIteratorBase&) = delete;
  CIteratorBase& operator=(const CIteratorBase&) = delete;

  bool IsOpen() const { return m_poImpl != nullptr; }
  void Close();

 protected:
  VCM::CStatus GetEqual(void* const* papFields, TFieldSet nWanted);
  VCM::CStatus GetGTE(void* const* papFields, TFieldSet nWanted);
  VCM::CStatus GetLTE(void* const* papFields, TFieldSet nWanted);
  VCM::CStatus GetNext(void* const* papFields, TFieldSet nWanted);
  VCM::CStatus Add(void* const* papFields);
  VCM::CStatus Update(void* const* papFields, TFieldSet nAltered);

 private:
  class CImpl;
  VCM::CStatus m_oState;  // why there is no open iterator
  std::unique_ptr<CImpl> m_poImpl;
};

/// A cursor over one index of a table, inside one transaction.
///
/// Shape    GetEqual, GetGTE and GetLTE place the cursor by the key fields set in the record; GetNext steps
///          on in key order. Rows with equal keys come in ascending order of index 0's key (for changes:
///          "ID"), so GetEqual and GetGTE find the first of them and GetLTE the last.
/// Errors   Absent when there is no such row. GetNext is so before a row has been found, and at the end
/// again;
///          Add when a unique key is taken, Update when index 0 has no such row or another row has the unique
///          key. Record and place are then as they were.
///          Failed when a row can't be read, or the store refuses a write (disk full). A failed write spoils
///          the transaction: everything else in it fails, and so does its Commit.
/// Writes   Add gives the record its "ID" where the table's flag says so: one more than the last row's.
///          No write moves this or any other cursor: GetNext goes on from the key that the cursor was last
///          placed on, so it meets a row again that Update has moved ahead.
/// Owns     Nothing. Table and transaction must outlive the cursor.
/// Cost     One descent of the tree to place (two in an index other than 0), and the decoding of what is
///          wanted: numbers and times always, and those texts, paths and property sets whose numbers (below
///          32) are in the set. The record's other members stay as they were.
///
/// TRecord gives `FIELD_COUNT` and `GetFieldAddresses()`, the addresses of its members in field order.
template <class TRecord>
class CIterator : public CIteratorBase {
 public:
  using CIteratorBase::CIteratorBase;

  /// First row with exactly this key.
  VCM::CStatus GetEqual(TRecord& tRecord) { return GetEqual(tRecord, ALL_FIELDS); }
  VCM::CStatus GetEqual(TRecord& tRecord, TFieldSet nWanted) {
    return CIteratorBase::GetEqual(tRecord.GetFieldAddresses().data(), nWanted);
  }
  /// First row whose key is at or after this key.
  VCM::CStatus GetGTE(TRecord& tRecord) { return GetGTE(tRecord, ALL_FIELDS); }
  VCM::CStatus GetGTE(TRecord& tRecord, TFieldSet nWanted) {
    return CIteratorBase::GetGTE(tRecord.GetFieldAddresses().data(), nWanted);
  }
  /// Last row whose key is at or before this key.
  VCM::CStatus GetLTE(TRecord& tRecord) {
    return CIteratorBase::GetLTE(tRecord.GetFieldAddresses().data(), ALL_FIELDS);
  }
  VCM::CStatus GetNext(TRecord& tRecord) { return GetNext(tRecord, ALL_FIELDS); }
  VCM::CStatus GetNext(TRecord& tRecord, TFieldSet nWanted) {
    return CIteratorBase::GetNext(tRecord.GetFieldAddresses().data(), nWanted);
  }
  VCM::CStatus Add(TRecord& tRecord) { return CIteratorBase::Add(tRecord.GetFieldAddresses().data()); }
  /// Replaces the row that has this record's key in index 0; the other indexes follow.
  VCM::CStatus Update(TRecord& tRecord) { return Update(tRecord, ALL_FIELDS); }
  /// As Update, for a row of which only these fields are altered: the record's others aren't looked at, but
  /// for its key.
  VCM::CStatus Update(TRecord& tRecord, TFieldSet nAltered) {
    return CIteratorBase::Update(tRecord.GetFieldAddresses().data(), nAltered);
  }
};

}  // namespace TALVEK::VDB
