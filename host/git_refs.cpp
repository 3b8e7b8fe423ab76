#include "host/git_refs.h"

#include "core/text_codec.h"
#include "host/git_names.h"
#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

constexpr const wchar_t* TRUNK_NAME = L"Main";

const TStream* FindTrunk(const std::vector<TStream>& atStreams) {
  const TStream* poTrunk = nullptr;
  for (const TStream& tStream : atStreams) {
    if (tStream.tInfo.nParentID != 0) continue;
    if (tStream.tInfo.strName == TRUNK_NAME) return &tStream;
    if (!poTrunk) poTrunk = &tStream;
  }
  return poTrunk;
}

}  // namespace

std::string CRefNames::Assign(std::string_view strName, const CRefNames* poOther) {
  const std::string strValid = GitRefName(strName);
  std::string strFree = strValid;
  for (int nNumber = 2; !IsFree(strFree) || (poOther && poOther->m_astrTaken.contains(strFree)); ++nNumber)
    strFree = WithSuffix(strValid, nNumber);
  Take(strFree);
  return strFree;
}

bool CRefNames::IsFree(const std::string& strName) const {
  if (m_astrTaken.contains(strName) || m_astrFolders.contains(strName)) return false;
  for (std::size_t nEnd = strName.find('/'); nEnd != std::string::npos; nEnd = strName.find('/', nEnd + 1)) {
    if (m_astrTaken.contains(strName.substr(0, nEnd))) return false;
  }
  return true;
}

// The suffix goes where the name meets the other one: behind its first part that is taken, else at its end.
std::string CRefNames::WithSuffix(const std::string& strName, int nNumber) const {
  std::size_t nEnd = strName.find('/');
  while (nEnd != std::string::npos && !m_astrTaken.contains(strName.substr(0, nEnd))) {
    nEnd = strName.find('/', nEnd + 1);
  }
  std::string strResult = strName;
  return strResult.insert(nEnd == std::string::npos ? strName.size() : nEnd, '-' + std::to_string(nNumber));
}

void CRefNames::Take(const std::string& strName) {
  m_astrTaken.insert(strName);
  for (std::size_t nEnd = strName.find('/'); nEnd != std::string::npos; nEnd = strName.find('/', nEnd + 1)) {
    m_astrFolders.insert(strName.substr(0, nEnd));
  }
}

CGitRefs::CGitRefs(const std::vector<TStream>& atStreams, const std::string& strTrunkBranch, CReport& oReport)
    : m_oReport(oReport) {
  const std::string strRef = "refs/heads/" + m_oBranches.Assign(strTrunkBranch);
  if (const TStream* poTrunk = FindTrunk(atStreams)) m_astrBranchRefs[poTrunk->tInfo.nID] = strRef;
}

const std::string& CGitRefs::Branch(const TStream& tStream) {
  std::string& strRef = m_astrBranchRefs[tStream.tInfo.nID];
  if (strRef.empty()) strRef = "refs/heads/" + Assign(m_oBranches, m_oTags, tStream.tInfo.strName);
  return strRef;
}

std::string CGitRefs::NewTag(const TStream& tStream) {
  return "refs/tags/" + Assign(m_oTags, m_oBranches, tStream.tInfo.strName);
}

std::string CGitRefs::Assign(CRefNames& oNames, const CRefNames& oOthers, const VCM::CString& strName) {
  const std::string strBytes = VCM::ToBytes(strName);
  std::string strAssigned = oNames.Assign(strBytes, &oOthers);
  if (strAssigned != strBytes) {
    m_oReport.Renamed(ShowText(strName), strAssigned,
                      HasMeaningInGit(strBytes) ? "Git takes its name for something else"
                                                : "Git refuses its name, or another stream has it");
  }
  return strAssigned;
}

}  // namespace TALVEK::HOST
