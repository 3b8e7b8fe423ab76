#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tests/support/cvs_world.h"

namespace TALVEK::TEST {

/// A repository made by a random row of commands of the real client. The same seed gives the same commands.
/// What the client refuses is left out and goes on with a new working copy.
class CRandomWorld {
 public:
  explicit CRandomWorld(unsigned nSeed);

  const CCvsWorld& World() const { return m_oWorld; }
  /// What was done, a line for each command.
  const std::string& Story() const { return m_strStory; }

 private:
  using TOperation = void (CRandomWorld::*)();
  struct TWeighedOperation {
    int nWeight;
    TOperation pfnRun;
  };
  static const std::vector<TWeighedOperation> s_atOperations;

  void Step();
  /// One operation; the client, or the file system, may refuse it.
  void Run(TOperation pfnRun);
  void CommitChanges();
  void CommitSlowly();
  void CommitUnchanged();
  void AddFile();
  void RemoveFile();
  void Import();
  void Tag();
  void TagMixedRevisions();
  void Branch();
  void BranchFromTag();
  void MoveTag();
  void DeleteName();
  void NameInOtherFile();
  void SecondName();
  void SetClockBack();
  void DropRevisions();
  void DropBranchRevision();
  void SetState();
  void RewriteMessage();
  void ResetDefaultBranch();
  void NewMajorNumber();
  void Merge();

  int Below(int nLimit) { return static_cast<int>(m_oRandom() % static_cast<unsigned>(nLimit)); }
  bool OneIn(int nCount) { return Below(nCount) == 0; }
  const std::string& OneOf(const std::vector<std::string>& astrTexts);
  void Tell(const std::string& strWhat) { m_strStory += strWhat + "\n"; }
  /// Runs a command that the client may refuse.
  void Try(const std::string& strArguments);
  void OnSomeBranch();
  void OnTrunk();
  std::vector<std::string> FilesHere() const;
  std::string SomeFile();
  /// "1.2" or "1.2.2.1"
  std::string SomeRevision(const std::string& strPath);
  std::string Content();
  std::string Message();
  std::string NewName(const char* pszPrefix);
  /// Changes one to three files here; their paths.
  std::vector<std::string> ChangeFiles();

  CCvsWorld m_oWorld;
  std::mt19937 m_oRandom;
  std::string m_strHere;
  std::string m_strStory;
  std::vector<std::string> m_astrBranches;
  std::vector<std::string> m_astrTags;
  int m_nNames = 0;
  int m_nTexts = 0;
};

}  // namespace TALVEK::TEST
