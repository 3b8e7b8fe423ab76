#include "verify/quiet_moments.h"

#include <algorithm>

namespace TALVEK::VERIFY {
namespace {

/// The longest time between two revisions of one changeset.
constexpr std::int64_t LONGEST_GAP_SECONDS = 300;

}  // namespace

void CQuietMoments::AddSpan(std::int64_t nOne, std::int64_t nOther) {
  m_anSpans.push_back(std::minmax(nOne, nOther));
}

std::vector<std::int64_t> CQuietMoments::Pick(std::size_t nCount) {
  std::sort(m_anTimes.begin(), m_anTimes.end());
  std::sort(m_anSpans.begin(), m_anSpans.end());
  std::vector<std::int64_t> anMoments;
  std::size_t nSpan = 0;
  std::int64_t nSpanEnd = 0;  // the latest of the spans that begin up to the moment
  for (std::size_t nIndex = 0; nIndex + 1 < m_anTimes.size(); ++nIndex) {
    const std::int64_t nGap = m_anTimes[nIndex + 1] - m_anTimes[nIndex];
    if (nGap <= LONGEST_GAP_SECONDS) continue;
    const std::int64_t nMoment = m_anTimes[nIndex] + nGap / 2;
    for (; nSpan < m_anSpans.size() && m_anSpans[nSpan].first <= nMoment; ++nSpan)
      nSpanEnd = std::max(nSpanEnd, m_anSpans[nSpan].second);
    if (nSpanEnd <= nMoment) anMoments.push_back(nMoment);
  }
  if (anMoments.size() <= nCount) return anMoments;
  std::vector<std::int64_t> anPicked;
  for (std::size_t nPick = 0; nPick < nCount; ++nPick)
    anPicked.push_back(anMoments[(2 * nPick + 1) * anMoments.size() / (2 * nCount)]);
  return anPicked;
}

}  // namespace TALVEK::VERIFY
