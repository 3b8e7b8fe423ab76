#include "client/error_lines.h"

#include <gtest/gtest.h>
#include <wx/mstream.h>

#include <random>
#include <string>
#include <vector>

#include "core/text_codec.h"
#include "tests/support/locale_scope.h"

namespace TALVEK::TEST {
namespace {

using std::string_literals::operator""s;
using TLines = std::vector<std::string>;  // in UTF-8, each between brackets

std::string Show(const std::wstring& strLine) {
  return "[" + VCM::ToUtf8(VCM::CString(strLine)) + "]";
}

class CCountedReads : public wxMemoryInputStream {
 public:
  explicit CCountedReads(const std::string& strBytes)
      : wxMemoryInputStream(strBytes.data(), strBytes.size()) {}
  int m_nReads = 0;

 protected:
  std::size_t OnSysRead(void* pBuffer, std::size_t nBytes) override {
    ++m_nReads;
    return wxMemoryInputStream::OnSysRead(pBuffer, nBytes);
  }
};

TLines Lines(const std::string& strBytes) {
  wxMemoryInputStream oInput(strBytes.data(), strBytes.size());
  CLIENT::CErrorLines oLines(oInput);
  TLines astrLines;
  VCM::CString strLine;
  while (oLines.ReadLine(strLine))
    astrLines.push_back(Show(std::wstring(strLine.View())));
  EXPECT_TRUE(strLine.IsEmpty());
  return astrLines;
}

/// The lines that wxTextInputStream makes of the same bytes, without empty ones. At bytes that it can't
/// decode it never reaches the end, hence the limit.
TLines LinesOfWxWidgets(const std::string& strBytes) {
  wxMemoryInputStream oInput(strBytes.data(), strBytes.size());
  wxTextInputStream oText(oInput, " \t", wxConvAuto());
  TLines astrLines;
  for (std::size_t i = 0; i <= strBytes.size() && !oInput.Eof(); ++i) {
    const wxString strLine = oText.ReadLine();
    if (!strLine.empty()) astrLines.push_back(Show(strLine.ToStdWstring()));
  }
  return astrLines;
}

const struct {
  std::string strBytes;
  TLines astrLines;
} ATABLE[] = {
    {"", {}},
    {"\n\n", {}},
    {"one\ntwo\r\n\r\n\rthree\rfour", {"[one]", "[two]", "[three]", "[four]"}},
    {"caf\xC3\xA9\n\xF0\x9F\x98\x80\n", {"[caf\xC3\xA9]", "[\xF0\x9F\x98\x80]"}},
    // From the first sequence that isn't UTF-8 on, everything is Latin-1, also within that line.
    {"caf\xC3\xA9 J\xF6rg\nz\xC3\xA9\n", {"[caf\xC3\xA9 J\xC3\xB6rg]", "[z\xC3\x83\xC2\xA9]"}},
    {"z\xC3\xA9\n\xE9t\xE9\nend\n", {"[z\xC3\xA9]", "[\xC3\xA9t\xC3\xA9]", "[end]"}},
    {"\xC3\nab\nc\n", {"[\xC3\x83]", "[ab]", "[c]"}},
    {"\xE2\x82\nabc\n\xC3\xA9\n", {"[\xC3\xA2\xC2\x82]", "[abc]", "[\xC3\x83\xC2\xA9]"}},
    {"\xC0\x80z\nzzzz\n", {"[\xC3\x80\xC2\x80z]", "[zzzz]"}},
    {"\xF5\x80\x80\x80\xC3\xA9\n", {"[\xC3\xB5\xC2\x80\xC2\x80\xC2\x80\xC3\x83\xC2\xA9]"}},
    // A surrogate is no character, but wxTextInputStream decodes it; the log shows U+FFFD.
    {"\xED\xA0\x80\xC3\xA9\n", {"[\xEF\xBF\xBD\xC3\xA9]"}},
    // Only the first bytes can be a mark.
    {"\xEF\xBB\xBF\nfoo\n", {"[foo]"}},
    {"\xEF\xBB\xBFz\xC3\xA9\n", {"[z\xC3\xA9]"}},
    {"\xEF\xBB\xBF\xEF\xBB\xBFx\n", {"[\xEF\xBB\xBFx]"}},
    {"\n\xEF\xBB\xBFsecond\n", {"[\xEF\xBB\xBFsecond]"}},
    {"first\n\xEF\xBB\xBFsecond\n", {"[first]", "[\xEF\xBB\xBFsecond]"}},
    {"ab\xEF\xBB\ncd\n", {"[ab\xC3\xAF\xC2\xBB]", "[cd]"}},
    {"\xFF\nabcd\n", {"[\xC3\xBF]", "[abcd]"}},
    // A NUL ends a line.
    {"x\0y\nz\n"s, {"[x]", "[y]", "[z]"}},
    {"\0x\n\0\0\nz\0"s, {"[x]", "[z]"}},
    {"\0\0a\n"s, {"[a]"}},
    // UTF-16 and UTF-32, in either order of bytes.
    {"\xFF\xFE"
     "f\0o\0\n\0\n\0\xE9\0\n\0"s,
     {"[fo]", "[\xC3\xA9]"}},
    {"\xFE\xFF\0f\0o\0\n\0\n\0\xE9"s, {"[fo]", "[\xC3\xA9]"}},
    {"\xFF\xFE\x3D\xD8\x00\xDE\n\0"s, {"[\xF0\x9F\x98\x80]"}},
    {"\xFF\xFE\0\0f\0\0\0\n\0\0\0g\0\0\0"s, {"[f]", "[g]"}},
    {"\0\0\xFE\xFF\0\0\0f\0\0\0\n\0\0\0g"s, {"[f]", "[g]"}},
    {"\xFF\xFE"
     "a\0\n\0\x00\xDE"
     "b\0\n\0c\0d\0e\0f\0g\0"s,
     {"[a]"}},
};

TEST(ErrorLinesTest, LinesAreWhatWxWidgetsMakesOfThem) {
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    const CLocaleScope oLocale(pszLocale);
    for (const auto& tRow : ATABLE) {
      EXPECT_EQ(Lines(tRow.strBytes), tRow.astrLines) << testing::PrintToString(tRow.strBytes);
      EXPECT_EQ(LinesOfWxWidgets(tRow.strBytes), tRow.astrLines) << testing::PrintToString(tRow.strBytes);
    }
  }
}

// No byte-order mark, and enough characters at the end for wxTextInputStream to recognise a broken sequence.
TEST(ErrorLinesTest, RandomBytesGiveWhatWxWidgetsMakesOfThem) {
  const std::string astrPieces[] = {"a",        "bc",
                                    "\n",       "\r",
                                    "\r\n",     "\0"s,
                                    "\xC3\xA9", "\xE2\x82\xAC",
                                    "d",        "ef",
                                    "g",        "h",
                                    "i",        "\xF0\x9F\x98\x80",
                                    "\xE9",     "\xC3"};
  std::mt19937 oRandom(20260101);
  for (int nText = 0; nText < 3000; ++nText) {
    std::string strBytes = "x";
    for (auto nPieces = oRandom() % 12; nPieces > 0; --nPieces) {
      // Few pieces that aren't UTF-8, so that the first may come early or late.
      const std::string& strPiece = astrPieces[oRandom() % std::size(astrPieces)];
      strBytes += strPiece.size() == 1 && strPiece[0] < 0 && oRandom() % 4 != 0 ? "j" : strPiece;
    }
    strBytes += "\nend\n";
    EXPECT_EQ(Lines(strBytes), LinesOfWxWidgets(strBytes)) << testing::PrintToString(strBytes);
  }
}

TEST(ErrorLinesTest, WhatWxWidgetsLosesComesOutAsLatin1) {
  const struct {
    std::string strBytes;
    TLines astrLines;
  } atCases[] = {
      {"\xC3", {"[\xC3\x83]"}},
      {"caf\xC3\xA9 \xE2\x82", {"[caf\xC3\xA9 \xC3\xA2\xC2\x82]"}},
      {"\xEF\xBB", {"[\xC3\xAF\xC2\xBB]"}},
      {"\xEF\xBB\xBFJ\xF6rg\nx\n", {"[J\xC3\xB6rg]", "[x]"}},
  };
  for (const auto& tCase : atCases)
    EXPECT_EQ(Lines(tCase.strBytes), tCase.astrLines) << testing::PrintToString(tCase.strBytes);
}

// A client can print a million error lines, and wxTextInputStream would read one byte at a time.
TEST(ErrorLinesTest, BlocksAreRead) {
  for (const char* pszLine : {"complaint \xC3\xA9\n", "complaint \xE9\n"}) {
    std::string strBytes;
    while (strBytes.size() < 1000000)
      strBytes += pszLine;
    CCountedReads oInput(strBytes);
    CLIENT::CErrorLines oLines(oInput);
    VCM::CString strLine;
    std::size_t nLines = 0;
    while (oLines.ReadLine(strLine))
      ++nLines;
    EXPECT_EQ(nLines, strBytes.size() / std::string(pszLine).size());
    EXPECT_LT(oInput.m_nReads, 100);
  }
}

}  // namespace
}  // namespace TALVEK::TEST
