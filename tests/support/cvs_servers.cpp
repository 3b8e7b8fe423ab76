#include "tests/support/cvs_servers.h"

#include <csignal>
#include <stdexcept>

#include <netinet/in.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Serve(int nSocket, const std::string& strCommand) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  signal(SIGCHLD, SIG_IGN);
  for (;;) {
    const int nConnection = accept(nSocket, nullptr, nullptr);
    if (nConnection < 0) continue;
    if (fork() == 0) {
      signal(SIGCHLD, SIG_DFL);
      dup2(nConnection, STDIN_FILENO);
      dup2(nConnection, STDOUT_FILENO);
      dup2(nConnection, STDERR_FILENO);
      close(nConnection);
      close(nSocket);
      execl("/bin/sh", "sh", "-c", strCommand.c_str(), nullptr);
      _exit(127);
    }
    close(nConnection);
  }
}

}  // namespace

void WriteScript(const fs::path& oFile, const std::string& strText) {
  WriteFile(oFile, "#!/bin/sh\n" + strText);
  fs::permissions(oFile, fs::perms::owner_all);
}

void WriteRemoteShell(const fs::path& oFile) {
  WriteScript(oFile,
              "[ \"$1 $2 $3 $4\" = '-l me -- host' ] || { echo \"odd arguments: $*\" >&2; exit 1; }\n"
              "exec sh -c \"$5\"\n");
}

CListener::CListener(const std::string& strCommand) {
  const int nSocket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in tAddress{};
  tAddress.sin_family = AF_INET;
  tAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t nSize = sizeof tAddress;
  sockaddr* const ptAddress = reinterpret_cast<sockaddr*>(&tAddress);
  if (bind(nSocket, ptAddress, nSize) != 0 || listen(nSocket, 32) != 0 ||
      getsockname(nSocket, ptAddress, &nSize) != 0)
    throw std::runtime_error("can't listen");
  m_nPort = ntohs(tAddress.sin_port);
  m_nProcess = fork();
  if (m_nProcess == 0) Serve(nSocket, strCommand);
  close(nSocket);
}

CListener::~CListener() {
  kill(m_nProcess, SIGTERM);
  waitpid(m_nProcess, nullptr, 0);
}

void AdmitReader(const fs::path& oFolder, const fs::path& oRepository, const std::string& strPassword) {
  // A password server refuses to run as root.
  const std::string strUser = getuid() == 0 ? "nobody" : getpwuid(getuid())->pw_name;
  const std::string strHash = ShellOutput("openssl passwd -1 " + ShellQuote(strPassword));
  WriteFile(oRepository / "CVSROOT/passwd",
            "reader:" + strHash.substr(0, strHash.find('\n')) + ":" + strUser + "\n");
  fs::permissions(oFolder, fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec);
  ShellOutput("chmod -R a+rwX " + ShellQuote(oRepository.string()));
}

std::string PasswordServer(const std::string& strRepository) {
  return "exec cvs -f --allow-root=" + ShellQuote(strRepository) + " pserver";
}

}  // namespace TALVEK::TEST
