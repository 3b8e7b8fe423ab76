#include "fuzz/plain_files.h"

#include <algorithm>

namespace TALVEK::FUZZ {

namespace {

/// Equal numbers come out in the reverse of the log's order, as CArray::Sort leaves them.
template <class TRecord>
void SortByNumber(std::vector<TRecord>& atRecords) {
  std::reverse(atRecords.begin(), atRecords.end());
  std::stable_sort(atRecords.begin(), atRecords.end(), [](const TRecord& tLeft, const TRecord& tRight) {
    return tLeft.anNumber < tRight.anNumber;
  });
}

TPlainName PlainName(const std::wstring& strName, TNumber anNumber) {
  bool bIsBranch = false;
  const std::size_t nCount = anNumber.size();
  if (nCount > 1 && anNumber[nCount - 2] == 0) {
    anNumber.erase(anNumber.end() - 2);
    bIsBranch = true;
  }
  if (anNumber == TNumber{1, 1, 1}) return {strName, {1}, true};
  const bool bOnVendorBranch =
      anNumber.size() > 3 && TNumber(anNumber.begin(), anNumber.begin() + 3) == TNumber{1, 1, 1};
  if (bOnVendorBranch) anNumber.erase(anNumber.begin(), anNumber.begin() + 2);
  return {strName, anNumber, bIsBranch};
}

}  // namespace

TPlainFile CopyOf(const MCV::TFileInfo& tFile) {
  TPlainFile tCopy{std::wstring(tFile.oPath.GeneratePath().View()), {}, {}};
  for (const MCV::TTagInfo& tTag : tFile.atTags) {
    tCopy.atNames.push_back(
        {std::wstring(tTag.strName.GetText().View()), NumberOf(tTag.oRevision), tTag.bIsBranch});
  }
  for (const MCV::TRevInfo& tRevision : tFile.atRevisions) {
    tCopy.atRevisions.push_back({NumberOf(tRevision.oRevision),
                                 static_cast<long long>(tRevision.oTime.GetUTC()), tRevision.nState,
                                 std::wstring(tRevision.strAuthor.GetText().View()),
                                 std::wstring(tRevision.strMessage.GetText().View())});
  }
  return tCopy;
}

std::vector<TPlainFile> PlainFiles(const std::vector<TPlainItem>& atItems, bool bKeepTags) {
  std::vector<TPlainFile> atFiles;
  bool bInFile = false;
  for (const TPlainItem& tItem : atItems) {
    if (tItem.nKind == MCV::TLogItem::KIND_FILE) {
      atFiles.push_back({tItem.strPath, {}, {}});
      for (const auto& [strName, anNumber] : tItem.atNames) {
        TPlainName tName = PlainName(strName, anNumber);
        if (tName.bIsBranch || bKeepTags) atFiles.back().atNames.push_back(std::move(tName));
      }
      bInFile = true;
    } else if (tItem.nKind == MCV::TLogItem::KIND_REVISION && bInFile) {
      atFiles.back().atRevisions.push_back(
          {tItem.anRevision, tItem.nTime, tItem.nState, tItem.strAuthor, tItem.strComment});
    } else {
      bInFile = false;  // items up to the next header belong to no file
    }
  }
  // If the log's last items belong to no file, there is one last, empty file.
  if (!bInFile && !atItems.empty()) atFiles.push_back({});
  for (TPlainFile& tFile : atFiles) {
    SortByNumber(tFile.atNames);
    SortByNumber(tFile.atRevisions);
  }
  return atFiles;
}

}  // namespace TALVEK::FUZZ
