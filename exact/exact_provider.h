#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>

#include "client/client_folder.h"
#include "client/command_line.h"
#include "client/cvs_client.h"
#include "client/file_retrieval.h"
#include "client/log_source.h"
#include "client/tag_filters.h"
#include "core/string.h"
#include "exact/history.h"
#include "exact/log_reader.h"
#include "exact/make_plan.h"
#include "exact/module_paths.h"
#include "exact/modules_file.h"
#include "mce/import_log.h"
#include "mce/provider_base.h"

namespace TALVEK::EXACT {

/// The import provider whose result equals the CVS repository: the trunk, each branch and each tag have the
/// files, to the byte, that the client gives for them, and each revision is in a changeset under its own
/// author and message.
///
/// Road        SearchForStreams reads the log (CLogReader), collects files, lines, revisions and names
///             (CHistory), works out changesets, their order and where each name starts (MakePlan), proves
///             that plan by revision numbers, and hands it to the engine (CImportWriter).
/// Properties  As in s_atPropertyInfo; each is read when it is needed.
/// Errors      A history that can't be read, or a plan that doesn't equal it, makes SearchForStreams fail.
///             The import log names file, stream and revision. A file that can't be retrieved is not there
///             afterwards.
/// Threads     One. The process's working directory changes while a checkout runs.
class CProvider : public MCE::CProviderBase {
 public:
  static const MCE::TPropertyInfo s_atPropertyInfo[];

  CProvider();

  int CheckEnvironment(VCM::CString& strMessage) override;
  /// Nothing is left to do: SearchForStreams has tied the streams.
  int ResolveStreamLinkage() override { return MCE::RESULT_OK; }
  const MCE::TPropertyInfo* GetPropertyInfo() override { return s_atPropertyInfo; }
  bool InitialiseClients(const VCM::CString& strClientFolder) override;
  bool RemoveClients() override { return true; }
  /// Each file is retrieved by its revision, never a module by its date.
  bool RetrieveFiles(unsigned int /*nTime*/) override { return true; }
  /// The files of this change are wanted: those of others, which a host only looks at, are not retrieved.
  int RetrieveChangeFiles(const MCE::TChangeRecord& tChange) override;
  int RetrieveChangeItemFile(const MCE::TChangeItemRecord& tItem, const VCM::CString& strTargetPath) override;
  bool SearchForStreams() override;
  bool EnumerateChanges() override { return true; }

 private:
  bool ReadOptions(THistoryOptions& tOptions);
  bool OpenLogOfModule();
  std::optional<TModules> AskForModules();
  bool ChoosePaths(const std::string& strFirstFile);
  bool ReadHistory(CHistory& oHistory);
  bool HasPlace(const TRcsFile& tFile);
  void LogFile(const TRcsFile& tFile, int nFiles);
  bool LogResult(const TMadePlan& tMade);
  bool Write(const TMadePlan& tMade);

  std::uint32_t m_nWantedChange = 0;  // whose files are retrieved
  std::string m_strModule;            // the name that is imported, in plain form
  bool m_bKnowsModules = false;       // the client has told the modules
  CModulePaths m_oPaths{"."};
  std::unordered_set<std::string> m_strNamedLikeFolders;
  MCE::CLogSink m_oLogSink;
  CLIENT::CCvsClient m_oClient{m_oLogSink};
  CLIENT::CLogSource m_oLogSource{m_oClient, m_oLogSink};
  CLIENT::CTagFilters m_oTagFilters;
  CLIENT::CClientFolder m_oClientFolder{m_oClient, m_oLogSink};
  CLIENT::CFileRetrieval m_oFiles{m_oClient, m_oClientFolder, m_oLogSink};
};

}  // namespace TALVEK::EXACT
