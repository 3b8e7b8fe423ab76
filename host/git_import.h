#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/change_files.h"
#include "host/git_streams.h"
#include "host/history_walk.h"

namespace TALVEK::HOST {

/// Writes the history that it visits as a stream for `git fast-import`: one commit per changeset, one branch
/// or tag per stream.
///
/// Errors   Those of CChangeFiles.
class CGitImport : public CHistoryVisitor {
 public:
  CGitImport(const CChangeFiles::TParts& tParts, const std::vector<TStream>& atStreams,
             const TRefOptions& tRefOptions, std::uint64_t nMaxLosses)
      : m_oReport(tParts.oReport),
        m_oFiles(tParts, nMaxLosses),
        m_oStreams(atStreams, tRefOptions, tParts.oStream, tParts.oReport) {}

  VCM::CString BeginStream(const TStream& tStream) override;
  void BeginChange(MCE::CProvider::TChangeInfo& tChange) override { m_oFiles.Retrieve(tChange); }
  void Item(const MCE::CProvider::TChangeItemInfo& tItem, std::uint32_t /*nNumber*/, bool bFailed) override {
    m_oFiles.Take(tItem, bFailed);
  }
  void EndChange(const MCE::CProvider::TChangeInfo& tChange) override;
  void EndStream(const TStream& /*tStream*/) override { m_oStreams.End(); }

  std::uint64_t GetItemCount() const { return m_oFiles.GetItemCount(); }
  /// For each branch or tag with commits of its own, the number of commits from its root to its tip, both
  /// counted.
  const std::map<std::string, std::uint64_t>& GetDepths() const { return m_oStreams.GetDepths(); }
  /// The references that the branches and tags have become.
  const std::vector<TRecordedRef>& GetRefs() const { return m_oStreams.GetRefs(); }

 private:
  std::string Identity(const VCM::CString& strUser);

  CReport& m_oReport;
  CChangeFiles m_oFiles;
  CGitStreams m_oStreams;
  std::set<VCM::CString> m_astrChangedUsers;  // those reported: each is reported once
};

}  // namespace TALVEK::HOST
