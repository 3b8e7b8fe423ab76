#pragma once

#include <string>

namespace TALVEK::SESSION {

/// The whole of a file, wherever its path leads; empty when it can't be read. Standard streams do the same,
/// but setting them up takes this program a good part of its time.
std::string ReadFileText(const std::string& strPath);

}  // namespace TALVEK::SESSION
