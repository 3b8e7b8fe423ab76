#include "mcv/file_lookup.h"

#include <algorithm>
#include <iterator>

namespace TALVEK::MCV {

namespace {

/// The components in front of the first `nCount`, compared as CompareRevisions does, but equal ones are
/// equal.
bool IsBefore(const MCE::TCVSRevision& oLeft, const MCE::TCVSRevision& oRight, int nRightCount) {
  return std::lexicographical_compare(oLeft.begin(), oLeft.end(), oRight.begin(),
                                      oRight.begin() + nRightCount);
}

bool IsSame(const MCE::TCVSRevision& oLeft, const MCE::TCVSRevision& oRight, int nRightCount) {
  return oLeft.GetCount() == nRightCount && oLeft.IsPrefixOf(oRight);
}

/// Index of the first element with the number made of the first `nCount` components of `oNumber`, or -1. Who
/// has filled the record by hand may have left it unsorted.
template <class TItem>
int FindNumber(const VCM::CArray<TItem>& atItems, const MCE::TCVSRevision& oNumber, int nCount,
               std::uint64_t* pnCompared) {
  std::uint64_t nCompared = 0;
  const auto fnSame = [&](const TItem& tItem) {
    ++nCompared;
    return IsSame(tItem.oRevision, oNumber, nCount);
  };
  const auto fnBefore = [&](const TItem& tItem) {
    ++nCompared;
    return IsBefore(tItem.oRevision, oNumber, nCount);
  };
  const auto it = atItems.IsUnsorted() ? std::find_if(atItems.begin(), atItems.end(), fnSame)
                                       : std::partition_point(atItems.begin(), atItems.end(), fnBefore);
  const bool bFound = it != atItems.end() && fnSame(*it);
  if (pnCompared) *pnCompared += nCompared;
  return bFound ? static_cast<int>(std::distance(atItems.begin(), it)) : -1;
}

}  // namespace

const TRevInfo* FindRevision(const TFileInfo& tFile, const MCE::TCVSRevision& oRevision,
                             std::uint64_t* pnCompared) {
  const int nFound = FindNumber(tFile.atRevisions, oRevision, oRevision.GetCount(), pnCompared);
  return nFound < 0 ? nullptr : &tFile.atRevisions[nFound];
}

int FindTagOfRevision(const TFileInfo& tFile, const MCE::TCVSRevision& oRevision, std::uint64_t* pnCompared) {
  return oRevision.IsEmpty() ? -1 : FindNumber(tFile.atTags, oRevision, oRevision.GetCount() - 1, pnCompared);
}

int CTagNesting::NextParent() {
  const TTagInfo& tTag = m_tFile.atTags[m_nNext];
  for (; !m_anBeginnings.empty(); m_anBeginnings.pop_back()) {
    ++m_nCompared;
    if (Number(m_anBeginnings.back()).IsPrefixOf(tTag.oRevision)) break;
  }

  const int nCount = tTag.oRevision.GetCount();
  const int nMaxCount = nCount - (tTag.bIsBranch ? 2 : 1);
  auto it = m_anBeginnings.rbegin();
  for (; it != m_anBeginnings.rend() && Number(*it).GetCount() > nMaxCount; ++it)
    ++m_nCompared;
  const int nParent = nCount <= 3 || it == m_anBeginnings.rend() ? -1 : *it;

  if (!m_anBeginnings.empty() && Number(m_anBeginnings.back()).GetCount() == nCount)
    m_anBeginnings.pop_back();
  m_anBeginnings.push_back(m_nNext++);
  return nParent;
}

}  // namespace TALVEK::MCV
