#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace TALVEK::TEST {

inline const std::string SESSION = TALVEK_BIN_DIR "/cvs-session";

/// One revision of one file of a repository.
struct TRevision {
  std::string strRevision;
  std::string strPath;  // the module first
};

/// Every revision of a module, dead ones too, as the client lists them.
std::vector<TRevision> RevisionsOf(const std::string& strRoot, const std::string& strModule);

/// Copies the example repository to a new folder. Other tests read it at the same time, so the client's locks
/// come and go: they are left out.
void CopyExampleRepository(const std::string& strTo);

/// All that lies in a folder, in a form to compare: names, kinds, modes, the times of files outside CVS/,
/// contents. `strRootText` in CVS/Root is shown as (root), and `strRepository` anywhere as (repository).
std::string TreeText(const std::filesystem::path& oFolder, const std::string& strRootText,
                     const std::string& strRepository);

/// The text with every `strOld` replaced.
std::string Replaced(std::string strText, const std::string& strOld, const std::string& strNew);

/// How many processes carry the text in their environment, this one not counted.
int CountProcesses(const std::string& strMark);
/// Waits until there are that many, for ten seconds at most. Returns how many there are.
int AwaitProcesses(const std::string& strMark, int nWanted);

/// A script that stands for ssh and runs the server here.
void WriteRemoteShell(const std::filesystem::path& oFile);
void WriteScript(const std::filesystem::path& oFile, const std::string& strText);

/// Listens on a port of the loopback device and runs a shell command for every connection, with the
/// connection as its standard input and output. Ends with its owner.
class CListener {
 public:
  explicit CListener(const std::string& strCommand);
  ~CListener();
  CListener(const CListener&) = delete;
  CListener& operator=(const CListener&) = delete;

  std::string Port() const { return std::to_string(m_nPort); }

 private:
  int m_nPort = 0;
  pid_t m_nProcess = 0;
};

/// Lets user "reader" with password "pass word" in through a password server, and makes the repository
/// (below a folder of CTempFolder) reachable for the user that the server becomes.
void AdmitReader(const std::filesystem::path& oFolder, const std::filesystem::path& oRepository);
/// The command of a password server for a repository.
std::string PasswordServer(const std::string& strRepository);

}  // namespace TALVEK::TEST
