#include "exact/import_writer.h"

#include <algorithm>

#include "core/text_codec.h"

namespace TALVEK::EXACT {

namespace {

/// The engine holds times from 1970 to 2106. One before or after becomes the nearest of these, so that the
/// order of changes stays.
long KeptTime(std::int64_t nTime) {
  return static_cast<long>(std::clamp<std::int64_t>(nTime, 0, UINT32_MAX));
}

}  // namespace

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
                          VCM::FromBytes(m_oPlan.Message(nChange)), KeptTime(tChange.nTime));
  m_anChangeIDs.push_back(nID);
  if (nID == 0) return false;
  std::uint32_t nItems = 0;
  bool bWritten = true;
  m_oPlan.ForEachItem(
      nChange, [&](const TPlanItem& tItem) { bWritten = bWritten && WriteItems(nChange, tItem, nItems); });
  return bWritten && m_oEngine.UpdateChangeItemCount(nID, nItems + 1);
}

bool CImportWriter::WriteItems(TIndex nChange, const TPlanItem& tItem, std::uint32_t& nItems) {
  const CHistory& oHistory = m_oPlan.History();
  const bool bDeleted = tItem.nRevision == NONE;
  const std::string strRevision = bDeleted ? std::string() : oHistory.Number(tItem.nRevision);
  const std::int64_t nTime =
      bDeleted ? m_oPlan.Changes()[nChange].nTime : oHistory.Revisions()[tItem.nRevision].nTime;
  for (const std::string& strPath : m_oPaths.InModule(oHistory.Path(tItem.nFile))) {
    VCM::CFilePath oPath;
    oPath.Parse(VCM::FromBytes(strPath), VCM::CFilePath::PARSE_REPOSITORY);
    const bool bWritten =
        m_oEngine.AddChangeItem(m_anChangeIDs[nChange], ++nItems, TypeOf(tItem), oPath,
                                MCE::TCVSRevision(VCM::FromBytes(strRevision)), KeptTime(nTime));
    if (!bWritten) return false;
  }
  return true;
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

void CImportWriter::WriteStreams(MCE::CStreamList& oStreams) const {
  for (const TPlanStream& tPlanned : m_oPlan.Streams()) {
    const bool bHasParent = tPlanned.nParent != NONE;
    MCE::CProvider::TStreamInfo tStream;
    tStream.nID = static_cast<std::uint32_t>(oStreams.GetCount()) + 1;
    tStream.nParentID = bHasParent ? tPlanned.nParent + 1 : 0;
    tStream.strName = VCM::FromBytes(tPlanned.strName);
    if (bHasParent) {
      tStream.nBaseChangeID = m_anChangeIDs[tPlanned.nBase];
      tStream.oProps.SetProperty(
          MCE::STREAM_CREATED, static_cast<std::uint32_t>(KeptTime(m_oPlan.Changes()[tPlanned.nBase].nTime)));
    }
    if (tPlanned.nKind == TStreamKind::TAG) tStream.oProps.SetProperty(MCE::STREAM_IS_TAG, 1U);
    oStreams.Add(tStream);
  }
}

}  // namespace TALVEK::EXACT
