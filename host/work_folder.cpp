#include "host/work_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "core/descriptor.h"
#include "host/exit_status.h"
#include "host/text_output.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

// If less than this is free when a client fails, the full disk is considered the reason.
constexpr off_t LEAST_ROOM_BYTES = 1 << 20;

constexpr const char* MARKER = ".talvek-import-work";

// Where providers have the client put a stream's files: below the work folder, whatever the name. An empty
// item of the name is none ("a//b"). One that leads elsewhere gets a folder in which nothing will be found.
std::string FolderName(const std::string& strStream, std::uint32_t nStreamID) {
  const std::optional<CItemPath> oPath = CItemPath::Parse(strStream);
  return oPath && !strStream.starts_with('/') ? oPath->GetText() : "stream-" + std::to_string(nStreamID);
}

}  // namespace

CScratchFolder::CScratchFolder() {
  std::error_code oError;
  const fs::path oTemp = fs::temp_directory_path(oError);
  std::string strTemplate = (oError ? fs::path("/tmp") : oTemp) / "talvek-import-XXXXXX";
  if (!mkdtemp(strTemplate.data())) {
    throw EHostError(STATUS_FAILED, "can't make a temporary folder: " + std::string(std::strerror(errno)),
                     "point TMPDIR to a folder that can be written");
  }
  m_oPath = strTemplate;
}

CScratchFolder::~CScratchFolder() {
  std::error_code oIgnored;
  fs::remove_all(m_oPath, oIgnored);
}

CWorkFolder::CWorkFolder(const fs::path& oFolder) {
  if (oFolder.empty()) {
    m_oPath = m_oScratch.emplace().GetPath();
    return;
  }
  m_oPath = fs::absolute(oFolder).lexically_normal();
  TakeOver();
}

void CWorkFolder::TakeOver() const {
  std::error_code oError;
  fs::create_directories(m_oPath, oError);
  if (oError) {
    throw EHostError(STATUS_FAILED, "can't make '" + ShowBytes(m_oPath.string()) + "': " + oError.message(),
                     "give another folder with --work");
  }
  if (!fs::exists(m_oPath / MARKER) && !fs::is_empty(m_oPath, oError)) {
    throw EHostError(STATUS_WRONG_USE, "the work folder '" + ShowBytes(m_oPath.string()) + "' is not empty",
                     "give an empty one with --work, or none to use a temporary folder");
  }
  for (const fs::directory_entry& oEntry : fs::directory_iterator(m_oPath, oError)) {
    if (oEntry.path().filename() != MARKER) fs::remove_all(oEntry.path(), oError);
  }
  if (oError || !std::ofstream(m_oPath / MARKER)) {
    throw EHostError(STATUS_FAILED, "can't write to the work folder '" + ShowBytes(m_oPath.string()) + "'",
                     "give another folder with --work");
  }
}

void CWorkFolder::RequireRoom() const {
  std::string strName = m_oPath / "room-XXXXXX";
  const VCM::CDescriptor oFile(mkostemp(strName.data(), O_CLOEXEC));
  const int nOpenError = oFile.IsOpen() ? 0 : errno;
  if (oFile.IsOpen()) unlink(strName.c_str());
  const int nError = oFile.IsOpen() ? posix_fallocate(oFile.Get(), 0, LEAST_ROOM_BYTES) : nOpenError;
  if (nError != ENOSPC && nError != EDQUOT && nError != EFBIG) return;
  throw EHostError(
      STATUS_FAILED,
      "no room in the work folder '" + ShowBytes(m_oPath.string()) + "': " + std::strerror(nError),
      "make room, or give another folder with --work");
}

CStreamFolder CWorkFolder::MakeStreamFolder(std::uint32_t nStreamID, const std::string& strName) const {
  CStreamFolder oFolder(m_oPath / FolderName(strName, nStreamID));
  oFolder.Make();
  return oFolder;
}

}  // namespace TALVEK::HOST
