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

/// An LMDB error code in words.
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
/// Errors   Nothing is synced to the disk: the data are of no use after a crash.
///          The file is written with write(2), never through the map, so a full disk is an error and not
///          SIGBUS.
/// Memory   LMDB holds changed pages, at most 512 MB, until the transaction ends. Then it keeps their memory
///          for the next one, until Renew. CStoreMap unmaps pages that were read.
/// Owns     The LMDB environment and the files; discards the open transaction when destroyed.
class TALVEK_CORE_API CDatabaseStore : public CDatabase {
 public:
  /// Address space to reserve for the data file, which can't grow beyond it (LMDB's map size).
  static constexpr std::size_t MAX_BYTES = std::size_t{1} << 40;

  /// Null, with the reason in `strError`, when LMDB can't open the data file.
  static std::unique_ptr<CDatabaseStore> Open(std::unique_ptr<CDatabaseFiles> poFiles, std::size_t nMaxBytes,
                                              VCM::CString& strError);
  ~CDatabaseStore() override;
  CDatabaseStore(const CDatabaseStore&) = delete;
  CDatabaseStore& operator=(const CDatabaseStore&) = delete;

  VCM::CString GetLastErrorText() const override { return m_strError; }
  /// Call it for each row that is read or written: now and then it trims the map's memory.
  void CountStep() {
    if (++m_nSteps % STEPS_BETWEEN_TRIMS == 0) m_oMap.Trim();
  }
  /// Makes this the last error, and returns it as a status.
  VCM::CStatus Fail(const VCM::CString& strWhat, const VCM::CString& strWhy);

  /// Null once Renew has failed.
  MDB_env* GetEnvironment() const { return m_poEnvironment; }
  /// Closes and reopens the environment, to free the memory that LMDB keeps for later changes. No transaction
  /// may be open. If reopening fails, no transaction can begin any more.
  void Renew();
  /// The transaction that is open on this database, or null.
  CTransaction::CImpl* GetTransaction() const { return m_poTransaction; }
  void SetTransaction(CTransaction::CImpl* poTransaction) { m_poTransaction = poTransaction; }

 private:
  static constexpr unsigned STEPS_BETWEEN_TRIMS = 512;  // a step can fault in several blocks of 64 KiB

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
