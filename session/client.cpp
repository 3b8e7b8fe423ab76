#include "session/client.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace TALVEK::SESSION {

namespace {

constexpr int CANNOT_START = 127;

bool IsThisProgram(const std::string& strPath) {
  struct stat tThis {};
  struct stat tOther {};
  return ::stat("/proc/self/exe", &tThis) == 0 && ::stat(strPath.c_str(), &tOther) == 0 &&
         tThis.st_dev == tOther.st_dev && tThis.st_ino == tOther.st_ino;
}

/// The first `cvs` on the PATH that isn't this program under that name.
std::string FindOnPath() {
  const char* pszPath = std::getenv("PATH");
  std::string strRest = pszPath ? pszPath : "/usr/bin:/bin";
  for (;;) {
    const std::size_t nColon = strRest.find(':');
    const std::string strFolder = strRest.substr(0, nColon);
    const std::string strProgram = strFolder.empty() ? "./cvs" : strFolder + "/cvs";
    if (::access(strProgram.c_str(), X_OK) == 0 && !IsThisProgram(strProgram)) return strProgram;
    if (nColon == std::string::npos) return "cvs";
    strRest.erase(0, nColon + 1);
  }
}

}  // namespace

int BecomeClient(char** ppszArguments) {
  const char* pszOverride = std::getenv("CVS_SESSION_CVS");
  const std::string strProgram = pszOverride && *pszOverride ? pszOverride : FindOnPath();
  if (IsThisProgram(strProgram)) {
    std::fprintf(stderr, "cvs-session: %s is cvs-session itself\n", strProgram.c_str());
    return CANNOT_START;
  }
  char szName[] = "cvs";
  ppszArguments[0] = szName;
  ::execvp(strProgram.c_str(), ppszArguments);
  std::fprintf(stderr, "cvs-session: cannot run %s: %s\n", strProgram.c_str(), std::strerror(errno));
  return CANNOT_START;
}

}  // namespace TALVEK::SESSION
