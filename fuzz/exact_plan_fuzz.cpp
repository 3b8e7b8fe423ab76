// All passes of the provider that equals the repository: from the text of a log to a plan and its check.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "exact/log_reader.h"
#include "exact/make_plan.h"
#include "fuzz/check.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/work_limits.h"
#include "tests/exact/text_source.h"

namespace TALVEK::FUZZ {

namespace {

using namespace EXACT;

constexpr int REPETITIONS = 64;
constexpr std::int64_t END_TIME = 1'100'000'000;  // in November 2004

/// A name on a file costs some records, and a line of a log may hold little more than that.
constexpr CWorkLimits::TRates RATES{.nHeapBytes = 512, .nAllocations = 8, .nMicroseconds = 100};

THistoryOptions OptionsOf(const CFuzzInput& oInput) {
  THistoryOptions tOptions;
  tOptions.bCreateBranches = !oInput.Has('b');
  tOptions.bStreamsForTags = !oInput.Has('t');
  tOptions.bUnnamedBranches = !oInput.Has('u');
  if (oInput.Has('e')) tOptions.nEndTime = END_TIME;
  if (oInput.Has('f')) tOptions.fnWanted = [](std::string_view strName) { return strName.size() % 2 == 0; };
  return tOptions;
}

void CheckItems(const CPlan& oPlan, TIndex nChange) {
  const CHistory& oHistory = oPlan.History();
  std::uint64_t nItems = 0;
  oPlan.ForEachItem(nChange, [&](const TPlanItem& tItem) {
    ++nItems;
    Check(tItem.nFile < oHistory.Files().size(), "an item has a file");
    for (const TIndex nRevision : {tItem.nRevision, tItem.nBefore}) {
      Check(nRevision == NONE || oHistory.FileOf(nRevision) == tItem.nFile,
            "an item's revisions are of its file");
    }
  });
  Check(nItems == oPlan.Changes()[nChange].nItems, "a change has as many items as it says");
}

void CheckChanges(const CPlan& oPlan) {
  for (TIndex nChange = 0; nChange < oPlan.Changes().size(); ++nChange) {
    CheckItems(oPlan, nChange);
    Check(!oPlan.Message(nChange).empty() || oPlan.Changes()[nChange].nKind == TChangeKind::OWN,
          "a change that is made up says so");
  }
}

/// Each change is in one stream, after the stream's base, at a time that is never before the one before.
void CheckStreams(const CPlan& oPlan) {
  std::size_t nChanges = 0;
  for (TIndex nStream = 0; nStream < oPlan.Streams().size(); ++nStream) {
    const TPlanStream& tStream = oPlan.Streams()[nStream];
    nChanges += tStream.anChanges.size();
    TIndex nBefore = tStream.nBase;
    Check((tStream.nBase == NONE) == (tStream.nParent == NONE),
          "a stream with a parent starts from a change");
    Check(nBefore == NONE || oPlan.Changes()[nBefore].nStream == tStream.nParent,
          "a stream starts from a change of its parent");
    for (const TIndex nChange : tStream.anChanges) {
      Check(oPlan.Changes()[nChange].nStream == nStream, "a change knows its stream");
      Check(nBefore == NONE || nBefore < nChange, "changes come in their order, after the base");
      Check(nBefore == NONE || oPlan.Changes()[nBefore].nTime <= oPlan.Changes()[nChange].nTime,
            "times of a stream never go back");
      nBefore = nChange;
    }
  }
  Check(nChanges == oPlan.Changes().size(), "each change is in one stream");
}

/// The plan's own check passes whatever the log was: what a damaged log lacks is no part of the history, and
/// its files have been named.
void CheckResult(const TMadePlan& tMade) {
  for (const TPlanDifference& tDifference : tMade.tCheck.atFirst)
    std::fprintf(stderr, "%s\n", tDifference.strWhat.c_str());
  Check(tMade.tCheck.nDifferences == 0, "the plan equals the history");
  Check(tMade.tCheck.nRefs == tMade.oPlan.Streams().size(), "each stream is proved");
}

/// Options: those of CFuzzInput::Expanded;  b, t, u  no branches, tags, branches without a name;  e  an end
/// date;  f  a filter of names.
void Run(const CFuzzInput& oInput) {
  const std::string strLog = oInput.Expanded(REPETITIONS);
  const CWorkLimits oLimits(strLog.size(), RATES);
  CTextSource oSource(strLog, SIZE_MAX);
  CLogReader oReader(oSource, "/repo", "mod");
  CHistory oHistory(OptionsOf(oInput));
  for (TRcsFile tFile; oReader.Next(tFile);)
    oHistory.AddFile(tFile);
  oHistory.Finish();
  const TMadePlan tMade = MakePlan(oHistory);
  oLimits.Check();
  CheckResult(tMade);
  CheckStreams(tMade.oPlan);
  CheckChanges(tMade.oPlan);
}

}  // namespace

}  // namespace TALVEK::FUZZ

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes) {
  TALVEK::FUZZ::Run(TALVEK::FUZZ::CFuzzInput(pBytes, nBytes));
  return 0;
}
