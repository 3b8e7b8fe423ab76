#pragma once

#include <ostream>

#include "tests/support/cvs_world.h"

namespace TALVEK::TEST {

/// A history that is hard to import exactly.
struct TCase {
  const char* pszName;  // a claim's subject, for the name of its test
  void (*pfnMake)(CCvsWorld& oWorld);
  int nTrunkChanges = 0;  // that the trunk has to have; 0: any number
};

/// All of them.
extern const TCase CASES[];
extern const std::size_t CASE_COUNT;

void PrintTo(const TCase& tCase, std::ostream* poStream);

}  // namespace TALVEK::TEST
