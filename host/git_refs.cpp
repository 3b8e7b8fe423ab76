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
  for (int nNumber = 2; !IsFree(strFree) || (poOther && poOther->IsTaken(strFree)); ++nNumber)
    strFree = WithSuffix(strValid, nNumber);
  Take(strFree);
  return strFree;
}

bool CRefNames::IsFree(const std::string& strName) const {
  if (IsTaken(strName) || m_astrFolders.contains(Key(strName))) return false;
  for (std::size_t nEnd = strName.find('/'); nEnd != std::string::npos; nEnd = strName.find('/', nEnd + 1)) {
    if (IsTaken(strName.substr(0, nEnd))) return false;
  }
  return true;
}

std::string CRefNames::Key(const std::string& strName) const {
  if (!m_bIgnoreCase) return strName;
  VCM::CString strLower = VCM::FromBytes(strName);
  strLower.MakeLower();
  return VCM::ToBytes(strLower);
}

// The suffix goes behind the first folder of the name that is taken as a name ("a-2/b" if there is "a"), else
// to the end.
std::string CRefNames::WithSuffix(const std::string& strName, int nNumber) const {
  std::size_t nEnd = strName.find('/');
  while (nEnd != std::string::npos && !IsTaken(strName.substr(0, nEnd))) {
    nEnd = strName.find('/', nEnd + 1);
  }
  std::string strResult = strName;
  return strResult.insert(nEnd == std::string::npos ? strName.size() : nEnd, '-' + std::to_string(nNumber));
}

void CRefNames::Take(const std::string& strName) {
  m_astrTaken.insert(Key(strName));
  for (std::size_t nEnd = strName.find('/'); nEnd != std::string::npos; nEnd = strName.find('/', nEnd + 1)) {
    m_astrFolders.insert(Key(strName.substr(0, nEnd)));
  }
}

CGitRefs::CGitRefs(const std::vector<TStream>& atStreams, const TRefOptions& tOptions, CReport& oReport)
    : m_oReport(oReport), m_oBranches(tOptions.bIgnoreCase), m_oTags(tOptions.bIgnoreCase) {
  const std::string strRef = "refs/heads/" + m_oBranches.Assign(tOptions.strTrunkBranch);
  if (const TStream* poTrunk = FindTrunk(atStreams)) m_astrRefs[poTrunk->tInfo.nID] = strRef;
}

const std::string& CGitRefs::RefOf(const TStream& tStream) {
  std::string& strRef = m_astrRefs[tStream.tInfo.nID];
  if (!strRef.empty()) return strRef;
  strRef = tStream.IsTag() ? "refs/tags/" + Assign(m_oTags, m_oBranches, tStream.tInfo.strName)
                           : "refs/heads/" + Assign(m_oBranches, m_oTags, tStream.tInfo.strName);
  m_atRecorded.push_back({VCM::ToBytes(tStream.tInfo.strName), strRef});
  return strRef;
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
