#include "fuzz/history_checks.h"

#include <algorithm>
#include <set>
#include <string>
#include <tuple>

#include "core/text_codec.h"
#include "fuzz/check.h"
#include "fuzz/made_folders.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::FUZZ {

namespace {

constexpr std::uint32_t WINDOW_SECONDS = 300;
constexpr std::uint32_t ABSENT_TIME = 0xFFFFFFFF;

std::uint32_t TimeOf(const MCE::TChangeItemRecord& tItem) {
  return static_cast<std::uint32_t>(tItem.oTimestamp.GetUTC());
}

bool IsInside(const VCM::CFilePath& oPath) {
  if (oPath.IsAbsolute()) return false;
  for (int i = 0; i < oPath.GetCount(); ++i) {
    if (oPath.GetItemText(i) == L"." || oPath.GetItemText(i) == L"..") return false;
  }
  return true;
}

void CheckItems(const TStoredChange& tChange) {
  const std::uint32_t nBaseTime = tChange.tRecord.oProps.GetNumber(MCE::CHANGE_BASE_TIME, ABSENT_TIME);
  std::set<VCM::CString> astrPaths;
  std::uint32_t nLast = 0;
  for (std::size_t i = 0; i < tChange.atItems.size(); ++i) {
    const MCE::TChangeItemRecord& tItem = tChange.atItems[i];
    const std::uint32_t nTime = TimeOf(tItem);
    Check(tItem.nItem == i + 1, "items are numbered from 1");
    Check(tItem.nType <= MCE::CHANGE_ITEM_READD, "an item is of one of four types");
    Check(IsInside(tItem.oFilePath), "an item's path stays inside the module");
    Check(astrPaths.insert(tItem.oFilePath.GeneratePath()).second, "no file is twice in a change");
    Check(i > 0 || nTime == nBaseTime, "the first item's time is the change's base time");
    Check(std::max(nTime, nBaseTime) - std::min(nTime, nBaseTime) <= WINDOW_SECONDS,
          "an item's time lies within its change's window");
    nLast = std::max(nLast, nTime);
  }
  Check(tChange.tRecord.nTime == nLast, "a change's time is its last item's");
}

bool ComesBefore(const TStoredChange& tLeft, const TStoredChange& tRight) {
  return std::tie(tLeft.tRecord.nTime, tLeft.tRecord.nID) <
         std::tie(tRight.tRecord.nTime, tRight.tRecord.nID);
}

/// The changes of a stream, in the order in which the walk must return them.
std::vector<const TStoredChange*> ChangesOf(const std::vector<TStoredChange>& atChanges,
                                            std::uint32_t nStream) {
  std::vector<const TStoredChange*> aptChanges;
  for (const TStoredChange& tChange : atChanges) {
    if (tChange.tRecord.nStreamID == nStream) aptChanges.push_back(&tChange);
  }
  std::sort(aptChanges.begin(), aptChanges.end(),
            [](const auto* ptLeft, const auto* ptRight) { return ComesBefore(*ptLeft, *ptRight); });
  return aptChanges;
}

void WalkItems(CSearchedProvider& oProvider, const TStoredChange& tChange) {
  MCE::CProvider::TChangeItemInfo tItem;
  int nResult = oProvider.OnFirstChangeItem(tItem);
  for (const MCE::TChangeItemRecord& tStored : tChange.atItems) {
    Check(nResult != MCE::RESULT_END, "the walk shows every item");
    Check(tItem.nChangeID == tStored.nID && tItem.nType == tStored.nType &&
              tItem.oFilePath == tStored.oFilePath,
          "the walk shows the items as they are");
    nResult = oProvider.OnNextChangeItem(tItem);
  }
  Check(nResult == MCE::RESULT_END, "the walk shows no other item");
}

void WalkStream(CSearchedProvider& oProvider, const std::vector<const TStoredChange*>& aptChanges) {
  MCE::CProvider::TChangeInfo tChange;
  int nResult = oProvider.OnFirstChangeset(tChange);
  for (const TStoredChange* ptStored : aptChanges) {
    Check(nResult == MCE::RESULT_OK && tChange.nID == ptStored->tRecord.nID,
          "the walk shows a stream's changes in order of time");
    Check(tChange.nItemCount == ptStored->tRecord.nNextItem && tChange.strUser == ptStored->tRecord.strUser &&
              tChange.strComment == ptStored->tRecord.strComment,
          "the walk shows the changes as they are");
    WalkItems(oProvider, *ptStored);
    nResult = oProvider.OnNextChangeset(tChange);
  }
  Check(nResult == MCE::RESULT_END, "the walk shows no other change");
}

}  // namespace

void CheckStreams(const CSearchedProvider& oProvider) {
  Check(!oProvider.m_oStreams.IsEmpty() && oProvider.m_oStreams[0].strName == L"Main",
        "the first stream is Main");
  std::set<VCM::CString> astrNames;
  for (int i = 0; i < oProvider.m_oStreams.GetCount(); ++i) {
    const MCE::CProvider::TStreamInfo& tStream = oProvider.m_oStreams[i];
    VCM::CString strName = tStream.strName;
    strName.MakeLower();
    Check(tStream.nID == static_cast<unsigned>(i) + 1, "a stream's number is its place");
    Check(tStream.nParentID <= static_cast<unsigned>(oProvider.m_oStreams.GetCount()),
          "a parent is a stream");
    Check(i == 0 || tStream.nParentID != 0, "every stream but Main has a parent");
    Check(astrNames.insert(strName).second, "no two streams have one name");
  }
}

void CheckChanges(const CSearchedProvider& oProvider, const std::vector<TStoredChange>& atChanges) {
  const auto nStreams = static_cast<std::uint32_t>(oProvider.m_oStreams.GetCount());
  for (std::size_t i = 0; i < atChanges.size(); ++i) {
    const TStoredChange& tChange = atChanges[i];
    Check(tChange.tRecord.nID == i + 1, "changes are numbered from 1");
    Check(tChange.tRecord.nStreamID >= 1 && tChange.tRecord.nStreamID <= nStreams,
          "a change belongs to a stream");
    Check(!tChange.atItems.empty() && tChange.tRecord.nNextItem == tChange.atItems.size() + 1,
          "a change's next item is one more than its items");
    CheckItems(tChange);
  }
}

void CheckLinkage(const CSearchedProvider& oProvider, const std::vector<TStoredChange>& atChanges) {
  for (const MCE::CProvider::TStreamInfo& tStream : oProvider.m_oStreams) {
    const std::uint32_t nCreated = tStream.oProps.GetNumber(MCE::STREAM_CREATED, 0);
    std::uint32_t nBase = 0;
    for (const TStoredChange* ptChange : ChangesOf(atChanges, tStream.nParentID)) {
      if (ptChange->tRecord.nTime <= nCreated) nBase = ptChange->tRecord.nID;
    }
    Check(tStream.nBaseChangeID == nBase,
          "a stream starts from its parent's last change at or before its creation");
  }
}

void CheckWalk(CSearchedProvider& oProvider, const std::vector<TStoredChange>& atChanges) {
  static const TEST::CTempFolder s_oFolder;
  const std::string strWorkFolder = (s_oFolder / "work").string();
  const CMadeFolders oMade(strWorkFolder);
  for (const MCE::CProvider::TStreamInfo& tStream : oProvider.m_oStreams) {
    oProvider.OnBeginStream(tStream.nID, VCM::FromBytes(strWorkFolder).c_str());
    WalkStream(oProvider, ChangesOf(atChanges, tStream.nID));
  }
}

}  // namespace TALVEK::FUZZ
