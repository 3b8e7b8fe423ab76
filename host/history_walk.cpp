#include "host/history_walk.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <utility>

#include "host/exit_status.h"
#include "host/stop_signal.h"
#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

[[noreturn]] void ThrowLost(const std::string& strWhat) {
  throw EHostError(STATUS_FAILED, "history lost in the import database: " + strWhat,
                   "look for room in the temporary folder and import again");
}

// True for an element, false at the end of a walk.
bool IsMore(int nResult, const char* pszWhat) {
  if (nResult == MCE::RESULT_END) return false;
  if (nResult != MCE::RESULT_OK) {
    throw EHostError(STATUS_FAILED, std::string("the provider can't read ") + pszWhat, "see the import log");
  }
  return true;
}

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
      // Asked for the children of an unknown stream, the provider returns the roots.
      if (tStream.nParentID == nParent) atChildren.push_back(tStream);
      // Children is called at most 2n + 1 times and finds at most n streams, unless a walk has no end.
      if (++m_nSteps > 4ULL * m_nCount * m_nCount + m_nCount) ThrowBroken();
    }
    if (nResult != MCE::RESULT_END) ThrowBroken();
    return atChildren;
  }

  // Depth first. No recursion, because streams can be nested to any depth.
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

void CHistoryWalk::Run(CHistoryVisitor& oVisitor) {
  m_nChangesSeen = 0;
  for (const TStream& tStream : m_atStreams)
    WalkStream(tStream, oVisitor);
  if (m_nChangesSeen != m_nChangeCount) {
    ThrowLost(ShowCount(m_nChangeCount, "changeset") + " recorded, " + std::to_string(m_nChangesSeen) +
              " read back");
  }
}

void CHistoryWalk::WalkStream(const TStream& tStream, CHistoryVisitor& oVisitor) {
  ThrowIfStopped();
  const VCM::CString strFolder = oVisitor.BeginStream(tStream);
  m_oProvider.OnBeginStream(tStream.tInfo.nID, strFolder.c_str());
  MCE::CProvider::TChangeInfo tChange;
  int nResult = m_oProvider.OnFirstChangeset(tChange);
  while (IsMore(nResult, "the changesets of a stream")) {
    CountChange();
    oVisitor.BeginChange(tChange);
    if (oVisitor.WantsItems()) WalkItems(tChange, oVisitor);
    oVisitor.EndChange(tChange);
    m_oProgress.Advance(m_nChangesSeen);
    nResult = m_oProvider.OnNextChangeset(tChange);
  }
  oVisitor.EndStream(tStream);
}

void CHistoryWalk::CountChange() {
  ThrowIfStopped();
  if (++m_nChangesSeen > m_nChangeCount) {
    ThrowLost(ShowCount(m_nChangeCount, "changeset") + " recorded, but more come back");
  }
}

void CHistoryWalk::WalkItems(const MCE::CProvider::TChangeInfo& tChange, CHistoryVisitor& oVisitor) {
  const std::uint32_t nExpected = CountItems(tChange);
  MCE::CProvider::TChangeItemInfo tItem;
  std::uint32_t nNumber = 0;
  int nResult = m_oProvider.OnFirstChangeItem(tItem);
  while (nResult == MCE::RESULT_OK || nResult == MCE::RESULT_FAILED) {
    if (++nNumber > nExpected) break;
    oVisitor.Item(tItem, nNumber, nResult == MCE::RESULT_FAILED);
    ThrowIfStopped();
    nResult = m_oProvider.OnNextChangeItem(tItem);
  }
  if (nNumber != nExpected || nResult != MCE::RESULT_END) {
    ThrowLost("changeset " + std::to_string(tChange.nID) + " has " + ShowCount(nExpected, "item") + ", but " +
              (nNumber > nExpected ? "more" : std::to_string(nNumber)) + " come back");
  }
}

}  // namespace TALVEK::HOST
