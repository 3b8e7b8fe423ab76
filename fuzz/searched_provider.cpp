#include "fuzz/searched_provider.h"

#include <algorithm>
#include <filesystem>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include "core/text_codec.h"
#include "fuzz/check.h"

namespace TALVEK::FUZZ {

namespace {

/// A file in memory that holds the log.
class CLogFile {
 public:
  explicit CLogFile(std::string_view strLog) : m_nDescriptor(::memfd_create("log", MFD_CLOEXEC)) {
    Check(m_nDescriptor >= 0 &&
              ::write(m_nDescriptor, strLog.data(), strLog.size()) == static_cast<ssize_t>(strLog.size()),
          "there is memory for the log");
  }
  ~CLogFile() { ::close(m_nDescriptor); }
  CLogFile(const CLogFile&) = delete;
  CLogFile& operator=(const CLogFile&) = delete;

  VCM::CString Path() const { return VCM::FromBytes("/proc/self/fd/" + std::to_string(m_nDescriptor)); }

 private:
  int m_nDescriptor;
};

}  // namespace

CSearchedProvider::CSearchedProvider(const CFuzzInput& oInput) {
  for (const MCE::TPropertyInfo* ptInfo = GetPropertyInfo(); ptInfo->pszLabel; ++ptInfo)
    SetProperty(ptInfo->pszKey, ptInfo->pszDefault);
  SetProperty(L"ModuleName", L"mod");
  SetProperty(L"ReposPath", oInput.Has('m') ? L"" : L":local:/repo");
  SetProperty(L"IncludeTags", oInput.Has('i') ? L"REL*" : L"");
  SetProperty(L"ExcludeTags", oInput.Has('x') ? L"*_x" : L"");
  SetProperty(L"StreamsForTags", oInput.Has('t') ? L"1" : L"0");
  SetProperty(L"CreateBranches", oInput.Has('b') ? L"1" : L"0");
  SetProperty(L"NestedBranches", oInput.Has('n') ? L"1" : L"0");
  if (oInput.Has('l')) LogToConnection();
  OpenDatabase();
}

// Makes the database as PrepareForChanges would, but in the temporary folder, which fuzz/run puts into
// memory: on a disk, removing the files would take most of a run's time.
void CSearchedProvider::OpenDatabase() {
  const std::filesystem::path oPath =
      std::filesystem::temp_directory_path() / ("talvek-fuzz-" + std::to_string(::getpid()));
  m_strDatabasePath = VCM::FromBytes(oPath.string());
  VCM::CString strConnection;
  strConnection.Format(L"type=native;path=%s;create=1;nobinaries=1", m_strDatabasePath.c_str());
  m_poDatabase = VDB::CDatabaseFactory::Create(strConnection);
  Check(m_poDatabase != nullptr, "a database can be made");
}

bool CSearchedProvider::Establish(std::string_view strLog) {
  const CLogFile oFile(strLog);
  SetProperty(L"LogFile", oFile.Path());
  if (EstablishStreams(m_nStreams) != MCE::RESULT_OK) return false;
  if (EstablishChangesets(m_nChanges) != MCE::RESULT_OK) return false;
  Check(m_nStreams == static_cast<unsigned>(m_oStreams.GetCount()), "the streams are counted");
  ResolveStreamLinkage();
  LogStreamsAndChanges();
  return true;
}

std::vector<TStoredChange> CSearchedProvider::ReadChanges() {
  Check(PrepareForChanges(false), "the database can be read");
  std::vector<TStoredChange> atChanges;
  MCE::TChangeRecord tChange;
  for (bool bFound = m_poChangeIterator->GetGTE(tChange); bFound;
       bFound = m_poChangeIterator->GetNext(tChange))
    atChanges.push_back({tChange, {}});
  std::sort(atChanges.begin(), atChanges.end(), [](const TStoredChange& tLeft, const TStoredChange& tRight) {
    return tLeft.tRecord.nID < tRight.tRecord.nID;
  });
  Check(atChanges.size() == m_nChanges, "every change that was counted is there");

  MCE::TChangeItemRecord tItem;
  for (bool bFound = m_poChangeItemIterator->GetGTE(tItem); bFound;
       bFound = m_poChangeItemIterator->GetNext(tItem)) {
    Check(tItem.nID >= 1 && tItem.nID <= atChanges.size(), "an item belongs to a change");
    atChanges[tItem.nID - 1].atItems.push_back(tItem);
  }
  return atChanges;
}

}  // namespace TALVEK::FUZZ
