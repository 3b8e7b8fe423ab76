#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/git_process.h"

namespace TALVEK::VERIFY {

/// The name of an object of Git: 20 bytes, or 32.
struct TObjectId {
  std::array<std::uint8_t, 32> achBytes{};

  /// From hexadecimal digits.
  static TObjectId Parse(std::string_view strHex);
  std::string Text(std::size_t nDigits = 40) const;
  auto operator<=>(const TObjectId&) const = default;
};

/// A file of a tree.
struct TGitFile {
  TObjectId tBlob;
  bool bExecutable = false;
  bool bPlain = true;  ///< false: a symbolic link, or a commit of another repository
};

using TGitTree = std::map<std::string, TGitFile>;  // by path

/// What a file holds, as Git would name it.
struct TContentIds {
  TObjectId tWhole;
  TObjectId tCut;         ///< with "$Name: x $" cut back to "$Name$"
  bool bHasName = false;  ///< it holds that keyword, or its name alone
};

/// The Git side of the comparison.
///
/// Errors   EHostError: STATUS_WRONG_USE when the folder holds no repository, STATUS_FAILED when git fails.
/// Threads  One.
class CGitSide {
 public:
  /// `oFolder`: the repository, or its working tree. `oScratch`: a folder for a file of ours.
  CGitSide(const std::filesystem::path& oFolder, const std::filesystem::path& oScratch);

  const std::filesystem::path& GetFolder() const { return m_oGitFolder; }
  /// Branches and tags: "refs/heads/x" to what it points to.
  std::map<std::string, TObjectId> Refs() const;
  /// The tree of a reference or a commit.
  TGitTree Tree(const std::string& strName) const;
  /// The last commit of a branch up to a time, first parents only; none: it begins later.
  std::optional<std::string> CommitAt(const std::string& strRef, std::int64_t nTime) const;

  TContentIds IdsOf(const std::filesystem::path& oFile);
  /// What a blob's name would be if "$Name: x $" were cut back in it.
  TObjectId CutIdOf(const TObjectId& tBlob);
  std::uint64_t SizeOf(const TObjectId& tBlob);

 private:
  std::vector<std::string> Command(const std::vector<std::string>& astrArguments) const;
  std::string Run(const std::vector<std::string>& astrArguments) const;
  TObjectId HashFile(const std::filesystem::path& oFile);
  TObjectId HashBytes(const std::string& strBytes);
  std::string Blob(const TObjectId& tBlob);

  std::filesystem::path m_oGitFolder;
  std::filesystem::path m_oScratchFile;
  std::size_t m_nDigits = 40;
  std::unique_ptr<HOST::CAnsweringGit> m_poHash;
  std::unique_ptr<HOST::CAnsweringGit> m_poBlobs;
  std::map<TObjectId, TObjectId> m_atCutIds;
};

/// "$Name: x $" cut back to "$Name$": it tells how a revision was asked for, not what it holds.
std::string CutNameBack(std::string_view strBytes);

}  // namespace TALVEK::VERIFY
