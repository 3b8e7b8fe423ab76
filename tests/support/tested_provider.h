#pragma once

#include <cstdlib>
#include <string>

namespace TALVEK::TEST {

/// The import provider that tests run for: TALVEK_TEST_PROVIDER names it (PROVIDERS of talvek_add_tests),
/// else it is the default one.
inline std::string TestedProvider() {
  const char* pszProvider = std::getenv("TALVEK_TEST_PROVIDER");
  return pszProvider ? pszProvider : "cvsexact";
}

inline bool TestsExact() {
  return TestedProvider() == "cvsexact";
}

/// What the tested provider is to give, where the two differ.
template <class TValue>
TValue ByProvider(TValue tOfCvs, TValue tOfExact) {
  return TestsExact() ? tOfExact : tOfCvs;
}

}  // namespace TALVEK::TEST
