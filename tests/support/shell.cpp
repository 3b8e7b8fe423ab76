#include "tests/support/shell.h"

#include <cstdio>
#include <stdexcept>
#include <utility>

#include <sys/wait.h>

namespace TALVEK::TEST {

TShellResult RunShell(const std::string& strCommand) {
  FILE* poPipe = popen(strCommand.c_str(), "r");
  if (!poPipe) throw std::runtime_error("can't run " + strCommand);
  TShellResult tResult;
  char achBlock[4096];
  while (const std::size_t nRead = fread(achBlock, 1, sizeof achBlock, poPipe))
    tResult.strOutput.append(achBlock, nRead);
  const int nWait = pclose(poPipe);
  tResult.nStatus = WIFEXITED(nWait) ? WEXITSTATUS(nWait) : 128 + WTERMSIG(nWait);
  return tResult;
}

std::string ShellOutput(const std::string& strCommand) {
  TShellResult tResult = RunShell(strCommand);
  if (tResult.nStatus != 0) {
    throw std::runtime_error("status " + std::to_string(tResult.nStatus) + " from " + strCommand);
  }
  return std::move(tResult.strOutput);
}

std::string ShellQuote(const std::string& strText) {
  std::string strQuoted = "'";
  for (const char ch : strText) {
    if (ch == '\'')
      strQuoted += "'\\''";
    else
      strQuoted += ch;
  }
  return strQuoted + "'";
}

}  // namespace TALVEK::TEST
