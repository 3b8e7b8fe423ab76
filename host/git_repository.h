#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace TALVEK::HOST {

/// The repository into which an import goes: one that it makes, or an empty one that is there.
///
/// Shape    Prepare makes it (or takes it over) with HEAD on the trunk's branch. Unless Keep is called, the
///          destructor puts everything back: what was made is removed, an empty repository has no references
///          and its old HEAD again.
/// Errors   EHostError: STATUS_WRONG_USE when there is something at the place already, STATUS_FAILED when Git
///          fails.
class CGitRepository {
 public:
  struct TOptions {
    std::filesystem::path oFolder;
    std::string strTrunkBranch;
    bool bBare = false;  ///< only for a repository that is made
  };

  explicit CGitRepository(TOptions tOptions);
  ~CGitRepository();
  CGitRepository(const CGitRepository&) = delete;
  CGitRepository& operator=(const CGitRepository&) = delete;

  void Prepare();
  /// Arguments for `git` that work on this repository: its place, then `astrArguments`.
  std::vector<std::string> Command(const std::vector<std::string>& astrArguments) const;
  /// How many commits lead to a reference, or to any of them ("--all"); 0 when git can't tell.
  std::uint64_t CountCommits(const std::string& strFrom) const;
  /// Its file system takes names that differ only in case for one, so that Git can't keep two such
  /// references.
  bool IgnoresCase() const;
  void Keep() { m_bKept = true; }
  /// Fills the folder with the trunk's files; why it can't be done, if so. Nothing to do when bare.
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
