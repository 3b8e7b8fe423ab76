// The list of streams: adding, finding, updating, printing and linking them.

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/timestamp.h"
#include "mcv/cvs_provider.h"

namespace TALVEK::MCV {

namespace {

VCM::CString FormatUTC(std::uint32_t nTime) {
  return VCM::CTimestamp(nTime).Format(VCM::ZONE_GMT0);
}

constexpr wchar_t PSZ_INDENT[] = L"  ";

/// The streams by their parents.
class CChildren {
 public:
  using TStreamInfo = MCE::CProvider::TStreamInfo;

  /// The children of one stream, oldest first.
  struct TWalk {
    std::vector<const TStreamInfo*> aptStreams;
    std::size_t nNext = 0;

    const TStreamInfo* Next() { return nNext < aptStreams.size() ? aptStreams[nNext++] : nullptr; }
  };

  explicit CChildren(const VCM::CArray<TStreamInfo>& atStreams) {
    for (const TStreamInfo& tStream : atStreams)
      m_aptChildren[tStream.nParentID].push_back(&tStream);
  }

  /// To be taken once only: so a circle of parents is not walked around.
  TWalk Take(unsigned int nParentID) {
    const auto it = m_aptChildren.find(nParentID);
    if (it == m_aptChildren.end()) return {};
    TWalk tWalk{std::move(it->second)};
    m_aptChildren.erase(it);
    std::stable_sort(tWalk.aptStreams.begin(), tWalk.aptStreams.end(),
                     [](const TStreamInfo* ptLeft, const TStreamInfo* ptRight) {
                       return CProvider::CompareCreationTime(ptLeft, ptRight) < 0;
                     });
    return tWalk;
  }

 private:
  std::unordered_map<unsigned int, std::vector<const TStreamInfo*>> m_aptChildren;
};

}  // namespace

void CProvider::AddStream(TStreamInfo& tStream) {
  tStream.nID = static_cast<std::uint32_t>(m_atStreams.GetCount()) + 1;
  m_atStreams.Add(tStream);
  if (IsLogOpen()) LogStreamUpdate(tStream, true);
}

void CProvider::AddTrunkStream() {
  TStreamInfo tTrunk(0, 0, VCM::CFilePath(), VCM::CFilePath(), L"Main");
  AddStream(tTrunk);
}

void CProvider::UpdateStream(const TStreamInfo& tStream) {
  if (IsLogOpen()) LogStreamUpdate(tStream, false);
  TStreamInfo& tListed = m_atStreams[static_cast<int>(tStream.nID) - 1];
  if (tListed.strName != tStream.strName) m_oStreamNames.Forget();
  if (tListed.nParentID != tStream.nParentID) ForgetStreamTree();
  tListed = tStream;
}

int CProvider::FindStreamByName(const VCM::CString& strName) const {
  return m_oStreamNames.Find(m_atStreams, GetStreamListVersion(), strName.View());
}

bool CProvider::GetStreamByName(const VCM::CString& strName, TStreamInfo& tStream) const {
  const int nStream = FindStreamByName(strName);
  if (nStream >= 0) tStream = m_atStreams[nStream];
  return nStream >= 0;
}

bool CProvider::GetStreamByID(unsigned int nStreamID, TStreamInfo& tStream) const {
  if (nStreamID > static_cast<unsigned int>(m_atStreams.GetCount())) return false;
  tStream = m_atStreams[static_cast<int>(nStreamID) - 1];
  return true;
}

int CProvider::ResolveStreamLinkage() {
  for (int i = 0; i < m_atStreams.GetCount(); ++i) {
    TStreamInfo& tStream = m_atStreams[i];
    if (tStream.nParentID == 0) continue;
    const TStreamInfo* const ptParent = FindStream(tStream.nParentID);
    if (!ptParent) continue;
    tStream.nBaseChangeID = FindNearestChange(*ptParent, tStream.oProps.GetNumber(MCE::STREAM_CREATED, 0));
  }
  return 0;
}

void CProvider::LogStreamUpdate(const TStreamInfo& tStream, bool bAdding) {
  VCM::CString strParent = L"[NONE]";
  if (tStream.nParentID != 0) {
    TStreamInfo tParent;
    GetStreamByID(tStream.nParentID, tParent);
    strParent = tParent.strName;
  }
  WriteLog(L"%s stream '%s'. Parent is '%s'. Creation time is %s UTC. Max creation time is %s UTC",
           bAdding ? L"Adding" : L"Updating", tStream.strName.c_str(), strParent.c_str(),
           FormatUTC(tStream.oProps.GetNumber(MCE::STREAM_CREATED, 0)).c_str(),
           FormatUTC(tStream.oProps.GetNumber(MCE::STREAM_MAX_CREATED, 0)).c_str());
}

int CProvider::CompareCreationTime(const TStreamInfo* ptLeft, const TStreamInfo* ptRight) {
  const std::uint32_t nLeft = ptLeft->oProps.GetNumber(MCE::STREAM_CREATED, 0);
  const std::uint32_t nRight = ptRight->oProps.GetNumber(MCE::STREAM_CREATED, 0);
  return static_cast<std::int32_t>(nLeft - nRight);
}

// Without recursion, and with one look at the list: a log can nest as many streams in each other as it names.
void CProvider::DumpStreamChildren(unsigned int nParentID, const wchar_t* pszIndent) {
  CChildren oChildren(m_atStreams);
  std::wstring strIndent = pszIndent;
  std::vector<CChildren::TWalk> atOpen{oChildren.Take(nParentID)};
  while (!atOpen.empty()) {
    const TStreamInfo* const ptChild = atOpen.back().Next();
    if (ptChild) {
      WriteLog(L"%s%s", strIndent.c_str(), ptChild->strName.c_str());
      atOpen.push_back(oChildren.Take(ptChild->nID));
      strIndent += PSZ_INDENT;
    } else {
      atOpen.pop_back();
      if (!atOpen.empty()) strIndent.resize(strIndent.size() - std::size(PSZ_INDENT) + 1);
    }
  }
}

}  // namespace TALVEK::MCV
