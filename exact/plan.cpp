#include "exact/plan.h"

#include <ctime>

namespace TALVEK::EXACT {

namespace {

/// How many files the message of a made-up change lists.
constexpr std::uint64_t FILES_LISTED = 50;

std::string UtcText(std::int64_t nTime) {
  const std::time_t nSeconds = static_cast<std::time_t>(nTime);
  std::tm tParts{};
  char szText[64];
  if (::gmtime_r(&nSeconds, &tParts) == nullptr) return std::to_string(nTime);
  std::strftime(szText, sizeof szText, "%Y-%m-%d %H:%M:%S UTC", &tParts);
  return szText;
}

/// What the items of a made-up change do, in numbers and for the first files.
struct TSummary {
  std::uint64_t nSet = 0;
  std::uint64_t nDeleted = 0;
  std::string strFiles;
};

TSummary Summary(const CPlan& oPlan, TIndex nChange) {
  const CHistory& oHistory = oPlan.History();
  TSummary tSummary;
  oPlan.ForEachItem(nChange, [&](const TPlanItem& tItem) {
    if (tSummary.nSet + tSummary.nDeleted < FILES_LISTED) {
      tSummary.strFiles += oHistory.Path(tItem.nFile);
      if (tItem.nRevision == NONE) {
        tSummary.strFiles += " isn't in it\n";
      } else if (tItem.nBefore == NONE) {
        tSummary.strFiles += " " + oHistory.Number(tItem.nRevision) + " is new\n";
      } else {
        tSummary.strFiles +=
            " " + oHistory.Number(tItem.nRevision) + " instead of " + oHistory.Number(tItem.nBefore) + "\n";
      }
    }
    ++(tItem.nRevision == NONE ? tSummary.nDeleted : tSummary.nSet);
  });
  const std::uint64_t nAll = tSummary.nSet + tSummary.nDeleted;
  if (nAll > FILES_LISTED) tSummary.strFiles += "and " + CountText(nAll - FILES_LISTED, "file") + " more\n";
  if (!tSummary.strFiles.empty()) tSummary.strFiles.pop_back();
  return tSummary;
}

std::string FirstLineOfStart(const CPlan& oPlan, const TPlanStream& tStream, const TSummary& tSummary) {
  const std::string strBegin =
      (tStream.nKind == TStreamKind::TAG ? "State of tag " : "Start of branch ") + tStream.strName + ": ";
  if (tStream.nBase == NONE) return strBegin + CountText(tSummary.nSet, "file");
  return strBegin + CountText(tSummary.nSet, "file") +
         (tSummary.nSet == 1 ? " differs from " : " differ from ") +
         oPlan.Streams()[tStream.nParent].strName + " at " + UtcText(oPlan.Changes()[tStream.nBase].nTime) +
         ", " + std::to_string(tSummary.nDeleted) +
         (tSummary.nDeleted == 1 ? " is not in it" : " are not in it");
}

}  // namespace

std::string CountText(std::uint64_t nCount, const std::string& strNoun) {
  return std::to_string(nCount) + ' ' + strNoun + (nCount == 1 ? "" : "s");
}

std::string CPlan::Author(TIndex nChange) const {
  const TIndex nLead = m_atChanges[nChange].nLead;
  return nLead == NONE ? "cvsexact" : m_poHistory->Texts().Get(m_poHistory->Revisions()[nLead].nAuthor);
}

std::string CPlan::Message(TIndex nChange) const {
  const TPlanChange& tChange = m_atChanges[nChange];
  if (tChange.nLead != NONE)
    return m_poHistory->Messages().Get(m_poHistory->Revisions()[tChange.nLead].nMessage);

  const TPlanStream& tStream = m_atStreams[tChange.nStream];
  const TSummary tSummary = Summary(*this, nChange);
  const std::string strFiles = "\n\n" + tSummary.strFiles;
  switch (tChange.nKind) {
    case TChangeKind::JOIN:
      return "Files that joined branch " + tStream.strName + ": " + CountText(tSummary.nSet, "file") +
             "\n\nCVS has no such commit: files were put on the branch after its first change." + strFiles;
    case TChangeKind::END_OF_TRUNK:
      return "The trunk as default branches have it: " +
             CountText(tSummary.nSet + tSummary.nDeleted, "file") +
             "\n\nCVS has no such commit: default branches show these files otherwise than the trunk's last "
             "revisions." +
             strFiles;
    default:
      return FirstLineOfStart(*this, tStream, tSummary) +
             "\n\nCVS has no such commit: it keeps names file by file, and no change left the files in this "
             "state." +
             strFiles;
  }
}

}  // namespace TALVEK::EXACT
