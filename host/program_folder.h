#pragma once

#include <filesystem>

namespace TALVEK::HOST {

/// The folder that this program's file lies in; empty when that can't be told.
std::filesystem::path ProgramFolder();

}  // namespace TALVEK::HOST
