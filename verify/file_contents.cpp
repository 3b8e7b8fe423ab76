#include "verify/file_contents.h"

namespace fs = std::filesystem;

namespace TALVEK::VERIFY {
namespace {

constexpr unsigned BITS_OF_REVISION = 32;

std::uint32_t NumberOf(const std::unordered_map<std::string, std::uint32_t>& anNumbers,
                       const std::string& strText) {
  const auto oFound = anNumbers.find(strText);
  return oFound == anNumbers.end() ? UINT32_MAX : oFound->second;
}

std::uint64_t KeyOf(std::uint32_t nPath, std::uint32_t nRevision) {
  return std::uint64_t{nPath} << BITS_OF_REVISION | nRevision;
}

}  // namespace

CFileContents::TKey CFileContents::KeyOf(const std::string& strPath, const std::string& strRevision) {
  const auto nPath = static_cast<std::uint32_t>(m_anPaths.size());
  const auto nRevision = static_cast<std::uint32_t>(m_anRevisions.size());
  return VERIFY::KeyOf(m_anPaths.try_emplace(strPath, nPath).first->second,
                       m_anRevisions.try_emplace(strRevision, nRevision).first->second);
}

bool CFileContents::Has(const std::string& strPath, const std::string& strRevision) const {
  return m_atContents.contains(
      VERIFY::KeyOf(NumberOf(m_anPaths, strPath), NumberOf(m_anRevisions, strRevision)));
}

const TContent& CFileContents::Get(const std::string& strPath, const std::string& strRevision) {
  const TKey nKey = KeyOf(strPath, strRevision);
  const auto oFound = m_atContents.find(nKey);
  if (oFound != m_atContents.end()) return oFound->second;
  return m_atContents[nKey] = Fetch(strPath, strRevision, nKey);
}

void CFileContents::Put(const std::string& strPath, const std::string& strRevision,
                        const TContent& tContent) {
  m_atContents.try_emplace(KeyOf(strPath, strRevision), tContent);
}

TContent CFileContents::Fetch(const std::string& strPath, const std::string& strRevision, TKey nKey) {
  const std::optional<fs::path> oFile = m_oModule.Fetch(strPath, strRevision);
  if (!oFile) {
    m_astrWords[nKey] = m_oModule.Words();
    TContent tRefused;
    tRefused.bGiven = false;
    return tRefused;
  }
  const TContent tContent = Read(*oFile);
  std::error_code oError;
  fs::remove(*oFile, oError);
  return tContent;
}

TContent CFileContents::Read(const fs::path& oFile) {
  TContent tContent;
  tContent.tIds = m_oGit.IdsOf(oFile);
  const fs::perms nMode = fs::status(oFile).permissions();
  tContent.bExecutable = (nMode & fs::perms::owner_exec) != fs::perms::none;
  return tContent;
}

std::string CFileContents::Words(const std::string& strPath, const std::string& strRevision) const {
  const auto oFound =
      m_astrWords.find(VERIFY::KeyOf(NumberOf(m_anPaths, strPath), NumberOf(m_anRevisions, strRevision)));
  return oFound == m_astrWords.end() ? "" : oFound->second;
}

std::string CFileContents::RevisionWith(const std::string& strPath, const TObjectId& tBlob) {
  const std::uint32_t nPath = NumberOf(m_anPaths, strPath);
  for (const auto& [strRevision, nRevision] : m_anRevisions) {
    const auto oFound = m_atContents.find(VERIFY::KeyOf(nPath, nRevision));
    if (oFound == m_atContents.end() || !oFound->second.bGiven) continue;
    const TContentIds& tIds = oFound->second.tIds;
    if (tIds.tWhole == tBlob || tIds.tCut == tBlob) return strRevision;
  }
  return "";
}

}  // namespace TALVEK::VERIFY
