#include "host/history_walk.h"

#include <string>

#include "host/exit_status.h"
#include "host/stop_signal.h"
#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

[[noreturn]] void ThrowLost(const std::string& strWhat) {
  throw EHostError(STATUS_FAILED, "history lost in the import database: " + strWhat,
                   "look for room in the temporary folder and import again");
}

// False at the end of a walk.
bool IsMore(int nResult, const char* pszWhat) {
  if (nResult == MCE::RESULT_END) return false;
  if (nResult != MCE::RESULT_OK) {
    throw EHostError(STATUS_FAILED, std::string("the provider can't read ") + pszWhat, "see the import log");
  }
  return true;
}

}  // namespace

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
