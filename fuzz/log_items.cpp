#include "fuzz/log_items.h"

#include <algorithm>

#include "fuzz/check.h"
#include "fuzz/piece_stream.h"

namespace TALVEK::FUZZ {

namespace {

std::size_t CountLines(std::string_view strLog) {
  const auto IsLineEnd = [](char ch) { return ch == '\n' || ch == '\r'; };
  return static_cast<std::size_t>(std::count_if(strLog.begin(), strLog.end(), IsLineEnd)) + 1;
}

void CheckPath(const VCM::CFilePath& oPath) {
  Check(!oPath.IsAbsolute(), "a file's path is relative");
  for (int i = 0; i < oPath.GetCount(); ++i) {
    const VCM::CString strItem = oPath.GetItemText(i);
    Check(!strItem.IsEmpty() && strItem != L"." && strItem != L"..", "a file's path stays inside the module");
    Check(strItem.Find(L'/') < 0, "an item of a path holds no separator");
  }
}

void CheckFileItem(const MCV::TLogItem& tItem) {
  CheckPath(tItem.oPath);
  Check(tItem.strAuthor.IsEmpty() && tItem.oTime.GetUTC() == 0, "a header has no author and no time");
  Check(tItem.astrTagNames.GetCount() == tItem.aoTagRevisions.GetCount(), "each name has its number");
  for (const VCM::CStringRef& strName : tItem.astrTagNames)
    Check(strName.GetText().Find(L':') < 0, "a name ends before the colon");
}

void CheckOtherItem(const MCV::TLogItem& tItem) {
  Check(tItem.oPath.GetCount() == 0 && tItem.astrTagNames.IsEmpty() && tItem.aoTagRevisions.IsEmpty() &&
            tItem.nTotalRevisions == 0,
        "only a header has a path, names and a count");
}

void CheckItem(const MCV::TLogItem& tItem) {
  Check(tItem.nState >= MCV::REVISION_LIVE && tItem.nState <= MCV::REVISION_OTHER, "a state is one of three");
  if (tItem.nKind == MCV::TLogItem::KIND_FILE) {
    CheckFileItem(tItem);
  } else {
    CheckOtherItem(tItem);
  }
}

TPlainItem Copy(const MCV::TLogItem& tItem) {
  TPlainItem tCopy{tItem.nKind,
                   std::wstring(tItem.oPath.GeneratePath().View()),
                   NumberOf(tItem.oRevision),
                   tItem.nTotalRevisions,
                   static_cast<long long>(tItem.oTime.GetUTC()),
                   std::wstring(tItem.strAuthor.GetText().View()),
                   tItem.nState,
                   std::wstring(tItem.strComment.View()),
                   {}};
  for (int i = 0; i < tItem.astrTagNames.GetCount(); ++i) {
    tCopy.atNames.emplace_back(tItem.astrTagNames[i].GetText().View(), NumberOf(tItem.aoTagRevisions[i]));
  }
  return tCopy;
}

}  // namespace

TLogOptions::TLogOptions(const CFuzzInput& oInput) : bKeepTags(oInput.Has('t')) {
  if (!oInput.Has('m')) strReposDir = L"/repo";
  astrIncludeTags.Add(oInput.Has('i') ? L"REL*" : L"*");
  if (oInput.Has('x')) astrExcludeTags.Add(L"*_x");
}

TNumber NumberOf(const MCE::TCVSRevision& oRevision) {
  return {oRevision.begin(), oRevision.end()};
}

std::vector<TPlainItem> ReadItems(std::string_view strLog, std::size_t nPiece, const TLogOptions& tOptions) {
  CPieceStream oStream(strLog, nPiece);
  MCV::CLogParser oParser(&oStream, tOptions.strModule, tOptions.strReposDir);
  const auto ReadItem = [&](MCV::TLogItem& tItem) {
    return oParser.GetNextItem(tItem, tOptions.astrIncludeTags, tOptions.astrExcludeTags, tOptions.bKeepTags);
  };
  const std::size_t nLines = CountLines(strLog);
  std::vector<TPlainItem> atItems;
  MCV::TLogItem tItem;
  while (ReadItem(tItem)) {
    CheckItem(tItem);
    atItems.push_back(Copy(tItem));
    Check(atItems.size() <= nLines, "no line is more than one item");
  }
  Check(oStream.GetBytesLeft() == 0, "the log is read to its end");
  Check(!ReadItem(tItem) && tItem.nKind == MCV::TLogItem::KIND_UNKNOWN, "the end stays the end");
  Check(oStream.GetReadsAtEnd() <= 1, "a stream that has ended isn't asked again");
  return atItems;
}

}  // namespace TALVEK::FUZZ
