#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

/// Runs the built talvek-import in a folder of its own, as a process that a test can hurt, and looks at what
/// it leaves behind.
class FaultTest : public testing::Test {
 protected:
  FaultTest();
  ~FaultTest() override;

  /// A `cvs` in the folder that notes its starts and runs a script with its arguments.
  std::string Client(const std::string& strScript);
  int Starts() const;

  /// An import by the tested provider into "target": from nowhere, by the client in the folder; or of the
  /// example.
  static std::vector<std::string> FakeImport(const std::vector<std::string>& astrMore = {});
  static std::vector<std::string> ExampleImport(const std::vector<std::string>& astrMore = {},
                                                const std::string& strRepository = TALVEK_EXAMPLE_REPOSITORY,
                                                const std::string& strTarget = "target");

  /// `fnBefore` runs in the process before it becomes the program. The process has no terminal and leads a
  /// session of its own.
  pid_t Start(const std::vector<std::string>& astrArguments, const std::function<void()>& fnBefore = {});
  /// The exit status and both outputs, with the folder's name taken out.
  TShellResult Finish(pid_t nProcess);
  TShellResult Run(const std::vector<std::string>& astrArguments, const std::function<void()>& fnBefore = {});

  /// Waits until it is so, for twenty seconds at most.
  static bool Await(const std::function<bool()>& fnCondition);
  /// The processes that runs have left, save one.
  std::vector<pid_t> Processes(pid_t nBut = 0) const;
  /// Whatever the runs have left that they shouldn't, a line each.
  std::string Leftovers() const;
  std::string References(const std::string& strTarget) const;
  /// Of an import of the example that nothing disturbs.
  std::string WholeReferences();

  std::filesystem::path Folder() const { return m_oFolder.Path(); }

 private:
  CTempFolder m_oFolder;
  std::vector<pid_t> m_anStarted;
};

}  // namespace TALVEK::TEST
