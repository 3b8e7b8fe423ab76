#pragma once

#include <cstdint>
#include <utility>

#include "core/array.h"
#include "core/connection.h"
#include "core/path.h"
#include "core/properties.h"
#include "core/string.h"

namespace TALVEK::MCE {

/// An opaque position of a walk; a walk starts at null.
struct POSITION;

/// What a change item does to its file.
enum TChangeItemType : std::uint32_t {
  CHANGE_ITEM_ADD = 0,
  CHANGE_ITEM_EDIT = 1,
  CHANGE_ITEM_DELETE = 2,
  CHANGE_ITEM_READD = 3,  ///< adds a file that was deleted before
};

/// Properties that a provider keeps with a stream (CProvider::TStreamInfo::oProps); an absent one is 0.
enum TStreamProperty : std::uint16_t {
  STREAM_CREATED = 0,  ///< earliest time at which it can have been made, seconds since 1970 UTC; 0: not known
  STREAM_MAX_CREATED = 1,  ///< latest such time; 0: not known
  STREAM_IS_TAG = 2,       ///< 1: a tag, which names a state and never changes; 0: the trunk or a branch
};

/// Results of the operations that the host calls per element.
enum TResult : int {
  RESULT_OK = 0,
  RESULT_FAILED = 1,  ///< a message has usually been written to the import log
  RESULT_END = 2,     ///< no further element in a walk
};

/// One entry of a provider's property table: four words. The table ends with an all-zero entry.
struct TPropertyInfo {
  enum TType : unsigned long { TYPE_TEXT = 0, TYPE_SWITCH = 1, TYPE_EXECUTABLE = 3 };

  const wchar_t* pszLabel;    ///< shown to the administrator
  const wchar_t* pszKey;      ///< the key of SetProperty
  const wchar_t* pszDefault;  ///< the value shown before the administrator changes it; never null
  unsigned long nType;        ///< TType; a switch has the value "1" or "0"
};

/// An import provider: a plug-in's one object, through which the host does everything.
///
/// The order of the virtual operations is the contract with the host, which calls through the table; append
/// nothing before the end. Calling order: GetPropertyInfo, ValidateStringProperty and SetProperty per
/// property; CheckEnvironment; InitialiseClients; OpenLog or LogToConnection; EstablishStreams,
/// EstablishChangesets; ResolveStreamLinkage, optionally LogStreamsAndChanges; then per stream (GetNextStream
/// from the roots down) OnBeginStream and the walk over its changesets, per changeset OnProcessChange and the
/// walk over its items; RemoveClients, GetLogPath, Destroy.
///
/// Errors   Result codes and truth values, as said at each operation. No exception but for allocation.
/// Owns     The host owns the object and ends it with Destroy.
/// Threads  One thread, one call at a time. Retrieving files changes the working directory meanwhile.
class CProvider {
 public:
  /// A stream: the trunk, a branch or a tag.
  struct TStreamInfo {
    TStreamInfo() = default;
    TStreamInfo(std::uint32_t nStreamID, std::uint32_t nParent, const VCM::CFilePath& oDest,
                const VCM::CFilePath& oSource, const wchar_t* pszName)
        : nID(nStreamID), nParentID(nParent), oDestPath(oDest), oSrcPath(oSource) {
      if (pszName) strName = pszName;
    }

    std::uint32_t nID = 0;            ///< unique, never 0 for a real stream
    std::uint32_t nParentID = 0;      ///< 0 for a root
    VCM::CFilePath oDestPath;         ///< where the stream goes in the host
    VCM::CFilePath oSrcPath;          ///< where it comes from in the foreign system
    std::uint32_t nBaseChangeID = 0;  ///< change of the parent from which it branches; 0 for none
    VCM::CProperties oProps;          ///< what else the provider knows of it
    VCM::CString strName;
  };

  /// A changeset.
  struct TChangeInfo {
    std::uint32_t nID = 0;
    VCM::CString strUser;
    long long nTime = 0;  ///< seconds since 1970 UTC, 0 to 4294967295
    VCM::CString strComment;
    std::uint32_t nItemCount = 0;  ///< one more than the number of items
  };

  /// A change item: one file of a changeset.
  struct TChangeItemInfo {
    std::uint32_t nChangeID = 0;
    std::uint32_t nType = 0;   ///< TChangeItemType
    VCM::CFilePath oFilePath;  ///< relative to the stream
    std::int32_t nRevision = 0;
  };

  CProvider(const CProvider&) = delete;
  CProvider& operator=(const CProvider&) = delete;

