#include "mce/path_history.h"

#include <cstddef>

#include "core/text_hash.h"

namespace TALVEK::MCE {

namespace {

constexpr std::size_t MANY_CHANGES = 1024;
constexpr int LONG_PATH = 1 << 16;

}  // namespace

void CPathHistory::Begin(const VCM::CFilePath& oPath) {
  if (m_bBegun && oPath == m_oPath) return;
  Forget();
  const VCM::CString strPath = oPath.GeneratePath();
  const VCM::CTextHash oHash = VCM::CTextHash().Add(strPath.View());
  const bool bNew = !m_oSeen.Has(oHash.GetHigh(), oHash.GetLow());
  m_oSeen.Note(oHash.GetHigh(), oHash.GetLow());
  // One that isn't worth a copy has perhaps come before.
  if (strPath.GetLength() > LONG_PATH) return;
  m_bBegun = true;
  m_bNew = bNew;
  m_oPath = oPath;
}

CPathHistory::TAnswer CPathHistory::Find(std::uint32_t nChangeID, std::int32_t& nRevision) const {
  if (!m_bNew) return UNKNOWN;
  const auto it = m_anRevisions.find(nChangeID);
  if (it == m_anRevisions.end()) return ABSENT;
  nRevision = it->second;
  return PRESENT;
}

void CPathHistory::Add(std::uint32_t nChangeID, std::int32_t nRevision) {
  if (m_bNew) m_anRevisions.emplace(nChangeID, nRevision);  // the first one stays
}

void CPathHistory::Forget() {
  m_bBegun = m_bNew = false;
  // Emptying takes as long as there has ever been room for.
  if (m_anRevisions.bucket_count() > MANY_CHANGES) m_anRevisions = {};
  m_anRevisions.clear();
}

}  // namespace TALVEK::MCE
