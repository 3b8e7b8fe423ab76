#include "tests/session/session_world.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

namespace fs = std::filesystem;

namespace {

std::string EntryText(const fs::path& oPath, const std::string& strName, const std::string& strRootText,
                      const std::string& strRepository) {
  struct stat tStat {};
  lstat(oPath.c_str(), &tStat);
  std::ostringstream oText;
  oText << strName << ' ' << std::oct << tStat.st_mode << std::dec;
  if (!S_ISREG(tStat.st_mode)) return oText.str() + "\n";
  const bool bAdmin = strName.find("CVS/") != std::string::npos;
  if (!bAdmin) oText << ' ' << tStat.st_mtim.tv_sec << '.' << tStat.st_mtim.tv_nsec;
  std::string strContent = ReadFile(oPath);
  if (strName.ends_with("CVS/Root")) strContent = Replaced(strContent, strRootText + "\n", "(root)\n");
  oText << '\n' << Replaced(strContent, strRepository, "(repository)") << '\n';
  return oText.str();
}

}  // namespace

std::string Replaced(std::string strText, const std::string& strOld, const std::string& strNew) {
  for (std::size_t nAt = 0; (nAt = strText.find(strOld, nAt)) != std::string::npos; nAt += strNew.size())
    strText.replace(nAt, strOld.size(), strNew);
  return strText;
}

std::vector<TRevision> RevisionsOf(const std::string& strRoot, const std::string& strModule) {
  std::vector<TRevision> atRevisions;
  std::istringstream oLines(
      RunShell("cvs -f -Q -d " + ShellQuote(strRoot) + " rlog " + ShellQuote(strModule) + " 2>/dev/null")
          .strOutput);
  std::string strPath, strBefore;
  for (std::string strLine; std::getline(oLines, strLine); strBefore = strLine) {
    if (strLine.starts_with("RCS file: ")) {
      strPath = strLine.substr(10 + strRoot.size() + 1, strLine.size() - 10 - strRoot.size() - 1 - 2);
      const std::size_t nAttic = strPath.rfind("/Attic/");
      if (nAttic != std::string::npos) strPath.erase(nAttic, 6);
    }
    if (strLine.starts_with("revision ") && strBefore == "----------------------------")
      atRevisions.push_back({strLine.substr(9, strLine.find_first_not_of("0123456789.", 9) - 9), strPath});
  }
  return atRevisions;
}

void CopyExampleRepository(const std::string& strTo) {
  const std::string strTarget = ShellQuote(strTo);
  ShellOutput(
      "mkdir " + strTarget + " && cd " TALVEK_EXAMPLE_REPOSITORY " && find . -name '#cvs.*' -prune -o " +
      "-type d -exec mkdir -p " + strTarget + "/{} ';' -o -exec cp -p --parents {} " + strTarget + " ';'");
}

std::string TreeText(const fs::path& oFolder, const std::string& strRootText,
                     const std::string& strRepository) {
  std::vector<std::string> astrTexts;
  for (const fs::directory_entry& oEntry : fs::recursive_directory_iterator(oFolder)) {
    const std::string strName = oEntry.path().lexically_relative(oFolder).string();
    astrTexts.push_back(EntryText(oEntry.path(), strName, strRootText, strRepository));
  }
  std::sort(astrTexts.begin(), astrTexts.end());
  std::string strText;
  for (const std::string& strEntry : astrTexts)
    strText += strEntry;
  return strText;
}

int CountProcesses(const std::string& strMark) {
  int nCount = 0;
  for (const fs::directory_entry& oEntry : fs::directory_iterator("/proc")) {
    const std::string strName = oEntry.path().filename().string();
    if (strName.find_first_not_of("0123456789") != std::string::npos || strName == std::to_string(getpid()))
      continue;
    std::ifstream oFile(oEntry.path() / "environ", std::ios::binary);
    const std::string strEnvironment{std::istreambuf_iterator<char>(oFile), std::istreambuf_iterator<char>()};
    if (strEnvironment.find(strMark) != std::string::npos) ++nCount;
  }
  return nCount;
}

int AwaitProcesses(const std::string& strMark, int nWanted) {
  int nCount = CountProcesses(strMark);
  for (int nTry = 0; nTry < 200 && nCount != nWanted; ++nTry) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    nCount = CountProcesses(strMark);
  }
  return nCount;
}

}  // namespace TALVEK::TEST
