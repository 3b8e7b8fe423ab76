#include "mce/change_groups.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

#include "core/case_map.h"

namespace TALVEK::MCE {

namespace {

/// The treap's priority of a change: a hash of its ID instead of a random number, so that all runs build the
/// same trees.
std::uint32_t Priority(std::uint32_t nChange) {
  std::uint32_t nValue = nChange;
  nValue = (nValue ^ nValue >> 16U) * 0x85EBCA6BU;
  nValue = (nValue ^ nValue >> 13U) * 0xC2B2AE35U;
  return nValue ^ nValue >> 16U;
}

}  // namespace

void CChangeGroups::Add(std::uint32_t nChange, std::uint32_t nStreamID, std::wstring_view strUser,
                        std::wstring_view strComment, const TChangeState& tState) {
  if (nChange >= m_atNodes.size()) m_atNodes.resize(std::size_t{nChange} + 1);
  m_atNodes[nChange].tState = tState;
  std::uint32_t& nGroup = m_anGroups[MakeKey(nStreamID, strUser, strComment)];
  if (nGroup == 0) {
    nGroup = static_cast<std::uint32_t>(m_anTrees.size());
    m_anTrees.push_back(0);
  }
  m_atNodes[nChange].nGroup = nGroup;
  Insert(nChange);
}

bool CChangeGroups::Has(std::uint32_t nChange) const {
  return nChange < m_atNodes.size() && m_atNodes[nChange].nGroup != 0;
}

void CChangeGroups::Remove(std::uint32_t nChange) {
  Erase(m_anTrees[m_atNodes[nChange].nGroup], nChange);
  m_atNodes[nChange].nGroup = 0;
}

void CChangeGroups::Set(std::uint32_t nChange, const TChangeState& tState) {
  TNode& tNode = m_atNodes[nChange];
  const bool bMoves = tNode.tState.nTime != tState.nTime || tNode.tState.nMaxTime != tState.nMaxTime;
  if (bMoves) Erase(m_anTrees[tNode.nGroup], nChange);
  tNode.tState = tState;
  if (bMoves) Insert(nChange);
}

// Each step looks at one base time: of its changes that still take items, the one with the lowest time (then
// ID) comes first in the tree. As a change's time is never before its base time, the search ends at the base
// time that has reached the lowest time found.
std::uint32_t CChangeGroups::Find(std::uint32_t nStreamID, std::wstring_view strUser,
                                  std::wstring_view strComment, const TGroupingWindow& tWindow) {
  const auto it = m_anGroups.find(MakeKey(nStreamID, strUser, strComment));
  if (it == m_anGroups.end()) return 0;
  const std::uint32_t nRoot = m_anTrees[it->second];
  const std::uint32_t nLast = std::min(tWindow.nHigh, tWindow.nEndTime);
  std::uint32_t nFound = 0;
  std::uint32_t nLowestBase = tWindow.nLow;
  while (nLowestBase <= nLast) {
    const std::uint32_t nNext = FindOpen(nRoot, nLowestBase, tWindow.nTime);
    if (nNext == 0) break;
    const TChangeState& tState = m_atNodes[nNext].tState;
    if (tState.nBaseTime > nLast) break;
    if (tState.nTime <= nLast &&
        (nFound == 0 || std::tie(tState.nTime, nNext) < std::tie(m_atNodes[nFound].tState.nTime, nFound))) {
      nFound = nNext;
    }
    if (nFound != 0 && m_atNodes[nFound].tState.nTime <= tState.nBaseTime) break;
    nLowestBase = tState.nBaseTime + 1;
  }
  return nFound;
}

void CChangeGroups::Clear() {
  m_anGroups.clear();
  m_anTrees.resize(1);
  m_atNodes.clear();
}

/// Hashes the texts in lower case, piece by piece instead of in a copy: a message can be as long as the log.
CChangeGroups::TKey CChangeGroups::MakeKey(std::uint32_t nStreamID, std::wstring_view strUser,
                                           std::wstring_view strComment) {
  std::array<std::size_t, 2> anHashes = {1, 2};  // two beginnings give two hashes with nothing in common
  std::array<wchar_t, 512> achPiece;
  std::size_t nLength = 2;
  const auto fnHashPiece = [&] {
    for (std::size_t& nHash : anHashes) {
      achPiece[0] = static_cast<wchar_t>(nHash);
      achPiece[1] = static_cast<wchar_t>(nHash >> 32U);
      nHash = std::hash<std::wstring_view>()({achPiece.data(), nLength});
    }
    nLength = 2;
  };
  const auto fnAdd = [&](wchar_t ch) {
    if (nLength == achPiece.size()) fnHashPiece();
    achPiece[nLength++] = ch;
  };
  fnAdd(static_cast<wchar_t>(nStreamID));
  fnAdd(static_cast<wchar_t>(strUser.size()));
  for (const std::wstring_view strText : {strUser, strComment}) {
    for (const wchar_t ch : strText)
      fnAdd(VCM::ToLower(ch));
  }
  fnHashPiece();
  return {static_cast<std::uint32_t>(anHashes[0] >> 32U), static_cast<std::uint32_t>(anHashes[0]),
          static_cast<std::uint32_t>(anHashes[1])};
}

bool CChangeGroups::IsBefore(std::uint32_t nLeft, std::uint32_t nRight) const {
  const TChangeState& tLeft = m_atNodes[nLeft].tState;
  const TChangeState& tRight = m_atNodes[nRight].tState;
  return std::tie(tLeft.nBaseTime, tLeft.nTime, nLeft) < std::tie(tRight.nBaseTime, tRight.nTime, nRight);
}

/// Recomputes a node's nMaxTimeOfTree from its children.
void CChangeGroups::UpdateTree(std::uint32_t nTree) {
  TNode& tNode = m_atNodes[nTree];
  tNode.nMaxTimeOfTree = tNode.tState.nMaxTime;
  for (const std::uint32_t nChild : {tNode.nLeft, tNode.nRight}) {
    if (nChild != 0) tNode.nMaxTimeOfTree = std::max(tNode.nMaxTimeOfTree, m_atNodes[nChild].nMaxTimeOfTree);
  }
}

/// Splits a tree into the changes that sort before `nChange`, which needn't be in it, and the rest.
void CChangeGroups::Split(std::uint32_t nTree, std::uint32_t nChange, std::uint32_t& nBefore,
                          std::uint32_t& nRest) {
  if (nTree == 0) {
    nBefore = nRest = 0;
    return;
  }
  TNode& tNode = m_atNodes[nTree];
  if (IsBefore(nTree, nChange)) {
    Split(tNode.nRight, nChange, tNode.nRight, nRest);
    nBefore = nTree;
  } else {
    Split(tNode.nLeft, nChange, nBefore, tNode.nLeft);
    nRest = nTree;
  }
  UpdateTree(nTree);
}

/// Joins two trees; every change of the left one sorts before those of the right one.
std::uint32_t CChangeGroups::Merge(std::uint32_t nLeft, std::uint32_t nRight) {
  if (nLeft == 0 || nRight == 0) return nLeft + nRight;
  if (Priority(nLeft) > Priority(nRight)) {
    m_atNodes[nLeft].nRight = Merge(m_atNodes[nLeft].nRight, nRight);
    UpdateTree(nLeft);
    return nLeft;
  }
  m_atNodes[nRight].nLeft = Merge(nLeft, m_atNodes[nRight].nLeft);
  UpdateTree(nRight);
  return nRight;
}

void CChangeGroups::Insert(std::uint32_t nChange) {
  TNode& tNode = m_atNodes[nChange];
  tNode.nLeft = tNode.nRight = 0;
  UpdateTree(nChange);
  std::uint32_t nBefore = 0;
  std::uint32_t nRest = 0;
  Split(m_anTrees[tNode.nGroup], nChange, nBefore, nRest);
  m_anTrees[tNode.nGroup] = Merge(Merge(nBefore, nChange), nRest);
}

void CChangeGroups::Erase(std::uint32_t& nTree, std::uint32_t nChange) {
  TNode& tNode = m_atNodes[nTree];
  if (nTree == nChange) {
    nTree = Merge(tNode.nLeft, tNode.nRight);
    return;
  }
  Erase(IsBefore(nChange, nTree) ? tNode.nLeft : tNode.nRight, nChange);
  UpdateTree(nTree);
}

/// The first change of a tree with a base time at or after `nLowestBase` that still takes an item of time
/// `nTime` (its maximum time is later); 0 when there is none.
std::uint32_t CChangeGroups::FindOpen(std::uint32_t nTree, std::uint32_t nLowestBase,
                                      std::uint32_t nTime) const {
  if (nTree == 0 || m_atNodes[nTree].nMaxTimeOfTree <= nTime) return 0;
  const TNode& tNode = m_atNodes[nTree];
  if (tNode.tState.nBaseTime >= nLowestBase) {
    const std::uint32_t nFound = FindOpen(tNode.nLeft, nLowestBase, nTime);
    if (nFound != 0) return nFound;
    if (tNode.tState.nMaxTime > nTime) return nTree;
  }
  return FindOpen(tNode.nRight, nLowestBase, nTime);
}

}  // namespace TALVEK::MCE
