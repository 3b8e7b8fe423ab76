#include "tests/exact/plan_dump.h"

namespace TALVEK::EXACT::TEST {

namespace {

const char* Word(TStreamKind nKind) {
  switch (nKind) {
    case TStreamKind::MAIN:
      return "trunk";
    case TStreamKind::VENDOR:
      return "vendor";
    case TStreamKind::TAG:
      return "tag";
    default:
      return "branch";
  }
}

const char* Word(TChangeKind nKind) {
  switch (nKind) {
    case TChangeKind::START:
      return "start";
    case TChangeKind::JOIN:
      return "join";
    case TChangeKind::END_OF_TRUNK:
      return "end";
    default:
      return "own";
  }
}

}  // namespace

std::string Dump(const CPlan& oPlan) {
  std::string strDump;
  for (const TPlanStream& tStream : oPlan.Streams()) {
    strDump += tStream.strName + " " + Word(tStream.nKind);
    if (tStream.nBase != NONE) {
      strDump += " from " + oPlan.Streams()[tStream.nParent].strName + " #" + std::to_string(tStream.nBase);
    }
    strDump += "\n";
  }
  for (TIndex nChange = 0; nChange < oPlan.Changes().size(); ++nChange) {
    const TPlanChange& tChange = oPlan.Changes()[nChange];
    strDump += "#" + std::to_string(nChange) + " " + oPlan.Streams()[tChange.nStream].strName + " " +
               Word(tChange.nKind) + " " + std::to_string(tChange.nTime);
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
