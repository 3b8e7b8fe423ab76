#include "mcv/file_enum.h"

#include <utility>

namespace TALVEK::MCV {

namespace {

bool IsOnVendorBranch(const MCE::TCVSRevision& oRevision) {
  return oRevision.GetCount() >= 3 && oRevision[0] == 1 && oRevision[1] == 1 && oRevision[2] == 1;
}

/// Removes the magic 0 of a branch number, and folds the vendor branch into the trunk.
void NormaliseTag(TTagInfo& tTag) {
  MCE::TCVSRevision& oRevision = tTag.oRevision;
  const int nCount = oRevision.GetCount();
  if (nCount > 1 && oRevision[nCount - 2] == 0) {
    tTag.bIsBranch = true;
    oRevision.RemoveAt(nCount - 2);
  }
  if (!IsOnVendorBranch(oRevision)) return;
  if (oRevision.GetCount() == 3) tTag.bIsBranch = true;
  oRevision.RemoveAt(0);
  oRevision.RemoveAt(0);
}

}  // namespace

int CompareRevs(const TRevInfo* ptLeft, const TRevInfo* ptRight) {
  return MCE::CompareRevisions(ptLeft->oRevision, ptRight->oRevision);
}

int CompareTags(const TTagInfo* ptLeft, const TTagInfo* ptRight) {
  return MCE::CompareRevisions(ptLeft->oRevision, ptRight->oRevision);
}

CFileEnum::CFileEnum(wxInputStream* poInput) : m_oParser(poInput) {}

CFileEnum::CFileEnum(wxInputStream* poInput, const VCM::CString& strModuleName,
                     const VCM::CString& strReposDir)
    : m_oParser(poInput, strModuleName, strReposDir) {}

bool CFileEnum::GetNextFile(TFileInfo& tFile, const VCM::CArray<VCM::CString>& astrIncludeTags,
                            const VCM::CArray<VCM::CString>& astrExcludeTags, bool bKeepTags) {
  tFile.oPath.Clear();
  tFile.atTags.RemoveAll(false);
  tFile.atRevisions.RemoveAll(false);

  if (m_bItemHeld) {
    std::swap(m_tCurrentItem, m_tHeldItem);
    m_bItemHeld = false;
  } else if (!m_oParser.GetNextItem(m_tCurrentItem, astrIncludeTags, astrExcludeTags, bKeepTags)) {
    return false;
  }
  while (m_tCurrentItem.nKind != TLogItem::KIND_FILE) {
    if (!m_oParser.GetNextItem(m_tCurrentItem, astrIncludeTags, astrExcludeTags, bKeepTags)) {
      PostProcess(tFile);
      return true;
    }
  }

  std::swap(tFile.oPath, m_tCurrentItem.oPath);  // no copy: a path may be as long as the log
  for (int i = 0; i < m_tCurrentItem.astrTagNames.GetCount(); ++i) {
    TTagInfo tTag{m_tCurrentItem.astrTagNames[i], std::move(m_tCurrentItem.aoTagRevisions[i]), false};
    NormaliseTag(tTag);
    if (tTag.bIsBranch || bKeepTags) tFile.atTags.Add(std::move(tTag));
  }
  GetFileRevs(tFile, astrIncludeTags, astrExcludeTags, bKeepTags);
  PostProcess(tFile);
  return true;
}

bool CFileEnum::GetFileRevs(TFileInfo& tFile, const VCM::CArray<VCM::CString>& astrIncludeTags,
                            const VCM::CArray<VCM::CString>& astrExcludeTags, bool bKeepTags) {
  while (m_oParser.GetNextItem(m_tCurrentItem, astrIncludeTags, astrExcludeTags, bKeepTags)) {
    if (m_tCurrentItem.nKind != TLogItem::KIND_REVISION) {
      std::swap(m_tHeldItem, m_tCurrentItem);
      m_bItemHeld = true;
      break;
    }
    tFile.atRevisions.Add(TRevInfo{std::move(m_tCurrentItem.oRevision), m_tCurrentItem.oTime,
                                   m_tCurrentItem.nState, m_tCurrentItem.strAuthor,
                                   m_oParser.Intern(m_tCurrentItem.strComment.View())});
  }
  return false;
}

void CFileEnum::PostProcess(TFileInfo& tFile) {
  tFile.atTags.Sort(CompareTags);
  tFile.atRevisions.Sort(CompareRevs);
}

}  // namespace TALVEK::MCV
