#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "host/commands.h"
#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

struct TStreamCounts {
  TStream tStream;
  std::uint64_t nChanges = 0;
  std::uint64_t nItems = 0;
  long long nFirstTime = 0;
  long long nLastTime = 0;
  std::set<VCM::CString> astrUsers;
};

class CTextPreview : public CPreview {
 public:
  explicit CTextPreview(const VCM::CString& strFolder) : m_strFolder(strFolder) {}

  bool WantsItems() const override { return false; }

  VCM::CString BeginStream(const TStream& tStream) override {
    TStreamCounts tCounts;
    tCounts.tStream = tStream;
    m_atCounts.push_back(std::move(tCounts));
    return m_strFolder;
  }

  void BeginChange(MCE::CProvider::TChangeInfo& tChange) override {
    TStreamCounts& tCounts = m_atCounts.back();
    const bool bFirst = tCounts.nChanges++ == 0;
    tCounts.nFirstTime = bFirst ? tChange.nTime : std::min(tCounts.nFirstTime, tChange.nTime);
    tCounts.nLastTime = bFirst ? tChange.nTime : std::max(tCounts.nLastTime, tChange.nTime);
    tCounts.nItems += CountItems(tChange);
    tCounts.astrUsers.insert(tChange.strUser);
  }

  void Write(CByteSink& oSink) override {
    std::uint64_t nChanges = 0;
    std::uint64_t nItems = 0;
    for (const TStreamCounts& tCounts : m_atCounts) {
      oSink.Write(Line(tCounts));
      nChanges += tCounts.nChanges;
      nItems += tCounts.nItems;
    }
    oSink.Write(ShowCount(m_atCounts.size(), "stream") + ", " + ShowCount(nChanges, "changeset") + ", " +
                ShowCount(nItems, "item") + '\n');
    oSink.Flush();
  }

 private:
  static std::string Line(const TStreamCounts& tCounts) {
    std::string strLine(static_cast<std::size_t>(tCounts.tStream.nDepth) * 2, ' ');
    strLine += ShowText(tCounts.tStream.tInfo.strName);
    if (tCounts.tStream.IsTag()) strLine += " (tag)";
    strLine += ": ";
    if (tCounts.nChanges == 0) {
      strLine += "no changesets";
    } else {
      strLine += ShowCount(tCounts.nChanges, "changeset") + ", " + ShowCount(tCounts.nItems, "item") +
                 " by " + ShowCount(tCounts.astrUsers.size(), "author") + ", " +
                 ShowTime(tCounts.nFirstTime) + " to " + ShowTime(tCounts.nLastTime);
    }
    if (tCounts.tStream.bUnreached) strLine += " (its parents stand in a circle)";
    return strLine + '\n';
  }

  VCM::CString m_strFolder;
  std::vector<TStreamCounts> m_atCounts;
};

}  // namespace

std::unique_ptr<CPreview> MakeTextPreview(const VCM::CString& strFolder) {
  return std::make_unique<CTextPreview>(strFolder);
}

}  // namespace TALVEK::HOST
