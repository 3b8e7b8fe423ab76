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
                        std::wstring_view strComment, const TChangeTimes& tTimes) {
  if (nChange >= m_atNodes.size()) m_atNodes.resize(std::size_t{nChange} + 1);
  m_atNodes[nChange].tTimes = tTimes;
  m_atNodes[nChange].pnRoot = &m_anRoots[MakeKey(nStreamID, strUser, strComment)];
  Insert(nChange);
}

bool CChangeGroups::Has(std::uint32_t nChange) const {
  return nChange < m_atNodes.size() && m_atNodes[nChange].pnRoot;
}

void CChangeGroups::Remove(std::uint32_t nChange) {
  Erase(*m_atNodes[nChange].pnRoot, nChange);
  m_atNodes[nChange].pnRoot = nullptr;
}

void CChangeGroups::Set(std::uint32_t nChange, std::uint32_t nTime, std::uint32_t nMaxTime) {
  TNode& tNode = m_atNodes[nChange];
  if (tNode.tTimes.nTime == nTime && tNode.tTimes.nMaxTime == nMaxTime) return;
  Erase(*tNode.pnRoot, nChange);
  tNode.tTimes.nTime = nTime;
  tNode.tTimes.nMaxTime = nMaxTime;
  Insert(nChange);
}

// Each step looks at one base time: of its changes that still take items, the one with the lowest time (then
// ID) comes first in the tree. As a change's time is never before its base time, the search ends at the base
// time that has reached the lowest time found.
std::uint32_t CChangeGroups::Find(std::uint32_t nStreamID, std::wstring_view strUser,
                                  std::wstring_view strComment, const TGroupingWindow& tWindow) {
  const auto it = m_anRoots.find(MakeKey(nStreamID, strUser, strComment));
  if (it == m_anRoots.end()) return 0;
  const std::uint32_t nRoot = it->second;
  const std::uint32_t nLast = std::min(tWindow.nHigh, tWindow.nEndTime);
  std::uint32_t nFound = 0;
  std::uint32_t nLowestBase = tWindow.nLow;
  while (nLowestBase <= nLast) {
    const std::uint32_t nNext = FindOpen(nRoot, nLowestBase, tWindow.nTime);
    if (nNext == 0) break;
    const TChangeTimes& tTimes = m_atNodes[nNext].tTimes;
    if (tTimes.nBaseTime > nLast) break;
    if (tTimes.nTime <= nLast &&
        (nFound == 0 || std::tie(tTimes.nTime, nNext) < std::tie(m_atNodes[nFound].tTimes.nTime, nFound))) {
      nFound = nNext;
    }
    if (nFound != 0 && m_atNodes[nFound].tTimes.nTime <= tTimes.nBaseTime) break;
    nLowestBase = tTimes.nBaseTime + 1;
  }
  return nFound;
}

void CChangeGroups::Clear() {
  m_anRoots.clear();
  m_atNodes.clear();
}

/// Hashes the texts in lower case, piece by piece instead of in a copy: a message can be as long as the log.
std::size_t CChangeGroups::MakeKey(std::uint32_t nStreamID, std::wstring_view strUser,
                                   std::wstring_view strComment) const {
  std::array<wchar_t, 512> achPiece;
  std::size_t nLength = 0;
  const auto fnAdd = [&](wchar_t ch) {
    if (nLength == achPiece.size()) {
      const std::size_t nFormer = m_fnHash({achPiece.data(), nLength});
      achPiece[0] = static_cast<wchar_t>(nFormer);
      achPiece[1] = static_cast<wchar_t>(nFormer >> 32U);
      nLength = 2;
    }
    achPiece[nLength++] = ch;
  };
  fnAdd(static_cast<wchar_t>(nStreamID));
  fnAdd(static_cast<wchar_t>(strUser.size()));
  for (const std::wstring_view strText : {strUser, strComment}) {
    for (const wchar_t ch : strText)
      fnAdd(VCM::ToLower(ch));
  }
  return m_fnHash({achPiece.data(), nLength});
}

bool CChangeGroups::IsBefore(std::uint32_t nLeft, std::uint32_t nRight) const {
  const TChangeTimes& tLeft = m_atNodes[nLeft].tTimes;
  const TChangeTimes& tRight = m_atNodes[nRight].tTimes;
  return std::tie(tLeft.nBaseTime, tLeft.nTime, nLeft) < std::tie(tRight.nBaseTime, tRight.nTime, nRight);
}

/// Recomputes a node's nMaxTimeOfTree from its children.
void CChangeGroups::UpdateTree(std::uint32_t nTree) {
  TNode& tNode = m_atNodes[nTree];
  tNode.nMaxTimeOfTree = tNode.tTimes.nMaxTime;
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
  Split(*tNode.pnRoot, nChange, nBefore, nRest);
  *tNode.pnRoot = Merge(Merge(nBefore, nChange), nRest);
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
  if (tNode.tTimes.nBaseTime >= nLowestBase) {
    const std::uint32_t nFound = FindOpen(tNode.nLeft, nLowestBase, nTime);
    if (nFound != 0) return nFound;
    if (tNode.tTimes.nMaxTime > nTime) return nTree;
  }
  return FindOpen(tNode.nRight, nLowestBase, nTime);
}

}  // namespace TALVEK::MCE
