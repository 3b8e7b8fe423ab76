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
/// The folder is usually /tmp, where anyone may have put something under our names. So a file that is already
/// there is used only if it is a plain file of ours with no other name, and a data file is always made anew.
///
/// Owns     Both files open, and the lock while they are. What Open made is removed again unless Keep is
///          called.
class TALVEK_CORE_API CDatabaseFiles {
 public:
  /// `bCreate` makes a new data file in place of one that is there; otherwise one must be there. `nUser` is
  /// who must own the files that are there. Null, with `strError` telling why, when the path can't be had.
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
