#include "exact/import_writer.h"

#include "core/text_codec.h"

namespace TALVEK::EXACT {

bool CImportWriter::WriteChanges() {
  m_anChangeIDs.clear();
  m_anChangeIDs.reserve(m_oPlan.Changes().size());
  for (TIndex nChange = 0; nChange < m_oPlan.Changes().size(); ++nChange) {
    if (!WriteChange(nChange)) return false;
  }
  return true;
}

bool CImportWriter::WriteChange(TIndex nChange) {
  const TPlanChange& tChange = m_oPlan.Changes()[nChange];
  const std::uint32_t nID =
      m_oEngine.AddChange(0, tChange.nStream + 1, VCM::FromBytes(m_oPlan.Author(nChange)),
                          VCM::FromBytes(m_oPlan.Message(nChange)), static_cast<long>(tChange.nTime));
  m_anChangeIDs.push_back(nID);
  if (nID == 0) return false;
  std::uint32_t nItem = 0;
  bool bWritten = true;
  m_oPlan.ForEachItem(
      nChange, [&](const TPlanItem& tItem) { bWritten = bWritten && WriteItem(nChange, ++nItem, tItem); });
  return bWritten && m_oEngine.UpdateChangeItemCount(nID, nItem + 1);
}

bool CImportWriter::WriteItem(TIndex nChange, std::uint32_t nItem, const TPlanItem& tItem) {
  const CHistory& oHistory = m_oPlan.History();
  const bool bDeleted = tItem.nRevision == NONE;
  const std::string strRevision = bDeleted ? std::string() : oHistory.Number(tItem.nRevision);
  const std::int64_t nTime =
      bDeleted ? m_oPlan.Changes()[nChange].nTime : oHistory.Revisions()[tItem.nRevision].nTime;
  return m_oEngine.AddChangeItem(m_anChangeIDs[nChange], nItem, TypeOf(tItem), PathOf(tItem.nFile),
                                 MCE::TCVSRevision(VCM::FromBytes(strRevision)), static_cast<long>(nTime));
}

MCE::TChangeItemType CImportWriter::TypeOf(const TPlanItem& tItem) const {
  if (tItem.nRevision == NONE) return MCE::CHANGE_ITEM_DELETE;
  if (tItem.nBefore != NONE) return MCE::CHANGE_ITEM_EDIT;
  // A file comes back when the revision before is dead. The first revision of a line may be dead without
  // there having been a file.
  const TLine& tLine = m_oPlan.History().LineOf(tItem.nRevision);
  const bool bCameBack =
      tItem.nRevision >= tLine.nFirstRevision + 2 && !m_oPlan.History().IsAlive(tItem.nRevision - 1);
  return bCameBack ? MCE::CHANGE_ITEM_READD : MCE::CHANGE_ITEM_ADD;
}

VCM::CFilePath CImportWriter::PathOf(TIndex nFile) const {
  VCM::CFilePath oPath;
  oPath.Parse(VCM::FromBytes(m_oPaths.InModule(m_oPlan.History().Path(nFile))));
  return oPath;
}

void CImportWriter::WriteStreams(MCE::CStreamList& oStreams) const {
  for (const TPlanStream& tPlanned : m_oPlan.Streams()) {
    const bool bHasParent = tPlanned.nParent != NONE;
    MCE::CProvider::TStreamInfo tStream;
    tStream.nID = static_cast<std::uint32_t>(oStreams.GetCount()) + 1;
    tStream.nParentID = bHasParent ? tPlanned.nParent + 1 : 0;
    tStream.strName = VCM::FromBytes(tPlanned.strName);
    if (bHasParent) {
      tStream.nBaseChangeID = m_anChangeIDs[tPlanned.nBase];
      tStream.oProps.SetProperty(MCE::STREAM_CREATED,
                                 static_cast<std::uint32_t>(m_oPlan.Changes()[tPlanned.nBase].nTime));
    }
    if (tPlanned.nKind == TStreamKind::TAG) tStream.oProps.SetProperty(MCE::STREAM_IS_TAG, 1U);
    oStreams.Add(tStream);
  }
}

}  // namespace TALVEK::EXACT
