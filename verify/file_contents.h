#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <unordered_map>

#include "verify/cvs_module.h"
#include "verify/git_side.h"

namespace TALVEK::VERIFY {

/// What a revision of a file holds, as the client gives it.
struct TContent {
  TContentIds tIds;
  bool bExecutable = false;
  bool bGiven = true;  ///< false: the client refuses it
};

/// The contents of file revisions, each fetched once.
///
/// Errors   What the client refuses is noted, with its words.
/// Cost     About 150 bytes for each revision that was asked for.
class CFileContents {
 public:
  CFileContents(CCvsModule& oModule, CGitSide& oGit) : m_oModule(oModule), m_oGit(oGit) {}
  CFileContents(const CFileContents&) = delete;
  CFileContents& operator=(const CFileContents&) = delete;

  bool Has(const std::string& strPath, const std::string& strRevision) const;
  /// Fetches the revision if nobody has asked for it before.
  const TContent& Get(const std::string& strPath, const std::string& strRevision);
  /// Notes what a whole export has brought.
  void Put(const std::string& strPath, const std::string& strRevision, const TContent& tContent);
  /// The content of a file on the disk.
  TContent Read(const std::filesystem::path& oFile);
  /// What the client said when it refused the revision.
  std::string Words(const std::string& strPath, const std::string& strRevision) const;
  /// A revision of the file with this content; empty when none is known.
  std::string RevisionWith(const std::string& strPath, const TObjectId& tBlob);

 private:
  using TKey = std::uint64_t;

  TKey KeyOf(const std::string& strPath, const std::string& strRevision);
  TContent Fetch(const std::string& strPath, const std::string& strRevision, TKey nKey);

  CCvsModule& m_oModule;
  CGitSide& m_oGit;
  std::unordered_map<std::string, std::uint32_t> m_anPaths;
  std::unordered_map<std::string, std::uint32_t> m_anRevisions;
  std::unordered_map<TKey, TContent> m_atContents;
  std::unordered_map<TKey, std::string> m_astrWords;
};

}  // namespace TALVEK::VERIFY
