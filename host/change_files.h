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

/// Ends a run in which not one of the first files could be retrieved, because it would go on like that.
class CFirstLosses {
 public:
  /// `nMost` is the number of first files; 0: never ends the run.
  explicit CFirstLosses(std::uint64_t nMost) : m_nMost(nMost) {}

  /// Counts a lost file; `strText` says which and why. EHostError (STATUS_FAILED) with the text of the first
  /// loss when this is the `nMost`th one and no file was retrieved before.
  void Lose(const std::string& strText);
  void Retrieve() { m_bRetrieved = true; }

 private:
  std::uint64_t m_nMost;
  std::uint64_t m_nLost = 0;
  bool m_bRetrieved = false;
  std::string m_strFirst;
};

/// Moves the files of each changeset from the provider into the fast-import stream.
///
/// Shape    BeginStream once for each stream; then for each changeset Retrieve, Take for each of its items in
///          their order, Apply. Take writes a file as a blob and deletes it at once, so a changeset may be
///          larger than memory. Apply returns the deletions before the files, so that a folder can replace a
///          file of the same name.
/// Errors   A file that can't be retrieved is reported as a loss. EHostError when the work folder's disk is
///          full or the first files are all lost; and the errors of the fast-import stream.
/// Owns     Nothing of its parts, which must outlive it.
class CChangeFiles {
 public:
  struct TParts {
    MCE::CProvider& oProvider;
    CImportLogWatch& oWatch;
    CReport& oReport;
    const CWorkFolder& oWork;
    CItemSpool& oSpool;  ///< rewound
    CFastImportStream& oStream;
  };

  /// `nMaxLosses`: as in --max-losses (CFirstLosses).
  CChangeFiles(const TParts& tParts, std::uint64_t nMaxLosses) : m_tParts(tParts), m_oFirst(nMaxLosses) {}
  CChangeFiles(const CChangeFiles&) = delete;
  CChangeFiles& operator=(const CChangeFiles&) = delete;

  /// Makes the stream's folder and returns it.
  const CStreamFolder& BeginStream(const MCE::CProvider::TStreamInfo& tStream);
  /// Clears the paths of the changeset's files in the stream's folder and asks the provider for the files.
  void Retrieve(MCE::CProvider::TChangeInfo& tChange);
  /// Takes over the file of an item. `bFailed`: the provider's call for the item failed.
  void Take(const MCE::CProvider::TChangeItemInfo& tItem, bool bFailed);
  /// Applies the changeset's items to the tree and returns what changes in it: deletions, then files.
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
  /// Writes the file into the stream and sets `tFile`. Returns why the file is lost; empty: it isn't.
  std::string WriteBlob(const CItemPath& oPath, CFastImportStream::TFileChange& tFile);
  void Add(TItemChange tItem, const std::string& strPath);
  void RequireRoom() const;
  /// Reports the loss of a file that could not be retrieved.
  void LoseFile(const std::string& strShownPath, const std::string& strReason);
  /// Reports a loss, and returns the text of the report.
  std::string Lose(const std::string& strShownPath, const std::string& strReason);
  std::string ClientWords() const;

  TParts m_tParts;
  CFirstLosses m_oFirst;
  std::uint64_t m_nItems = 0;
  std::set<std::string> m_astrChangedPaths;  // those reported: each is reported once

  // Of the current stream:
  VCM::CString m_strStream;
  CStreamFolder m_oFolder;
  bool m_bPiecemeal = false;  // single files have been retrieved into the folder

  // Of the current changeset:
  long long m_nChangeTime = 0;
  bool m_bChangeFailed = false;
  VCM::CString m_strChangeWords;  // what the client said while OnProcessChange ran
  std::vector<TItemChange> m_atItems;
  std::map<std::string, std::size_t, std::less<>> m_anItemByPath;
};

}  // namespace TALVEK::HOST
