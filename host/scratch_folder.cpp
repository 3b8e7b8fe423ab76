#include "host/scratch_folder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/exit_status.h"

namespace TALVEK::HOST {

CScratchFolder::CScratchFolder() {
  std::error_code oError;
  const std::filesystem::path oTemp = std::filesystem::temp_directory_path(oError);
  std::string strTemplate = (oError ? std::filesystem::path("/tmp") : oTemp) / "talvek-import-XXXXXX";
  if (!mkdtemp(strTemplate.data())) {
    throw EHostError(STATUS_FAILED, "can't make a temporary folder: " + std::string(std::strerror(errno)),
                     "point TMPDIR to a folder that can be written");
  }
  m_oPath = strTemplate;
}

CScratchFolder::~CScratchFolder() {
  std::error_code oIgnored;
  std::filesystem::remove_all(m_oPath, oIgnored);
}

}  // namespace TALVEK::HOST
