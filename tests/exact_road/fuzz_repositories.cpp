// fuzz_repositories [--provider NAME] [--keep FOLDER] FIRST..LAST | COUNT | cases | CASE...
//
// Makes a random repository for each seed (or the cases of the tests, by name), imports it, and holds the
// result against the client. Prints what differs, and keeps each repository that failed with its Git
// repository and story.

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/exact_road/cases.h"
#include "tests/exact_road/exact_check.h"
#include "tests/exact_road/exact_import.h"
#include "tests/exact_road/random_world.h"
#include "tests/support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using namespace TALVEK::TEST;

constexpr int STATUS_WRONG_USE = 2;

struct TOptions {
  std::string strProvider = EXACT_PROVIDER;
  fs::path oKeep = "build/fuzz/repositories";
  std::vector<std::string> astrWhat;
};

/// What to keep of a failure.
struct TOutcome {
  fs::path oRoot;
  fs::path oGit;
  std::string strText;  // "" when all is equal
  std::string strStory;
};

void Keep(const TOptions& tOptions, const std::string& strName, const TOutcome& tOutcome) {
  const fs::path oFolder = tOptions.oKeep / strName;
  fs::remove_all(oFolder);
  fs::create_directories(oFolder);
  fs::copy(tOutcome.oRoot, oFolder / "root", fs::copy_options::recursive | fs::copy_options::copy_symlinks);
  if (fs::exists(tOutcome.oGit)) {
    fs::copy(tOutcome.oGit, oFolder / "git", fs::copy_options::recursive | fs::copy_options::copy_symlinks);
  }
  WriteFile(oFolder / "story", tOutcome.strStory);
  WriteFile(oFolder / "differences", tOutcome.strText);
  std::cout << strName << ": failed, kept in " << oFolder.string() << "\n" << tOutcome.strText << std::flush;
}

/// Whether all is equal.
bool Try(const TOptions& tOptions, const std::string& strName, const CCvsWorld& oWorld,
         const std::string& strStory) {
  const CTempFolder oFolder;
  const TCvsModule tModule = {oWorld.Root(), oWorld.Module()};
  TOutcome tOutcome = {oWorld.Root(), oFolder / "git", "", strStory};
  const TShellResult tImport = ImportModule(tModule, tOptions.strProvider, tOutcome.oGit);
  if (tImport.nStatus == STATUS_WRONG_USE) throw std::runtime_error(tImport.strOutput);
  if (tImport.nStatus != 0) {
    tOutcome.strText = "status " + std::to_string(tImport.nStatus) + "\n" + tImport.strOutput;
  }
  if (fs::exists(tOutcome.oGit)) tOutcome.strText += Show(CompareAll(tModule, tOutcome.oGit));
  if (!tOutcome.strText.empty()) Keep(tOptions, strName, tOutcome);
  return tOutcome.strText.empty();
}

bool TrySeed(const TOptions& tOptions, unsigned nSeed) {
  const CRandomWorld oRandom(nSeed);
  return Try(tOptions, "seed-" + std::to_string(nSeed), oRandom.World(), oRandom.Story());
}

bool TryCase(const TOptions& tOptions, const TCase& tCase) {
  CCvsWorld oWorld;
  tCase.pfnMake(oWorld);
  return Try(tOptions, tCase.pszName, oWorld, "");
}

int TrySeeds(const TOptions& tOptions, unsigned nFirst, unsigned nLast) {
  int nFailed = 0;
  for (unsigned nSeed = nFirst; nSeed <= nLast; ++nSeed)
    nFailed += TrySeed(tOptions, nSeed) ? 0 : 1;
  std::cout << "seeds " << nFirst << " to " << nLast << ": " << nFailed << " failed\n";
  return nFailed;
}

int TryCases(const TOptions& tOptions, const std::string& strName) {
  int nFailed = 0, nTried = 0;
  for (std::size_t n = 0; n < CASE_COUNT; ++n) {
    if (strName != "cases" && strName != CASES[n].pszName) continue;
    ++nTried;
    nFailed += TryCase(tOptions, CASES[n]) ? 0 : 1;
  }
  if (nTried == 0) throw std::runtime_error("no case is called " + strName);
  std::cout << nTried << " cases: " << nFailed << " failed\n";
  return nFailed;
}

int TryWhat(const TOptions& tOptions, const std::string& strWhat) {
  unsigned nFirst = 0, nLast = 0;
  char chEnd = 0;
  if (std::sscanf(strWhat.c_str(), "%u..%u%c", &nFirst, &nLast, &chEnd) == 2) {
    return TrySeeds(tOptions, nFirst, nLast);
  }
  if (std::sscanf(strWhat.c_str(), "%u%c", &nLast, &chEnd) == 1) {
    // Seeds that nobody has tried.
    nFirst = std::random_device()() % 1000000000;
    return TrySeeds(tOptions, nFirst, nFirst + nLast - 1);
  }
  return TryCases(tOptions, strWhat);
}

TOptions ReadOptions(const std::vector<std::string>& astrArguments) {
  TOptions tOptions;
  for (std::size_t n = 0; n < astrArguments.size(); ++n) {
    const bool bHasValue = n + 1 < astrArguments.size();
    if (astrArguments[n] == "--provider" && bHasValue) {
      tOptions.strProvider = astrArguments[++n];
    } else if (astrArguments[n] == "--keep" && bHasValue) {
      tOptions.oKeep = astrArguments[++n];
    } else {
      tOptions.astrWhat.push_back(astrArguments[n]);
    }
  }
  return tOptions;
}

}  // namespace

int main(int nCount, char** apszArguments) {
  try {
    const TOptions tOptions = ReadOptions({apszArguments + 1, apszArguments + nCount});
    if (tOptions.astrWhat.empty()) {
      std::cerr << "usage: fuzz_repositories [--provider NAME] [--keep FOLDER] FIRST..LAST | COUNT | cases | "
                   "CASE...\n";
      return 2;
    }
    int nFailed = 0;
    for (const std::string& strWhat : tOptions.astrWhat)
      nFailed += TryWhat(tOptions, strWhat);
    return nFailed == 0 ? 0 : 1;
  } catch (const std::exception& oError) {
    std::cerr << "fuzz_repositories: " << oError.what() << "\n";
    return 2;
  }
}
