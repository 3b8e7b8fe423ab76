#include "mcv/change_items.h"

#include <utility>

#include "mcv/number_lookup.h"

namespace TALVEK::MCV {

namespace {

constexpr long NEVER = -1;

/// The path below the module: all items but the first.
VCM::CFilePath PathInModule(const VCM::CFilePath& oPath) {
  VCM::CFilePath oInModule = oPath;
  oInModule.RemoveFirstItem();
  return oInModule;
}

bool IsFirstVendorRevision(const MCE::TCVSRevision& oRevision) {
  if (oRevision.GetCount() != 4) return false;
  for (const std::uint32_t nComponent : oRevision) {
    if (nComponent != 1) return false;
  }
  return true;
}

/// When revision `nRevision` is replaced: at the commit of the next revision in the list, on whatever branch.
/// 1.1.1.1 is skipped, because `cvs import` makes it together with 1.1.
long GetEndTime(const VCM::CArray<TRevInfo>& atRevisions, int nRevision) {
  int nNext = nRevision + 1;
  if (nNext < atRevisions.GetCount() && IsFirstVendorRevision(atRevisions[nNext].oRevision)) ++nNext;
  return nNext < atRevisions.GetCount() ? static_cast<long>(atRevisions[nNext].oTime.GetUTC()) : NEVER;
}

/// Tells what each revision of one file does, in their order. The flags are for the file, not for each
/// branch: on a branch, too, the first revision of a file that exists on the trunk is an edit.
class CChangeTypes {
 public:
  /// False when the revision is no change.
  bool Next(int nState, MCE::TChangeItemType& nType) {
    if (nState == REVISION_LIVE) {
      nType = !m_bAdded ? MCE::CHANGE_ITEM_ADD : m_bDeleted ? MCE::CHANGE_ITEM_READD : MCE::CHANGE_ITEM_EDIT;
      if (m_bAdded) m_bDeleted = false;
      m_bAdded = true;
      return true;
    }
    if (nState != REVISION_DEAD || !m_bAdded) return false;
    nType = MCE::CHANGE_ITEM_DELETE;
    m_bDeleted = true;
    return true;
  }

 private:
  bool m_bAdded = false;
  bool m_bDeleted = false;
};

/// Place of the stream that a revision belongs to, or -1.
int ChooseStream(const TFileInfo& tFile, const MCE::TCVSRevision& oRevision,
                 const MCE::CStreamList& oStreams) {
  if (oRevision.GetCount() == 2) return 0;
  const int nTag = FindTagOfRevision(tFile, oRevision);
  return nTag < 0 ? -1 : oStreams.FindByName(tFile.atTags[nTag].strName.GetText().View());
}

}  // namespace

void AddFileChanges(TFileInfo& tFile, MCE::CProvider::TStreamInfo& tStream, const MCE::CStreamList& oStreams,
                    MCE::CProviderBase& oEngine) {
  const VCM::CFilePath oPath = PathInModule(tFile.oPath);
  CChangeTypes oTypes;
  int nInRecord = -1;  // place of the stream that `tStream` is a copy of
  for (int i = 0; i < tFile.atRevisions.GetCount(); ++i) {
    TRevInfo& tRevision = tFile.atRevisions[i];
    const int nStream = ChooseStream(tFile, tRevision.oRevision, oStreams);
    if (nStream >= 0 && nStream != nInRecord) {  // usually the stream of the revision before
      tStream = oStreams[nStream];
      nInRecord = nStream;
    }
    tStream.nID = nStream < 0 ? 0 : oStreams[nStream].nID;
    MCE::TChangeItemType nType{};
    if (tStream.nID == 0 || !oTypes.Next(tRevision.nState, nType)) continue;
    const bool bStored = oEngine.AddChangeItem(
        tStream, tRevision.strAuthor, nType, oPath, static_cast<long>(tRevision.oTime.GetUTC()),
        tRevision.strMessage, std::move(tRevision.oRevision), GetEndTime(tFile.atRevisions, i));
    if (!bStored) oEngine.ReportLostChanges();
  }
}

}  // namespace TALVEK::MCV
