// Writing JSON Lines: a JSON library reads back what was written.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "core/json_text.h"
#include "core/text_codec.h"
#include "fuzz/check.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/work_limits.h"
#include "host/commands.h"
#include "host/text_output.h"

namespace TALVEK::FUZZ {

namespace {

// A lone surrogate is an escape in JSON. That is well-formed, but the library refuses it. So the comparison
// replaces U+D800 to U+DFFF by U+10D800 to U+10DFFF on both sides.
constexpr std::uint32_t STAND_IN = 0x100000;

bool IsSurrogate(std::uint32_t nCode) {
  return nCode >= 0xD800 && nCode < 0xE000;
}

void AppendUtf8(std::uint32_t nCode, std::string& strOut) {
  if (nCode < 0x80) {
    strOut += static_cast<char>(nCode);
    return;
  }
  const int nTrailing = nCode < 0x800 ? 1 : nCode < 0x10000 ? 2 : 3;
  constexpr std::uint32_t ANLEADS[] = {0xC0, 0xE0, 0xF0};
  strOut += static_cast<char>(ANLEADS[nTrailing - 1] | nCode >> 6 * nTrailing);
  for (int i = nTrailing - 1; i >= 0; --i)
    strOut += static_cast<char>(0x80 | (nCode >> 6 * i & 0x3F));
}

/// The UTF-8 text that the library must read back.
std::string Expected(const VCM::CString& strText) {
  std::string strExpected;
  for (const wchar_t ch : strText.View()) {
    const auto nCode = static_cast<std::uint32_t>(ch);
    AppendUtf8(nCode > 0x10FFFF ? 0xFFFD : IsSurrogate(nCode) ? nCode + STAND_IN : nCode, strExpected);
  }
  return strExpected;
}

std::string Escape(std::uint32_t nUnit) {
  char szEscape[8];
  std::snprintf(szEscape, sizeof szEscape, "\\u%04x", nUnit);
  return szEscape;
}

/// Replaces surrogates by their stand-ins; leaves all other escapes alone.
std::string WithoutSurrogates(std::string_view strJson) {
  std::string strResult;
  for (std::size_t i = 0; i < strJson.size();) {
    const bool bEscape = strJson[i] == '\\' && i + 1 < strJson.size();
    const bool bLong = bEscape && strJson[i + 1] == 'u' && i + 6 <= strJson.size();
    const std::string strUnit(bLong ? strJson.substr(i + 2, 4) : "");
    const auto nUnit = static_cast<std::uint32_t>(bLong ? std::stoul(strUnit, nullptr, 16) : 0);
    const std::size_t nLength = bLong ? 6 : bEscape ? 2 : 1;
    if (IsSurrogate(nUnit)) {
      const std::uint32_t nRest = nUnit + STAND_IN - 0x10000;
      strResult += Escape(0xD800 + (nRest >> 10)) + Escape(0xDC00 + (nRest & 0x3FF));
    } else {
      strResult += strJson.substr(i, nLength);
    }
    i += nLength;
  }
  return strResult;
}

nlohmann::json ParseJson(std::string_view strJson) {
  nlohmann::json oValue = nlohmann::json::parse(WithoutSurrogates(strJson), nullptr, false);
  Check(!oValue.is_discarded(), "what is written is JSON");
  return oValue;
}

void CheckText(const VCM::CString& strText) {
  std::string strJson;
  VCM::AppendJsonString(strText, strJson);
  Check(strJson.find_first_of("\n\r") == std::string::npos, "a text stays on its line");
  Check(ParseJson(strJson) == Expected(strText), "a text is read back as it was");
}

/// A preview's output in memory.
std::string WrittenBy(HOST::CPreview& oPreview) {
  const int nFile = ::memfd_create("preview", MFD_CLOEXEC);
  HOST::CByteSink oSink(nFile, "memory");
  oPreview.Write(oSink);
  std::string strBytes(static_cast<std::size_t>(::lseek(nFile, 0, SEEK_END)), '\0');
  Check(::pread(nFile, strBytes.data(), strBytes.size(), 0) == static_cast<ssize_t>(strBytes.size()),
        "the output can be read");
  ::close(nFile);
  return strBytes;
}

/// Feeds a preview with a history of texts, and keeps the lines that it must write.
class CHistory {
 public:
  explicit CHistory(HOST::CPreview& oPreview) : m_oPreview(oPreview) {}

  void Stream(const VCM::CString& strName) {
    HOST::TStream tStream;
    tStream.tInfo.nID = ++m_nStream;
    tStream.tInfo.strName = strName;
    m_oPreview.BeginStream(tStream);
    m_aoStreams.push_back({{"stream",
                            {{"id", m_nStream},
                             {"parent", 0},
                             {"name", Expected(strName)},
                             {"created", 0},
                             {"max_created", 0},
                             {"base_change", 0}}}});
  }

