#include "mcv/client_entries.h"

#include <filesystem>
#include <fstream>
#include <string>

#include "core/text_codec.h"

namespace TALVEK::MCV {

TEntryState FindEntry(const VCM::CString& strPath, const VCM::CString& strRevision) {
  const std::filesystem::path oPath = VCM::ToBytes(strPath);
  const std::filesystem::path oAdmin = oPath.parent_path() / "CVS";
  const std::string strEntry = "/" + oPath.filename().string() + "/" + VCM::ToBytes(strRevision) + "/";
  TEntryState eState = NO_ENTRIES;
  // The second holds what has been added to the first since it was last written anew.
  for (const char* pszFile : {"Entries", "Entries.Log"}) {
    std::ifstream oFile(oAdmin / pszFile, std::ios::binary);
    if (oFile) eState = ENTRY_MISSING;
    for (std::string strLine; std::getline(oFile, strLine);) {
      if (strLine.starts_with("A ")) strLine.erase(0, 2);
      if (strLine.starts_with(strEntry)) return ENTRY_OF_REVISION;
    }
  }
  return eState;
}

}  // namespace TALVEK::MCV
