#include "core/database_store.h"

#include <fcntl.h>
#include <malloc.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>
#include <utility>

#include "core/database_transaction.h"
#include "core/text_codec.h"

namespace TALVEK::VDB {

using VCM::CStatus;
using VCM::CString;

namespace {

constexpr unsigned FLAGS = MDB_NOSUBDIR | MDB_NOLOCK | MDB_NOSYNC | MDB_NOMETASYNC;
constexpr MDB_dbi MAX_TREES = 256;
constexpr std::size_t LEAST_BYTES = std::size_t{1} << 20;

struct TCloseEnvironment {
  void operator()(MDB_env* poEnvironment) const { mdb_env_close(poEnvironment); }
};
using TEnvironmentPtr = std::unique_ptr<MDB_env, TCloseEnvironment>;

/// An environment of this size, or null with the error's code.
TEnvironmentPtr TryOpen(const std::string& strPath, std::size_t nBytes, int& nError) {
  MDB_env* poCreated = nullptr;
  nError = mdb_env_create(&poCreated);
  if (nError != 0) return nullptr;
  TEnvironmentPtr poEnvironment(poCreated);
  mdb_env_set_maxdbs(poCreated, MAX_TREES);
  mdb_env_set_mapsize(poCreated, nBytes);
  nError = mdb_env_open(poCreated, strPath.c_str(), FLAGS, S_IRUSR | S_IWUSR);
  return nError == 0 ? std::move(poEnvironment) : nullptr;
}

/// The kernel answers ENOMEM when the address space has no room for the map, valgrind EINVAL.
bool IsLackOfAddresses(int nError) {
  return nError == ENOMEM || nError == EINVAL;
}

/// Reserves `nBytes` of address space or, where it is scarce (ulimit -v, valgrind), less.
TEnvironmentPtr OpenLargest(const std::string& strPath, std::size_t nBytes, int& nError) {
  TEnvironmentPtr poEnvironment = TryOpen(strPath, nBytes, nError);
  if (poEnvironment || !IsLackOfAddresses(nError)) return poEnvironment;
  while (!poEnvironment && IsLackOfAddresses(nError) && nBytes > LEAST_BYTES) {
    poEnvironment = TryOpen(strPath, nBytes /= 2, nError);
  }
  // Take only half of what was found: the rest of the process needs address space too.
  if (!poEnvironment || nBytes <= LEAST_BYTES) return poEnvironment;
  poEnvironment.reset();
  return TryOpen(strPath, nBytes / 2, nError);
}

/// Children must not inherit the data file; LMDB closes only its second descriptor on exec.
bool CloseOnExec(MDB_env* poEnvironment) {
  int nDescriptor = -1;
  return mdb_env_get_fd(poEnvironment, &nDescriptor) == 0 && fcntl(nDescriptor, F_SETFD, FD_CLOEXEC) == 0;
}

// LMDB opens the file by name, twice. This name always leads to the file that CDatabaseFiles has checked,
// even if another file takes its place in the folder.
TEnvironmentPtr OpenEnvironment(const CDatabaseFiles& oFiles, std::size_t nMaxBytes, int& nError) {
  const std::string strPath = "/proc/self/fd/" + std::to_string(oFiles.GetDataDescriptor());
  TEnvironmentPtr poEnvironment = OpenLargest(strPath, nMaxBytes, nError);
  if (poEnvironment && !CloseOnExec(poEnvironment.get())) {
    nError = errno;
    poEnvironment.reset();
  }
  return poEnvironment;
}

CStoreMap FindMap(const CDatabaseFiles& oFiles, MDB_env* poEnvironment) {
  MDB_envinfo tInfo = {};
  if (mdb_env_info(poEnvironment, &tInfo) != 0) return {};
  return {oFiles.GetDataDescriptor(), tInfo.me_mapsize};
}

}  // namespace

CString StoreReason(int nError) {
  if (nError == MDB_MAP_FULL) return L"the data file is as large as the address space reserved for it";
  // LMDB reports a short write as EIO.
  if (nError == EIO) return VCM::FromBytes(mdb_strerror(nError)) + L" (is the disk full?)";
  return VCM::FromBytes(mdb_strerror(nError));
}

std::unique_ptr<CDatabaseStore> CDatabaseStore::Open(std::unique_ptr<CDatabaseFiles> poFiles,
                                                     std::size_t nMaxBytes, CString& strError) {
  int nError = 0;
  TEnvironmentPtr poEnvironment = OpenEnvironment(*poFiles, nMaxBytes, nError);
  if (poEnvironment) {
    poFiles->Keep();
    return std::unique_ptr<CDatabaseStore>(
        new CDatabaseStore(std::move(poFiles), poEnvironment.release(), nMaxBytes));
  }
  strError = VCM::FromBytes(poFiles->GetDataPath()) + L": " + StoreReason(nError);
  return nullptr;
}

CDatabaseStore::CDatabaseStore(std::unique_ptr<CDatabaseFiles> poFiles, MDB_env* poEnvironment,
                               std::size_t nMaxBytes)
    : m_poFiles(std::move(poFiles)),
      m_poEnvironment(poEnvironment),
      m_nMaxBytes(nMaxBytes),
      m_oMap(FindMap(*m_poFiles, poEnvironment)) {}

CDatabaseStore::~CDatabaseStore() {
  if (m_poTransaction) m_poTransaction->Abort();
  if (m_poEnvironment) mdb_env_close(m_poEnvironment);
}

void CDatabaseStore::Renew() {
  mdb_env_close(m_poEnvironment);
  malloc_trim(0);  // free() alone keeps memory that lies between blocks in use
  int nError = 0;
  m_poEnvironment = OpenEnvironment(*m_poFiles, m_nMaxBytes, nError).release();
  if (!m_poEnvironment) {
    Fail(L"can't open the data file again", StoreReason(nError));
    return;
  }
  m_oMap = FindMap(*m_poFiles, m_poEnvironment);
}

CStatus CDatabaseStore::Fail(const CString& strWhat, const CString& strWhy) {
  m_strError = VCM::FromBytes(m_poFiles->GetDataPath()) + L": " + strWhat + L": " + strWhy;
  return CStatus::Failed(m_strError);
}

}  // namespace TALVEK::VDB
