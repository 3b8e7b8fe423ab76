#include "host/git_import.h"

#include "core/text_codec.h"
#include "host/git_names.h"
#include "host/text_output.h"

namespace TALVEK::HOST {

VCM::CString CGitImport::BeginStream(const TStream& tStream) {
  m_oStreams.Begin(tStream);
  return VCM::FromBytes(m_oFiles.BeginStream(tStream.tInfo).GetPath().string());
}

void CGitImport::EndChange(const MCE::CProvider::TChangeInfo& tChange) {
  CFastImportStream::TCommit tCommit;
  tCommit.strIdentity = Identity(tChange.strUser);
  tCommit.nTime = tChange.nTime;
  tCommit.strMessage = VCM::ToBytes(tChange.strComment);
  tCommit.atChanges = m_oFiles.Apply(m_oStreams.GetTree());
  m_oStreams.Commit(tChange.nID, std::move(tCommit));
}

std::string CGitImport::Identity(const VCM::CString& strUser) {
  const std::string strBytes = VCM::ToBytes(strUser);
  std::string strIdentity = GitIdentity(strBytes);
  if (strIdentity != strBytes && m_astrChangedUsers.insert(strUser).second) {
    m_oReport.Changed("user " + ShowQuoted(strUser) + " is called '" + ShowBytes(strIdentity) +
                      "': Git refuses the name");
  }
  return strIdentity;
}

}  // namespace TALVEK::HOST
