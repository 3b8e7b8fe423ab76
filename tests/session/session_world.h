#pragma once

#include <filesystem>
#include <string>
#include <vector>

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

/// A folder's whole content as a text to compare: names, kinds, modes, contents, and the times of files
/// outside CVS/. `strRootText` in CVS/Root is replaced by (root), and `strRepository` everywhere by
/// (repository).
std::string TreeText(const std::filesystem::path& oFolder, const std::string& strRootText,
                     const std::string& strRepository);

/// The text with every `strOld` replaced.
std::string Replaced(std::string strText, const std::string& strOld, const std::string& strNew);

/// How many other processes have the text in their environment.
int CountProcesses(const std::string& strMark);
/// Waits until there are `nWanted` of them, for ten seconds at most. Returns how many there are.
int AwaitProcesses(const std::string& strMark, int nWanted);

}  // namespace TALVEK::TEST
