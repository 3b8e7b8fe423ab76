#include "tests/support/fake_cvs.h"

#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

void CFakeCvs::Make(const std::string& strScript) const {
  WriteFile(Path(), "#!/bin/sh\nfolder='" + m_oFolder.string() +
                        "'\n"
                        "record() { { echo \"in $PWD\"; for a; do printf '[%s]\\n' \"$a\"; done; } "
                        ">> \"$folder/calls\"; }\n"
                        "count() { n=$(cat \"$folder/count\" 2>/dev/null || echo 0); "
                        "echo $((n + 1)) > \"$folder/count\"; echo $n; }\n" +
                        strScript + "\n");
  std::filesystem::permissions(Path(), std::filesystem::perms::owner_all);
}

std::string CFakeCvs::Calls() const {
  const std::filesystem::path oCalls = m_oFolder / "calls";
  std::string strCalls = std::filesystem::exists(oCalls) ? ReadFile(oCalls) : "";
  const std::string strFolder = m_oFolder.string();
  for (std::size_t n = 0; (n = strCalls.find(strFolder, n)) != std::string::npos;)
    strCalls.replace(n, strFolder.size(), "@");
  return strCalls;
}

std::string ReadAll(wxInputStream* poStream) {
  std::string strBytes;
  char achBlock[4096];
  while (poStream && poStream->Read(achBlock, sizeof achBlock).LastRead() > 0)
    strBytes.append(achBlock, poStream->LastRead());
  return strBytes;
}

}  // namespace TALVEK::TEST
