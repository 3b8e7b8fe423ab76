#include "mce/stream_list.h"

#include <algorithm>

#include "core/case_map.h"

namespace TALVEK::MCE {

namespace {

void LowerInto(std::wstring_view strText, std::wstring& strLower) {
  strLower.resize(strText.size());
  std::transform(strText.begin(), strText.end(), strLower.begin(), VCM::ToLower);
}

}  // namespace

void CStreamList::Add(const TStreamInfo& tStream) {
  const int nPlace = m_atStreams.GetCount();
  m_atStreams.Add(tStream);
  m_oChildren.insert({tStream.nParentID, nPlace});
  AddName(nPlace);
}

void CStreamList::Replace(int nPlace, const TStreamInfo& tStream) {
  const bool bRenamed = m_atStreams[nPlace].strName != tStream.strName;
  m_oChildren.erase({m_atStreams[nPlace].nParentID, nPlace});
  m_oChildren.insert({tStream.nParentID, nPlace});
  m_atStreams[nPlace] = tStream;
  if (!bRenamed) return;
  m_oPlacesByName.clear();
  for (int i = 0; i < m_atStreams.GetCount(); ++i)
    AddName(i);
}

void CStreamList::AddName(int nPlace) {
  LowerInto(m_atStreams[nPlace].strName.View(), m_strKey);
  // Of equal names the first one stays. The key is moved, not copied: a name may be as long as the log.
  m_oPlacesByName.try_emplace(std::move(m_strKey), nPlace);
}

void CStreamList::RemoveAll() {
  m_atStreams.RemoveAll(true);
  m_oPlacesByName.clear();
  m_oChildren.clear();
}

int CStreamList::FindByID(std::uint32_t nStreamID) const {
  const std::int64_t nPlace = static_cast<std::int64_t>(nStreamID) - 1;
  if (nPlace >= 0 && nPlace < GetCount() && m_atStreams[static_cast<int>(nPlace)].nID == nStreamID)
    return static_cast<int>(nPlace);
  const auto it = std::find_if(begin(), end(), [&](const TStreamInfo& t) { return t.nID == nStreamID; });
  return it == end() ? -1 : static_cast<int>(it - begin());
}

int CStreamList::FindByName(std::wstring_view strName) const {
  LowerInto(strName, m_strKey);
  const auto it = m_oPlacesByName.find(m_strKey);
  return it == m_oPlacesByName.end() ? -1 : it->second;
}

int CStreamList::FindChild(std::uint32_t nParentID, int nFrom) const {
  const auto it = m_oChildren.lower_bound({nParentID, nFrom});
  return it == m_oChildren.end() || it->first != nParentID ? -1 : it->second;
}

}  // namespace TALVEK::MCE
