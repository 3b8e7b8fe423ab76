#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "core/descriptor.h"
#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VDB {

/// The lock file "PATH.tlf" and the data file "PATH.tdf" of one open database.
///
/// The folder is usually /tmp, where any user may have put something under our names. So an existing file is
/// used or replaced only if it is a regular file of `nUser` without a second hard link.
///
/// Owns     Both open files and the lock. The destructor removes the files that Open has made, unless Keep
///          was called.
class TALVEK_CORE_API CDatabaseFiles {
 public:
  /// `bCreate` replaces an existing data file by a new one; without it the data file must exist. `nUser` must
  /// own existing files. Null, with the reason in `strError`, when a file can't be used or made.
  static std::unique_ptr<CDatabaseFiles> Open(const std::string& strPath, bool bCreate, uid_t nUser,
                                              VCM::CString& strError);
  ~CDatabaseFiles();
  CDatabaseFiles(const CDatabaseFiles&) = delete;
  CDatabaseFiles& operator=(const CDatabaseFiles&) = delete;

  /// The files stay on disk from now on.
  void Keep() { m_bLockMade = m_bDataMade = false; }
  const std::string& GetDataPath() const { return m_strDataPath; }
  int GetDataDescriptor() const { return m_oData.Get(); }

 private:
  CDatabaseFiles(const std::string& strPath, uid_t nUser);

  enum TAttempt { TAKEN, REFUSED, AGAIN };
  bool TakeLock(VCM::CString& strError);
  TAttempt TryLock(VCM::CString& strError);
  bool WriteOwner(VCM::CString& strError) const;
  bool OpenExistingData(VCM::CString& strError);
  bool RemoveLeftoverData(VCM::CString& strError) const;
  bool MakeData(VCM::CString& strError);

  std::string m_strLockPath;
  std::string m_strDataPath;
  uid_t m_nUser;
  VCM::CDescriptor m_oLock;
  VCM::CDescriptor m_oData;
  bool m_bLockMade = false;
  bool m_bDataMade = false;
};

}  // namespace TALVEK::VDB
