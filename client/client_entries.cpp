#include "client/client_entries.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "core/text_codec.h"

namespace TALVEK::CLIENT {

TClientEntry ReadEntry(const VCM::CString& strPath) {
  const std::filesystem::path oPath = VCM::ToBytes(strPath);
  const std::filesystem::path oAdmin = oPath.parent_path() / "CVS";
  const std::string strName = "/" + oPath.filename().string() + "/";
  TClientEntry tEntry;
  // Entries.Log has the lines added ("A ") and removed ("R ") since Entries was written.
  for (const char* pszFile : {"Entries", "Entries.Log"}) {
    std::ifstream oFile(oAdmin / pszFile, std::ios::binary);
    if (oFile && tEntry.nType == NO_ENTRIES) tEntry.nType = ENTRY_MISSING;
    for (std::string strLine; std::getline(oFile, strLine);) {
      std::string_view strEntry = strLine;
      const bool bRemoved = strEntry.starts_with("R ");
      if (bRemoved || strEntry.starts_with("A ")) strEntry.remove_prefix(2);
      if (!strEntry.starts_with(strName)) continue;
      strEntry.remove_prefix(strName.size());
      tEntry.nType = bRemoved ? ENTRY_MISSING : ENTRY_FOUND;
      tEntry.oRevision.Parse(VCM::FromBytes(std::string(strEntry.substr(0, strEntry.find('/')))).View());
    }
  }
  return tEntry;
}

}  // namespace TALVEK::CLIENT
