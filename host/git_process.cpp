#include "host/git_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>
#include <string_view>

#include "host/exit_status.h"

namespace TALVEK::HOST {
namespace {

// Those that `git rev-parse --local-env-vars` names, and what redirects references.
constexpr std::string_view LOCAL_VARIABLES[] = {"GIT_ALTERNATE_OBJECT_DIRECTORIES",
                                                "GIT_CONFIG",
                                                "GIT_CONFIG_PARAMETERS",
                                                "GIT_CONFIG_COUNT",
                                                "GIT_OBJECT_DIRECTORY",
                                                "GIT_DIR",
                                                "GIT_WORK_TREE",
                                                "GIT_IMPLICIT_WORK_TREE",
                                                "GIT_GRAFT_FILE",
                                                "GIT_INDEX_FILE",
                                                "GIT_NO_REPLACE_OBJECTS",
                                                "GIT_REPLACE_REF_BASE",
                                                "GIT_PREFIX",
                                                "GIT_SHALLOW_FILE",
                                                "GIT_COMMON_DIR",
                                                "GIT_INTERNAL_SUPER_PREFIX",
                                                "GIT_NAMESPACE",
                                                "GIT_QUARANTINE_PATH"};

bool IsLocalVariable(std::string_view strEntry) {
  const std::string_view strName = strEntry.substr(0, strEntry.find('='));
  return std::find(std::begin(LOCAL_VARIABLES), std::end(LOCAL_VARIABLES), strName) !=
         std::end(LOCAL_VARIABLES);
}

std::vector<char*> ChildEnvironment() {
  std::vector<char*> apEntries;
  for (char** ppszEntry = environ; *ppszEntry; ++ppszEntry) {
    if (!IsLocalVariable(*ppszEntry)) apEntries.push_back(*ppszEntry);
  }
  apEntries.push_back(nullptr);
  return apEntries;
}

// In memory: what git says here is short.
VCM::CDescriptor CaptureFile() {
  VCM::CDescriptor oFile(memfd_create("git output", MFD_CLOEXEC));
  if (!oFile.IsOpen())
    throw EHostError(STATUS_FAILED, std::string("no memory file: ") + std::strerror(errno), "");
  return oFile;
}

std::string ReadCapture(const VCM::CDescriptor& oFile) {
  std::string strBytes;
  char achBuffer[4096];
  off_t nOffset = 0;
  ssize_t nRead = 0;
  while ((nRead = pread(oFile.Get(), achBuffer, sizeof achBuffer, nOffset)) > 0) {
    strBytes.append(achBuffer, static_cast<std::size_t>(nRead));
    nOffset += nRead;
  }
  return strBytes;
}

struct TSpawnFiles {
  int nInput;  // -1: empty
  int nOutput;
  int nError;
};

// 0 or the reason as an errno. The child's descriptors are duplicates; ours close when it starts.
int SpawnGit(const std::vector<std::string>& astrArguments, const TSpawnFiles& tFiles, pid_t& nProcess) {
  std::vector<std::string> astrAll = {"git"};
  astrAll.insert(astrAll.end(), astrArguments.begin(), astrArguments.end());
  std::vector<char*> apArguments;
  for (std::string& strArgument : astrAll)
    apArguments.push_back(strArgument.data());
  apArguments.push_back(nullptr);
  posix_spawn_file_actions_t tActions;
  posix_spawn_file_actions_init(&tActions);
  if (tFiles.nInput < 0) {
    posix_spawn_file_actions_addopen(&tActions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  } else {
    posix_spawn_file_actions_adddup2(&tActions, tFiles.nInput, STDIN_FILENO);
  }
  posix_spawn_file_actions_adddup2(&tActions, tFiles.nOutput, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&tActions, tFiles.nError, STDERR_FILENO);
  const int nError =
      posix_spawnp(&nProcess, "git", &tActions, nullptr, apArguments.data(), ChildEnvironment().data());
  posix_spawn_file_actions_destroy(&tActions);
  return nError;
}

int WaitFor(pid_t nProcess) {
  int nStatus = 0;
  while (waitpid(nProcess, &nStatus, 0) < 0) {
    if (errno != EINTR) return 127;
  }
  return WIFSIGNALED(nStatus) ? 128 + WTERMSIG(nStatus) : WEXITSTATUS(nStatus);
}

}  // namespace

TProcessResult RunGit(const std::vector<std::string>& astrArguments) {
  const VCM::CDescriptor oOutput = CaptureFile();
  const VCM::CDescriptor oError = CaptureFile();
  pid_t nProcess = -1;
  const int nSpawnError = SpawnGit(astrArguments, {-1, oOutput.Get(), oError.Get()}, nProcess);
  if (nSpawnError != 0) return {127, "", std::strerror(nSpawnError)};
  const int nStatus = WaitFor(nProcess);
  return {nStatus, ReadCapture(oOutput), ReadCapture(oError)};
}

CPipedGit::CPipedGit(const std::vector<std::string>& astrArguments) : m_oError(CaptureFile()) {
  int anPipe[2] = {-1, -1};
  // Closed on exec: a client that the provider starts would keep the pipe open after us.
  if (pipe2(anPipe, O_CLOEXEC) != 0) {
    throw EHostError(STATUS_FAILED, std::string("no pipe: ") + std::strerror(errno), "");
  }
  const VCM::CDescriptor oRead(anPipe[0]);
  m_oInput = VCM::CDescriptor(anPipe[1]);
  const int nError = SpawnGit(astrArguments, {oRead.Get(), m_oError.Get(), m_oError.Get()}, m_nProcess);
  if (nError != 0) {
    throw EHostError(STATUS_FAILED, std::string("can't start git: ") + std::strerror(nError), "install git");
  }
}

CPipedGit::~CPipedGit() {
  if (m_nProcess > 0) Finish();
}

TProcessResult CPipedGit::Finish() {
  m_oInput.Close();
  const int nStatus = WaitFor(m_nProcess);
  m_nProcess = -1;
  return {nStatus, "", ReadCapture(m_oError)};
}

std::string BestErrorLine(const std::string& strError) {
  std::istringstream oStream(strError);
  std::string strLine;
  std::string strLast;
  while (std::getline(oStream, strLine)) {
    if (strLine.starts_with("fatal: ") || strLine.starts_with("error: ")) return strLine;
    if (!strLine.empty()) strLast = strLine;
  }
  return strLast;
}

}  // namespace TALVEK::HOST
