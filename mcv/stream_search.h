#pragma once

#include "mce/import_log.h"
#include "mce/provider_base.h"
#include "mcv/file_enum.h"
#include "mcv/stream_registry.h"

namespace TALVEK::MCV {

/// Makes streams of the symbolic names of files: finds each name's stream or adds one, chooses its parent and
/// narrows the time at which it was made (SetStreamCreationTime in mcv/stream_times.h).
///
/// Shape    Call ProcessFileNames for the files in the order of the log, always with the same working record.
///          A new stream starts as a copy of that record, so it inherits the times of the stream before it.
///          The result of an import depends on that.
/// Owns     Nothing. Registry, properties and log sink are lent.
class CStreamSearch {
 public:
  using TStreamInfo = MCE::CProvider::TStreamInfo;

  /// With `bNested` a branch that sprouts from a branch has that one as parent, else all have the trunk. The
  /// property "CreateBranches" is read anew for each name: without it no stream is added.
  CStreamSearch(CStreamRegistry& oStreams, const MCE::CProviderBase& oProperties, const MCE::CLogSink& oLog,
                bool bNested)
      : m_oStreams(oStreams), m_oProperties(oProperties), m_oLog(oLog), m_bNested(bNested) {}

  /// Takes one file's names. `tStream` is the working record.
  void ProcessFileNames(const TFileInfo& tFile, TStreamInfo& tStream);

 private:
  unsigned int ProposeParent(const TFileInfo& tFile, int nParentTag) const;
  void CreateStreamForTag(TStreamInfo& tStream, const TFileInfo& tFile, const TTagInfo& tTag,
                          unsigned int nParentID);
  bool MoveBelow(TStreamInfo& tStream, unsigned int nProposedParent, const TFileInfo& tFile);

  CStreamRegistry& m_oStreams;
  const MCE::CProviderBase& m_oProperties;
  const MCE::CLogSink& m_oLog;
  bool m_bNested;
};

}  // namespace TALVEK::MCV
