#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

namespace TALVEK::TEST {

// Ways to a repository over a server.

/// Writes a stand-in for ssh, which runs the server on this machine.
void WriteRemoteShell(const std::filesystem::path& oFile);
void WriteScript(const std::filesystem::path& oFile, const std::string& strText);

/// Listens on a port of the loopback device and runs a shell command for every connection, with the
/// connection as its standard input and output. Its process ends when the object is
/// destroyed.
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

/// Adds user "reader" with this password for a password server, and makes the repository (below a folder of
/// CTempFolder) accessible to the user that the server runs as.
void AdmitReader(const std::filesystem::path& oFolder, const std::filesystem::path& oRepository,
                 const std::string& strPassword = "pass word");
/// The command of a password server for a repository.
std::string PasswordServer(const std::string& strRepository);

}  // namespace TALVEK::TEST
