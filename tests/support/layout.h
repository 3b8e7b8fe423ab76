#pragma once

#include <algorithm>
#include <functional>
#include <vector>

namespace TALVEK::TEST {

/// Whether the members stand one behind the other.
inline bool AreInOrder(const std::vector<const void*>& apMembers) {
  return std::is_sorted(apMembers.begin(), apMembers.end(), std::less<>());
}

/// Whether they do so from the record's beginning on.
inline bool AreInOrder(const void* pRecord, const std::vector<const void*>& apMembers) {
  return apMembers[0] == pRecord && AreInOrder(apMembers);
}

}  // namespace TALVEK::TEST
