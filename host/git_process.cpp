#include "host/git_process.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>
#include <string_view>

#include "core/child_process.h"
#include "host/byte_sink.h"
#include "host/exit_status.h"

namespace TALVEK::HOST {
namespace {

// What `git rev-parse --local-env-vars` lists, and GIT_NAMESPACE and GIT_QUARANTINE_PATH.
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

// A file in memory, because the output of these commands is short.
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

/// How to start git; the caller adds the descriptors. The environment must outlive the result. bAfterStop:
/// git must also run after a stop signal, to put the target back as it was.
VCM::TChildStart GitStart(const std::vector<std::string>& astrArguments,
                          const std::vector<char*>& apEnvironment) {
  VCM::TChildStart tStart;
  tStart.astrArguments = {"git"};
  tStart.astrArguments.insert(tStart.astrArguments.end(), astrArguments.begin(), astrArguments.end());
  tStart.ppszEnvironment = apEnvironment.data();
  tStart.bAfterStop = true;
  return tStart;
}

pid_t StartGit(const std::vector<std::string>& astrArguments, int nInput, int nOutput, int nError) {
  const std::vector<char*> apEnvironment = ChildEnvironment();
  VCM::TChildStart tStart = GitStart(astrArguments, apEnvironment);
  tStart.nStdInput = nInput;
  tStart.nStdOutput = nOutput;
  tStart.nStdError = nError;
  pid_t nProcess = -1;
  const int nProblem = VCM::StartChild(tStart, nProcess);
  if (nProblem != 0) {
    throw EHostError(STATUS_FAILED, std::string("can't start git: ") + std::strerror(nProblem),
                     "install git");
  }
  return nProcess;
}

struct TPipe {
  VCM::CDescriptor oRead;
  VCM::CDescriptor oWrite;
};

TPipe MakePipe() {
  int anPipe[2] = {-1, -1};
  if (pipe2(anPipe, O_CLOEXEC) != 0) {
    throw EHostError(STATUS_FAILED, std::string("no pipe: ") + std::strerror(errno), "");
  }
  return {VCM::CDescriptor(anPipe[0]), VCM::CDescriptor(anPipe[1])};
}

constexpr int CANNOT_START = 127;

int StatusOf(const VCM::TChildResult& tResult) {
  return tResult.nKind == VCM::TChildResult::ENDED ? tResult.nValue : CANNOT_START;
}

}  // namespace

TProcessResult RunGit(const std::vector<std::string>& astrArguments) {
  const VCM::CDescriptor oOutput = CaptureFile();
  const VCM::CDescriptor oError = CaptureFile();
  const std::vector<char*> apEnvironment = ChildEnvironment();
  VCM::TChildStart tStart = GitStart(astrArguments, apEnvironment);
  tStart.nStdOutput = oOutput.Get();
  tStart.nStdError = oError.Get();
  const VCM::TChildResult tResult = VCM::RunChild(tStart);
  if (tResult.nKind == VCM::TChildResult::NOT_STARTED)
    return {CANNOT_START, "", std::strerror(tResult.nValue)};
  return {StatusOf(tResult), ReadCapture(oOutput), ReadCapture(oError)};
}

CPipedGit::CPipedGit(const std::vector<std::string>& astrArguments) : m_oError(CaptureFile()) {
  TPipe tInput = MakePipe();
  m_oInput = std::move(tInput.oWrite);
  m_nProcess = StartGit(astrArguments, tInput.oRead.Get(), m_oError.Get(), m_oError.Get());
}

CPipedGit::~CPipedGit() {
  if (m_nProcess > 0) Finish();
}

TProcessResult CPipedGit::Finish() {
  m_oInput.Close();
  const int nStatus = StatusOf(VCM::WaitForChild(m_nProcess));
  m_nProcess = -1;
  return {nStatus, "", ReadCapture(m_oError)};
}

CAnsweringGit::CAnsweringGit(const std::vector<std::string>& astrArguments) : m_oError(CaptureFile()) {
  TPipe tInput = MakePipe();
  TPipe tOutput = MakePipe();
  m_oInput = std::move(tInput.oWrite);
  m_oOutput = std::move(tOutput.oRead);
  m_nProcess = StartGit(astrArguments, tInput.oRead.Get(), tOutput.oWrite.Get(), m_oError.Get());
}

CAnsweringGit::~CAnsweringGit() {
  m_oInput.Close();
  m_oOutput.Close();
  VCM::WaitForChild(m_nProcess);
}

void CAnsweringGit::Ask(const std::string& strLine) {
  CByteSink oSink(m_oInput.Get(), "git");
  oSink.Write(strLine + '\n');
  oSink.Flush();
}

std::string CAnsweringGit::ReadLine() {
  std::size_t nEnd = 0;
  while ((nEnd = m_strAhead.find('\n')) == std::string::npos)
    Fill();
  std::string strLine = m_strAhead.substr(0, nEnd);
  m_strAhead.erase(0, nEnd + 1);
  return strLine;
}

std::string CAnsweringGit::ReadBytes(std::size_t nCount) {
  while (m_strAhead.size() < nCount)
    Fill();
  std::string strBytes = m_strAhead.substr(0, nCount);
  m_strAhead.erase(0, nCount);
  return strBytes;
}

void CAnsweringGit::Fill() {
  char achBuffer[65536];
  ssize_t nRead = 0;
  do {
    nRead = read(m_oOutput.Get(), achBuffer, sizeof achBuffer);
  } while (nRead < 0 && errno == EINTR);
  if (nRead <= 0) {
    throw EHostError(STATUS_FAILED, "git ended early: " + BestErrorLine(ReadCapture(m_oError)),
                     "see that the repository is whole");
  }
  m_strAhead.append(achBuffer, static_cast<std::size_t>(nRead));
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
