#include "fuzz/check.h"

#include <cstdio>
#include <cstdlib>

namespace TALVEK::FUZZ {

void Check(bool bHolds, const char* pszClaim) {
  if (bHolds) return;
  std::fprintf(stderr, "does not hold: %s\n", pszClaim);
  std::abort();
}

}  // namespace TALVEK::FUZZ
