#include "host/program_folder.h"

namespace TALVEK::HOST {

std::filesystem::path ProgramFolder() {
  std::error_code oError;
  return std::filesystem::read_symlink("/proc/self/exe", oError).parent_path();
}

}  // namespace TALVEK::HOST
