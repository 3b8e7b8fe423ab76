#pragma once

#include "core/string.h"

namespace TALVEK::MCE {

/// One line of the import log: the second of the current hour (0 to 3599), ": ", the text and a line feed,
/// which is added only where the text doesn't end with one. `nNow` is the time in seconds since 1970 UTC.
VCM::CString MakeLogLine(VCM::CString strText, long long nNow);

}  // namespace TALVEK::MCE
