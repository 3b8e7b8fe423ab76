#pragma once

#include <cstdint>
#include <vector>

#include "core/string.h"
#include "host/progress.h"
#include "mce/provider.h"

namespace TALVEK::HOST {

/// A stream and its place in the tree of streams.
struct TStream {
  MCE::CProvider::TStreamInfo tInfo;
  int nDepth = 0;           ///< 0 for a root
  bool bUnreached = false;  ///< not reachable from the roots, because its parents form a circle

  bool IsTag() const { return tInfo.oProps.GetNumber(MCE::STREAM_IS_TAG, 0) == 1; }
};

/// All streams of a provider whose EstablishStreams counted `nCount`: every parent before its children,
/// siblings in the provider's order. At the end, by ID, those that can't be reached from the roots; treat
/// these as roots. EHostError when the provider fails or its walk doesn't end.
std::vector<TStream> EnumerateStreams(MCE::CProvider& oProvider, unsigned nCount);

/// Number of items of a changeset. nItemCount is one more, or 0 for a changeset that never had an item.
inline std::uint32_t CountItems(const MCE::CProvider::TChangeInfo& tChange) {
  return tChange.nItemCount > 0 ? tChange.nItemCount - 1 : 0;
}

/// Is called by CHistoryWalk for each element of the history.
class CHistoryVisitor {
 public:
  virtual ~CHistoryVisitor() = default;
  /// False: the items aren't read and Item is never called. That is faster: for each item read the provider
  /// makes its folder and looks for its file.
  virtual bool WantsItems() const { return true; }
  /// Returns the folder below which the stream's files go. The provider makes folders in it even when no
  /// files are retrieved.
  virtual VCM::CString BeginStream(const TStream& tStream) = 0;
  virtual void BeginChange(MCE::CProvider::TChangeInfo& /*tChange*/) {}
  /// `nNumber` counts the items of the changeset from 1. `bFailed`: the provider's call for the item failed.
  virtual void Item(const MCE::CProvider::TChangeItemInfo& /*tItem*/, std::uint32_t /*nNumber*/,
                    bool /*bFailed*/) {}
  virtual void EndChange(const MCE::CProvider::TChangeInfo& /*tChange*/) {}
  virtual void EndStream(const TStream& /*tStream*/) {}
};

/// Walks the streams in order, the changesets of each and the items of each changeset.
///
/// Errors   EHostError (STATUS_FAILED) when the provider fails, and when there are more or fewer changesets
///          or items than it counted: an incomplete history must not be imported as a complete one. EStopped
///          between calls.
class CHistoryWalk {
 public:
  CHistoryWalk(MCE::CProvider& oProvider, const std::vector<TStream>& atStreams, std::uint32_t nChangeCount,
               CProgress& oProgress)
      : m_oProvider(oProvider),
        m_atStreams(atStreams),
        m_nChangeCount(nChangeCount),
        m_oProgress(oProgress) {}

  void Run(CHistoryVisitor& oVisitor);

 private:
  void WalkStream(const TStream& tStream, CHistoryVisitor& oVisitor);
  void WalkItems(const MCE::CProvider::TChangeInfo& tChange, CHistoryVisitor& oVisitor);
  void CountChange();

  MCE::CProvider& m_oProvider;
  const std::vector<TStream>& m_atStreams;
  std::uint32_t m_nChangeCount;
  CProgress& m_oProgress;
  std::uint32_t m_nChangesSeen = 0;
};

}  // namespace TALVEK::HOST
