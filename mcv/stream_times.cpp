#include "mcv/stream_times.h"

#include "mcv/number_lookup.h"

namespace TALVEK::MCV {

namespace {

/// The revision from which a name starts in its file: a tag's own, or the one that a branch sprouts from.
MCE::TCVSRevision BranchPoint(const TTagInfo& tTag) {
  MCE::TCVSRevision oRevision = tTag.oRevision;
  if (tTag.bIsBranch && !oRevision.IsEmpty()) oRevision.RemoveAt(oRevision.GetCount() - 1);
  return oRevision;
}

std::uint32_t CommitTime(const TRevInfo& tRevision) {
  return static_cast<std::uint32_t>(tRevision.oTime.GetUTC());
}

}  // namespace

std::uint32_t GetStreamCreationTime(const TTagInfo& tTag, const TFileInfo& tFile) {
  const TRevInfo* const ptRevision = FindRevision(tFile, BranchPoint(tTag));
  if (!ptRevision || CommitTime(*ptRevision) == 0) return 0;
  return CommitTime(*ptRevision) + 1;
}

std::uint32_t GetStreamMaxCreationTime(const TTagInfo& tTag, const TFileInfo& tFile) {
  MCE::TCVSRevision oNext = BranchPoint(tTag);
  if (oNext.IsEmpty()) return 0;
  ++oNext[oNext.GetCount() - 1];
  const TRevInfo* const ptRevision = FindRevision(tFile, oNext);
  return ptRevision ? CommitTime(*ptRevision) : 0;
}

bool SetStreamCreationTime(MCE::CProvider::TStreamInfo& tStream, const TFileInfo& tFile, const TTagInfo& tTag,
                           const CStreamRegistry& oStreams, const MCE::CLogSink& oLog) {
  std::uint32_t nCreated = tStream.oProps.GetNumber(MCE::STREAM_CREATED, 0);
  std::uint32_t nBound = tStream.oProps.GetNumber(MCE::STREAM_MAX_CREATED, 0);
  bool bChanged = false;

  const std::uint32_t nFileMax = GetStreamMaxCreationTime(tTag, tFile);
  if (nFileMax != 0 && (nBound == 0 || nFileMax < nBound)) {
    tStream.oProps.SetProperty(MCE::STREAM_MAX_CREATED, nFileMax);
    bChanged = true;
    // The new bound rules out the creation time found so far: this file's counts below, even if it is lower.
    if (nFileMax <= nCreated) nCreated = 0;
    nBound = nFileMax;
  }

  std::uint32_t nFileMin = GetStreamCreationTime(tTag, tFile);
  if (nFileMin == 0 && tStream.nParentID != 0) {
    MCE::CProvider::TStreamInfo tParent;
    std::uint32_t nParentCreated = 0;
    if (oStreams.GetStreamByID(tStream.nParentID, tParent) &&
        tParent.oProps.GetProperty(MCE::STREAM_CREATED, nParentCreated)) {
      nFileMin = nParentCreated + 1;
    }
  }
  if (nBound != 0 && nFileMin >= nBound) {
    oLog.WriteLog(
        L"Ignoring file '%s' tag '%s' for establishing branch creation time. "
        L"The branch is inconsistent with other branches.",
        tFile.oPath.GeneratePath().c_str(), tTag.strName.GetText().c_str());
    return bChanged;
  }
  if (nFileMin > nCreated) {
    tStream.oProps.SetProperty(MCE::STREAM_CREATED, nFileMin);
    bChanged = true;
  }
  return bChanged;
}

}  // namespace TALVEK::MCV
