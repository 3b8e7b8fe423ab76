#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace TALVEK::HOST {

/// The files in the tree of a commit. Tells what can be deleted, and where a file and a folder would need the
/// same name: there Git would silently drop what it has.
///
/// Shape    A tree of folders whose unchanged parts are shared between copies.
/// Cost     A copy costs nothing; a change copies the folders on its path, once after each copy.
class CLiveTree {
 public:
  /// Whether a file has its own name or a changed one (host/git_names.h). The two kinds are kept apart, so
  /// that a file with a changed name never replaces the file whose name that is.
  enum TNameKind { OWN_NAME, CHANGED_NAME };

  /// True when there is no folder at the path, no file where it needs a folder, and no file of the other
  /// kind.
  bool CanPut(std::string_view strPath, TNameKind eKind) const;
  /// Only after CanPut.
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
