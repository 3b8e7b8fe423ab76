#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/fast_import_stream.h"
#include "host/history_walk.h"
#include "host/import_log_watch.h"
#include "host/item_spool.h"
#include "host/live_tree.h"
#include "host/ref_names.h"
#include "host/report.h"
#include "host/work_folder.h"

namespace TALVEK::HOST {

/// Turns the history that goes by into a stream for `git fast-import`: one commit per changeset, one branch
/// or tag per stream.
///
/// The files of a changeset are written as blobs while its items go by, and deleted at once; the commit that
/// names them comes at its end. So a changeset needs no room in memory, and its deletions can come first,
/// whatever the order of its items: a file that makes way for a folder of the same name is gone by then.
class CGitImport : public CHistoryVisitor {
 public:
  struct TParts {
    MCE::CProvider& oProvider;
    CImportLogWatch& oWatch;
    CReport& oReport;
    const CWorkFolder& oWork;
    CItemSpool& oSpool;  ///< at its beginning
    CFastImportStream& oStream;
  };

  CGitImport(const TParts& tParts, const std::vector<TStream>& atStreams, const std::string& strTrunkBranch);

  VCM::CString BeginStream(const TStream& tStream) override;
  void BeginChange(MCE::CProvider::TChangeInfo& tChange) override;
  void Item(const MCE::CProvider::TChangeItemInfo& tItem, std::uint32_t nNumber, bool bFailed) override;
  void EndChange(const MCE::CProvider::TChangeInfo& tChange) override;
  void EndStream(const TStream& tStream) override;

  std::uint64_t GetItemCount() const { return m_nItems; }
  /// How many commits lead to each branch, that one counted.
  const std::map<std::string, std::uint64_t>& GetDepths() const { return m_anDepths; }

 private:
  using TMark = CFastImportStream::TMark;

  /// A commit from which a stream branches.
  struct TBase {
    TMark nCommit = 0;
    CLiveTree oTree;
    std::uint64_t nDepth = 0;
  };

  /// What an item does to the tree.
  struct TItemChange {
    CFastImportStream::TFileChange tFile;
    std::string strShown;  ///< its path as the foreign system has it
    CLiveTree::TNameKind eNameKind = CLiveTree::OWN_NAME;
    bool bSuperseded = false;  ///< a later item of the same changeset has the same path
  };

  const TBase* FindBase(const TStream& tStream) const;
  void ReportBase(const TStream& tStream);
  const std::string& BranchRef(const TStream& tStream);
  std::string AssignRef(CRefNames& oNames, const std::string& strFolder, const VCM::CString& strName);
  void EndEmptyStream(const TStream& tStream);
  std::string Identity(const VCM::CString& strUser);
  void TakeItem(const std::string& strPath, const MCE::CProvider::TChangeItemInfo& tItem, bool bFailed);
  void RetrieveChange(MCE::CProvider::TChangeInfo& tChange);
  bool WriteBlob(const std::string& strPath, CFastImportStream::TFileChange& tFile);
  void AddItemChange(TItemChange tItem, const std::string& strPath);
  void ApplyItems(std::vector<CFastImportStream::TFileChange>& atChanges);
  void RequireRoom() const;
  void Lose(const std::string& strShownPath, const std::string& strReason);
  std::string ClientWords() const;
  void NameTrunk(const std::vector<TStream>& atStreams, const std::string& strTrunkBranch);

  TParts m_tParts;
  CRefNames m_oBranches;
  CRefNames m_oTags;
  std::unordered_map<std::uint32_t, std::string> m_astrBranchRefs;  // by stream
  std::set<std::uint32_t> m_anBaseChanges;                          // from which some stream branches
  std::unordered_map<std::uint32_t, TBase> m_aBases;                // those written so far
  std::map<std::string, std::uint64_t> m_anDepths;
  std::set<std::string> m_astrChangedPaths;  // reported once each
  std::set<VCM::CString> m_astrChangedUsers;

  const TStream* m_poStream = nullptr;
  std::filesystem::path m_oFolder;
  bool m_bPiecemeal = false;  // single files have been retrieved into the folder
  CLiveTree m_oTree;
  std::optional<TMark> m_nParent;  // of the stream's first commit
  bool m_bHasCommits = false;
  std::uint64_t m_nDepth = 0;  // of the stream's last commit

  long long m_nChangeTime = 0;
  bool m_bChangeFailed = false;
  VCM::CString m_strChangeWords;  // of the foreign client, about the changeset as a whole
  std::vector<TItemChange> m_atItems;
  std::map<std::string, std::size_t, std::less<>> m_anItemByPath;
  std::uint64_t m_nItems = 0;
};

}  // namespace TALVEK::HOST
