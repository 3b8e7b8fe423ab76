#include "mcv/stream_search.h"

#include "mcv/number_lookup.h"
#include "mcv/stream_times.h"

namespace TALVEK::MCV {

namespace {

constexpr unsigned MAIN_STREAM_ID = 1;

}  // namespace

void CStreamSearch::ProcessFileNames(const TFileInfo& tFile, TStreamInfo& tStream) {
  CTagNesting oNesting(tFile);
  for (int i = 0; i < tFile.atTags.GetCount(); ++i) {
    const TTagInfo& tTag = tFile.atTags[i];
    const unsigned int nProposedParent =
        m_bNested ? ProposeParent(tFile, oNesting.NextParent()) : MAIN_STREAM_ID;
    if (!m_oStreams.GetStreamByName(tTag.strName, tStream)) {
      CreateStreamForTag(tStream, tFile, tTag, nProposedParent);
      continue;
    }
    const bool bMoved = MoveBelow(tStream, nProposedParent, tFile);
    if (SetStreamCreationTime(tStream, tFile, tTag, m_oStreams, m_oLog) || bMoved)
      m_oStreams.UpdateStream(tStream);
  }
}

unsigned int CStreamSearch::ProposeParent(const TFileInfo& tFile, int nParentTag) const {
  if (nParentTag < 0) return MAIN_STREAM_ID;
  const MCE::CStreamList& oList = m_oStreams.GetList();
  const int nStream = oList.FindByName(tFile.atTags[nParentTag].strName.GetText().View());
  return nStream < 0 ? MAIN_STREAM_ID : oList[nStream].nID;
}

void CStreamSearch::CreateStreamForTag(TStreamInfo& tStream, const TFileInfo& tFile, const TTagInfo& tTag,
                                       unsigned int nParentID) {
  tStream.nParentID = nParentID;
  tStream.strName = tTag.strName;
  tStream.oProps.SetProperty(MCE::STREAM_IS_TAG, tTag.bIsBranch ? 0U : 1U);
  SetStreamCreationTime(tStream, tFile, tTag, m_oStreams, m_oLog);
  if (m_oProperties.GetBooleanProperty(L"CreateBranches")) m_oStreams.AddStream(tStream);
}

// A stream is only moved to a proposed parent that lies below its present one. While its parent is the trunk
// it takes any proposal, unchecked, so parents can form a circle; the walk upwards therefore ends after as
// many steps as there are streams.
bool CStreamSearch::MoveBelow(TStreamInfo& tStream, unsigned int nProposedParent, const TFileInfo& tFile) {
  if (nProposedParent <= MAIN_STREAM_ID) return false;
  if (tStream.nParentID <= MAIN_STREAM_ID) {
    tStream.nParentID = nProposedParent;
    return true;
  }
  if (nProposedParent == tStream.nParentID) return false;  // the usual case, in all files but the first
  const MCE::CStreamList& oList = m_oStreams.GetList();
  unsigned int nAbove = nProposedParent;
  for (int nSteps = 0; nAbove > MAIN_STREAM_ID && nSteps < oList.GetCount(); ++nSteps) {
    if (nAbove > static_cast<unsigned int>(oList.GetCount())) return false;
    const TStreamInfo& tAbove = oList[static_cast<int>(nAbove) - 1];
    if (tAbove.nID == tStream.nParentID) {
      tStream.nParentID = nProposedParent;
      return true;
    }
    if (tAbove.nID == tStream.nID) {
      m_oLog.WriteLog(
          L"Unable to set use stream hierarchy proposed by file '%s'. This will create an infinite loop!",
          tFile.oPath.GeneratePath().c_str());
      return false;
    }
    nAbove = tAbove.nParentID;
  }
  return false;
}

}  // namespace TALVEK::MCV
