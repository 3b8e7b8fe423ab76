#pragma once

#include <cstdint>

#include "client/command_line.h"
#include "client/cvs_client.h"
#include "client/log_source.h"
#include "client/tag_filters.h"
#include "core/string.h"
#include "mce/import_log.h"
#include "mce/provider_base.h"
#include "mcv/checkout.h"
#include "mcv/file_enum.h"
#include "mcv/stream_registry.h"
#include "mcv/stream_times.h"

namespace TALVEK::MCV {

/// CVS's own name for the trunk. The stream that an import creates for it is called "Main".
inline constexpr wchar_t PSZ_TRUNK_NAME[] = L"Head";

/// The import provider for CVS. It has only a `cvs` client to work with: `cvs rlog` for the history, `cvs
/// checkout` for the files.
///
/// Parts       Its members do the work: client, log source, tag filters, stream registry, checkout. The
///             provider reads the properties for them, and SearchForStreams passes a log through them.
/// Properties  As in s_atPropertyInfo; each is read when it is needed.
/// Errors      A failing `cvs` command is tried again, and the import log has its error output.
///             SearchForStreams fails only when there is no log to read, or it breaks off. A file that can't
///             be retrieved is not there afterwards.
/// Threads     One. The process's working directory changes while a checkout runs.
class CProvider : public MCE::CProviderBase {
 public:
  static const MCE::TPropertyInfo s_atPropertyInfo[];

  CProvider();

  int CheckEnvironment(VCM::CString& strMessage) override;
  int ResolveStreamLinkage() override;
  const MCE::TPropertyInfo* GetPropertyInfo() override { return s_atPropertyInfo; }
  bool InitialiseClients(const VCM::CString& strClientFolder) override;
  bool RemoveClients() override { return true; }
  bool RetrieveFiles(unsigned int nTime) override;
  int RetrieveChangeFiles(const MCE::TChangeRecord& tChange) override;
  int RetrieveChangeItemFile(const MCE::TChangeItemRecord& tItem, const VCM::CString& strTargetPath) override;
  bool SearchForStreams() override;
  /// Nothing is left to do: SearchForStreams records the changes as it reads the history.
  bool EnumerateChanges() override { return true; }

  // Client and log (CLIENT::CCvsClient, CLIENT::CLogSource, CLIENT::CTagFilters).

  /// Runs a `cvs` command, and leaves its standard output in the log source.
  bool ExecuteCommand(const VCM::CString& strCommandLine);
  /// Runs `cvs rlog`, or opens the saved log, and leaves it in the log source.
  void GenerateLog();
  void ClearInputStream() { m_oLogSource.Clear(); }
  void CleanUpLog() { ClearInputStream(); }
  /// Fills the filters from "IncludeTags" and "ExcludeTags".
  void GetTagFilters();
  static VCM::CString FormatUTCDateTime(long long nSeconds) { return CLIENT::FormatUTCDateTime(nSeconds); }

  // Streams (CStreamRegistry, stream_times.h).

  void AddStream(TStreamInfo& tStream) { m_oRegistry.AddStream(tStream); }
  void AddTrunkStream() { m_oRegistry.AddTrunkStream(); }
  void UpdateStream(const TStreamInfo& tStream) { m_oRegistry.UpdateStream(tStream); }
  bool GetStreamByName(const VCM::CString& strName, TStreamInfo& tStream) const {
    return m_oRegistry.GetStreamByName(strName, tStream);
  }
  bool GetStreamByID(unsigned int nStreamID, TStreamInfo& tStream) const {
    return m_oRegistry.GetStreamByID(nStreamID, tStream);
  }
  void LogStreamUpdate(const TStreamInfo& tStream, bool bAdding) {
    m_oRegistry.LogStreamUpdate(tStream, bAdding);
  }
  void DumpStreamChildren(unsigned int nParentID, const wchar_t* pszIndent) {
    m_oRegistry.DumpStreamChildren(nParentID, pszIndent);
  }
  static int CompareCreationTime(const TStreamInfo* ptLeft, const TStreamInfo* ptRight) {
    return CStreamRegistry::CompareCreationTime(ptLeft, ptRight);
  }
  static std::uint32_t GetStreamCreationTime(const TTagInfo& tTag, const TFileInfo& tFile) {
    return MCV::GetStreamCreationTime(tTag, tFile);
  }
  static std::uint32_t GetStreamMaxCreationTime(const TTagInfo& tTag, const TFileInfo& tFile) {
    return MCV::GetStreamMaxCreationTime(tTag, tFile);
  }
  bool SetStreamCreationTime(TStreamInfo& tStream, const TFileInfo& tFile, const TTagInfo& tTag) {
    return MCV::SetStreamCreationTime(tStream, tFile, tTag, m_oRegistry, m_oLogSink);
  }

 protected:
  MCE::CLogSink m_oLogSink;
  CLIENT::CCvsClient m_oClient{m_oLogSink};
  CLIENT::CLogSource m_oLogSource{m_oClient, m_oLogSink};
  CLIENT::CTagFilters m_oTagFilters;
  CStreamRegistry m_oRegistry{m_oStreams, m_oLogSink};
  CCheckout m_oCheckout{m_oClient, m_oLogSink};

 private:
  CLIENT::TModule GetModule() const;
  void ReadFiles();
};

}  // namespace TALVEK::MCV