  /// Ends the provider. Does nothing on a null object.
  virtual void Destroy() = 0;
  /// Forgets all streams; the next EstablishStreams searches again.
  virtual void ResetStreams() = 0;
  /// Copies the next stream whose parent is `nParentID` (0, and a number that no stream has: the roots) and
  /// moves `poPosition` behind it. RESULT_END at the end: `tStream` then holds the last stream looked at.
  virtual int GetNextStream(POSITION*& poPosition, TStreamInfo& tStream, unsigned int nParentID) = 0;
  /// 0: nothing to report; 1: `strMessage` holds a warning.
  virtual int CheckEnvironment(VCM::CString& strMessage) = 0;
  /// Searches for the streams, once. `nCount` becomes their number.
  virtual int EstablishStreams(unsigned int& nCount) = 0;
  /// Ties each stream to the change of its parent from which it starts (TStreamInfo::nBaseChangeID).
  virtual int ResolveStreamLinkage() = 0;
  /// Selects the stream that the changeset walk is over, and the folder below which its files go.
  virtual int OnBeginStream(unsigned int nStreamID, const wchar_t* pszFolder) = 0;
  /// The changesets of the current stream, in ascending time.
  virtual int OnFirstChangeset(TChangeInfo& tChange) = 0;
  virtual int OnNextChangeset(TChangeInfo& tChange) = 0;
  /// Makes ready to retrieve the files of the changeset that the walk stands on. Without it the item walk
  /// retrieves nothing.
  virtual int OnProcessChange(TChangeInfo& tChange) = 0;
  /// The items of the current changeset. Each call makes the item's folder and retrieves its file; the result
  /// is RESULT_FAILED when either failed, and `tItem` is filled all the same.
  virtual int OnFirstChangeItem(TChangeItemInfo& tItem) = 0;
  virtual int OnNextChangeItem(TChangeItemInfo& tItem) = 0;
  /// Records the changesets, once. `nCount` becomes their number.
  virtual int EstablishChangesets(unsigned int& nCount) = 0;
  /// Any key is stored; see GetPropertyInfo for those that mean something.
  virtual void SetProperty(const VCM::CString& strKey, const VCM::CString& strValue) = 0;
  virtual const TPropertyInfo* GetPropertyInfo() = 0;
  virtual bool ValidateStringProperty(const wchar_t* /*pszKey*/, VCM::CString& /*strValue*/,
                                      VCM::CString& /*strMessage*/) {
    return true;
  }
  /// Names the folder below which files are retrieved: `{folder}/{stream name}/{file path}`.
  virtual bool InitialiseClients(const VCM::CString& strClientFolder) = 0;
  virtual bool RemoveClients() = 0;
  /// Retrieves all files of the current stream as of a time (seconds since 1970 UTC; 0: now).
  virtual bool RetrieveFiles(unsigned int /*nTime*/) { return false; }
  /// Sends the import log to the connection behind the repository view.
  virtual void LogToConnection() = 0;
  /// True: logs to a new temporary file. False: stops logging.
  virtual void OpenLog(bool bOpen) = 0;
  virtual bool IsLogOpen() const = 0;
  /// Closes the log and returns its file's path; empty when there was none. The file is the host's.
  virtual VCM::CString GetLogPath() = 0;
  /// One line, printf style; "%s" takes wide text.
  virtual void WriteLog(const wchar_t* pszFormat, ...) = 0;
  virtual void LogStreamsAndChanges() = 0;

  virtual ~CProvider() = default;

  /// Writes `strText` to the log of the provider `pContext`, as a format without arguments: a "%" in it is a
  /// directive. Callers that log foreign text must not use it.
  static void WriteLogCallback(const VCM::CString& strText, void* pContext) {
    static_cast<CProvider*>(pContext)->WriteLog(strText.c_str());
  }

  const VCM::CString& GetName() const { return m_strName; }
  const VCM::CString& GetDisplayName() const { return m_strDisplayName; }
  const VCM::CString& GetDescription() const { return m_strDescription; }

  /// The host's repository view; the host sets it before LogToConnection.
  void SetRepositoryView(VRW::TObjectInvokeRef<VRO::CReposView> oReposView) {
    m_oReposView = std::move(oReposView);
  }

 protected:
  CProvider() = default;

  // In this order: a host built against the interface reads them in place.
  VRW::TObjectInvokeRef<VRO::CReposView> m_oReposView;
  VCM::CString m_strName;         // short and lower case: "cvs"
  VCM::CString m_strDisplayName;  // "CVS"
  VCM::CString m_strDescription;
  bool m_bFirstCapability = false;
  bool m_bSecondCapability = false;
};

}  // namespace TALVEK::MCE

extern "C" {
/// Types of the two functions that a plug-in exports, talvek_em_NAME_getoptions and
/// talvek_em_NAME_createprovider. The first copies the provider's short name and display name, each with its
/// terminating zero, into buffers of the host (64 characters are ample) and stores 0 in the flags. The second
/// creates the provider, never null; allocation may throw.
using TALVEK_EM_GETOPTIONS = void(wchar_t* pszName, wchar_t* pszDisplayName, unsigned int* pnFlags);
using TALVEK_EM_CREATEPROVIDER = TALVEK::MCE::CProvider*();
}
