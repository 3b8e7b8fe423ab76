#include "plan_dump.h"

namespace TALVEK::EXACT::TEST {

namespace {

const char* Word(TStreamKind eKind) {
  switch (eKind) {
    case TStreamKind::Trunk:
      return "trunk";
    case TStreamKind::Vendor:
      return "vendor";
    case TStreamKind::Tag:
      return "tag";
    default:
      return "branch";
  }
}

const char* Word(TChangeKind eKind) {
  switch (eKind) {
    case TChangeKind::Start:
      return "start";
    case TChangeKind::Join:
      return "join";
    case TChangeKind::EndOfTrunk:
      return "end";
    default:
      return "own";
  }
}

}  // namespace

std::string Dump(const CPlan& oPlan) {
  std::string strDump;
  for (const TPlanStream& tStream : oPlan.Streams()) {
    strDump += tStream.strName + " " + Word(tStream.eKind);
    if (tStream.nBase != NONE) {
      strDump += " from " + oPlan.Streams()[tStream.nParent].strName + " #" + std::to_string(tStream.nBase);
    }
    strDump += "\n";
  }
  for (TIndex nChange = 0; nChange < oPlan.Changes().size(); ++nChange) {
    const TPlanChange& tChange = oPlan.Changes()[nChange];
    strDump += "#" + std::to_string(nChange) + " " + oPlan.Streams()[tChange.nStream].strName + " " +
               Word(tChange.eKind) + " " + std::to_string(tChange.nTime);
    if (tChange.nCvsTime != tChange.nTime) strDump += " (" + std::to_string(tChange.nCvsTime) + ")";
    if (tChange.nLead != NONE) strDump += " " + oPlan.Author(nChange) + ": " + oPlan.Message(nChange);
    strDump += "\n";
    oPlan.ForEachItem(nChange, [&](const TPlanItem& tItem) {
      const CHistory& oHistory = oPlan.History();
      strDump += "  " + oHistory.Path(tItem.nFile) + " ";
      strDump += tItem.nRevision == NONE ? "deleted" : oHistory.Number(tItem.nRevision);
      if (tItem.nBefore != NONE) strDump += " was " + oHistory.Number(tItem.nBefore);
      strDump += "\n";
    });
  }
  return strDump;
}

}  // namespace TALVEK::EXACT::TEST
