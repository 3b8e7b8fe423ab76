#pragma once

#include <string>

namespace TALVEK::TEST {

/// The text of an import log without the "1234: " before each of its lines. Further lines of a text of
/// several have none and stay as they are.
std::string WithoutSeconds(const std::string& strLog);

}  // namespace TALVEK::TEST
