#include "fuzz/plain_history.h"

#include <algorithm>
#include <tuple>

#include "fuzz/check.h"
#include "fuzz/log_items.h"
#include "fuzz/piece_stream.h"
#include "tests/mce/plain_grouping.h"

namespace TALVEK::FUZZ {

namespace {

constexpr std::uint32_t NEVER = 0xFFFFFFFF;
/// The plain grouping sorts all changes for each item, which is too slow for more items.
constexpr std::size_t MAX_GROUPED = 120;

std::uint32_t TimeOf(const MCV::TRevInfo& tRevision) {
  return static_cast<std::uint32_t>(tRevision.oTime.GetUTC());
}

/// 0 when there is none.
std::uint32_t StreamNamed(const CSearchedProvider& oProvider, const VCM::CString& strName) {
  for (const MCE::CProvider::TStreamInfo& tStream : oProvider.m_oStreams) {
    if (tStream.strName.EqualsNoCase(strName.View())) return tStream.nID;
  }
  return 0;
}

std::uint32_t StreamOf(const MCV::TFileInfo& tFile, const MCE::TCVSRevision& oRevision,
                       const CSearchedProvider& oProvider) {
  if (oRevision.GetCount() == 2) return 1;
  for (const MCV::TTagInfo& tTag : tFile.atTags) {
    if (tTag.oRevision.GetCount() + 1 == oRevision.GetCount() && tTag.oRevision.IsPrefixOf(oRevision))
      return StreamNamed(oProvider, tTag.strName);
  }
  return 0;
}

std::uint32_t EndTimeOf(const MCV::TFileInfo& tFile, int nRevision) {
  int nNext = nRevision + 1;
  if (nNext < tFile.atRevisions.GetCount() && tFile.atRevisions[nNext].oRevision.GetText() == L"1.1.1.1")
    ++nNext;
  return nNext < tFile.atRevisions.GetCount() ? TimeOf(tFile.atRevisions[nNext]) : NEVER;
}

/// False when a revision of this state is no change. The flags are the file's.
bool TypeOf(int nState, bool& bAdded, bool& bDeleted, std::uint32_t& nType) {
  if (nState == MCV::REVISION_OTHER || (nState == MCV::REVISION_DEAD && !bAdded)) return false;
  if (nState == MCV::REVISION_DEAD) {
    nType = MCE::CHANGE_ITEM_DELETE;
    bDeleted = true;
  } else if (!bAdded) {
    nType = MCE::CHANGE_ITEM_ADD;
    bAdded = true;
  } else {
    nType = bDeleted ? MCE::CHANGE_ITEM_READD : MCE::CHANGE_ITEM_EDIT;
    bDeleted = false;
  }
  return true;
}

void AppendItems(const MCV::TFileInfo& tFile, const CSearchedProvider& oProvider,
                 std::vector<TPlainChangeItem>& atItems) {
  VCM::CFilePath oPath = tFile.oPath;
  oPath.RemoveFirstItem();
  bool bAdded = false;
  bool bDeleted = false;
  for (int i = 0; i < tFile.atRevisions.GetCount(); ++i) {
    const MCV::TRevInfo& tRevision = tFile.atRevisions[i];
    const std::uint32_t nStream = StreamOf(tFile, tRevision.oRevision, oProvider);
    std::uint32_t nType = 0;
    if (nStream == 0 || !TypeOf(tRevision.nState, bAdded, bDeleted, nType)) continue;
    atItems.push_back({nStream, tRevision.strAuthor, nType, oPath, TimeOf(tRevision), tRevision.strMessage,
                       tRevision.oRevision.GetText(), EndTimeOf(tFile, i)});
  }
}

using TLine = std::tuple<std::uint32_t, VCM::CString, VCM::CString, std::uint32_t>;

std::vector<TLine> LinesOf(const std::vector<TPlainChangeItem>& atItems) {
  std::vector<TLine> atLines;
  for (const TPlainChangeItem& tItem : atItems)
    atLines.emplace_back(tItem.nStream, tItem.oPath.GeneratePath(), tItem.strRevision, tItem.nType);
  return atLines;
}

std::vector<TLine> LinesOf(const std::vector<TStoredChange>& atChanges) {
  std::vector<TLine> atLines;
  for (const TStoredChange& tChange : atChanges) {
    for (const MCE::TChangeItemRecord& tItem : tChange.atItems) {
      VCM::CString strRevision;
      Check(tItem.oProps.GetProperty(MCE::ITEM_FOREIGN_REVISION, strRevision), "an item has its revision");
      atLines.emplace_back(tChange.tRecord.nStreamID, tItem.oFilePath.GeneratePath(), strRevision,
                           tItem.nType);
    }
  }
  return atLines;
}

void CompareChange(const TEST::CPlainGrouping::TChange& tExpected, const TStoredChange& tStored) {
  const MCE::TChangeRecord& tRecord = tStored.tRecord;
  Check(tRecord.nID == tExpected.nID && tRecord.nStreamID == tExpected.nStream &&
            tRecord.nTime == tExpected.nTime && tRecord.strUser == tExpected.strUser &&
            tRecord.strComment == tExpected.strComment && tRecord.nNextItem == tExpected.nNextItem,
        "changes are grouped by the rules");
  Check(tRecord.oProps.GetNumber(MCE::CHANGE_BASE_TIME, 0) == tExpected.nBaseTime &&
            tRecord.oProps.GetNumber(MCE::CHANGE_MAX_TIME, 0) == tExpected.nMaxTime,
        "a change's times are those that the rules give");
  Check(tStored.atItems.size() == tExpected.atItems.size(), "a change has the items that the rules give it");
  for (std::size_t i = 0; i < tStored.atItems.size(); ++i) {
    Check(
        tStored.atItems[i].oFilePath == tExpected.atItems[i].oPath &&
            static_cast<std::uint32_t>(tStored.atItems[i].oTimestamp.GetUTC()) == tExpected.atItems[i].nTime,
        "items are in the change that the rules give them");
  }
}

void CompareGrouping(const std::vector<TPlainChangeItem>& atExpected,
                     const std::vector<TStoredChange>& atChanges) {
  TEST::CPlainGrouping oPlain;
  for (const TPlainChangeItem& tItem : atExpected)
    oPlain.AddItem(tItem.nStream, tItem.strUser, tItem.oPath, tItem.nTime, tItem.strComment, 0, true,
                   tItem.nEndTime);
  const std::vector<TEST::CPlainGrouping::TChange> atPlain = oPlain.InOrder();
  Check(atPlain.size() == atChanges.size(), "there are as many changes as the rules give");
  for (const TEST::CPlainGrouping::TChange& tPlain : atPlain)
    CompareChange(tPlain, atChanges[tPlain.nID - 1]);
}

}  // namespace

std::vector<TPlainChangeItem> PlainItems(std::string_view strLog, const CFuzzInput& oInput,
                                         const CSearchedProvider& oProvider) {
  const TLogOptions tOptions(oInput);
  CPieceStream oStream(strLog, strLog.size() + 1);
  MCV::CFileEnum oFiles(&oStream, tOptions.strModule, tOptions.strReposDir);
  std::vector<TPlainChangeItem> atItems;
  MCV::TFileInfo tFile;
  while (oFiles.GetNextFile(tFile, tOptions.astrIncludeTags, tOptions.astrExcludeTags, tOptions.bKeepTags))
    AppendItems(tFile, oProvider, atItems);
  return atItems;
}

void CompareItems(const std::vector<TPlainChangeItem>& atExpected,
                  const std::vector<TStoredChange>& atChanges) {
  std::vector<TLine> atExpectedLines = LinesOf(atExpected);
  std::vector<TLine> atStoredLines = LinesOf(atChanges);
  std::sort(atExpectedLines.begin(), atExpectedLines.end());
  std::sort(atStoredLines.begin(), atStoredLines.end());
  Check(atExpectedLines == atStoredLines, "every revision that is a change is one item");
  if (atExpected.size() <= MAX_GROUPED) CompareGrouping(atExpected, atChanges);
}

}  // namespace TALVEK::FUZZ
