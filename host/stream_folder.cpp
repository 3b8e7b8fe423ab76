#include "host/stream_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

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

// Opens the folder of the last item. Not open (see errno) when that fails.
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

// Removes by the folder's descriptor, so that no symbolic link on the path is followed.
void RemoveAt(int nParent, const std::string& strName) {
  if (!IsFolderAt(nParent, strName)) {
    unlinkat(nParent, strName.c_str(), 0);
    return;
  }
  std::error_code oIgnored;
  fs::remove_all(fs::path("/proc/self/fd") / std::to_string(nParent) / strName, oIgnored);
}

}  // namespace

std::optional<CItemPath> CItemPath::Parse(std::string_view strPath) {
  std::vector<std::string> astrItems;
  while (!strPath.empty()) {
    const std::size_t nEnd = strPath.find('/');
    const std::string_view strItem = strPath.substr(0, nEnd);
    if (strItem == "." || strItem == ".." || strItem.find('\0') != std::string_view::npos) return {};
    if (!strItem.empty()) astrItems.emplace_back(strItem);
    strPath = nEnd == std::string_view::npos ? std::string_view() : strPath.substr(nEnd + 1);
  }
  if (astrItems.empty()) return {};
  return CItemPath(std::move(astrItems));
}

std::string CItemPath::GetText() const {
  std::string strPath;
  for (const std::string& strItem : m_astrItems)
    strPath += (strPath.empty() ? "" : "/") + strItem;
  return strPath;
}

void CStreamFolder::Make() const {
  std::error_code oIgnored;
  fs::create_directories(m_oPath, oIgnored);
}

TRetrievedFile CStreamFolder::Open(const CItemPath& oItem) const {
  const VCM::CDescriptor oFolder = OpenParent(m_oPath, oItem.GetItems());
  if (!oFolder.IsOpen()) return Problem(OpenProblem());
  // O_NONBLOCK, because opening a pipe would block.
  constexpr int OPEN_FLAGS = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  TRetrievedFile tFile;
  tFile.oDescriptor = VCM::CDescriptor(openat(oFolder.Get(), oItem.GetItems().back().c_str(), OPEN_FLAGS));
  struct stat tStat = {};
  if (!tFile.oDescriptor.IsOpen() || fstat(tFile.oDescriptor.Get(), &tStat) != 0)
    return Problem(OpenProblem());
  if (!S_ISREG(tStat.st_mode)) return Problem("it is not a regular file");
  tFile.nSize = static_cast<std::uint64_t>(tStat.st_size);
  tFile.bExecutable = (tStat.st_mode & S_IXUSR) != 0;
  return tFile;
}

bool CStreamFolder::Has(const CItemPath& oItem) const {
  const VCM::CDescriptor oFolder = OpenParent(m_oPath, oItem.GetItems());
  struct stat tStat = {};
  return oFolder.IsOpen() &&
         fstatat(oFolder.Get(), oItem.GetItems().back().c_str(), &tStat, AT_SYMLINK_NOFOLLOW) == 0;
}

void CStreamFolder::Clear(const CItemPath& oItem) const {
  VCM::CDescriptor oFolder = OpenFolderAt(AT_FDCWD, m_oPath.c_str());
  for (const std::string& strItem : oItem.GetItems()) {
    if (!oFolder.IsOpen()) return;
    const bool bLast = &strItem == &oItem.GetItems().back();
    if (bLast || !IsFolderAt(oFolder.Get(), strItem)) {
      RemoveAt(oFolder.Get(), strItem);
      return;
    }
    oFolder = OpenFolderAt(oFolder.Get(), strItem.c_str());
  }
}

void CStreamFolder::RemoveFile(const CItemPath& oItem) const {
  const VCM::CDescriptor oFolder = OpenParent(m_oPath, oItem.GetItems());
  if (oFolder.IsOpen()) unlinkat(oFolder.Get(), oItem.GetItems().back().c_str(), 0);
}

void CStreamFolder::Empty() const {
  const VCM::CDescriptor oFolder = OpenFolderAt(AT_FDCWD, m_oPath.c_str());
  if (!oFolder.IsOpen()) return;
  std::error_code oIgnored;
  std::vector<std::string> astrNames;
  for (const fs::directory_entry& oEntry : fs::directory_iterator(m_oPath, oIgnored)) {
    astrNames.push_back(oEntry.path().filename().string());
  }
  for (const std::string& strName : astrNames)
    RemoveAt(oFolder.Get(), strName);
}

}  // namespace TALVEK::HOST
