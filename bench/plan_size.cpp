// Makes a history of a given size in memory, file by file, plans its import, and prints processor seconds and
// peak memory of each step.
//
//     plan-size REVISIONS FILES NAMES
//
// Every tenth name is a branch, with revisions of its own in one file of twenty. A name marks the state of
// one moment, except in one file of 500, where it marks the revision before, like a tag that was moved. So
// most names need a start change.

#include "exact/make_plan.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <sys/resource.h>

namespace TALVEK::EXACT {

namespace {

std::uint64_t Mix(std::uint64_t n) {
  n = (n + 1) * 0x9E3779B97F4A7C15;
  n = (n ^ (n >> 30)) * 0xBF58476D1CE4E5B9;
  n = (n ^ (n >> 27)) * 0x94D049BB133111EB;
  return n ^ (n >> 31);
}

constexpr std::uint64_t FILES_PER_COMMIT = 4;
constexpr std::uint64_t BRANCH_COMMITS = 50;

struct TShape {
  std::uint64_t nRevisions, nFiles, nNames;
  std::uint64_t Commits() const { return nRevisions / FILES_PER_COMMIT + 1; }
  std::uint64_t CommitOfName(std::uint64_t nName) const { return Commits() * (nName + 1) / (nNames + 1); }
};

void AddRevision(TRcsFile& tFile, TNumber nNumber, std::uint64_t nCommit, std::int64_t nTime) {
  TRcsRevision t;
  t.nNumber = std::move(nNumber);
  t.nTime = nTime;
  t.strAuthor = "author" + std::to_string(Mix(nCommit) % 200);
  t.strMessage = "Change number " + std::to_string(nCommit) + " of this history.\n\n" +
                 std::string(Mix(nCommit + 7) % 200, 'm');
  tFile.atRevisions.push_back(std::move(t));
}

TRcsFile MakeFile(const TShape& tShape, std::uint64_t nFile) {
  TRcsFile tFile;
  tFile.strPath = "folder" + std::to_string(nFile / 100) + "/file" + std::to_string(nFile) + ".c";
  // Half of the files have one revision, the others so many that there are about nRevisions in all.
  const std::uint64_t nMean = std::max<std::uint64_t>(1, tShape.nRevisions / tShape.nFiles);
  const std::uint64_t nCount = nFile % 2 == 0 ? 1 : 2 * nMean - 1;
  std::vector<std::uint64_t> nCommits;
  for (std::uint64_t n = 0; n < nCount; ++n)
    nCommits.push_back(Mix(nFile * 1000003 + n) % tShape.Commits());
  std::sort(nCommits.begin(), nCommits.end());
  nCommits.erase(std::unique(nCommits.begin(), nCommits.end()), nCommits.end());
  for (std::size_t n = 0; n < nCommits.size(); ++n) {
    AddRevision(tFile, {1, static_cast<std::uint32_t>(n + 1)}, nCommits[n],
                static_cast<std::int64_t>(nCommits[n]) * 600 + static_cast<std::int64_t>(nFile % 60));
  }
  tFile.nHead = tFile.atRevisions.back().nNumber;

  for (std::uint64_t nName = 0; nName < tShape.nNames; ++nName) {
    const std::uint64_t nAt = tShape.CommitOfName(nName);
    std::uint64_t nThere = static_cast<std::uint64_t>(
        std::upper_bound(nCommits.begin(), nCommits.end(), nAt) - nCommits.begin());
    if (nThere > 1 && Mix(nFile * 7919 + nName) % 500 == 0) --nThere;
    if (nThere == 0) continue;
    TNumber nNumber{1, static_cast<std::uint32_t>(nThere)};
    const bool bBranch = nName % 10 == 0;
    if (bBranch) {
      const std::uint32_t nLast = static_cast<std::uint32_t>(2 * (nName / 10 + 1));
      if (Mix(nFile * 104729 + nName) % 20 == 0) {
        const std::uint64_t nCommit =
            tShape.Commits() + nName * BRANCH_COMMITS + Mix(nFile + nName) % BRANCH_COMMITS;
        AddRevision(tFile, {1, static_cast<std::uint32_t>(nThere), nLast, 1}, nCommit,
                    static_cast<std::int64_t>(nAt) * 600 +
                        static_cast<std::int64_t>(Mix(nFile + nName) % BRANCH_COMMITS) * 1000 + 500);
      }
      nNumber.push_back(0);
      nNumber.push_back(nLast);
    }
    tFile.atNames.push_back({(bBranch ? "branch" : "tag") + std::to_string(nName), std::move(nNumber)});
  }
  return tFile;
}

class CReport {
 public:
  void Step(const char* pszWhat) {
    rusage tUsage{};
    ::getrusage(RUSAGE_SELF, &tUsage);
    const double nNow = Seconds(tUsage.ru_utime) + Seconds(tUsage.ru_stime);
    std::printf("%-34s %8.2f s  peak %5ld MiB\n", pszWhat, nNow - m_nBefore, tUsage.ru_maxrss / 1024);
    std::fflush(stdout);
    m_nBefore = nNow;
  }

 private:
  static double Seconds(const timeval& tTime) {
    return static_cast<double>(tTime.tv_sec) + static_cast<double>(tTime.tv_usec) / 1e6;
  }

  double m_nBefore = 0;
};

int Run(const TShape& tShape) {
  CReport oReport;
  CHistory oHistory;
  for (std::uint64_t n = 0; n < tShape.nFiles; ++n)
    oHistory.AddFile(MakeFile(tShape, n));
  oReport.Step("make files, add them");
  oHistory.Finish();
  oReport.Step("finish the history");
  const TMadePlan tMade = MakePlan(oHistory);
  oReport.Step("plan and check");
  std::printf(
      "%zu revisions, %zu files, %zu streams, %zu changes, %llu start changes, %llu circles, %llu "
      "differences\n",
      oHistory.Revisions().size(), oHistory.Files().size(), tMade.oPlan.Streams().size(),
      tMade.oPlan.Changes().size(), static_cast<unsigned long long>(tMade.tNotes.nStartChanges),
      static_cast<unsigned long long>(tMade.tNotes.nCircles),
      static_cast<unsigned long long>(tMade.tCheck.nDifferences));
  return tMade.tCheck.nDifferences == 0 ? 0 : 1;
}

}  // namespace

}  // namespace TALVEK::EXACT

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: plan-size REVISIONS FILES NAMES\n");
    return 2;
  }
  return TALVEK::EXACT::Run({std::strtoull(argv[1], nullptr, 10), std::strtoull(argv[2], nullptr, 10),
                             std::strtoull(argv[3], nullptr, 10)});
}
