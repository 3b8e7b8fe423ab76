#pragma once

#include "core/string.h"
#include "mce/import_log.h"
#include "mce/provider.h"
#include "mce/stream_list.h"

namespace TALVEK::MCV {

/// The streams that the search finds: a MCE::CStreamList whose changes are written to the import log while
/// that is open. IDs count from 1 in the order of the list; the trunk is 1.
///
/// Owns     Nothing. List and log sink are lent.
class CStreamRegistry {
 public:
  using TStreamInfo = MCE::CProvider::TStreamInfo;

  CStreamRegistry(MCE::CStreamList& oStreams, const MCE::CLogSink& oLog)
      : m_oStreams(oStreams), m_oLog(oLog) {}

  const MCE::CStreamList& GetList() const { return m_oStreams; }

  /// Appends the stream; gives it the next ID.
  void AddStream(TStreamInfo& tStream);
  void AddTrunkStream();
  /// Overwrites the stream that has the ID of `tStream`.
  void UpdateStream(const TStreamInfo& tStream);
  /// Copies the first stream of that name, without regard to case; leaves the record alone when there is
  /// none.
  bool GetStreamByName(const VCM::CString& strName, TStreamInfo& tStream) const;
  /// False, and the record left alone, when the ID is beyond the list. 0 throws VCM::EArrayIndexOutOfRange.
  bool GetStreamByID(unsigned int nStreamID, TStreamInfo& tStream) const;

  /// One line: "Adding" or "Updating", name, parent and times.
  void LogStreamUpdate(const TStreamInfo& tStream, bool bAdding);
  /// Logs the streams below a parent as an indented tree, the oldest of siblings first.
  void DumpStreamChildren(unsigned int nParentID, const wchar_t* pszIndent);
  /// Negative, 0 or positive: the left stream was made before, with or after the right one. Compares the
  /// signed 32-bit difference of the times.
  static int CompareCreationTime(const TStreamInfo* ptLeft, const TStreamInfo* ptRight);

 private:
  MCE::CStreamList& m_oStreams;
  const MCE::CLogSink& m_oLog;
};

}  // namespace TALVEK::MCV
