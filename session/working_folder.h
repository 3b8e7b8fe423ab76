#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "session/admin_files.h"
#include "session/command_line.h"
#include "session/folder.h"
#include "session/reply.h"

namespace TALVEK::SESSION {

/// The working folder and the folders down to the target, as far as they are there.
class CWorkingFolder {
 public:
  /// Nothing when anything is there that isn't as a client leaves it after a checkout such as this one, or if
  /// the file is there already: what is right then, the client knows.
  static std::optional<CWorkingFolder> Inspect(const TCheckout& tCheckout);

  /// Where in the repository the target folder comes from: what the folder says, or the file's folder.
  const std::string& Repository() const { return m_astrRepositories.back(); }
  /// A file on the file system of the target folder.
  std::unique_ptr<CStagedFile> Stage() const;
  /// Makes the folders that are missing, puts the file in its place and enters it.
  /// Throws EFailure; what was made up to then stays.
  void Apply(const TReply& tReply, CStagedFile& oFile);

 private:
  explicit CWorkingFolder(const TCheckout& tCheckout);
  bool InspectFolder(std::size_t nLevel);
  bool InspectAdmin(std::size_t nLevel, const CFolder& oAdmin);
  bool InspectFile() const;
  void SetMissingRepositories();
  void MakeFolder(std::size_t nLevel);
  void Enter(std::size_t nLevel, const std::string& strLine);
  void EnterFolder(std::size_t nLevel);
  void FoldLogsOnTheWay() const;
  void FoldLogsAsPruningDoes() const;
  mode_t ModeFor(mode_t nServerMode) const;

  const TCheckout& m_tCheckout;
  bool m_bLocal;
  std::vector<std::string> m_astrNames;         // of the folders, from the top
  std::vector<std::string> m_astrRepositories;  // of each
  std::vector<CFolder> m_aoFolders;             // the working folder, then those of m_astrNames that exist
  std::vector<CEntries> m_aoEntries;            // of those of m_astrNames that exist
};

}  // namespace TALVEK::SESSION
