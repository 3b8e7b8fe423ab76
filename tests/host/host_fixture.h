#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

/// Status, standard output and standard error of a run.
struct TRun {
  int nStatus = -1;
  std::string strOutput;
  std::string strError;
};

/// Runs the built program with the scripted provider, in a folder of its own.
///
/// TMPDIR is a folder in there too, so that a test sees what a run leaves behind.
class CHostTest : public testing::Test {
 protected:
  CHostTest();

  /// Makes the script of the fake provider. Fields are separated by one "|" here.
  void Script(const std::string& strLines);
  /// Runs with the script: `strArguments` are words for a shell, the working directory is Folder().
  TRun Run(const std::string& strArguments);
  /// Runs without the fake provider's options; `strEnvironment` is "NAME=VALUE ...".
  TRun RunPlain(const std::string& strArguments, const std::string& strEnvironment = "");

  const std::filesystem::path& Folder() const { return m_oFolder.Path(); }
  /// What git says in a folder below Folder(), trailing line end included; the test fails when git does.
  std::string Git(const std::string& strRepository, const std::string& strArguments);
  /// The names in a folder, sorted.
  static std::vector<std::string> Entries(const std::filesystem::path& oFolder);
  /// The names in TMPDIR.
  std::vector<std::string> Leftovers() { return Entries(Folder() / "tmp"); }
  /// The provider's calls in a run with --trace-path trace.
  std::string Trace() { return ReadFile(Folder() / "trace"); }

 private:
  CTempFolder m_oFolder;
};

}  // namespace TALVEK::TEST
