#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/mcv/log_text.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

/// Runs talvek-import with the real plug-in, a saved log and a made-up `cvs` client, all in a folder of its
/// own, and shows what has become of that folder.
///
/// The client takes options as the real one does, and makes every file that it is asked for, wherever that
/// is: nothing but the command line keeps it within its folder.
class ImportWorldTest : public ::testing::Test {
 protected:
  ImportWorldTest();

  struct TResult {
    int nStatus = -1;
    std::string strMessages;
  };
  /// Imports the log of the module "mod" below "/repo" into m_oFolder/git.
  TResult Import(CLogText& oLog, const std::string& strOptions = "") {
    return ImportText(oLog.Text(), strOptions);
  }
  TResult ImportText(const std::string& strLog, const std::string& strOptions = "");

  /// The commands that the client got, a line each, the words in brackets; all but the log's are here.
  std::string Calls() const;
  /// The same in alphabetical order: of the streams that hang on one change each provider has an order of its
  /// own.
  std::string SortedCalls() const;
  /// The import log without the seconds.
  std::string ImportLog() const;
  /// What `git ls-tree -r` names in a branch, a line each.
  std::string GitFiles(const std::string& strBranch) const;
  std::string GitBranches() const;

  /// Fails when there is anything but what the test and the import's own targets made.
  void ExpectNothingElse() const;

  CTempFolder m_oFolder;
};

/// The lines of a text in alphabetical order.
std::string Sorted(const std::string& strLines);

}  // namespace TALVEK::TEST
