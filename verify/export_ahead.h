#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "core/string.h"

namespace TALVEK::VERIFY {

/// Exports that run while others are compared. After each the client sleeps until the next full second: of 25
/// names one after the other 25 seconds would be sleep.
///
/// Shape    Begin some, then Take each by the same command line. Each export goes to a folder of its own.
/// Errors   An export that fails is as if it had never been begun: the caller runs it again, and hears why.
/// Owns     The children: the destructor ends them. Folders are the caller's once they are taken.
/// Threads  One. Children work in folders of their own, so the working folder of this process stays.
class CExportAhead {
 public:
  /// `oFolder`: below it the exports go.
  explicit CExportAhead(const std::filesystem::path& oFolder) : m_oFolder(oFolder) {}
  ~CExportAhead();
  CExportAhead(const CExportAhead&) = delete;
  CExportAhead& operator=(const CExportAhead&) = delete;

  /// There is room for one more.
  bool CanBegin() const;
  bool Has(const VCM::CString& strCommandLine) const { return m_atExports.contains(strCommandLine); }
  /// The command line names the folder `pszTarget` (behind the client's "-d") to export into.
  void Begin(const VCM::CString& strCommandLine, const char* pszTarget);
  /// Waits for the end of an export and returns its folder.
  std::optional<std::filesystem::path> Take(const VCM::CString& strCommandLine);

 private:
  struct TExport {
    pid_t nProcess = -1;
    std::filesystem::path oTarget;
  };

  std::filesystem::path m_oFolder;
  std::map<VCM::CString, TExport> m_atExports;
  unsigned m_nBegun = 0;
};

}  // namespace TALVEK::VERIFY
