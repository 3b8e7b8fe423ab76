#include "tests/exact/rcs_file_text.h"

#include <algorithm>

#include "tests/exact/text_source.h"

namespace TALVEK::EXACT {

std::vector<TRcsFile> ReadAll(std::string_view strLog, std::string_view strRoot, std::string_view strModule) {
  CTextSource oSource(strLog);
  CLogReader oReader(oSource, std::string(strRoot), std::string(strModule));
  std::vector<TRcsFile> atFiles;
  TRcsFile tFile;
  while (oReader.Next(tFile))
    atFiles.push_back(tFile);
  return atFiles;
}

std::string Text(const TRcsFile& tFile) {
  std::string strText = tFile.strPath;
  if (tFile.bIncomplete) strText += " INCOMPLETE";
  if (!tFile.strRepair.empty()) strText += " (" + tFile.strRepair + ")";
  strText += '\n';
  for (const TRcsRevision& tRevision : tFile.atRevisions) {
    std::string strMessage = tRevision.strMessage;
    std::replace(strMessage.begin(), strMessage.end(), '\n', '|');
    strText += "  " + NumberText(tRevision.nNumber) + " " + tRevision.strAuthor +
               (tRevision.bDead ? " dead: " : ": ") + strMessage + '\n';
  }
  return strText;
}

std::string Text(const std::vector<TRcsFile>& atFiles) {
  std::string strText;
  for (const TRcsFile& tFile : atFiles)
    strText += Text(tFile);
  return strText;
}

std::string Header(std::string_view strPath, std::string_view strHead, std::size_t nRevisions,
                   std::string_view strDescription) {
  const std::string strCount = std::to_string(nRevisions);
  return "\nRCS file: /cvs/" + std::string(strPath) + ",v\nhead: " + std::string(strHead) +
         "\nbranch:\nlocks: strict\naccess list:\nsymbolic names:\nkeyword substitution: kv\ntotal "
         "revisions: " +
         strCount + ";\tselected revisions: " + strCount + "\ndescription:\n" + std::string(strDescription);
}

std::string Revision(std::string_view strNumber, std::string_view strText, std::string_view strTime) {
  return std::string(REVISION_SEPARATOR) + "\nrevision " + std::string(strNumber) +
         "\ndate: " + std::string(strTime) + ";  author: joe;  state: Exp;\n" + std::string(strText);
}

std::string End() {
  return std::string(FILE_SEPARATOR) + '\n';
}

}  // namespace TALVEK::EXACT
