#pragma once

#include <lmdb.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "core/database.h"
#include "core/database_files.h"
#include "core/database_map.h"
#include "core/export.h"
#include "core/status.h"

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
/// Memory   LMDB holds changed pages, at most 512 MB, until the transaction ends; then it keeps their memory,
///          so Renew. Pages that are read are let go of in time (CStoreMap).
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
  /// To be called for each row that is read or written: keeps an eye on the memory.
  void CountStep() {
    if (++m_nSteps % STEPS_BETWEEN_TRIMS == 0) m_oMap.Trim();
  }
  /// Notes what went wrong, and returns it.
  VCM::CStatus Fail(const VCM::CString& strWhat, const VCM::CString& strWhy);

  /// Null once Renew has failed.
  MDB_env* GetEnvironment() const { return m_poEnvironment; }
  /// Gives back the memory that LMDB keeps for the next changes, by closing and opening the environment; not
  /// while a transaction is open. When it can't be opened again, no transaction begins any more.
  void Renew();
  /// The transaction that is open on this database, or null.
  CTransaction::CImpl* GetTransaction() const { return m_poTransaction; }
  void SetTransaction(CTransaction::CImpl* poTransaction) { m_poTransaction = poTransaction; }

 private:
  static constexpr unsigned STEPS_BETWEEN_TRIMS = 2048;  // each may bring in several times 64 KiB

  CDatabaseStore(std::unique_ptr<CDatabaseFiles> poFiles, MDB_env* poEnvironment, std::size_t nMaxBytes);

  std::unique_ptr<CDatabaseFiles> m_poFiles;
  MDB_env* m_poEnvironment;
  std::size_t m_nMaxBytes;
  CTransaction::CImpl* m_poTransaction = nullptr;
  VCM::CString m_strError;
  CStoreMap m_oMap;
  unsigned m_nSteps = 0;
};

}  // namespace TALVEK::VDB