  void Change(const VCM::CString& strText) {
    MCE::CProvider::TChangeInfo tChange;
    tChange.nID = ++m_nChange;
    tChange.strUser = strText.Left(4);
    tChange.strComment = strText.Mid(4);
    tChange.nTime = strText.GetLength();
    m_nItem = 0;
    m_oPreview.BeginChange(tChange);
    m_atChanges.push_back({tChange.nTime,
                           {{"change",
                             {{"id", m_nChange},
                              {"stream", m_nStream},
                              {"user", Expected(tChange.strUser)},
                              {"time", tChange.nTime},
                              {"comment", Expected(tChange.strComment)},
                              {"next_item", 0}}}}});
  }

  void Item(const VCM::CString& strPath) {
    MCE::CProvider::TChangeItemInfo tItem;
    tItem.nChangeID = m_nChange;
    tItem.oFilePath.Parse(strPath, VCM::CFilePath::PARSE_REPOSITORY);
    m_oPreview.Item(tItem, ++m_nItem, false);
    m_aoItems.push_back({{"item",
                          {{"change", m_nChange},
                           {"item", m_nItem},
                           {"type", 0},
                           {"path", Expected(tItem.oFilePath.GeneratePath())}}}});
  }

  std::vector<nlohmann::json> Lines() {
    std::stable_sort(m_atChanges.begin(), m_atChanges.end(),
                     [](const auto& tLeft, const auto& tRight) { return Order(tLeft) < Order(tRight); });
    std::vector<nlohmann::json> aoLines = m_aoStreams;
    for (const TChange& tChange : m_atChanges)
      aoLines.push_back(tChange.oLine);
    aoLines.insert(aoLines.end(), m_aoItems.begin(), m_aoItems.end());
    return aoLines;
  }

  bool HasStream() const { return m_nStream > 0; }
  bool HasChange() const { return m_nChange > 0; }

 private:
  struct TChange {
    long long nTime;
    nlohmann::json oLine;
  };
  static std::tuple<std::uint32_t, long long> Order(const TChange& tChange) {
    return {tChange.oLine["change"]["stream"].get<std::uint32_t>(), tChange.nTime};
  }

  HOST::CPreview& m_oPreview;
  std::uint32_t m_nStream = 0;
  std::uint32_t m_nChange = 0;
  std::uint32_t m_nItem = 0;
  std::vector<nlohmann::json> m_aoStreams;
  std::vector<TChange> m_atChanges;
  std::vector<nlohmann::json> m_aoItems;
};

void Feed(CHistory& oHistory, const std::vector<VCM::CString>& astrTexts) {
  for (const VCM::CString& strText : astrTexts) {
    const wchar_t chKind = strText.IsEmpty() ? L' ' : strText[0];
    const VCM::CString strRest = strText.Mid(1);
    if (chKind == L'S' || !oHistory.HasStream()) {
      oHistory.Stream(strRest);
    } else if (chKind == L'I' && oHistory.HasChange()) {
      oHistory.Item(strRest);
    } else {
      oHistory.Change(strRest);
    }
  }
}

void CheckPreview(const std::vector<VCM::CString>& astrTexts) {
  const std::unique_ptr<HOST::CPreview> poPreview = HOST::MakeJsonPreview(L"/nowhere");
  CHistory oHistory(*poPreview);
  Feed(oHistory, astrTexts);
  std::string strWritten = WrittenBy(*poPreview);
  std::vector<nlohmann::json> aoRead;
  for (std::size_t nEnd = 0; (nEnd = strWritten.find('\n')) != std::string::npos;
       strWritten.erase(0, nEnd + 1))
    aoRead.push_back(ParseJson(strWritten.substr(0, nEnd)));
  Check(strWritten.empty(), "the last line has its end");
  Check(aoRead == oHistory.Lines(), "each record is a line, in order, and is read back as it was");
}

/// A line of the input as a text.
VCM::CString TextOf(std::string_view strLine, const CFuzzInput& oInput) {
  if (oInput.Has('s')) return VCM::DecodeStored(strLine);
  if (!oInput.Has('w')) return VCM::FromBytes(strLine);
  std::wstring strText(strLine.size() / sizeof(wchar_t), L'\0');
  std::memcpy(strText.data(), strLine.data(), strText.size() * sizeof(wchar_t));
  return VCM::CString(std::move(strText));
}

/// Each line is a text. It is a stream's name if it begins with S, a file's path with I, else a change's user
/// and comment. Options: s  texts are in the database's encoding;  w  their bytes are wide characters.
void Run(const CFuzzInput& oInput) {
  std::vector<VCM::CString> astrTexts;
  for (const std::string_view strLine : oInput.Lines())
    astrTexts.push_back(TextOf(strLine, oInput));
  const CWorkLimits oLimits(oInput.Text().size(),
                            {.nHeapBytes = 2048, .nAllocations = 100, .nMicroseconds = 50});
  for (const VCM::CString& strText : astrTexts)
    CheckText(strText);
  CheckPreview(astrTexts);
  oLimits.Check();
}

}  // namespace

}  // namespace TALVEK::FUZZ

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes) {
  TALVEK::FUZZ::Run(TALVEK::FUZZ::CFuzzInput(pBytes, nBytes));
  return 0;
}
