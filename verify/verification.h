#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/progress.h"
#include "verify/comparison.h"
#include "verify/cvs_module.h"
#include "verify/file_contents.h"
#include "verify/git_side.h"
#include "verify/log_facts.h"
#include "verify/provider_rules.h"
#include "verify/settings.h"

namespace TALVEK::VERIFY {

/// What a verification found, and how.
struct TResult {
  std::vector<TRow>
      atRows;  ///< the trunk, branches, tags, branches without a name, refs only in Git, moments
  std::vector<std::string> astrNotes;
  std::uint64_t nExports = 0;
  std::uint64_t nFetches = 0;

  std::uint64_t Count(TRow::TStatus eStatus) const;
  bool IsEqual() const;
};

/// How thorough it is to be.
struct TThoroughness {
  std::size_t nDates = 0;
  bool bAll = false;
};

/// Compares a module with a Git repository, name by name.
///
/// Every name's list of revisions comes from the server. The trunk and the branches are exported whole as
/// well, and so are some of the tags; of the others each file revision is fetched that wasn't fetched for an
/// earlier name. So the cost grows with what names have not in common, and the lists are themselves
/// checked against exports.
///
/// Errors   EHostError when the log can't be read, or git fails. What the client refuses is a row that says
/// so. Cost     Memory for one name's files at a time, and for each file revision fetched.
class CVerification {
 public:
  /// All are lent.
  CVerification(const TSettings& tSettings, TThoroughness tThoroughness, CCvsModule& oModule, CGitSide& oGit,
                CFileContents& oContents, CComparison& oComparison, HOST::CProgress& oProgress);

  TResult Run();

 private:
  struct TSubject;

  void ReadLog();
  std::vector<TSubject> Subjects() const;
  std::string RefOf(const std::string& strName, bool bBranch) const;
  void ChooseListing(const TSubject& tTrunk);
  void ChooseExports(std::vector<TSubject>& atSubjects) const;
  void ExportAhead(const std::vector<TSubject>& atSubjects, std::size_t nFrom);
  void VerifyNames(const std::vector<TSubject>& atSubjects);
  void Verify(const TSubject& tSubject);
  void VerifyMoments(const TSubject& tSubject);
  void KeepChanged(const std::string& strBranch, std::int64_t nMoment, TGivenFiles& atGiven,
                   TGitTree& atTree) const;
  void VerifyOnlyInGit();
  /// False: the client refuses the name; the row says so.
  bool Ask(const TSubject& tSubject, TGivenFiles& atGiven, TRow& tRow);
  bool AskByExport(const TSubject& tSubject, const std::optional<TRevisionList>& astrList,
                   TGivenFiles& atGiven, TRow& tRow);
  void AskByFile(const TRevisionList& astrList, TGivenFiles& atGiven);
  std::optional<TRevisionList> ListOf(const TSubject& tSubject);
  std::size_t CountNew(const TRevisionList& astrList) const;
  bool IsWanted(const TSubject& tSubject, const std::string& strPath) const;
  /// Adds to the first differences by which rule of the provider they come about.
  void Explain(TRow& tRow);
  TGitTree TreeOf(const TSubject& tSubject, bool& bFound) const;
  const char* ListingName() const;

  const TSettings& m_tSettings;
  TThoroughness m_tThoroughness;
  CCvsModule& m_oModule;
  CGitSide& m_oGit;
  CFileContents& m_oContents;
  CComparison& m_oComparison;
  HOST::CProgress& m_oProgress;
  CLogFacts m_oFacts;
  CProviderRules m_oRules;
  std::map<std::string, TObjectId> m_atRefs;
  std::set<std::string> m_astrKnownRefs;
  TListing m_eListing = TListing::RLS;
  std::optional<std::filesystem::path> m_oTrunkExport;  // until the trunk is verified
  TResult m_tResult;
};

}  // namespace TALVEK::VERIFY
