#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/fast_import_stream.h"

namespace TALVEK::HOST {

/// The files of a stream, and what each change of them changes in the tree of its commits.
///
/// CVS can have a file and a folder of one name, which Git can't: there Git holds the one that changed last,
/// the other is hidden, and comes back when the last of that one is removed.
///
/// Shape    A tree of folders, copied on write: copies share the folders that are equal.
/// Cost     A copy is constant. The first change after it copies the folders on its path.
class CLiveTree {
 public:
  using TFile = CFastImportStream::TFileChange;
  using TChanges = std::vector<TFile>;

  /// Whether a file has its own name or a changed one (GitPath in host/git_names.h). A file with a changed
  /// name never replaces a file that has that name as its own.
  enum TNameKind { OWN_NAME, CHANGED_NAME };

  /// True when there is no file of the other kind at the path.
  bool CanPut(std::string_view strPath, TNameKind eKind) const;
  /// Puts a file, and appends what that changes in Git. Only after CanPut. True when it hides other files.
  bool Put(const TFile& tFile, TNameKind eKind, TChanges& atChanges);
  /// True when the file is there and Git has it.
  bool IsSeen(std::string_view strPath) const;
  /// Removes the file, and the folders that it leaves empty, and appends what that changes in Git. False when
  /// there was none, or one of the other kind.
  bool Remove(std::string_view strPath, TNameKind eKind, TChanges& atChanges);

 private:
  /// A file, a folder, or both.
  struct TNode {
    bool bFile = false;
    bool bHidden = false;  // a file that isn't seen, as its folder is
    bool bExecutable = false;
    TNameKind eKind = OWN_NAME;
    CFastImportStream::TMark nBlob = 0;
    std::map<std::string, std::shared_ptr<TNode>, std::less<>> aChildren;

    bool IsFileSeen() const { return bFile && !bHidden; }
  };

  static bool RemoveBelow(TNode& tFolder, std::string_view strPath, std::size_t nFrom, bool bSeen,
                          TChanges& atChanges);
  static void Show(const TNode& tNode, const std::string& strPath, TChanges& atChanges);
  static void ShowFolder(const TNode& tFolder, const std::string& strPath, TChanges& atChanges);
  static TNode& Unshare(std::shared_ptr<TNode>& poNode);
  const TNode* Find(std::string_view strPath) const;

  std::shared_ptr<TNode> m_poRoot = std::make_shared<TNode>();
};

}  // namespace TALVEK::HOST
