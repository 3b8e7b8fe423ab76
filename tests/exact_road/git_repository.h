#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace TALVEK::TEST {

/// A file of a tree: the blob's id (hexadecimal) and whether it can be executed.
struct TGitFile {
  std::string strBlob;
  bool bExecutable = false;

  bool operator==(const TGitFile&) const = default;
};

using TGitTree = std::map<std::string, TGitFile>;  // by path

struct TGitCommit {
  std::string strTree;
  std::vector<std::string> astrParents;
  std::string strAuthorName;
  std::string strAuthorMail;
  std::int64_t nTime = 0;  // the committer's, seconds since 1970 UTC
  std::string strMessage;
};

/// A whole Git repository in memory, read by the real git in two calls. For small repositories.
class CGitRepository {
 public:
  explicit CGitRepository(const std::filesystem::path& oFolder);

  /// "refs/heads/main" to the id of its commit.
  const std::map<std::string, std::string>& Refs() const { return m_astrRefs; }
  /// Those that a ref leads to.
  const std::map<std::string, TGitCommit>& Commits() const { return m_atCommits; }
  TGitTree TreeOf(const std::string& strCommit) const;
  const std::string& Blob(const std::string& strId) const { return m_astrBlobs.at(strId); }

 private:
  void ReadRefs(const std::string& strGit);
  void ReadObjects(const std::string& strGit);
  void DropUnreachableCommits();
  void AddFiles(const std::string& strTree, const std::string& strFolder, TGitTree* pmapFiles) const;

  std::map<std::string, std::string> m_astrRefs;
  std::map<std::string, TGitCommit> m_atCommits;
  std::map<std::string, std::string> m_astrTrees;  // as Git holds them
  std::map<std::string, std::string> m_astrBlobs;
};

}  // namespace TALVEK::TEST
