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
  STREAM_CREATED = 0,      ///< it was made at this time or later, seconds since 1970 UTC; 0: not known
  STREAM_MAX_CREATED = 1,  ///< it was made before this time; 0: not known
  STREAM_IS_TAG = 2,       ///< 1: a tag, which names a state and never changes; 0: the trunk or a branch
};

/// Results of the operations that return int.
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
/// The order of the virtual operations is the contract with the host, which calls them by position: add new
/// ones only at the end.
///
/// Calls    In this order: GetPropertyInfo; for each property ValidateStringProperty and SetProperty;
///          CheckEnvironment; InitialiseClients; OpenLog and LogToConnection, or only one of them;
///          EstablishStreams; EstablishChangesets; ResolveStreamLinkage; LogStreamsAndChanges if wanted. Then
///          for each stream (GetNextStream, from the roots down) OnBeginStream and the walk over its
///          changesets; for each changeset OnProcessChange and the walk over its items. At the end
///          RemoveClients, GetLogPath, Destroy.
/// Errors   Result codes and truth values, as said at each operation. Exceptions come only from allocation
///          and from the host's connection, when that gets a line of the import log.
/// Owns     The host owns the object and ends it with Destroy.
/// Threads  One thread, one call at a time. While files are retrieved the working directory changes.
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
    std::uint32_t nItemCount = 0;  ///< one more than the number of items; 0 when it never had one
  };

  /// A change item: one file of a changeset.
  struct TChangeItemInfo {
    std::uint32_t nChangeID = 0;
    std::uint32_t nType = 0;     ///< TChangeItemType
    VCM::CFilePath oFilePath;    ///< relative to the stream
    std::int32_t nRevision = 0;  ///< rank among the file's revisions; 0 for CVS
  };

  CProvider(const CProvider&) = delete;
  CProvider& operator=(const CProvider&) = delete;

  /// Deletes the provider and its database. Does nothing on a null object.
  virtual void Destroy() = 0;
  /// Forgets all streams; the next EstablishStreams searches again.
  virtual void ResetStreams() = 0;
  /// Copies the next stream whose parent is `nParentID` and moves `poPosition` behind it. 0, or a number that
  /// no stream has, gives the roots. RESULT_END at the end: `tStream` is then the last stream of all,
  /// whatever its parent.
  virtual int GetNextStream(POSITION*& poPosition, TStreamInfo& tStream, unsigned int nParentID) = 0;
  /// 0: nothing to report; 1: `strMessage` holds a warning.
  virtual int CheckEnvironment(VCM::CString& strMessage) = 0;
  /// Searches for the streams, once. `nCount` becomes their number.
  virtual int EstablishStreams(unsigned int& nCount) = 0;
  /// Sets the base change of each stream (TStreamInfo::nBaseChangeID): the change of its parent from which it
  /// starts. Streams copied before don't have it. Call it after EstablishChangesets.
  virtual int ResolveStreamLinkage() = 0;
  /// Selects the stream for the changeset walk, and the folder below which its files go.
  virtual int OnBeginStream(unsigned int nStreamID, const wchar_t* pszFolder) = 0;
  /// The changesets of the current stream, in ascending time.
  virtual int OnFirstChangeset(TChangeInfo& tChange) = 0;
  virtual int OnNextChangeset(TChangeInfo& tChange) = 0;
  /// Says that the files of the walk's current changeset are wanted. Without it the item walk retrieves
  /// nothing.
  virtual int OnProcessChange(TChangeInfo& tChange) = 0;
  /// The items of the current changeset. Each call makes the item's folder and retrieves its file; the result
  /// is RESULT_FAILED when either failed, and `tItem` is filled all the same.
  virtual int OnFirstChangeItem(TChangeItemInfo& tItem) = 0;
  virtual int OnNextChangeItem(TChangeItemInfo& tItem) = 0;
  /// Completes the changesets in the import database, once. `nCount` becomes their number.
  virtual int EstablishChangesets(unsigned int& nCount) = 0;
  /// Any key is stored; see GetPropertyInfo for those that mean something.
  virtual void SetProperty(const VCM::CString& strKey, const VCM::CString& strValue) = 0;
  /// The provider's property table; static.
  virtual const TPropertyInfo* GetPropertyInfo() = 0;
  /// False when the provider can't use the value; `strMessage` then says why. The provider may correct
  /// `strValue`. This class accepts every value.
  virtual bool ValidateStringProperty(const wchar_t* /*pszKey*/, VCM::CString& /*strValue*/,
                                      VCM::CString& /*strMessage*/) {
    return true;
  }
  /// Names the folder below which files are retrieved: `{folder}/{stream name}/{file path}`.
  virtual bool InitialiseClients(const VCM::CString& strClientFolder) = 0;
  /// Ends what InitialiseClients began. Files stay; the folder is the host's.
  virtual bool RemoveClients() = 0;
  /// Retrieves all files of the current stream as of a time (seconds since 1970 UTC; 0: now).
  virtual bool RetrieveFiles(unsigned int /*nTime*/) { return false; }
  /// Opens the import log and sends its lines to the connection behind the repository view. Call OpenLog
  /// before if there is to be a file, too.
  virtual void LogToConnection() = 0;
  /// True: opens the log with a new temporary file, unless it is open. False: drops lines from now on.
  virtual void OpenLog(bool bOpen) = 0;
  virtual bool IsLogOpen() const = 0;
  /// Closes the log and returns its file's path; empty when there was none. The file is the host's.
  virtual VCM::CString GetLogPath() = 0;
  /// One line, printf style; "%s" takes wide text.
  virtual void WriteLog(const wchar_t* pszFormat, ...) = 0;
  /// Writes all streams and changesets to the import log, while that is open.
  virtual void LogStreamsAndChanges() = 0;

  virtual ~CProvider() = default;

  /// Writes to the log of the provider `pContext`. Careful: `strText` is used as a printf format without
  /// arguments, so never pass text from outside.
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

  // Keep the order: hosts read the members at their offsets. What a host makes of the two capabilities is its
  // own; talvek-import ignores them.
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
