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

/// The working folder, and the folders on the way to the target as far as they exist.
class CWorkingFolder {
 public:
  /// Throws EHandOver when anything is there that isn't as a client leaves it after a checkout such as this
  /// one, or if the file is there already: the client knows what is right then. Folders that somebody else
  /// has made, without a folder CVS in them, may be there. Keeps a reference to `tCheckout`.
  explicit CWorkingFolder(const TCheckout& tCheckout);

  /// The target folder's place in the repository: as its CVS/Repository says, else the folder of the file.
  const std::string& Repository() const { return m_atLevels.back().strRepository; }
  /// The names that a client would tell the server, those in the target folder first.
  const std::vector<TQuestions>& Questions() const { return m_atQuestions; }
  /// A file on the file system of the target folder.
  std::unique_ptr<CStagedFile> Stage() const;
  /// Makes the folders that are missing, puts the file in its place and enters it.
  /// Throws EFailure; what was made up to then stays.
  void Apply(const TReply& tReply, CStagedFile& oFile);

 private:
  /// A folder on the way to the target, or the target.
  struct TLevel {
    std::string strName;
    std::string strRepository;         // its place there; empty when it isn't needed
    std::optional<CFolder> oFolder;    // nothing: there is no such folder
    std::optional<CEntries> oEntries;  // nothing: it isn't checked out

    bool IsKnown() const { return oEntries.has_value(); }
  };

  const CFolder& Above(std::size_t nLevel) const;
  const CFolder& DeepestAbove(std::size_t nLevel) const;
  void InspectNames() const;
  void InspectLevel(std::size_t nLevel);
  bool InspectAdmin(TLevel& tLevel, const CFolder& oAdmin) const;
  void InspectFile() const;
  void SetRepositories();
  void FindQuestions();
  void SetUp(std::size_t nLevel);
  void MakeAdmin(TLevel& tLevel) const;
  void EnterFolder(std::size_t nLevel);
  void EnterFile(const std::string& strLine);
  void FoldLogsOnTheWay() const;
  void FoldLogsAsPruningDoes() const;
  mode_t ModeFor(mode_t nServerMode) const;

  const TCheckout& m_tCheckout;
  bool m_bLocal;
  CFolder m_oTop;
  std::vector<TLevel> m_atLevels;
  std::vector<TQuestions> m_atQuestions;
};

}  // namespace TALVEK::SESSION
