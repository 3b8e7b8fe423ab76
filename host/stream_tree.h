#pragma once

#include <vector>

#include "mce/provider.h"

namespace TALVEK::HOST {

/// A stream and its place.
struct TStream {
  MCE::CProvider::TStreamInfo tInfo;
  int nDepth = 0;           ///< 0 for a root
  bool bUnreached = false;  ///< no walk from the roots comes here: its parents stand in a circle
};

/// All streams of a provider that has established `nCount` of them: every parent before its children,
/// siblings in the provider's order; behind them, in the order of their ids, those that no walk from the
/// roots reaches, which count as roots. EHostError when the provider fails or its walk doesn't end.
std::vector<TStream> EnumerateStreams(MCE::CProvider& oProvider, unsigned nCount);

}  // namespace TALVEK::HOST
