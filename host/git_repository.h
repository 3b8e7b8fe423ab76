#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace TALVEK::HOST {

/// The repository into which an import goes: a new one, or an existing one that is empty.
///
/// Shape    The constructor inspects the place, Prepare makes the repository (or takes it over) and points
///          HEAD at the trunk's branch. Unless Keep is called, the destructor undoes all: what was made is
///          removed; a repository taken over loses its new references and gets its old HEAD back.
/// Errors   EHostError: STATUS_WRONG_USE when the place isn't empty, STATUS_FAILED when Git fails.
class CGitRepository {
 public:
  struct TOptions {
    std::filesystem::path oFolder;
    std::string strTrunkBranch;
    bool bBare = false;  ///< ignored for an existing repository
  };

  explicit CGitRepository(TOptions tOptions);
  ~CGitRepository();
  CGitRepository(const CGitRepository&) = delete;
  CGitRepository& operator=(const CGitRepository&) = delete;

  void Prepare();
  /// `astrArguments` with the options in front that make `git` work on this repository.
  std::vector<std::string> Command(const std::vector<std::string>& astrArguments) const;
  /// The number of commits that a reference reaches, or all references together ("--all"); 0 when git fails.
  std::uint64_t CountCommits(const std::string& strFrom) const;
  /// True when its file system ignores case, so that Git can't keep two references whose names differ only in
  /// case.
  bool IgnoresCase() const;
  void Keep() { m_bKept = true; }
  /// Where Git keeps what it knows: the folder itself, or .git in it. After Prepare.
  const std::filesystem::path& GetGitFolder() const { return m_oGitFolder; }
  /// Checks out the trunk's files, unless bare. Returns the reason when that fails, else nothing.
  std::optional<std::string> CheckOut() const;

 private:
  enum TState { STATE_ABSENT, STATE_EMPTY_FOLDER, STATE_EMPTY_REPOSITORY };

  TState Inspect();
  void InspectRepository();
  void Make();
  std::string Run(const std::vector<std::string>& astrArguments) const;
  void Undo() noexcept;
  void RemoveReferences() const;
  void EmptyFolder() const;

  TOptions m_tOptions;
  std::filesystem::path m_oGitFolder;
  std::filesystem::path m_oFirstMade;  // the topmost folder that did not exist; empty when all did
  std::string m_strOldHead;
  TState m_eState = STATE_ABSENT;
  bool m_bPrepared = false;
  bool m_bKept = false;
};

/// EHostError when there is no `git` to run.
void RequireGit();

}  // namespace TALVEK::HOST
