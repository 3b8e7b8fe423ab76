#pragma once

#include "core/export.h"
#include "core/string.h"

/// Files and folders by wide path. Paths become bytes as core/text_codec.h says, so a name in any encoding
/// reaches the file it names; a path with a NUL within names nothing.
namespace TALVEK::VCM {

TALVEK_CORE_API bool FileExists(const CString& strPath);
TALVEK_CORE_API bool FolderExists(const CString& strPath);
/// Creates one folder with permissions `nMode` before the process mask. False when that fails, also when it
/// is there already; errno says why.
TALVEK_CORE_API bool CreateFolder(const CString& strPath, unsigned nMode);
/// False when there is nothing to remove or it can't be removed.
TALVEK_CORE_API bool RemoveFile(const CString& strPath);

/// Gives the owner write permission on a regular file (never through a symbolic link). False when there is no
/// such file. `pbWasReadOnly`, if given, tells whether the owner had no write permission before.
TALVEK_CORE_API bool MakeFileWritable(const CString& strPath, bool* pbWasReadOnly = nullptr);
/// Takes every write permission from a regular file.
TALVEK_CORE_API bool MakeFileReadOnly(const CString& strPath);

/// Changes the process's working directory for its own lifetime.
class TALVEK_CORE_API CWorkingFolderScope {
 public:
  explicit CWorkingFolderScope(const CString& strFolder);
  /// Goes back to where the process was, even if that folder has been renamed meanwhile.
  ~CWorkingFolderScope();
  CWorkingFolderScope(const CWorkingFolderScope&) = delete;
  CWorkingFolderScope& operator=(const CWorkingFolderScope&) = delete;

  /// False when the folder can't be entered; the working directory is then what it was.
  bool HasEntered() const { return m_bEntered; }

 private:
  int m_nPreviousFolder = -1;  // a descriptor: a path could have been renamed
  bool m_bEntered = false;
};

}  // namespace TALVEK::VCM
