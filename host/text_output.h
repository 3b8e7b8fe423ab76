#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/path.h"
#include "core/string.h"

namespace TALVEK::HOST {

/// Text for messages: control characters become \xNN, because names come from a server and are shown on a
/// terminal. All other bytes are kept.
std::string ShowText(const VCM::CString& strText);
std::string ShowBytes(std::string_view strBytes);
/// The same between single quotes.
std::string ShowQuoted(const VCM::CString& strText);

/// "2003-05-14 09:30:00 UTC".
std::string ShowTime(long long nSeconds);

/// "1 stream", "2 streams": the singular takes an "s".
std::string ShowCount(std::uint64_t nCount, std::string_view strSingular);

/// The items of a path joined by "/", without a leading "/".
VCM::CString PathText(const VCM::CFilePath& oPath);

/// Writes all of `strBytes` to standard output at once; EHostError when that fails.
void WriteOutput(std::string_view strBytes);

}  // namespace TALVEK::HOST
