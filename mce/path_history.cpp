#include "mce/path_history.h"

#include <cstddef>

#include "mce/text_hash.h"

namespace TALVEK::MCE {

namespace {

constexpr std::size_t WORDS = std::size_t{1} << 17;
constexpr std::size_t BITS = WORDS * 64;
constexpr int BITS_OF_PATH = 4;  // one path in 1000 is taken for a known one among 400,000
constexpr std::size_t MANY_CHANGES = 1024;

}  // namespace

CPathHistory::CPathHistory() : m_anSeen(WORDS) {}

void CPathHistory::Begin(const VCM::CFilePath& oPath) {
  if (m_bBegun && oPath == m_oPath) return;
  Forget();
  m_bBegun = true;
  m_oPath = oPath;
  m_bNew = !NoteSeen(oPath);
}

/// True when the path may have been noted before.
bool CPathHistory::NoteSeen(const VCM::CFilePath& oPath) {
  const CTextHash oHash = CTextHash().Add(oPath.GeneratePath().View());
  bool bSeen = true;
  std::size_t nBit = oHash.GetLow();
  for (int i = 0; i < BITS_OF_PATH; ++i, nBit += oHash.GetHigh() | 1U) {
    std::uint64_t& nWord = m_anSeen[nBit % BITS / 64];
    const std::uint64_t nMask = std::uint64_t{1} << (nBit % 64);
    bSeen = bSeen && (nWord & nMask) != 0;
    nWord |= nMask;
  }
  return bSeen;
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
