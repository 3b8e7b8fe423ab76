#include "tests/road/fault_fixture.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include "tests/support/tested_provider.h"

namespace TALVEK::TEST {

namespace fs = std::filesystem;

namespace {

std::string ReadWhole(const fs::path& oPath) {
  std::ifstream oFile(oPath, std::ios::binary);
  return {std::istreambuf_iterator<char>(oFile), std::istreambuf_iterator<char>()};
}

std::vector<std::string> Joined(std::vector<std::string> astrFirst,
                                const std::vector<std::string>& astrMore) {
  astrFirst.insert(astrFirst.end(), astrMore.begin(), astrMore.end());
  return astrFirst;
}

[[noreturn]] void BecomeImport(const fs::path& oFolder, const std::vector<std::string>& astrArguments,
                               const std::function<void()>& fnBefore) {
  const int nOutput = open((oFolder / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  dup2(nOutput, STDOUT_FILENO);
  dup2(nOutput, STDERR_FILENO);
  setenv("TMPDIR", (oFolder / "tmp").c_str(), 1);
  setenv("TALVEK_FAULT", oFolder.c_str(), 1);
  if (chdir(oFolder.c_str()) != 0) _exit(125);
  // Without a terminal, whether or not the tests have one.
  setsid();
  if (fnBefore) fnBefore();
  std::vector<const char*> apszArguments = {TALVEK_BIN_DIR "/talvek-import"};
  for (const std::string& strArgument : astrArguments)
    apszArguments.push_back(strArgument.c_str());
  apszArguments.push_back(nullptr);
  execv(apszArguments[0], const_cast<char* const*>(apszArguments.data()));
  _exit(126);
}

}  // namespace

FaultTest::FaultTest() {
  fs::create_directory(Folder() / "tmp");
}

FaultTest::~FaultTest() {
  for (const pid_t nProcess : Processes())
    kill(nProcess, SIGKILL);
}

std::string FaultTest::Client(const std::string& strScript) {
  const fs::path oClient = Folder() / "cvs";
  WriteFile(oClient,
            "#!/bin/sh\necho x >> " + ShellQuote((Folder() / "starts").string()) + "\n" + strScript + "\n");
  fs::permissions(oClient, fs::perms::owner_all);
  return oClient.string();
}

int FaultTest::Starts() const {
  const std::string strStarts = ReadWhole(Folder() / "starts");
  return static_cast<int>(std::count(strStarts.begin(), strStarts.end(), '\n'));
}

std::vector<std::string> FaultTest::FakeImport(const std::vector<std::string>& astrMore) {
  return Joined({"run", "--no-verify", "--provider", TestedProvider(), "--quiet", "--into", "target",
                 "--repos-path", "/cvs", "--module-name", "mod", "--cvs-path", "./cvs"},
                astrMore);
}

std::vector<std::string> FaultTest::ExampleImport(const std::vector<std::string>& astrMore,
                                                  const std::string& strRepository,
                                                  const std::string& strTarget) {
  return Joined({"run", "--no-verify", "--provider", TestedProvider(), "--quiet", "--into", strTarget,
                 "--repos-path", strRepository, "--module-name", "calculator"},
                astrMore);
}

pid_t FaultTest::Start(const std::vector<std::string>& astrArguments, const std::function<void()>& fnBefore) {
  const pid_t nProcess = fork();
  if (nProcess < 0) throw std::runtime_error("can't fork");
  if (nProcess == 0) BecomeImport(Folder(), astrArguments, fnBefore);
  m_anStarted.push_back(nProcess);
  return nProcess;
}

TShellResult FaultTest::Finish(pid_t nProcess) {
  int nStatus = 0;
  waitpid(nProcess, &nStatus, 0);
  std::string strOutput = ReadWhole(Folder() / "out");
  const std::string strFolder = Folder().string() + "/";
  for (std::size_t n = 0; (n = strOutput.find(strFolder, n)) != std::string::npos;)
    strOutput.erase(n, strFolder.size());
  return {WIFSIGNALED(nStatus) ? 128 + WTERMSIG(nStatus) : WEXITSTATUS(nStatus), strOutput};
}

TShellResult FaultTest::Run(const std::vector<std::string>& astrArguments,
                            const std::function<void()>& fnBefore) {
  return Finish(Start(astrArguments, fnBefore));
}

bool FaultTest::Await(const std::function<bool()>& fnCondition) {
  for (int nTry = 0; nTry < 10'000; ++nTry) {
    if (fnCondition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return false;
}

std::vector<pid_t> FaultTest::Processes(pid_t nBut) const {
  std::vector<pid_t> anFound;
  const std::string strMark = "TALVEK_FAULT=" + Folder().string() + '\0';
  for (const fs::directory_entry& oEntry : fs::directory_iterator("/proc")) {
    const auto nProcess = static_cast<pid_t>(std::atoi(oEntry.path().filename().c_str()));
    if (nProcess == 0 || nProcess == nBut) continue;
    if (ReadWhole(oEntry.path() / "environ").find(strMark) != std::string::npos) anFound.push_back(nProcess);
  }
  return anFound;
}

std::string FaultTest::Leftovers() const {
  std::string strLeft;
  // A session learns of its caller's end a moment later.
  if (!Await([this] { return Processes().empty(); })) strLeft += "processes\n";
  for (const fs::directory_entry& oEntry : fs::directory_iterator(Folder() / "tmp")) {
    const std::string strName = oEntry.path().filename().string();
    if (!strName.starts_with("Talvek")) strLeft += "tmp/" + strName + "\n";  // the import log is for the user
  }
  if (fs::exists(fs::symlink_status(Folder() / "target"))) strLeft += "target\n";
  for (const pid_t nProcess : m_anStarted) {
    for (const char* pszSuffix : {".tdf", ".tlf"}) {
      const std::string strFile = "/tmp/talvek-em-" + std::to_string(nProcess) + pszSuffix;
      if (fs::exists(fs::symlink_status(strFile))) strLeft += strFile + "\n";
    }
  }
  return strLeft;
}

std::string FaultTest::References(const std::string& strTarget) const {
  return ShellOutput("git -C " + ShellQuote((Folder() / strTarget).string()) + " for-each-ref");
}

std::string FaultTest::WholeReferences() {
  const TShellResult tRun = Run(ExampleImport({}, TALVEK_EXAMPLE_REPOSITORY, "whole"));
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strOutput;
  return References("whole");
}

}  // namespace TALVEK::TEST
