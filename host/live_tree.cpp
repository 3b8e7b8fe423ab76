#include "host/live_tree.h"

#include <algorithm>

namespace TALVEK::HOST {
namespace {

/// Where the item ends that begins at nFrom.
std::size_t EndOfItem(std::string_view strPath, std::size_t nFrom) {
  return std::min(strPath.find('/', nFrom), strPath.size());
}

CLiveTree::TFile Removal(std::string_view strPath) {
  CLiveTree::TFile tFile;
  tFile.eKind = CLiveTree::TFile::REMOVE;
  tFile.strPath = strPath;
  return tFile;
}

}  // namespace

CLiveTree::TNode& CLiveTree::Unshare(std::shared_ptr<TNode>& poNode) {
  if (poNode.use_count() > 1) poNode = std::make_shared<TNode>(*poNode);
  return *poNode;
}

const CLiveTree::TNode* CLiveTree::Find(std::string_view strPath) const {
  const TNode* poNode = m_poRoot.get();
  for (std::size_t nFrom = 0; nFrom < strPath.size();) {
    const std::size_t nEnd = EndOfItem(strPath, nFrom);
    const auto oChild = poNode->aChildren.find(strPath.substr(nFrom, nEnd - nFrom));
    if (oChild == poNode->aChildren.end()) return nullptr;
    poNode = oChild->second.get();
    nFrom = nEnd + 1;
  }
  return poNode;
}

bool CLiveTree::CanPut(std::string_view strPath, TNameKind eKind) const {
  const TNode* poNode = Find(strPath);
  return !poNode || !poNode->bFile || poNode->eKind == eKind;
}

bool CLiveTree::IsSeen(std::string_view strPath) const {
  const TNode* poNode = m_poRoot.get();
  for (std::size_t nFrom = 0; nFrom < strPath.size();) {
    if (poNode->IsFileSeen()) return false;
    const std::size_t nEnd = EndOfItem(strPath, nFrom);
    const auto oChild = poNode->aChildren.find(strPath.substr(nFrom, nEnd - nFrom));
    if (oChild == poNode->aChildren.end()) return false;
    poNode = oChild->second.get();
    nFrom = nEnd + 1;
  }
  return poNode->IsFileSeen();
}

bool CLiveTree::Put(const TFile& tFile, TNameKind eKind, TChanges& atChanges) {
  bool bHides = false;
  TNode* poNode = &Unshare(m_poRoot);
  for (std::size_t nFrom = 0; nFrom < tFile.strPath.size();) {
    const std::size_t nEnd = EndOfItem(tFile.strPath, nFrom);
    std::shared_ptr<TNode>& poChild = poNode->aChildren[tFile.strPath.substr(nFrom, nEnd - nFrom)];
    if (!poChild) poChild = std::make_shared<TNode>();
    poNode = &Unshare(poChild);
    nFrom = nEnd + 1;
    if (nEnd == tFile.strPath.size() || !poNode->IsFileSeen()) continue;
    const std::string strFile = tFile.strPath.substr(0, nEnd);
    atChanges.push_back(Removal(strFile));
    poNode->bHidden = true;
    ShowFolder(*poNode, strFile, atChanges);
    bHides = true;
  }
  if (!poNode->aChildren.empty() && !poNode->IsFileSeen()) {
    atChanges.push_back(Removal(tFile.strPath));
    bHides = true;
  }
  poNode->bFile = true;
  poNode->bHidden = false;
  poNode->bExecutable = tFile.eKind == TFile::MODIFY_EXECUTABLE;
  poNode->eKind = eKind;
  poNode->nBlob = tFile.nBlob;
  atChanges.push_back(tFile);
  return bHides;
}

void CLiveTree::Show(const TNode& tNode, const std::string& strPath, TChanges& atChanges) {
  if (tNode.IsFileSeen()) {
    atChanges.push_back({tNode.bExecutable ? TFile::MODIFY_EXECUTABLE : TFile::MODIFY, tNode.nBlob, strPath});
  } else {
    ShowFolder(tNode, strPath, atChanges);
  }
}

void CLiveTree::ShowFolder(const TNode& tFolder, const std::string& strPath, TChanges& atChanges) {
  for (const auto& [strName, poChild] : tFolder.aChildren)
    Show(*poChild, std::string(strPath).append("/").append(strName), atChanges);
}

bool CLiveTree::Remove(std::string_view strPath, TNameKind eKind, TChanges& atChanges) {
  const TNode* poNode = Find(strPath);
  if (!poNode || !poNode->bFile || poNode->eKind != eKind) return false;
  RemoveBelow(Unshare(m_poRoot), strPath, 0, true, atChanges);
  return true;
}

/// Removes the file whose path goes on at nFrom within a folder; the folder is seen in Git or hidden by a
/// file. True when the folder is empty afterwards.
bool CLiveTree::RemoveBelow(TNode& tFolder, std::string_view strPath, std::size_t nFrom, bool bSeen,
                            TChanges& atChanges) {
  const std::size_t nEnd = EndOfItem(strPath, nFrom);
  const auto oChild = tFolder.aChildren.find(strPath.substr(nFrom, nEnd - nFrom));
  TNode& tChild = Unshare(oChild->second);
  const bool bFileSeen = bSeen && tChild.IsFileSeen();
  if (nEnd == strPath.size()) {
    if (bFileSeen) atChanges.push_back(Removal(strPath));
    tChild.bFile = tChild.bHidden = false;
  } else if (RemoveBelow(tChild, strPath, nEnd + 1, bSeen && !bFileSeen, atChanges)) {
    tChild.bHidden = false;
  }
  const bool bComesBack = nEnd == strPath.size() ? bFileSeen : bSeen && !bFileSeen && tChild.IsFileSeen();
  if (bComesBack) Show(tChild, std::string(strPath.substr(0, nEnd)), atChanges);
  if (!tChild.bFile && tChild.aChildren.empty()) tFolder.aChildren.erase(oChild);
  return tFolder.aChildren.empty();
}

}  // namespace TALVEK::HOST
