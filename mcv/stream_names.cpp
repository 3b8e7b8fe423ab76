#include "mcv/stream_names.h"

#include <algorithm>

#include "core/case_map.h"

namespace TALVEK::MCV {

int CStreamNames::Find(const VCM::CArray<MCE::CProvider::TStreamInfo>& atStreams, std::uint32_t nListVersion,
                       std::wstring_view strName) {
  if (m_nListVersion != nListVersion || m_nKnown > atStreams.GetCount()) Forget();
  m_nListVersion = nListVersion;
  for (; m_nKnown < atStreams.GetCount(); ++m_nKnown) {
    m_oIndexes.emplace(ToKey(atStreams[m_nKnown].strName.View()), m_nKnown);  // the first one stays
  }
  const auto it = m_oIndexes.find(ToKey(strName));
  return it == m_oIndexes.end() ? -1 : it->second;
}

void CStreamNames::Forget() {
  m_oIndexes.clear();
  m_nKnown = 0;
}

std::wstring_view CStreamNames::ToKey(std::wstring_view strName) {
  m_strKey.resize(strName.size());
  std::transform(strName.begin(), strName.end(), m_strKey.begin(), VCM::ToLower);
  return m_strKey;
}

}  // namespace TALVEK::MCV
