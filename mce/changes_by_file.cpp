#include "mce/changes_by_file.h"

#include <utility>

namespace TALVEK::MCE {

namespace {

constexpr std::size_t MANY_BUCKETS = 1024;

}  // namespace

void CChangesByFile::Select(const VCM::CFilePath& oPath) {
  const std::size_t nHash = m_fnHash(oPath.GetItems());
  if (m_bSelected && nHash == m_nSelected) return;
  if (m_bSelected && m_pItems == &m_anNew) MoveToList();
  m_bSelected = true;
  m_nSelected = nHash;
  const auto [itFile, bNew] = m_atFiles.try_emplace(nHash);
  if (bNew) {
    m_pItems = &m_anNew;
    return;
  }
  const auto [itItems, bReturnsNow] = m_atReturned.try_emplace(nHash);
  m_pItems = &itItems->second;
  if (!bReturnsNow) return;
  for (std::size_t i = itFile->second.nBegin; i < itFile->second.nEnd; ++i)
    m_pItems->insert(m_anList[i]);
}

void CChangesByFile::MoveToList() {
  TFile& tFile = m_atFiles[m_nSelected];
  tFile.nBegin = m_anList.size();
  m_anList.insert(m_anList.end(), m_anNew.begin(), m_anNew.end());
  tFile.nEnd = m_anList.size();
  // clear() visits every bucket, so a map that was large once would be slow to clear for ever after.
  if (m_anNew.bucket_count() > MANY_BUCKETS) m_anNew = TItems(&m_oMemory);
  m_anNew.clear();
}

void CChangesByFile::Add(std::uint32_t nChange, std::uint32_t nItem) {
  const auto [it, bNew] = m_pItems->try_emplace(nChange, nItem);
  if (!bNew && nItem < it->second) it->second = nItem;
}

const std::uint32_t* CChangesByFile::Find(std::uint32_t nChange) const {
  const auto it = m_pItems->find(nChange);
  return it == m_pItems->end() ? nullptr : &it->second;
}

void CChangesByFile::Clear() {
  m_atFiles.clear();
  m_atReturned.clear();
  m_anList.clear();
  m_anNew.clear();
  m_pItems = &m_anNew;
  m_bSelected = false;
}

}  // namespace TALVEK::MCE
