#pragma once

#include <cstdint>

#include <wx/stream.h>

#include "core/array.h"
#include "core/path.h"
#include "core/process_capture.h"
#include "core/string.h"
#include "mce/provider_base.h"
#include "mcv/file_enum.h"
#include "mcv/stream_names.h"

namespace TALVEK::MCV {

/// CVS's own name for the trunk. The stream that an import creates for it is called "Main".
inline constexpr wchar_t PSZ_TRUNK_NAME[] = L"Head";

/// The import provider for CVS. It has only a `cvs` client to work with: `cvs rlog` for the history, `cvs
/// checkout` for the files.
///
/// Properties  As in s_atPropertyInfo; each is read when it is needed.
/// Errors      A failing `cvs` command is tried again and shows in the import log; only a history that can't
///             be read at all makes SearchForStreams fail. A file that can't be retrieved is not there
///             afterwards.
/// Threads     One. The process's working directory changes while a checkout runs.
class CProvider : public MCE::CProviderBase {
 public:
  static const MCE::TPropertyInfo s_atPropertyInfo[];

  CProvider();
  ~CProvider() override;

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

  /// Runs a `cvs` command, several times if it fails, and leaves its standard output in the input stream.
  bool ExecuteCommand(const VCM::CString& strCommandLine);
  /// Lets go of the input stream, and deletes it when it is the provider's own.
  void ClearInputStream();
  void CleanUpLog() { ClearInputStream(); }
  /// Fills the filter lists from "IncludeTags" and "ExcludeTags".
  void GetTagFilters();
  /// "2009/03/14 07:05:09", in UTC: the form in which `cvs` takes dates.
  static VCM::CString FormatUTCDateTime(long long nSeconds);
  /// Makes the input stream one over the module's `rlog`; null when a saved log can't be opened.
  void GenerateLog();

  // The streams.

  /// Appends the stream; gives it the next ID.
  void AddStream(TStreamInfo& tStream);
  void AddTrunkStream();
  /// Overwrites the stream that has this ID.
  void UpdateStream(const TStreamInfo& tStream);
  /// Copies the first stream of that name, without regard to case; leaves the record alone when there is
  /// none.
  bool GetStreamByName(const VCM::CString& strName, TStreamInfo& tStream) const;
  bool GetStreamByID(unsigned int nStreamID, TStreamInfo& tStream) const;
  void LogStreamUpdate(const TStreamInfo& tStream, bool bAdding);
  /// Logs the streams below a parent as an indented tree.
  void DumpStreamChildren(unsigned int nParentID, const wchar_t* pszIndent);
  static int CompareCreationTime(const TStreamInfo* ptLeft, const TStreamInfo* ptRight);

  // When a stream was made, as far as one file tells.

  /// Earliest time at which it can have been made: just after the revision that it starts from. 0: not known.
  static std::uint32_t GetStreamCreationTime(const TTagInfo& tTag, const TFileInfo& tFile);
  /// Latest such time: when the revision that it starts from was replaced. 0: not known.
  static std::uint32_t GetStreamMaxCreationTime(const TTagInfo& tTag, const TFileInfo& tFile);
  /// Narrows the stream's range with this file's evidence; true when it wrote to the record.
  bool SetStreamCreationTime(TStreamInfo& tStream, const TFileInfo& tFile, const TTagInfo& tTag);

 protected:
  VCM::CFilePath m_oClientPath;
  wxInputStream* m_poInputStream = nullptr;  // the process's output, or a saved log
  bool m_bOwnInputStream = false;
  VCM::CProcessCapture m_oProcess;
  VCM::CArray<VCM::CString> m_astrExcludeTags;
  VCM::CArray<VCM::CString> m_astrIncludeTags;
  VCM::CString m_strCvsCommand;  // the executable, quoted
  std::uint32_t m_nChangeTime = 0;
  std::uint16_t m_nCmdRepeatCount = 5;
  bool m_bFileByFile = false;
  bool m_bForceFileByFile = false;

 private:
  void ReadCommandProperties();
  void LogErrorOutput();
  VCM::CString GenerateLogCommand() const;
  /// The module, or a path in it that begins with "/", as the last word of a command line, in quotes.
  VCM::CString GetModuleArgument(const VCM::CString& strPathInModule = VCM::CString()) const;
  bool ExecuteInClientFolder(const VCM::CString& strCommandLine);
  void RemoveUnfinished(const MCE::TChangeItemRecord& tItem, const VCM::CString& strTargetPath) const;
  void CheckOutItem(const MCE::TChangeItemRecord& tItem, const VCM::CString& strTargetPath);
  bool StaysInClientFolder(const VCM::CString& strOutputFolder) const;
  VCM::CString GetRevisionArgument(const MCE::TChangeItemRecord& tItem) const;

  void ProcessFileNames(const TFileInfo& tFile, TStreamInfo& tStream, bool bNested);
  unsigned int ProposeParent(const TFileInfo& tFile, int nParentTag) const;
  int FindStreamByName(const VCM::CString& strName) const;
  bool MoveBelow(TStreamInfo& tStream, unsigned int nProposedParent, const TFileInfo& tFile);
  void CreateStreamForTag(TStreamInfo& tStream, const TFileInfo& tFile, const TTagInfo& tTag,
                          unsigned int nParentID);
  /// Gives the numbers of the file's revisions away.
  void AddFileChanges(TFileInfo& tFile, TStreamInfo& tStream);
  int ChooseStream(const TFileInfo& tFile, const MCE::TCVSRevision& oRevision) const;

  bool m_bCheckoutFailed = false;       // the last one of the whole module
  mutable CStreamNames m_oStreamNames;  // follows the list of streams when it is asked
};

}  // namespace TALVEK::MCV
