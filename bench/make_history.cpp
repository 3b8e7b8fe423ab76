// make-history: makes up histories of any size for benchmarks.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "bench/history_shape.h"

namespace TALVEK::BENCH {

namespace {

void WriteLog(const CHistory& oHistory, std::uint32_t nFiles, const std::string& strRoot) {
  for (std::uint32_t i = 0; i < nFiles; ++i) {
    const std::string strText = LogText(oHistory, strRoot, oHistory.MakeFile(i));
    if (std::fwrite(strText.data(), 1, strText.size(), stdout) != strText.size()) break;
  }
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) throw std::runtime_error("can't write the log");
}

void WriteRepository(const CHistory& oHistory, std::uint32_t nFiles, const std::filesystem::path& oFolder) {
  for (std::uint32_t i = 0; i < nFiles; ++i) {
    const TFile tFile = oHistory.MakeFile(i);
    const std::filesystem::path oPath = oFolder / (tFile.strPath + ",v");
    std::filesystem::create_directories(oPath.parent_path());
    std::ofstream oStream(oPath, std::ios::binary);
    oStream << RcsText(oHistory, tFile);
    if (!oStream.flush()) throw std::runtime_error("can't write " + oPath.string());
  }
}

int Run(int argc, char** argv) {
  TShape tShape;
  std::string strRoot = "/cvs/bench";
  std::string strFolder;
  CLI::App oApp("Prints a made-up history as `cvs rlog` would. The same options give the same text.");
  oApp.add_option("--seed", tShape.nSeed, "another number gives another history of the same shape")
      ->capture_default_str();
  oApp.add_option("--files", tShape.nFiles, "number of files")
      ->capture_default_str()
      ->check(CLI::PositiveNumber);
  oApp.add_option("--revisions", tShape.nRevisions, "revisions of each file, on the trunk")
      ->capture_default_str()
      ->check(CLI::PositiveNumber);
  oApp.add_option("--names", tShape.nNames, "tags, each on nearly every file")->capture_default_str();
  oApp.add_option("--branches", tShape.nBranches, "branches from the trunk")->capture_default_str();
  oApp.add_option("--branches-of-file", tShape.nBranchesOfFile,
                  "about how many of the branches each file has; 0: all")
      ->capture_default_str();
  oApp.add_option("--branch-revisions", tShape.nBranchRevisions, "revisions of each file, on each branch")
      ->capture_default_str();
  oApp.add_option("--nested", tShape.nNested, "depth of the chain of branches that starts from each branch")
      ->capture_default_str();
  oApp.add_option("--authors", tShape.nAuthors, "number of authors")
      ->capture_default_str()
      ->check(CLI::PositiveNumber);
  oApp.add_option("--commit-size", tShape.nCommitSize, "files in a commit, on average; imports have more")
      ->capture_default_str()
      ->check(CLI::PositiveNumber);
  oApp.add_option("--imports", tShape.nImports,
                  "commits that make all first revisions; 0: usual commits make them")
      ->capture_default_str();
  oApp.add_option("--imported-percent", tShape.nImportedPercent,
                  "percentage of the later revisions that come by such imports, too")
      ->capture_default_str()
      ->check(CLI::Range(0, 100));
  oApp.add_option("--message-length", tShape.nMessageLength, "characters of a message, on average")
      ->capture_default_str();
  oApp.add_option("--messages", tShape.nMessages, "number of different messages; 0: each commit has its own")
      ->capture_default_str();
  oApp.add_option("--span", tShape.nSpan,
                  "seconds in which all trunk revisions lie, at random times; 0: 25 years, by commits")
      ->capture_default_str();
  oApp.add_option("--root", strRoot, "the module's folder in the log")->capture_default_str();
  oApp.add_option("--rcs", strFolder, "instead of a log, write RCS files into this folder");
  CLI11_PARSE(oApp, argc, argv);
  const CHistory oHistory(tShape);
  if (strFolder.empty()) {
    WriteLog(oHistory, tShape.nFiles, strRoot);
  } else {
    WriteRepository(oHistory, tShape.nFiles, strFolder);
  }
  return 0;
}

}  // namespace

}  // namespace TALVEK::BENCH

int main(int argc, char** argv) {
  try {
    return TALVEK::BENCH::Run(argc, argv);
  } catch (const std::exception& eFailure) {
    std::cerr << "make-history: " << eFailure.what() << '\n';
    return 1;
  }
}
