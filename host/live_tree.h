#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace TALVEK::HOST {

/// The set of files in the tree of a commit. It says whether a path can be deleted, and whether it can be
/// added: where a file and a folder have the same name, Git would silently drop the older one.
///
/// Shape    A tree of folders, copied on write: copies share the folders that are equal.
/// Cost     A copy is constant. The first change after it copies the folders on its path.
class CLiveTree {
 public:
  /// Whether a file has its own name or a changed one (GitPath in host/git_names.h). A file with a changed
  /// name never replaces a file that has that name as its own.
  enum TNameKind { OWN_NAME, CHANGED_NAME };

  /// True when there is no folder at the path, no file where it needs a folder, and no file of the other
  /// kind.
  bool CanPut(std::string_view strPath, TNameKind eKind) const;
  /// Adds or replaces the file. Requires CanPut.
  void Put(std::string_view strPath, TNameKind eKind);
  /// Removes the file, and the folders that it leaves empty. False when there was none, or one of the other
  /// kind.
  bool Remove(std::string_view strPath, TNameKind eKind);

 private:
  struct TNode {
    bool bFile = false;
    TNameKind eKind = OWN_NAME;
    std::map<std::string, std::shared_ptr<TNode>, std::less<>> aChildren;
  };

  static bool RemoveBelow(TNode& tFolder, std::string_view strPath);
  static TNode& Unshare(std::shared_ptr<TNode>& poNode);
  const TNode* Find(std::string_view strPath, bool& bFileOnTheWay) const;

  std::shared_ptr<TNode> m_poRoot = std::make_shared<TNode>();
};

}  // namespace TALVEK::HOST
