#include "host/live_tree.h"

#include <utility>

namespace TALVEK::HOST {
namespace {

// Cuts the first item off a path and returns it.
std::string_view TakeItem(std::string_view& strPath) {
  const std::size_t nEnd = strPath.find('/');
  const std::string_view strItem = strPath.substr(0, nEnd);
  strPath = nEnd == std::string_view::npos ? std::string_view() : strPath.substr(nEnd + 1);
  return strItem;
}

}  // namespace

CLiveTree::TNode& CLiveTree::Unshare(std::shared_ptr<TNode>& poNode) {
  if (poNode.use_count() > 1) poNode = std::make_shared<TNode>(*poNode);
  return *poNode;
}

const CLiveTree::TNode* CLiveTree::Find(std::string_view strPath, bool& bFileOnTheWay) const {
  const TNode* poNode = m_poRoot.get();
  bFileOnTheWay = false;
  while (!strPath.empty()) {
    if (poNode->bFile) {
      bFileOnTheWay = true;
      return nullptr;
    }
    const auto oChild = poNode->aChildren.find(TakeItem(strPath));
    if (oChild == poNode->aChildren.end()) return nullptr;
    poNode = oChild->second.get();
  }
  return poNode;
}

bool CLiveTree::CanPut(std::string_view strPath, TNameKind eKind) const {
  bool bFileOnTheWay = false;
  const TNode* poNode = Find(strPath, bFileOnTheWay);
  if (bFileOnTheWay) return false;
  return !poNode || (poNode->bFile && poNode->eKind == eKind);
}

void CLiveTree::Put(std::string_view strPath, TNameKind eKind) {
  TNode* poNode = &Unshare(m_poRoot);
  while (!strPath.empty()) {
    std::shared_ptr<TNode>& poChild = poNode->aChildren[std::string(TakeItem(strPath))];
    if (!poChild) poChild = std::make_shared<TNode>();
    poNode = &Unshare(poChild);
  }
  poNode->bFile = true;
  poNode->eKind = eKind;
}

bool CLiveTree::Remove(std::string_view strPath, TNameKind eKind) {
  bool bFileOnTheWay = false;
  const TNode* poNode = Find(strPath, bFileOnTheWay);
  if (!poNode || !poNode->bFile || poNode->eKind != eKind) return false;
  RemoveBelow(Unshare(m_poRoot), strPath);
  return true;
}

// True when the folder is empty afterwards.
bool CLiveTree::RemoveBelow(TNode& tFolder, std::string_view strPath) {
  const auto oChild = tFolder.aChildren.find(TakeItem(strPath));
  if (strPath.empty() || RemoveBelow(Unshare(oChild->second), strPath)) tFolder.aChildren.erase(oChild);
  return tFolder.aChildren.empty();
}

}  // namespace TALVEK::HOST
