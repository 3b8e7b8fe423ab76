#include "session/client.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/descriptor.h"

namespace TALVEK::SESSION {

namespace {

constexpr int CANNOT_START = 127;

bool IsThisProgram(const std::string& strPath) {
  struct stat tThis {};
  struct stat tOther {};
  return ::stat("/proc/self/exe", &tThis) == 0 && ::stat(strPath.c_str(), &tOther) == 0 &&
         tThis.st_dev == tOther.st_dev && tThis.st_ino == tOther.st_ino;
}

/// The first `cvs` on the PATH, unless it is a link to this program.
std::string FindOnPath() {
  const char* pszPath = std::getenv("PATH");
  std::string strRest = pszPath ? pszPath : "/usr/bin:/bin";
  for (;;) {
    const std::size_t nColon = strRest.find(':');
    const std::string strFolder = strRest.substr(0, nColon);
    std::string strProgram = strFolder.empty() ? "./cvs" : strFolder + "/cvs";
    if (::access(strProgram.c_str(), X_OK) == 0 && !IsThisProgram(strProgram)) return strProgram;
    if (nColon == std::string::npos) return "cvs";
    strRest.erase(0, nColon + 1);
  }
}

}  // namespace

const char* HandOverText(THandOverType nReason) {
  switch (nReason) {
    case HAND_OVER_CVSRC:
      return "~/.cvsrc has options for the client";
    case HAND_OVER_OPTION:
      return "a global option is for the client";
    case HAND_OVER_ROOT:
      return "the root is of a kind for the client";
    case HAND_OVER_KIND:
      return "not a checkout of one revision of one file";
    case HAND_OVER_PATH:
      return "a path is not plain, or has the name CVS in it";
    case HAND_OVER_CALLER:
      return "the calling process cannot be watched";
    case HAND_OVER_INSIDE:
      return "the working folder is itself checked out";
    case HAND_OVER_CASE:
      return "the file system takes a name for the folder CVS";
    case HAND_OVER_NO_FOLDER:
      return "something that is no folder is in the way";
    case HAND_OVER_ADMIN:
      return "a folder CVS is not as checkouts of revisions leave it";
    case HAND_OVER_ABOVE:
      return "a folder above the target is not checked out";
    case HAND_OVER_FILE:
      return "the file is there already";
    case HAND_OVER_ENTRY:
      return "the file is entered with a branch, a date or a change";
    case HAND_OVER_STRANGERS:
      return "it is unclear which names to ask the server about";
    case HAND_OVER_SESSION:
      return "no session can be reached";
    case HAND_OVER_SERVER:
      return "no server could be started for the local root";
    case HAND_OVER_ANSWER:
      return "the server answered with more or less than the file";
  }
  return "";
}

void NoteHandOver(THandOverType nReason) {
  const char* pszFile = std::getenv("CVS_SESSION_NOTES");
  if (!pszFile || !*pszFile) return;
  const VCM::CDescriptor oFile(::open(pszFile, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666));
  // One write, so that lines of commands that run at the same time don't mix.
  const std::string strLine = std::string(HandOverText(nReason)) + "\n";
  [[maybe_unused]] const ssize_t nIgnored = ::write(oFile.Get(), strLine.data(), strLine.size());
}

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
