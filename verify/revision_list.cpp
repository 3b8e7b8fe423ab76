#include "verify/revision_list.h"

#include "core/line_reader.h"
#include "core/text_codec.h"
#include "exact/module_paths.h"

namespace TALVEK::VERIFY {
namespace {

/// Name and revision of "/a.c/1.4/Sat Jun  9 23:29:41 2007//"; false for a folder, "D/sub////".
bool ReadEntryLine(std::string_view strLine, std::string& strName, std::string& strRevision) {
  if (!strLine.starts_with('/')) return false;
  const std::size_t nName = strLine.find('/', 1);
  const std::size_t nRevision = nName == std::string_view::npos ? nName : strLine.find('/', nName + 1);
  if (nRevision == std::string_view::npos) return false;
  strName = strLine.substr(1, nName - 1);
  strRevision = strLine.substr(nName + 1, nRevision - nName - 1);
  return true;
}

}  // namespace

std::optional<std::string> PathInFolder(const std::string& strFolder, const std::string& strPath) {
  if (strFolder == ".") return strPath;
  if (!strPath.starts_with(strFolder + '/')) return std::nullopt;
  return strPath.substr(strFolder.size() + 1);
}

std::optional<TRevisionList> ReadListing(wxInputStream& oInput, const std::string& strModule) {
  const std::string strOwnFolder = EXACT::PlainModuleName(strModule);
  TRevisionList astrRevisions;
  VCM::CLineReader oLines(&oInput);
  VCM::CString strText;
  std::string strFolder;
  std::string strName;
  std::string strRevision;
  while (oLines.ReadLine(strText)) {
    const std::string strLine = VCM::ToBytes(strText);
    if (ReadEntryLine(strLine, strName, strRevision)) {
      const std::optional<std::string> strPath = PathInFolder(strOwnFolder, strFolder + strName);
      if (!strPath) return std::nullopt;
      astrRevisions[*strPath] = strRevision;
    } else if (strLine.ends_with(':')) {
      strFolder = strLine.substr(0, strLine.size() - 1) + '/';
      if (strFolder == "./") strFolder.clear();
    }
  }
  return astrRevisions;
}

std::optional<TRevisionList> ReadDifferences(wxInputStream& oInput, const std::string& strModule) {
  constexpr std::string_view BEGIN = "File ";
  constexpr std::string_view MIDDLE = " is new; ";
  const std::string strOwnFolder = EXACT::PlainModuleName(strModule);
  TRevisionList astrRevisions;
  VCM::CLineReader oLines(&oInput);
  VCM::CString strText;
  while (oLines.ReadLine(strText)) {
    const std::string strLine = VCM::ToBytes(strText);
    // From the end: a file may have any name.
    const std::size_t nMiddle = strLine.rfind(MIDDLE);
    const std::size_t nRevision = strLine.rfind(' ');
    if (!strLine.starts_with(BEGIN) || nMiddle == std::string::npos || nRevision < nMiddle + MIDDLE.size()) {
      return std::nullopt;
    }
    const std::optional<std::string> strPath =
        PathInFolder(strOwnFolder, strLine.substr(BEGIN.size(), nMiddle - BEGIN.size()));
    if (!strPath) return std::nullopt;
    astrRevisions[*strPath] = strLine.substr(nRevision + 1);
  }
  return astrRevisions;
}

}  // namespace TALVEK::VERIFY
