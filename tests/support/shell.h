#pragma once

#include <string>

namespace TALVEK::TEST {

/// What a shell command left behind.
struct TShellResult {
  int nStatus = -1;       // exit status; 128 + signal number when a signal ended it
  std::string strOutput;  // its standard output, and its standard error where the command joins them

  bool operator==(const TShellResult&) const = default;
};

/// Runs the command with sh to its end.
TShellResult RunShell(const std::string& strCommand);
/// The standard output of a command; throws when its exit status isn't 0, which fails the running test.
std::string ShellOutput(const std::string& strCommand);
/// The text as one word of a shell command.
std::string ShellQuote(const std::string& strText);

}  // namespace TALVEK::TEST
