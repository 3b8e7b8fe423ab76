#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "core/json_text.h"
#include "host/commands.h"
#include "host/spool_file.h"
#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

/// The lines of one changeset, in the two spools.
struct TChangeLines {
  std::uint32_t nStream = 0;
  std::uint32_t nID = 0;
  long long nTime = 0;
  std::uint64_t nChangeOffset = 0;
  std::uint64_t nChangeSize = 0;
  std::uint64_t nItemsOffset = 0;
  std::uint64_t nItemsSize = 0;
};

std::string StreamLine(const MCE::CProvider::TStreamInfo& tStream) {
  return VCM::CJsonLine("stream")
      .Number("id", tStream.nID)
      .Number("parent", tStream.nParentID)
      .Text("name", tStream.strName)
      .Number("created", tStream.oProps.GetNumber(MCE::STREAM_CREATED, 0))
      .Number("max_created", tStream.oProps.GetNumber(MCE::STREAM_MAX_CREATED, 0))
      .Number("base_change", tStream.nBaseChangeID)
      .Take();
}

std::string ChangeLine(const MCE::CProvider::TChangeInfo& tChange, std::uint32_t nStream) {
  return VCM::CJsonLine("change")
      .Number("id", tChange.nID)
      .Number("stream", nStream)
      .Text("user", tChange.strUser)
      .Number("time", tChange.nTime)
      .Text("comment", tChange.strComment)
      .Number("next_item", tChange.nItemCount)
      .Take();
}

std::string ItemLine(const MCE::CProvider::TChangeItemInfo& tItem, std::uint32_t nNumber) {
  return VCM::CJsonLine("item")
      .Number("change", tItem.nChangeID)
      .Number("item", nNumber)
      .Number("type", tItem.nType)
      .Text("path", PathText(tItem.oFilePath))
      .Take();
}

class CJsonPreview : public CPreview {
 public:
  explicit CJsonPreview(const VCM::CString& strFolder) : m_strFolder(strFolder) {}

  VCM::CString BeginStream(const TStream& tStream) override {
    m_nStream = tStream.tInfo.nID;
    m_atStreams.push_back(tStream.tInfo);
    return m_strFolder;
  }

  void BeginChange(MCE::CProvider::TChangeInfo& tChange) override {
    const std::string strLine = ChangeLine(tChange, m_nStream);
    TChangeLines tLines;
    tLines.nStream = m_nStream;
    tLines.nID = tChange.nID;
    tLines.nTime = tChange.nTime;
    tLines.nChangeOffset = m_oChanges.Append(strLine);
    tLines.nChangeSize = strLine.size();
    tLines.nItemsOffset = m_nItemsSize;
    m_atLines.push_back(tLines);
  }

  void Item(const MCE::CProvider::TChangeItemInfo& tItem, std::uint32_t nNumber, bool) override {
    const std::string strLine = ItemLine(tItem, nNumber);
    m_oItems.Append(strLine);
    m_nItemsSize += strLine.size();
    m_atLines.back().nItemsSize += strLine.size();
  }

  void Write(CByteSink& oSink) override {
    WriteStreams(oSink);
    std::sort(m_atLines.begin(), m_atLines.end(), [](const TChangeLines& tLeft, const TChangeLines& tRight) {
      return std::tie(tLeft.nStream, tLeft.nTime, tLeft.nID) <
             std::tie(tRight.nStream, tRight.nTime, tRight.nID);
    });
    for (const TChangeLines& tLines : m_atLines)
      m_oChanges.Copy(tLines.nChangeOffset, tLines.nChangeSize, oSink);
    std::sort(m_atLines.begin(), m_atLines.end(),
              [](const TChangeLines& tLeft, const TChangeLines& tRight) { return tLeft.nID < tRight.nID; });
    for (const TChangeLines& tLines : m_atLines)
      m_oItems.Copy(tLines.nItemsOffset, tLines.nItemsSize, oSink);
    oSink.Flush();
  }

 private:
  void WriteStreams(CByteSink& oSink) {
    std::sort(m_atStreams.begin(), m_atStreams.end(),
              [](const auto& tLeft, const auto& tRight) { return tLeft.nID < tRight.nID; });
    for (const MCE::CProvider::TStreamInfo& tStream : m_atStreams)
      oSink.Write(StreamLine(tStream));
  }

  VCM::CString m_strFolder;
  std::uint32_t m_nStream = 0;
  std::vector<MCE::CProvider::TStreamInfo> m_atStreams;
  std::vector<TChangeLines> m_atLines;
  CSpoolFile m_oChanges;
  CSpoolFile m_oItems;
  std::uint64_t m_nItemsSize = 0;
};

}  // namespace

std::unique_ptr<CPreview> MakeJsonPreview(const VCM::CString& strFolder) {
  return std::make_unique<CJsonPreview>(strFolder);
}

}  // namespace TALVEK::HOST
