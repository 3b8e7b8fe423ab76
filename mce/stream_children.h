#pragma once

#include <cstdint>
#include <vector>

#include "core/array.h"
#include "mce/provider.h"

namespace TALVEK::MCE {

/// Finds the streams of a parent: the host asks for the children of each stream, and a history can have a
/// million of them.
///
/// Shape    Reads the list when it is asked for the first time, and again when the list has another length or
///          Forget was called: that is for whoever changes a parent in the list.
class CStreamChildren {
 public:
  /// Index of the first stream at or after `nFrom` that has this parent, or -1.
  int Next(const VCM::CArray<CProvider::TStreamInfo>& atStreams, std::uint32_t nParentID, int nFrom);
  void Forget() { m_atChildren.clear(); }
  /// Streams looked at so far.
  std::uint64_t GetLookedAt() const { return m_nLookedAt; }

 private:
  struct TChild {
    std::uint32_t nParentID;
    int nStream;  ///< index in the list
  };

  void Read(const VCM::CArray<CProvider::TStreamInfo>& atStreams);

  std::vector<TChild> m_atChildren;  // by parent, then by place in the list
  std::uint64_t m_nLookedAt = 0;
};

}  // namespace TALVEK::MCE
