#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "client/client_folder.h"
#include "client/cvs_client.h"
#include "client/file_retrieval.h"
#include "client/log_source.h"
#include "exact/rcs_file.h"
#include "mce/import_log.h"
#include "verify/export_ahead.h"
#include "verify/revision_list.h"

namespace TALVEK::VERIFY {

/// Where a module is, and how to ask for it.
struct TModuleSource {
  std::string strClient = "cvs";
  std::string strRoot;
  std::string strModule;
  std::string strLogFile;  ///< a saved log; empty: the server's
  std::uint16_t nRepeatCount = 5;
};

/// What the client is asked for.
struct TQuestion {
  std::string strName;                ///< a branch or tag; empty: the trunk
  std::optional<std::int64_t> nTime;  ///< its state then, seconds since 1970 UTC; none: its end
};

/// How the revisions behind a name are learnt.
enum class TListing {
  RLS,     ///< `cvs rls`, of servers from 1.12 on
  RDIFF,   ///< `cvs rdiff -s`
  EXPORT,  ///< not at all: whole exports only
};

/// A module of a CVS repository, seen through the client.
///
/// Shape    Commands run one at a time, in a folder of the caller's.
/// Errors   Each answer is empty when the client failed; Words() then tells what it said.
class CCvsModule {
 public:
  /// `oFolder` must exist. `strCommandLog` gets the commands and what the client said; empty: nobody does.
  CCvsModule(const TModuleSource& tSource, const std::filesystem::path& oFolder,
             const std::filesystem::path& oCommandLog);
  CCvsModule(const CCvsModule&) = delete;
  CCvsModule& operator=(const CCvsModule&) = delete;

  const TModuleSource& Source() const { return m_tSource; }
  /// Reads the log, a file at a time; paths are those in the module. False when it isn't whole. IsFolder() is
  /// known then.
  bool ReadLog(const std::function<void(const EXACT::TRcsFile& tFile)>& fnTake);
  /// The module is the repository's folder of that name. CVSROOT/modules can make others, whose files lie
  /// elsewhere in the repository; paths of the log are those in the repository then.
  bool IsFolder() const { return m_bFolder; }
  /// The revisions behind a name. `eListing` isn't EXPORT.
  std::optional<TRevisionList> List(const TQuestion& tQuestion, TListing eListing);
  /// Begins an export that will be asked for later; false when there are enough of them.
  bool ExportAhead(const TQuestion& tQuestion);
  /// Exports into a new folder and returns it; Remove it. A name that gives no file gives an empty folder.
  std::optional<std::filesystem::path> Export(const TQuestion& tQuestion);
  static void Remove(const std::filesystem::path& oExport);
  /// Checks one revision out and returns where it is; the caller removes it.
  std::optional<std::filesystem::path> Fetch(const std::string& strPath, const std::string& strRevision);

  /// The state of a revision ("Exp"); empty when it can't be learnt.
  std::string StateOf(const std::string& strPath, const std::string& strRevision);

  /// What the client wrote on its standard error during the last command, lines joined by "; ".
  std::string Words() const;
  std::uint64_t GetExportCount() const { return m_nExports; }
  std::uint64_t GetFetchCount() const { return m_nFetches; }

 private:
  void TakeLogLine(const VCM::CString& strText);
  void AddSelection(const TQuestion& tQuestion, CLIENT::CCommandLine& oLine) const;
  VCM::CString ExportCommand(const TQuestion& tQuestion) const;
  bool RunExport(const VCM::CString& strCommandLine, const std::filesystem::path& oTarget);
  bool TryExport(const VCM::CString& strCommandLine, const std::filesystem::path& oTarget);

  TModuleSource m_tSource;
  std::filesystem::path m_oFolder;
  std::filesystem::path m_oCommandLog;
  std::vector<std::string> m_astrWords;
  MCE::CLogSink m_oLog;
  CLIENT::CCvsClient m_oClient;
  CLIENT::CCvsClient m_oOnce;  // for questions to which there is another way
  CLIENT::CClientFolder m_oClientFolder;
  CLIENT::CFileRetrieval m_oFiles;
  CLIENT::TModule m_tModule;
  CExportAhead m_oAhead;
  bool m_bFolder = true;
  std::uint64_t m_nExports = 0;
  std::uint64_t m_nFetches = 0;
};

}  // namespace TALVEK::VERIFY
