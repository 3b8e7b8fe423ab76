// Putting a log's items together into files, and the lookups in a file.

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/check.h"
#include "fuzz/log_items.h"
#include "fuzz/piece_stream.h"
#include "fuzz/plain_files.h"
#include "fuzz/work_limits.h"
#include "mcv/number_lookup.h"

namespace TALVEK::FUZZ {

namespace {

constexpr std::size_t BLOCK_BYTES = 65536;
/// The lookups are compared with linear searches, which are too slow for more names or revisions.
constexpr std::size_t MAX_COMPARED = 400;
constexpr int REPETITIONS = 64;

bool BeginsWith(const TNumber& anNumber, const TNumber& anStart) {
  return anStart.size() <= anNumber.size() && std::equal(anStart.begin(), anStart.end(), anNumber.begin());
}

int PlainTagOfRevision(const TPlainFile& tFile, const TNumber& anRevision) {
  for (std::size_t i = 0; i < tFile.atNames.size(); ++i) {
    const TNumber& anName = tFile.atNames[i].anNumber;
    if (anName.size() + 1 == anRevision.size() && BeginsWith(anRevision, anName)) return static_cast<int>(i);
  }
  return -1;
}

int PlainParent(const TPlainFile& tFile, std::size_t nName) {
  const TPlainName& tName = tFile.atNames[nName];
  if (tName.anNumber.size() <= 3) return -1;
  for (std::size_t i = nName; i-- > 0;) {
    const TNumber& anOther = tFile.atNames[i].anNumber;
    if (anOther.size() + (tName.bIsBranch ? 2 : 1) <= tName.anNumber.size() &&
        BeginsWith(tName.anNumber, anOther))
      return static_cast<int>(i);
  }
  return -1;
}

void CheckLookups(const MCV::TFileInfo& tFile, const TPlainFile& tPlain) {
  if (tPlain.atNames.size() > MAX_COMPARED || tPlain.atRevisions.size() > MAX_COMPARED) return;
  for (const MCV::TRevInfo& tRevision : tFile.atRevisions) {
    Check(MCV::FindTagOfRevision(tFile, tRevision.oRevision) ==
              PlainTagOfRevision(tPlain, NumberOf(tRevision.oRevision)),
          "a revision belongs to the first name with its line's number");
    const MCV::TRevInfo* const ptFound = MCV::FindRevision(tFile, tRevision.oRevision);
    Check(ptFound && ptFound->oRevision == tRevision.oRevision, "each revision is found by its number");
  }
  MCV::CTagNesting oNesting(tFile);
  for (std::size_t i = 0; i < tPlain.atNames.size(); ++i)
    Check(oNesting.NextParent() == PlainParent(tPlain, i),
          "a name's parent is the last name whose number begins its own");
}

std::vector<TPlainFile> ReadFiles(std::string_view strLog, const TLogOptions& tOptions) {
  CPieceStream oStream(strLog, BLOCK_BYTES);
  MCV::CFileEnum oFiles(&oStream, tOptions.strModule, tOptions.strReposDir);
  std::vector<TPlainFile> atFiles;
  MCV::TFileInfo tFile;
  const auto ReadFile = [&] {
    return oFiles.GetNextFile(tFile, tOptions.astrIncludeTags, tOptions.astrExcludeTags, tOptions.bKeepTags);
  };
  while (ReadFile()) {
    atFiles.push_back(CopyOf(tFile));
    CheckLookups(tFile, atFiles.back());
  }
  Check(CopyOf(tFile) == TPlainFile() && !ReadFile(), "after the end there is no file, at any call");
  return atFiles;
}

/// Options: those of TLogOptions and of CFuzzInput::Expanded.
void Run(const CFuzzInput& oInput) {
  const TLogOptions tOptions(oInput);
  const std::string strLog = oInput.Expanded(REPETITIONS);
  const CWorkLimits oLimits(strLog.size());
  const std::vector<TPlainFile> atFiles = ReadFiles(strLog, tOptions);
  oLimits.Check();
  Check(atFiles == PlainFiles(ReadItems(strLog, BLOCK_BYTES, tOptions), tOptions.bKeepTags),
        "every item of a file is in the file");
}

}  // namespace

}  // namespace TALVEK::FUZZ

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes) {
  TALVEK::FUZZ::Run(TALVEK::FUZZ::CFuzzInput(pBytes, nBytes));
  return 0;
}
