#pragma once

#include <lmdb.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "core/database.h"
#include "core/database_files.h"
#include "core/export.h"

namespace TALVEK::VDB {

/// A reason in words for an error code of the store.
VCM::CString StoreReason(int nError);

inline MDB_val ToStoreValue(std::string_view strBytes) {
  return {strBytes.size(), const_cast<char*>(strBytes.data())};  // the store doesn't write to it
}
inline std::string_view FromStoreValue(const MDB_val& tValue) {
  return {static_cast<const char*>(tValue.mv_data), tValue.mv_size};
}

/// The database over LMDB.
///
/// Shape    Each index of a table is one named tree, "TABLE#INDEX". Index 0's tree holds the rows, each under
///          its key. The others hold keys alone: the index's own fields, then those of index 0 (CSchema).
/// Errors   Nothing is synced to the disk: the data are worth nothing without the process that made them.
///          The file is written with write(2), never through the map, so a full disk is an error and no
///          signal.
/// Owns     The environment and the files; ends the open transaction when destroyed.
class TALVEK_CORE_API CDatabaseStore : public CDatabase {
 public:
  /// Bounds the data file only in that many bytes of addresses are reserved for it.
  static constexpr std::size_t MAX_BYTES = std::size_t{1} << 40;

  /// Null, with `strError` telling why, when the data file can't be opened as a store.
  static std::unique_ptr<CDatabaseStore> Open(std::unique_ptr<CDatabaseFiles> poFiles, std::size_t nMaxBytes,
                                              VCM::CString& strError);
  ~CDatabaseStore() override;
  CDatabaseStore(const CDatabaseStore&) = delete;
  CDatabaseStore& operator=(const CDatabaseStore&) = delete;

  VCM::CString GetLastErrorText() const override { return m_strError; }
  std::uint64_t GetRowsRead() const override { return m_nRowsRead; }
  void CountRowRead() { ++m_nRowsRead; }
  /// Notes what went wrong, and returns false.
  bool Fail(const VCM::CString& strWhat, const VCM::CString& strWhy);

  MDB_env* GetEnvironment() const { return m_poEnvironment; }
  /// The transaction that is open on this database, or null.
  CTransaction::CImpl* GetTransaction() const { return m_poTransaction; }
  void SetTransaction(CTransaction::CImpl* poTransaction) { m_poTransaction = poTransaction; }

 private:
  CDatabaseStore(std::unique_ptr<CDatabaseFiles> poFiles, MDB_env* poEnvironment);

  std::unique_ptr<CDatabaseFiles> m_poFiles;
  MDB_env* m_poEnvironment;
  CTransaction::CImpl* m_poTransaction = nullptr;
  VCM::CString m_strError;
  std::uint64_t m_nRowsRead = 0;
};

}  // namespace TALVEK::VDB
