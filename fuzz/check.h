#pragma once

namespace TALVEK::FUZZ {

/// Prints the claim to standard error and aborts when it doesn't hold: a fuzzer then keeps the input, and a
/// test fails.
void Check(bool bHolds, const char* pszClaim);

}  // namespace TALVEK::FUZZ
