#include "mce/stream_children.h"

#include <algorithm>
#include <tuple>

namespace TALVEK::MCE {

int CStreamChildren::Next(const VCM::CArray<CProvider::TStreamInfo>& atStreams, std::uint32_t nParentID,
                          int nFrom) {
  if (m_atChildren.size() != static_cast<std::size_t>(atStreams.GetCount())) Read(atStreams);
  const auto it = std::partition_point(m_atChildren.begin(), m_atChildren.end(), [&](const TChild& tChild) {
    ++m_nLookedAt;
    return std::tie(tChild.nParentID, tChild.nStream) < std::tie(nParentID, nFrom);
  });
  return it != m_atChildren.end() && it->nParentID == nParentID ? it->nStream : -1;
}

void CStreamChildren::Read(const VCM::CArray<CProvider::TStreamInfo>& atStreams) {
  m_atChildren.clear();
  m_atChildren.reserve(static_cast<std::size_t>(atStreams.GetCount()));
  for (const CProvider::TStreamInfo& tStream : atStreams)
    m_atChildren.push_back({tStream.nParentID, static_cast<int>(m_atChildren.size())});
  m_nLookedAt += m_atChildren.size();
  std::sort(m_atChildren.begin(), m_atChildren.end(), [](const TChild& tLeft, const TChild& tRight) {
    return std::tie(tLeft.nParentID, tLeft.nStream) < std::tie(tRight.nParentID, tRight.nStream);
  });
}

}  // namespace TALVEK::MCE
