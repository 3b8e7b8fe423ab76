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

/// The working folder, and those of the folders on the way to the target that exist.
class CWorkingFolder {
 public:
  /// Throws EHandOver when the file exists, or when a folder CVS isn't as the client leaves it after such
  /// checkouts: the client must then decide. Folders without a folder CVS, made by somebody else, are
  /// allowed. Keeps a reference to `tCheckout`.
  explicit CWorkingFolder(const TCheckout& tCheckout);

  /// The target folder's place in the repository: as its CVS/Repository says, else the folder of the file.
  const std::string& Repository() const { return m_atLevels.back().strRepository; }
  /// The names that a client would send to the server, those in the target folder first.
  const std::vector<TQuestions>& Questions() const { return m_atQuestions; }
  /// A file on the file system of the target folder.
  std::unique_ptr<CStagedFile> Stage() const;
  /// Makes missing folders, puts the file in its place and enters it in CVS/Entries. Throws EFailure; what
  /// was made before the failure stays.
  void Apply(const TReply& tReply, CStagedFile& oFile);

 private:
  /// A folder on the way to the target, or the target.
  struct TLevel {
    std::string strName;
    std::string strRepository;         // its place in the repository; empty when it isn't needed
    std::optional<CFolder> oFolder;    // nothing: the folder doesn't exist
    std::optional<CEntries> oEntries;  // nothing: the folder isn't checked out

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
