#include "exact/trunk_view.h"

#include <algorithm>

namespace TALVEK::EXACT {

namespace {

/// Appends the vendor revisions that the trunk of this file shows.
void AddShown(const CHistory& oHistory, const TFile& tFile, std::vector<TIndex>& anShown) {
  if (tFile.nVendorLine == NONE) return;
  const std::vector<TRevision>& atRevisions = oHistory.Revisions();
  const TLine& tTrunk = oHistory.Lines()[tFile.nFirstLine];
  const TLine& tVendor = oHistory.Lines()[tFile.nVendorLine];
  const TRevision& tImport = atRevisions[tVendor.nFirstRevision];
  const TIndex nFirst = tTrunk.nFirstRevision;
  // 1.1 is the trunk's first revision wherever it is there.
  if (tVendor.nSprout != nFirst || tImport.nLast != 1 || tImport.nTime != atRevisions[nFirst].nTime) return;

  if (oHistory.IsAlive(nFirst) && (tImport.bDead || tImport.bDiffers)) anShown.push_back(nFirst);
  const bool bChangedLater = nFirst + 1 < tTrunk.nEndRevision;
  std::int64_t nNewest = tImport.nTime;
  for (TIndex n = tVendor.nFirstRevision; n < tVendor.nEndRevision; ++n) {
    nNewest = std::max(nNewest, atRevisions[n].nTime);
    if (n != tVendor.nFirstRevision && bChangedLater && nNewest >= atRevisions[nFirst + 1].nTime) return;
    anShown.push_back(n);
  }
}

/// The living revision with which the trunk's own dates leave the file.
TIndex LastByDate(const CHistory& oHistory, const TFile& tFile, const std::vector<TIndex>& anShown,
                  TIndex nFirstShown) {
  const TLine& tTrunk = oHistory.Lines()[tFile.nFirstLine];
  TIndex nLast = oHistory.Tip(tTrunk);
  if (nLast == tTrunk.nFirstRevision && nFirstShown < anShown.size()) nLast = anShown.back();
  return oHistory.IsAlive(nLast) ? nLast : NONE;
}

}  // namespace

TTrunkView MakeTrunkView(const CHistory& oHistory) {
  TTrunkView tView;
  for (TIndex nFile = 0; nFile < oHistory.Files().size(); ++nFile) {
    const TFile& tFile = oHistory.Files()[nFile];
    const TIndex nFirstShown = static_cast<TIndex>(tView.anShown.size());
    tView.anFirstShown.push_back(nFirstShown);
    AddShown(oHistory, tFile, tView.anShown);
    if (tFile.bCut) continue;
    const TIndex nBefore = LastByDate(oHistory, tFile, tView.anShown, nFirstShown);
    if (nBefore != tFile.nTrunkEnd) tView.atEnds.push_back({nFile, tFile.nTrunkEnd, nBefore});
  }
  tView.anFirstShown.push_back(static_cast<TIndex>(tView.anShown.size()));
  return tView;
}

}  // namespace TALVEK::EXACT
