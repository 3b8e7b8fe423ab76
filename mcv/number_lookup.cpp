#include "mcv/number_lookup.h"

#include <algorithm>
#include <iterator>

namespace TALVEK::MCV {

namespace {

/// True when `oLeft` sorts before the number made of the first `nRightCount` components of `oRight`.
bool IsBefore(const MCE::TCVSRevision& oLeft, const MCE::TCVSRevision& oRight, int nRightCount) {
  return std::lexicographical_compare(oLeft.begin(), oLeft.end(), oRight.begin(),
                                      oRight.begin() + nRightCount);
}

/// True when `oLeft` equals that number.
bool IsSame(const MCE::TCVSRevision& oLeft, const MCE::TCVSRevision& oRight, int nRightCount) {
  return oLeft.GetCount() == nRightCount && oLeft.IsPrefixOf(oRight);
}

/// Index of the first element with the number made of the first `nCount` components of `oNumber`, or -1.
/// Records that didn't come from CFileEnum may be unsorted; these are searched linearly.
template <class TItem>
int FindNumber(const VCM::CArray<TItem>& atItems, const MCE::TCVSRevision& oNumber, int nCount) {
  const auto fnSame = [&](const TItem& tItem) { return IsSame(tItem.oRevision, oNumber, nCount); };
  const auto fnBefore = [&](const TItem& tItem) { return IsBefore(tItem.oRevision, oNumber, nCount); };
  const auto it = atItems.IsUnsorted() ? std::find_if(atItems.begin(), atItems.end(), fnSame)
                                       : std::partition_point(atItems.begin(), atItems.end(), fnBefore);
  return it != atItems.end() && fnSame(*it) ? static_cast<int>(std::distance(atItems.begin(), it)) : -1;
}

}  // namespace

const TRevInfo* FindRevision(const TFileInfo& tFile, const MCE::TCVSRevision& oRevision) {
  const int nFound = FindNumber(tFile.atRevisions, oRevision, oRevision.GetCount());
  return nFound < 0 ? nullptr : &tFile.atRevisions[nFound];
}

int FindTagOfRevision(const TFileInfo& tFile, const MCE::TCVSRevision& oRevision) {
  return oRevision.IsEmpty() ? -1 : FindNumber(tFile.atTags, oRevision, oRevision.GetCount() - 1);
}

int CTagNesting::NextParent() {
  const TTagInfo& tTag = m_tFile.atTags[m_nNext];
  while (!m_anCandidates.empty() && !Number(m_anCandidates.back()).IsPrefixOf(tTag.oRevision))
    m_anCandidates.pop_back();

  const int nCount = tTag.oRevision.GetCount();
  const int nMaxCount = nCount - (tTag.bIsBranch ? 2 : 1);
  const auto it = std::find_if(m_anCandidates.rbegin(), m_anCandidates.rend(),
                               [&](int nTag) { return Number(nTag).GetCount() <= nMaxCount; });
  const int nParent = nCount <= 3 || it == m_anCandidates.rend() ? -1 : *it;

  if (!m_anCandidates.empty() && Number(m_anCandidates.back()).GetCount() == nCount)
    m_anCandidates.pop_back();
  m_anCandidates.push_back(m_nNext++);
  return nParent;
}

}  // namespace TALVEK::MCV
