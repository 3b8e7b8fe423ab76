#pragma once

namespace TALVEK::FUZZ {

/// Ends the program when a claim about the product doesn't hold, with the claim on standard error: a fuzzer
/// then keeps the input, and a test fails.
void Check(bool bHolds, const char* pszClaim);

}  // namespace TALVEK::FUZZ
