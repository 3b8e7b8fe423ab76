#pragma once

#include "core/string.h"
#include "host/property_table.h"
#include "host/report.h"

namespace TALVEK::HOST {

/// Weighs what a provider says of its environment (`strEnvironment`, empty: nothing) against what we see
/// ourselves: EHostError when a program that it wants, or that the bundled client wants, is neither a file
/// nor on the PATH; no word when all of them are there; else its words as a warning.
void RequirePrograms(const CPropertyTable& oTable, const VCM::CString& strEnvironment, CReport& oReport);

}  // namespace TALVEK::HOST
