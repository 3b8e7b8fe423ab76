#include "host/fast_import_stream.h"

#include "host/git_names.h"

namespace TALVEK::HOST {

void CFastImportStream::Begin() {
  m_oSink.Write("feature done\n");
}

CFastImportStream::TMark CFastImportStream::BeginBlob(std::uint64_t nSize) {
  const TMark nMark = NewMark();
  m_oSink.Write("blob\nmark :" + std::to_string(nMark) + "\ndata " + std::to_string(nSize) + '\n');
  return nMark;
}

CFastImportStream::TMark CFastImportStream::Commit(const TCommit& tCommit) {
  const TMark nMark = NewMark();
  const std::string strWho =
      tCommit.strIdentity + " <" + tCommit.strIdentity + "> " + std::to_string(tCommit.nTime) + " +0000\n";
  m_oSink.Write("commit " + tCommit.strRef + "\nmark :" + std::to_string(nMark) + '\n');
  m_oSink.Write("author " + strWho + "committer " + strWho);
  WriteData(tCommit.strMessage);
  if (tCommit.nParent) m_oSink.Write("from :" + std::to_string(*tCommit.nParent) + '\n');
  for (const TFileChange& tChange : tCommit.atChanges)
    WriteChange(tChange);
  m_oSink.Write("\n");
  return nMark;
}

void CFastImportStream::WriteChange(const TFileChange& tChange) {
  if (tChange.eKind == TFileChange::REMOVE) {
    m_oSink.Write("D " + QuoteGitPath(tChange.strPath) + '\n');
    return;
  }
  const std::string strMode = tChange.eKind == TFileChange::MODIFY ? "100644" : "100755";
  m_oSink.Write("M " + strMode + " :" + std::to_string(tChange.nBlob) + ' ' + QuoteGitPath(tChange.strPath) +
                '\n');
}

void CFastImportStream::Reference(const std::string& strRef, TMark nCommit) {
  m_oSink.Write("reset " + strRef + "\nfrom :" + std::to_string(nCommit) + "\n\n");
}

void CFastImportStream::WriteData(std::string_view strBytes) {
  m_oSink.Write("data " + std::to_string(strBytes.size()) + '\n');
  m_oSink.Write(strBytes);
  m_oSink.Write("\n");
}

void CFastImportStream::End() {
  m_oSink.Write("done\n");
  m_oSink.Flush();
}

}  // namespace TALVEK::HOST
