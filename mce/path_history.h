#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>

#include "core/path.h"
#include "mce/seen_hashes.h"

namespace TALVEK::MCE {

/// Tells, mostly without a look at the database, whether a change has an item of a file.
///
/// Shape    Histories come file by file. A path that comes for the first time is only in those changes to
///          which it has been added since it began; they are noted here until the next path begins.
/// Memory   That of CSeenHashes, and one entry for each change of the current path.
class CPathHistory {
 public:
  enum TAnswer { ABSENT, PRESENT, UNKNOWN };

  /// To be called with the path of each item, before what follows.
  void Begin(const VCM::CFilePath& oPath);
  /// Whether the change has an item of the current path, and the rank of the first one when it is PRESENT.
  /// UNKNOWN when the path may have come before.
  TAnswer Find(std::uint32_t nChangeID, std::int32_t& nRevision) const;
  /// Notes an item of the current path.
  void Add(std::uint32_t nChangeID, std::int32_t nRevision);
  /// Ends the current path; when it comes again it has come before.
  void Forget();

 private:
  // Enough for a million files: the database has to put its late items in order for each path that
  // passes for one that has come before.
  CSeenHashes m_oSeen{std::size_t{8} << 20};
  VCM::CFilePath m_oPath;
  bool m_bBegun = false;
  bool m_bNew = false;                                            // the current path has not come before
  std::unordered_map<std::uint32_t, std::int32_t> m_anRevisions;  // by change
};

}  // namespace TALVEK::MCE
