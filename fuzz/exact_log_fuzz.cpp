// Reading the output of `cvs rlog` with exact/log_reader.h.

#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "exact/log_reader.h"
#include "fuzz/check.h"
#include "fuzz/fuzz_input.h"
#include "tests/exact/text_source.h"

namespace TALVEK::FUZZ {

namespace {

using namespace EXACT;

constexpr int REPETITIONS = 64;

std::vector<TRcsFile> ReadFiles(std::string_view strLog, std::size_t nPieceBytes) {
  CTextSource oSource(strLog, nPieceBytes);
  CLogReader oReader(oSource, "/repo");
  std::vector<TRcsFile> atFiles;
  for (TRcsFile tFile; oReader.Next(tFile);)
    atFiles.push_back(tFile);
  return atFiles;
}

std::string TimeText(std::int64_t nTime) {
  const std::chrono::sys_seconds oTime{std::chrono::seconds(nTime)};
  const auto oDay = std::chrono::floor<std::chrono::days>(oTime);
  const std::chrono::year_month_day oDate(oDay);
  const std::int64_t nSeconds = (oTime - oDay).count();
  char achText[64];
  std::snprintf(achText, sizeof achText, "%04d/%02u/%02u %02d:%02d:%02d", static_cast<int>(oDate.year()),
                static_cast<unsigned>(oDate.month()), static_cast<unsigned>(oDate.day()),
                static_cast<int>(nSeconds / 3600), static_cast<int>(nSeconds / 60 % 60),
                static_cast<int>(nSeconds % 60));
  return achText;
}

/// Writes all facts of a file as a log, in the client's format.
std::string LogText(const TRcsFile& tFile) {
  // The reader removes one folder "Attic". So there is one more, in case the path itself has an Attic.
  const std::size_t nName = tFile.strPath.rfind('/') + 1;
  std::string strLog = "\nRCS file: /repo/" + tFile.strPath.substr(0, nName) + "Attic/" +
                       tFile.strPath.substr(nName) + ",v\nhead: " + NumberText(tFile.nHead) +
                       "\nbranch: " + NumberText(tFile.nDefaultBranch) +
                       "\nlocks: strict\naccess list:\nsymbolic names:\n";
  for (const TRcsName& tName : tFile.atNames)
    strLog += "\t" + tName.strName + ": " + NumberText(tName.nNumber) + "\n";
  const std::string strCount = std::to_string(tFile.atRevisions.size());
  strLog += "keyword substitution: kv\ntotal revisions: " + strCount + ";\tselected revisions: " + strCount +
            "\ndescription:\n";
  std::set<TNumber> nLines;
  for (const TRcsRevision& tRevision : tFile.atRevisions)
    nLines.emplace(tRevision.nNumber.begin(), tRevision.nNumber.end() - 1);
  for (const TRcsRevision& tRevision : tFile.atRevisions) {
    strLog += "----------------------------\nrevision " + NumberText(tRevision.nNumber) +
              "\ndate: " + TimeText(tRevision.nTime) + ";  author: " + tRevision.strAuthor +
              ";  state: " + (tRevision.bDead ? "dead" : "Exp") + ";  commitid: " + tRevision.strCommitId +
              ";\n";
    std::string strBranches;
    for (auto oLine = nLines.lower_bound(tRevision.nNumber);
         oLine != nLines.end() && oLine->size() > tRevision.nNumber.size() &&
         std::equal(tRevision.nNumber.begin(), tRevision.nNumber.end(), oLine->begin());
         ++oLine)
      if (oLine->size() == tRevision.nNumber.size() + 1) strBranches += "  " + NumberText(*oLine) + ";";
    if (!strBranches.empty()) strLog += "branches:" + strBranches + "\n";
    strLog += tRevision.strMessage + "\n";
  }
  return strLog + "=============================================================================\n";
}

/// All that is read of a file, except what was odd in its log.
std::string Facts(const TRcsFile& tFile) {
  return tFile.strPath + "\n" + LogText(tFile);
}

std::string AllFacts(const std::vector<TRcsFile>& atFiles) {
  std::string strText;
  for (const TRcsFile& tFile : atFiles)
    strText += Facts(tFile) + (tFile.bIncomplete ? "incomplete: " : "whole: ") + tFile.strRepair + "\n";
  return strText;
}

/// All numbers that follow "revisions:".
std::set<std::size_t> CountsOf(std::string_view strLog) {
  constexpr std::string_view BEFORE = "revisions:";
  std::set<std::size_t> nCounts;
  for (std::size_t nAt = strLog.find(BEFORE); nAt != std::string_view::npos; nAt = strLog.find(BEFORE, nAt)) {
    nAt = strLog.find_first_not_of(" \t", nAt + BEFORE.size());
    std::size_t nCount = 0;
    if (nAt == std::string_view::npos) break;
    std::from_chars(strLog.data() + nAt, strLog.data() + strLog.size(), nCount);
    nCounts.insert(nCount);
  }
  return nCounts;
}

void CheckFile(const TRcsFile& tFile, const std::set<std::size_t>& nCounts) {
  std::set<TNumber> nNumbers;
  bool bTimesCanBeWritten = true;
  for (const TRcsRevision& tRevision : tFile.atRevisions) {
    Check(!tRevision.nNumber.empty() && tRevision.nNumber.size() % 2 == 0,
          "a revision's number has an even count of parts");
    Check(nNumbers.insert(tRevision.nNumber).second, "no number comes twice");
    // Only the years 101 to 9998: with a time zone, others may not have four digits.
    bTimesCanBeWritten =
        bTimesCanBeWritten && tRevision.nTime > -58'979'000'000 && tRevision.nTime < 253'370'000'000;
  }
  Check(!tFile.bIncomplete || !tFile.strRepair.empty(), "a loss is named");
  Check(tFile.bIncomplete || nCounts.contains(tFile.atRevisions.size()),
        "a file has as many revisions as its log says");
  if (!tFile.strRepair.empty() || !bTimesCanBeWritten) return;
  const std::vector<TRcsFile> atAgain = ReadFiles(LogText(tFile), SIZE_MAX);
  Check(atAgain.size() == 1 && atAgain.front().strRepair.empty() && Facts(atAgain.front()) == Facts(tFile),
        "the log of what was read gives the same again");
}

/// Options: those of CFuzzInput::Expanded;  1, 7  also read in pieces of that many bytes.
void Run(const CFuzzInput& oInput) {
  const std::string strLog = oInput.Expanded(REPETITIONS);
  const std::vector<TRcsFile> atFiles = ReadFiles(strLog, SIZE_MAX);
  const std::set<std::size_t> nCounts = CountsOf(strLog);
  for (const TRcsFile& tFile : atFiles)
    CheckFile(tFile, nCounts);
  for (const std::size_t nPiece : {std::size_t{1}, std::size_t{7}}) {
    if (!oInput.Has(static_cast<char>('0' + nPiece))) continue;
    Check(AllFacts(ReadFiles(strLog, nPiece)) == AllFacts(atFiles),
          "the files don't depend on how the bytes arrive");
  }
}

}  // namespace

}  // namespace TALVEK::FUZZ

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes) {
  TALVEK::FUZZ::Run(TALVEK::FUZZ::CFuzzInput(pBytes, nBytes));
  return 0;
}
