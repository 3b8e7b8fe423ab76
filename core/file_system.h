#pragma once

#include "core/export.h"
#include "core/string.h"

/// Files and folders by wide path. Paths become bytes by ToSystemPath (core/text_codec.h), so names in any
/// encoding are found. A path that contains a NUL names no file.
namespace TALVEK::VCM {

TALVEK_CORE_API bool FileExists(const CString& strPath);
TALVEK_CORE_API bool FolderExists(const CString& strPath);
/// Creates one folder with the permissions `nMode` less the process's umask. False when that fails, also when
/// the folder exists already; errno says why.
TALVEK_CORE_API bool CreateFolder(const CString& strPath, unsigned nMode);
/// False when there is no such file, or it can't be removed.
TALVEK_CORE_API bool RemoveFile(const CString& strPath);
/// Moves a file within one file system; what is at its new place goes. False when that fails.
TALVEK_CORE_API bool MoveFile(const CString& strFrom, const CString& strTo);

/// Gives the owner write permission on a regular file (never through a symbolic link). False when there is no
/// such file. `*pbWasReadOnly`, if given, becomes true when the owner had no write permission before.
TALVEK_CORE_API bool MakeFileWritable(const CString& strPath, bool* pbWasReadOnly = nullptr);
/// Takes every write permission from a regular file.
TALVEK_CORE_API bool MakeFileReadOnly(const CString& strPath);

/// Changes the process's working directory for its own lifetime.
class TALVEK_CORE_API CWorkingFolderScope {
 public:
  explicit CWorkingFolderScope(const CString& strFolder);
  /// Returns to the former folder, even if it has been renamed meanwhile.
  ~CWorkingFolderScope();
  CWorkingFolderScope(const CWorkingFolderScope&) = delete;
  CWorkingFolderScope& operator=(const CWorkingFolderScope&) = delete;

  /// False when the folder can't be entered; the working directory hasn't changed then.
  bool HasEntered() const { return m_bEntered; }

 private:
  int m_nPreviousFolder = -1;  // a descriptor, which stays valid when the folder is renamed
  bool m_bEntered = false;
};

}  // namespace TALVEK::VCM
