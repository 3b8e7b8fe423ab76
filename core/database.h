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

/// Receives the progress of a commit.
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

/// An open database: a data file and a lock file that names its owner.
///
/// Files    "PATH.tdf" holds the data, "PATH.tlf" the owner's process number under an exclusive lock. Both
///          have mode 0600. Symbolic links and files of other users are refused.
///          Nothing is synced to the disk: after a crash of the machine the data may be lost.
/// Owns     Both open files; closes them when destroyed, and leaves them on disk.
class TALVEK_CORE_API CDatabase {
 public:
  virtual ~CDatabase();
  /// The last error, in words for a person; empty without one. A success doesn't clear it.
  virtual VCM::CString GetLastErrorText() const = 0;
};

class TALVEK_CORE_API CDatabaseFactory {
 public:
  /// Opens the database that a connection string names: "type=native;path=PATH;create=1;nobinaries=1".
  /// create=1 makes an empty one and replaces files that a dead process has left; without it the data file
  /// must exist. Null when the string is unknown, another owner (also in this process) holds the lock, a file
  /// there is a symbolic link or another user's, or a file can't be made. `pstrError`, if given, then says
  /// which.
  static std::unique_ptr<CDatabase> Create(const VCM::CString& strConnection,
                                           VCM::CString* pstrError = nullptr);
};

/// A transaction that reads and writes. Only one can be open on a database; IsOpen() of a second one is
/// false. Destroying it uncommitted discards its changes.
class TALVEK_CORE_API CTransaction {
 public:
  /// `nTimeoutMilliseconds` belongs to the server's interface and is ignored: a database has one owner, so
  /// there is no other transaction to wait for.
  CTransaction(CDatabase& oDatabase, unsigned nTimeoutMilliseconds);
  ~CTransaction();
  CTransaction(const CTransaction&) = delete;
  CTransaction& operator=(const CTransaction&) = delete;

  bool IsOpen() const;
  /// Makes the changes permanent, all or none, and ends the transaction. `bKeepOpen` then begins a new one.
  /// Iterators that are still open fail from then on; close them first.
  VCM::CStatus Commit(bool bKeepOpen, CProgressHelper* poProgress = nullptr,
                      CCommitFunctor* poFunctor = nullptr);

  class CImpl;
  CImpl* GetImpl() const { return m_poImpl.get(); }

 private:
  std::unique_ptr<CImpl> m_poImpl;
};

/// A table. Derived classes return static definitions; index 0 must be unique.
class TALVEK_CORE_API CTable {
 public:
  CTable();
  virtual ~CTable();
  CTable(const CTable&) = delete;
  CTable& operator=(const CTable&) = delete;

  virtual const TFileDef* GetFileDef() const = 0;
  virtual const TFieldDef* GetFieldDefs() const = 0;
  virtual const TIndexDef* GetIndexDefs() const = 0;

  /// Opens the table; makes it when it doesn't exist, unless `bReadOnly`. A null name means the name in the
  /// file definition. Fails when the definitions are unsupported (key fields other than FIELD_UINT32, no
  /// unique index 0) or the database refuses.
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
/// Errors   Absent: there is no such row. GetNext: at the end, or before any row has been found. Add: a key
///          of a unique index is taken. Update: index 0 has no such row, or another row has the unique key.
///          Record and cursor then stay as they were.
///          Failed: a row can't be read, or the store refuses a write (disk full). After a failed write
///          everything else in the transaction fails, its Commit too.
/// Writes   Add sets the record's "ID" if the table's flag says so: one more than the last row's.
///          No write moves a cursor. GetNext goes on from the key where the cursor was placed last, so it
///          returns a row twice if Update has moved the row ahead.
/// Owns     Nothing. Table and transaction must outlive the cursor.
/// Cost     Placing: one descent of the B-tree, two in an index other than 0. Decoding: numbers and times
///          always; a text, path or property set only if its field number (below 32) is in `nWanted`. The
///          record's other members stay as they were.
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
  /// Replaces the row that has this record's key in index 0, and updates the other indexes.
  VCM::CStatus Update(TRecord& tRecord) { return Update(tRecord, ALL_FIELDS); }
  /// Changes only these fields of the row. Of the record's other fields only the key is read.
  VCM::CStatus Update(TRecord& tRecord, TFieldSet nAltered) {
    return CIteratorBase::Update(tRecord.GetFieldAddresses().data(), nAltered);
  }
};

}  // namespace TALVEK::VDB
