#include "host/stream_tree.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "host/exit_status.h"

namespace TALVEK::HOST {
namespace {

class CStreamEnumerator {
 public:
  CStreamEnumerator(MCE::CProvider& oProvider, unsigned nCount) : m_oProvider(oProvider), m_nCount(nCount) {}

  std::vector<TStream> Enumerate() {
    AddTree();
    AddUnreached();
    return std::move(m_atStreams);
  }

 private:
  std::vector<MCE::CProvider::TStreamInfo> Children(unsigned nParent) {
    std::vector<MCE::CProvider::TStreamInfo> atChildren;
    MCE::POSITION* poPosition = nullptr;
    MCE::CProvider::TStreamInfo tStream;
    int nResult = MCE::RESULT_OK;
    while ((nResult = m_oProvider.GetNextStream(poPosition, tStream, nParent)) == MCE::RESULT_OK) {
      // A parent that doesn't exist has the roots for children.
      if (tStream.nParentID == nParent) atChildren.push_back(tStream);
      if (++m_nSteps > 4ULL * m_nCount * m_nCount + m_nCount) ThrowBroken();
    }
    if (nResult != MCE::RESULT_END) ThrowBroken();
    return atChildren;
  }

  // Depth first, without recursion: nobody bounds the depth.
  void AddTree() {
    std::vector<TStream> atOpen;
    PushChildren(0, 0, atOpen);
    while (!atOpen.empty()) {
      TStream tStream = std::move(atOpen.back());
      atOpen.pop_back();
      if (!m_anSeen.insert(tStream.tInfo.nID).second) continue;
      const unsigned nID = tStream.tInfo.nID;
      const int nDepth = tStream.nDepth;
      m_atStreams.push_back(std::move(tStream));
      PushChildren(nID, nDepth + 1, atOpen);
    }
  }

  void PushChildren(unsigned nParent, int nDepth, std::vector<TStream>& atOpen) {
    std::vector<MCE::CProvider::TStreamInfo> atChildren = Children(nParent);
    for (auto oChild = atChildren.rbegin(); oChild != atChildren.rend(); ++oChild) {
      atOpen.push_back({std::move(*oChild), nDepth, false});
    }
  }

  void AddUnreached() {
    if (m_atStreams.size() >= m_nCount) return;
    std::vector<TStream> atUnreached;
    for (unsigned nID = 1; nID <= m_nCount; ++nID) {
      for (MCE::CProvider::TStreamInfo& tChild : Children(nID)) {
        if (m_anSeen.insert(tChild.nID).second) atUnreached.push_back({std::move(tChild), 0, true});
      }
    }
    std::sort(atUnreached.begin(), atUnreached.end(),
              [](const TStream& tLeft, const TStream& tRight) { return tLeft.tInfo.nID < tRight.tInfo.nID; });
    std::move(atUnreached.begin(), atUnreached.end(), std::back_inserter(m_atStreams));
  }

  [[noreturn]] static void ThrowBroken() {
    throw EHostError(STATUS_FAILED, "the provider's list of streams can't be read to its end", "");
  }

  MCE::CProvider& m_oProvider;
  unsigned m_nCount;
  unsigned long long m_nSteps = 0;
  std::set<unsigned> m_anSeen;
  std::vector<TStream> m_atStreams;
};

}  // namespace

std::vector<TStream> EnumerateStreams(MCE::CProvider& oProvider, unsigned nCount) {
  return CStreamEnumerator(oProvider, nCount).Enumerate();
}

}  // namespace TALVEK::HOST
