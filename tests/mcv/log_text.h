#pragma once

#include <sstream>
#include <string>
#include <vector>

#include <wx/mstream.h>

#include "core/text_codec.h"
#include "mcv/file_enum.h"
#include "mcv/log_parser.h"

namespace TALVEK::TEST {

/// Builds the output of `cvs rlog`, file by file. The client prints the trunk's revisions first, the latest
/// at the top, and so must a test whose log is read by its counts.
///
///   CLogText oLog;
///   oLog.File("/repo/mod/a.c,v").Name("BR: 1.2.0.2").At("1.2", 1041502272);
///   oLog.File("/repo/mod/b.c,v").Revision("1.1", "2003/01/02 10:11:12", "joe", "Fix it");
///   oLog.Text()
class CLogText {
 public:
  CLogText& File(const std::string& strRcsPath) {
    Close();
    m_strText += "\nRCS file: " + strRcsPath + "\n";
    m_strHead.clear();
    m_strNames.clear();
    m_strRevisions.clear();
    m_nRevisions = 0;
    m_bOpen = true;
    return *this;
  }
  CLogText& Name(const std::string& strNameAndNumber) {
    m_strNames += "\t" + strNameAndNumber + "\n";
    return *this;
  }
  CLogText& Revision(const std::string& strNumber, const std::string& strDate, const std::string& strAuthor,
                     const std::string& strMessage, const std::string& strState = "Exp") {
    if (m_nRevisions++ == 0) m_strHead = " " + strNumber;
    m_strRevisions += "----------------------------\nrevision " + strNumber + "\ndate: " + strDate +
                      ";  author: " + strAuthor + ";  state: " + strState + ";\n" + strMessage + "\n";
    return *this;
  }
  /// As Revision, with the time in seconds since 1970.
  CLogText& At(const std::string& strNumber, long nTime, const std::string& strState = "Exp",
               const std::string& strAuthor = "joe", const std::string& strMessage = "work") {
    const std::string strDate =
        VCM::ToUtf8(VCM::CTimestamp(nTime).Format(L"%Y/%m/%d %H:%M:%S", VCM::ZONE_GMT0));
    return Revision(strNumber, strDate, strAuthor, strMessage, strState);
  }
  std::string Text() {
    Close();
    return m_strText;
  }

 private:
  void Close() {
    if (!m_bOpen) return;
    const std::string strCount = std::to_string(m_nRevisions);
    m_strText +=
        "head:" + m_strHead + "\nbranch:\nlocks: strict\naccess list:\nsymbolic names:\n" + m_strNames;
    m_strText += "keyword substitution: kv\ntotal revisions: " + strCount +
                 ";\tselected revisions: " + strCount + "\ndescription:\n" + m_strRevisions;
    m_strText += "=============================================================================\n";
    m_bOpen = false;
  }

  std::string m_strText;
  // Of the last file.
  std::string m_strHead;
  std::string m_strNames;
  std::string m_strRevisions;
  int m_nRevisions = 0;
  bool m_bOpen = false;
};

inline VCM::CArray<VCM::CString> Patterns(const std::vector<const wchar_t*>& apszPatterns) {
  VCM::CArray<VCM::CString> astrPatterns;
  for (const wchar_t* pszPattern : apszPatterns)
    astrPatterns.Add(pszPattern);
  return astrPatterns;
}

inline std::string Narrow(const VCM::CString& strText) {
  return VCM::ToBytes(strText);
}

}  // namespace TALVEK::TEST
