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
  /// Throws EHandOver when anything is there that isn't as a client leaves it after a checkout such as this
  /// one, or if the file is there already: the client knows what is right then. Folders that somebody else
  /// has made, without a folder CVS in them, may be there. Keeps a reference to `tCheckout`.
  explicit CWorkingFolder(const TCheckout& tCheckout);

  /// Where in the repository the target folder comes from: what the folder says, or the file's folder.
  const std::string& Repository() const { return m_atLevels.back().strRepository; }
  /// What a client would ask the server, target first.
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
    std::string strRepository;         // where it comes from; empty when nobody needs to know
    std::optional<CFolder> oFolder;    // nothing: it is missing
    std::optional<CEntries> oEntries;  // nothing: no client knows it

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
