#include "host/work_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <vector>

#include "host/exit_status.h"
#include "host/text_output.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

// Where less is free, what a client failed over is most likely that.
constexpr off_t LEAST_ROOM_BYTES = 1 << 20;

constexpr const char* MARKER = ".talvek-import-work";

std::vector<std::string> SplitPath(std::string_view strPath) {
  std::vector<std::string> astrItems;
  while (!strPath.empty()) {
    const std::size_t nEnd = strPath.find('/');
    if (nEnd != 0) astrItems.emplace_back(strPath.substr(0, nEnd));
    strPath = nEnd == std::string_view::npos ? std::string_view() : strPath.substr(nEnd + 1);
  }
  return astrItems;
}

bool IsSafe(const std::vector<std::string>& astrItems) {
  for (const std::string& strItem : astrItems) {
    if (strItem == "." || strItem == ".." || strItem.find('\0') != std::string::npos) return false;
  }
  return !astrItems.empty();
}

VCM::CDescriptor OpenFolderAt(int nParent, const char* pszName) {
  return VCM::CDescriptor(openat(nParent, pszName, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

TRetrievedFile Problem(std::string strProblem) {
  TRetrievedFile tFile;
  tFile.strProblem = std::move(strProblem);
  return tFile;
}

std::string OpenProblem() {
  if (errno == ENOENT || errno == ENOTDIR) return "it was not retrieved";
  if (errno == ELOOP) return "it is a symbolic link";
  return std::strerror(errno);
}

// The folder that holds the last item, or none (errno says why).
VCM::CDescriptor OpenParent(const fs::path& oStreamFolder, const std::vector<std::string>& astrItems) {
  VCM::CDescriptor oFolder = OpenFolderAt(AT_FDCWD, oStreamFolder.c_str());
  for (std::size_t nIndex = 0; nIndex + 1 < astrItems.size() && oFolder.IsOpen(); ++nIndex) {
    oFolder = OpenFolderAt(oFolder.Get(), astrItems[nIndex].c_str());
  }
  return oFolder;
}

bool IsFolderAt(int nParent, const std::string& strName) {
  struct stat tStat = {};
  return fstatat(nParent, strName.c_str(), &tStat, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(tStat.st_mode);
}

// By way of the descriptor, so that no link on the path to it can lead elsewhere.
void RemoveAt(int nParent, const std::string& strName) {
  if (!IsFolderAt(nParent, strName)) {
    unlinkat(nParent, strName.c_str(), 0);
    return;
  }
  std::error_code oIgnored;
  fs::remove_all(fs::path("/proc/self/fd") / std::to_string(nParent) / strName, oIgnored);
}

// Plain items, with nothing empty between, before or behind them.
bool IsCleanPath(const std::string& strPath) {
  const std::vector<std::string> astrItems = SplitPath(strPath);
  std::size_t nLength = astrItems.size() - 1;
  for (const std::string& strItem : astrItems)
    nLength += strItem.size();
  return IsSafe(astrItems) && nLength == strPath.size();
}

}  // namespace

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

fs::path CWorkFolder::MakeStreamFolder(std::uint32_t nStreamID, const std::string& strName) const {
  const fs::path oFolder = m_oPath / (IsCleanPath(strName) ? strName : "stream-" + std::to_string(nStreamID));
  // When it can't be made the stream's files can't be retrieved, and are reported one by one.
  std::error_code oIgnored;
  fs::create_directories(oFolder, oIgnored);
  return oFolder;
}

TRetrievedFile CWorkFolder::OpenFile(const fs::path& oStreamFolder, std::string_view strItemPath) {
  const std::vector<std::string> astrItems = SplitPath(strItemPath);
  if (!IsSafe(astrItems)) return Problem("its path leads to no file");
  const VCM::CDescriptor oFolder = OpenParent(oStreamFolder, astrItems);
  if (!oFolder.IsOpen()) return Problem(OpenProblem());
  // Without blocking: what looks like a file may be a pipe.
  constexpr int OPEN_FLAGS = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  TRetrievedFile tFile;
  tFile.oDescriptor = VCM::CDescriptor(openat(oFolder.Get(), astrItems.back().c_str(), OPEN_FLAGS));
  struct stat tStat = {};
  if (!tFile.oDescriptor.IsOpen() || fstat(tFile.oDescriptor.Get(), &tStat) != 0)
    return Problem(OpenProblem());
  if (!S_ISREG(tStat.st_mode)) return Problem("it is not a regular file");
  tFile.nSize = static_cast<std::uint64_t>(tStat.st_size);
  tFile.bExecutable = (tStat.st_mode & S_IXUSR) != 0;
  return tFile;
}

void CWorkFolder::ClearPath(const fs::path& oStreamFolder, std::string_view strItemPath) {
  const std::vector<std::string> astrItems = SplitPath(strItemPath);
  if (!IsSafe(astrItems)) return;
  VCM::CDescriptor oFolder = OpenFolderAt(AT_FDCWD, oStreamFolder.c_str());
  for (const std::string& strItem : astrItems) {
    if (!oFolder.IsOpen()) return;
    const bool bLast = &strItem == &astrItems.back();
    if (bLast || !IsFolderAt(oFolder.Get(), strItem)) {
      RemoveAt(oFolder.Get(), strItem);
      return;
    }
    oFolder = OpenFolderAt(oFolder.Get(), strItem.c_str());
  }
}

void CWorkFolder::EmptyFolder(const fs::path& oStreamFolder) {
  const VCM::CDescriptor oFolder = OpenFolderAt(AT_FDCWD, oStreamFolder.c_str());
  if (!oFolder.IsOpen()) return;
  std::error_code oIgnored;
  std::vector<std::string> astrNames;
  for (const fs::directory_entry& oEntry : fs::directory_iterator(oStreamFolder, oIgnored)) {
    astrNames.push_back(oEntry.path().filename().string());
  }
  for (const std::string& strName : astrNames)
    RemoveAt(oFolder.Get(), strName);
}

bool CWorkFolder::HasPath(const fs::path& oStreamFolder, std::string_view strItemPath) {
  const std::vector<std::string> astrItems = SplitPath(strItemPath);
  if (!IsSafe(astrItems)) return false;
  const VCM::CDescriptor oFolder = OpenParent(oStreamFolder, astrItems);
  struct stat tStat = {};
  return oFolder.IsOpen() &&
         fstatat(oFolder.Get(), astrItems.back().c_str(), &tStat, AT_SYMLINK_NOFOLLOW) == 0;
}

void CWorkFolder::RemoveFile(const fs::path& oStreamFolder, std::string_view strItemPath) {
  const std::vector<std::string> astrItems = SplitPath(strItemPath);
  if (!IsSafe(astrItems)) return;
  const VCM::CDescriptor oFolder = OpenParent(oStreamFolder, astrItems);
  if (oFolder.IsOpen()) unlinkat(oFolder.Get(), astrItems.back().c_str(), 0);
}

}  // namespace TALVEK::HOST
