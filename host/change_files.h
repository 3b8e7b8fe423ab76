#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/console.h"
#include "host/fast_import_stream.h"
#include "host/import_log_watch.h"
#include "host/live_tree.h"
#include "host/spool_file.h"
#include "host/work_folder.h"
#include "mce/provider.h"

namespace TALVEK::HOST {

/// Ends a run that can't succeed: one whose first files are all lost.
class CFirstLosses {
 public:
  /// `nMost` 0: never.
  explicit CFirstLosses(std::uint64_t nMost) : m_nMost(nMost) {}

  /// EHostError (STATUS_FAILED) with the reason of the first loss, when this is the `nMost`th file and none
  /// was retrieved before.
  void Lose(const std::string& strText);
  void Retrieve() { m_bRetrieved = true; }

 private:
  std::uint64_t m_nMost;
  std::uint64_t m_nLost = 0;
  bool m_bRetrieved = false;
  std::string m_strFirst;
};

/// Brings the files of one changeset after the other from the provider into the fast-import stream.
///
/// Shape    BeginStream once for each stream; then for each changeset Retrieve, Take for each of its items in
///          their order, Apply. Take writes a file as a blob and deletes it at once, so a changeset needs no
///          room in memory, and Apply can put the deletions first: a file that makes way for a folder of the
///          same name is gone by then.
/// Errors   What can't be retrieved is reported as a loss. EHostError when the work folder's disk is full or
///          the first files are all lost; those of the fast-import stream.
/// Owns     Nothing of its parts, which must outlive it.
class CChangeFiles {
 public:
  struct TParts {
    MCE::CProvider& oProvider;
    CImportLogWatch& oWatch;
    CReport& oReport;
    const CWorkFolder& oWork;
    CItemSpool& oSpool;  ///< at its beginning
    CFastImportStream& oStream;
  };

  /// `nMaxLosses`: that of CFirstLosses.
  CChangeFiles(const TParts& tParts, std::uint64_t nMaxLosses) : m_tParts(tParts), m_oFirst(nMaxLosses) {}
  CChangeFiles(const CChangeFiles&) = delete;
  CChangeFiles& operator=(const CChangeFiles&) = delete;

  /// Makes the stream's folder and returns it.
  const CStreamFolder& BeginStream(const MCE::CProvider::TStreamInfo& tStream);
  /// Makes room in the stream's folder and asks the provider for the files of a changeset.
  void Retrieve(MCE::CProvider::TChangeInfo& tChange);
  /// `bFailed`: the provider says that it could not do its part for the item.
  void Take(const MCE::CProvider::TChangeItemInfo& tItem, bool bFailed);
  /// Brings the tree up to the changeset and returns what changes in it: deletions, then files.
  std::vector<CFastImportStream::TFileChange> Apply(CLiveTree& oTree);

  std::uint64_t GetItemCount() const { return m_nItems; }

 private:
  /// What an item does to the tree.
  struct TItemChange {
    CFastImportStream::TFileChange tFile;
    std::string strShown;  ///< its path as the foreign system has it
    CLiveTree::TNameKind eNameKind = CLiveTree::OWN_NAME;
    bool bSuperseded = false;  ///< a later item of the same changeset has the same path
  };

  void TakeItem(const std::string& strPath, const MCE::CProvider::TChangeItemInfo& tItem, bool bFailed);
  /// Empty, or why the file is lost.
  std::string WriteBlob(const CItemPath& oPath, CFastImportStream::TFileChange& tFile);
  void Add(TItemChange tItem, const std::string& strPath);
  void RequireRoom() const;
  /// Reports the loss of a file that could not be retrieved.
  void LoseFile(const std::string& strShownPath, const std::string& strReason);
  /// Reports a loss, and returns how.
  std::string Lose(const std::string& strShownPath, const std::string& strReason);
  std::string ClientWords() const;

  TParts m_tParts;
  CFirstLosses m_oFirst;
  std::uint64_t m_nItems = 0;
  std::set<std::string> m_astrChangedPaths;  // reported once each

  // Of the current stream:
  VCM::CString m_strStream;
  CStreamFolder m_oFolder;
  bool m_bPiecemeal = false;  // single files have been retrieved into the folder

  // Of the current changeset:
  long long m_nChangeTime = 0;
  bool m_bChangeFailed = false;
  VCM::CString m_strChangeWords;  // of the foreign client, about the changeset as a whole
  std::vector<TItemChange> m_atItems;
  std::map<std::string, std::size_t, std::less<>> m_anItemByPath;
};

}  // namespace TALVEK::HOST
