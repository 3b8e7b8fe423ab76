#include "host/git_streams.h"

#include "host/text_output.h"

namespace TALVEK::HOST {
CGitStreams::CGitStreams(const std::vector<TStream>& atStreams, const TRefOptions& tRefOptions,
                         CFastImportStream& oStream, CReport& oReport)
    : m_oStream(oStream), m_oReport(oReport), m_oRefs(atStreams, tRefOptions, oReport) {
  for (const TStream& tStream : atStreams)
    m_anBaseChanges.insert(tStream.tInfo.nBaseChangeID);
}

void CGitStreams::Begin(const TStream& tStream) {
  m_poStream = &tStream;
  m_bHasCommits = false;
  m_nParent.reset();
  m_oTree = CLiveTree();
  m_nDepth = 0;
  if (const TBase* ptBase = FindBase(tStream)) {
    m_nParent = ptBase->nCommit;
    m_oTree = ptBase->oTree;
    m_nDepth = ptBase->nDepth;
  } else {
    ReportMissingBase();
  }
}

const CGitStreams::TBase* CGitStreams::FindBase(const TStream& tStream) const {
  if (tStream.bUnreached || tStream.tInfo.nBaseChangeID == 0) return nullptr;
  const auto oFound = m_aBases.find(tStream.tInfo.nBaseChangeID);
  return oFound == m_aBases.end() ? nullptr : &oFound->second;
}

void CGitStreams::ReportMissingBase() const {
  const std::string strStream = "stream " + ShowQuoted(m_poStream->tInfo.strName);
  if (m_poStream->bUnreached) {
    m_oReport.Changed(strStream + " is a root: its parents stand in a circle");
  } else if (m_poStream->tInfo.nBaseChangeID != 0) {
    m_oReport.Changed(strStream + " is a root: the changeset from which it starts comes later");
  }
}

void CGitStreams::Commit(std::uint32_t nChangeID, CFastImportStream::TCommit tCommit) {
  tCommit.strRef = m_oRefs.RefOf(*m_poStream);
  if (!m_bHasCommits) tCommit.nParent = m_nParent;
  const TMark nCommit = m_oStream.Commit(tCommit);
  m_bHasCommits = true;
  m_anDepths[tCommit.strRef] = ++m_nDepth;
  if (m_anBaseChanges.contains(nChangeID)) m_aBases[nChangeID] = {nCommit, m_oTree, m_nDepth};
}

// A stream without commits of its own points to the commit from which it starts.
void CGitStreams::End() {
  if (m_bHasCommits) return;
  if (m_nParent) {
    m_oStream.Reference(m_oRefs.RefOf(*m_poStream), *m_nParent);
  } else {
    m_oReport.Warning("stream " + ShowQuoted(m_poStream->tInfo.strName) +
                      " has no changesets and starts nowhere, so there is nothing of it in Git");
  }
}

}  // namespace TALVEK::HOST
