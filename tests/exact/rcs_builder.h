#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "exact/rcs_file.h"

namespace TALVEK::EXACT::TEST {

inline TNumber Number(const std::string& strText) {
  TNumber nNumber;
  std::istringstream oText(strText);
  for (std::string strPart; std::getline(oText, strPart, '.');) {
    nNumber.push_back(static_cast<std::uint32_t>(std::stoul(strPart)));
  }
  return nNumber;
}

/// A file of a literal history: CRcsBuilder("a").Rev("1.1", 100, "joe", "first").Name("B", "1.1.0.2").File()
class CRcsBuilder {
 public:
  explicit CRcsBuilder(std::string strPath) { m_tFile.strPath = std::move(strPath); }

  CRcsBuilder& Rev(const std::string& strNumber, std::int64_t nTime, const std::string& strAuthor,
                   const std::string& strMessage, const std::string& strCommitId = "") {
    m_tFile.atRevisions.push_back({Number(strNumber), nTime, strAuthor, false, strCommitId, strMessage});
    const TNumber& nNumber = m_tFile.atRevisions.back().nNumber;
    if (nNumber.size() == 2 && nNumber > m_tFile.nHead) m_tFile.nHead = nNumber;
    return *this;
  }
  /// The last revision is dead.
  CRcsBuilder& Dead() {
    m_tFile.atRevisions.back().bDead = true;
    return *this;
  }
  /// Lines were added or removed by the last revision.
  CRcsBuilder& Differs() {
    m_tFile.atRevisions.back().bDiffers = true;
    return *this;
  }
  CRcsBuilder& Name(const std::string& strName, const std::string& strNumber) {
    m_tFile.atNames.push_back({strName, Number(strNumber)});
    return *this;
  }
  CRcsBuilder& Default(const std::string& strNumber) {
    m_tFile.nDefaultBranch = Number(strNumber);
    return *this;
  }
  CRcsBuilder& NoHead() {
    m_tFile.nHead.clear();
    return *this;
  }
  const TRcsFile& File() const { return m_tFile; }
  operator const TRcsFile&() const { return m_tFile; }

 private:
  TRcsFile m_tFile;
};

}  // namespace TALVEK::EXACT::TEST
