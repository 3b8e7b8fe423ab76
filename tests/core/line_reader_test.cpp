#include "core/line_reader.h"

#include <algorithm>
#include <clocale>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/text_codec.h"

namespace TALVEK::VCM {
namespace {

using TLines = std::vector<CString>;

constexpr std::size_t BLOCK_BYTES = 65536;

/// A stream over bytes in memory, which gives up to 9 of them at a time with `poRandom`, else all that are
/// wanted. At their end comes the end of the input or, with `bFail`, a read error, after which more bytes
/// would come.
class CPortionStream : public wxInputStream {
 public:
  explicit CPortionStream(std::string strBytes, std::mt19937* poRandom = nullptr, bool bFail = false)
      : m_strBytes(std::move(strBytes)), m_poRandom(poRandom), m_bFail(bFail) {}

  // wxInputStream::Read would call OnSysRead until it has all bytes that are wanted.
  wxInputStream& Read(void* pBuffer, std::size_t nBytes) override {
    m_lastcount = OnSysRead(pBuffer, nBytes);
    return *this;
  }

  int GetReads() const { return m_nReads; }

 protected:
  std::size_t OnSysRead(void* pBuffer, std::size_t nBytes) override {
    ++m_nReads;
    if (m_bFailed) return std::string("behind the gap\n").copy(static_cast<char*>(pBuffer), nBytes);
    std::size_t nPortion = std::min(nBytes, m_strBytes.size() - m_nPosition);
    if (m_poRandom && nPortion > 1) nPortion = 1 + (*m_poRandom)() % std::min<std::size_t>(nPortion, 9);
    m_strBytes.copy(static_cast<char*>(pBuffer), nPortion, m_nPosition);
    m_nPosition += nPortion;
    m_lasterror = nPortion > 0 ? wxSTREAM_NO_ERROR : m_bFail ? wxSTREAM_READ_ERROR : wxSTREAM_EOF;
    m_bFailed = m_bFail && nPortion == 0;
    return nPortion;
  }

 private:
  std::string m_strBytes;
  std::mt19937* m_poRandom;
  bool m_bFail;
  bool m_bFailed = false;
  std::size_t m_nPosition = 0;
  int m_nReads = 0;
};

/// All lines. Checks that IsAtEnd predicts each result of ReadLine.
TLines ReadLines(wxInputStream& oStream) {
  CLineReader oReader(&oStream);
  TLines astrLines;
  for (;;) {
    const bool bAtEnd = oReader.IsAtEnd();
    CString strLine(L"left over");
    const bool bRead = oReader.ReadLine(strLine);
    EXPECT_NE(bRead, bAtEnd);
    if (!bRead) {
      EXPECT_EQ(strLine, CString());
      return astrLines;
    }
    astrLines.push_back(strLine);
  }
}

TLines ReadLines(const std::string& strBytes) {
  CPortionStream oStream(strBytes);
  return ReadLines(oStream);
}

/// A plain second version: one byte at a time.
TLines SplitSlowly(const std::string& strBytes) {
  TLines astrLines;
  std::string strLine;
  for (std::size_t nIndex = 0; nIndex < strBytes.size(); ++nIndex) {
    if (strBytes[nIndex] != '\n' && strBytes[nIndex] != '\r') {
      strLine += strBytes[nIndex];
      continue;
    }
    astrLines.push_back(FromBytes(strLine));
    strLine.clear();
    if (strBytes.substr(nIndex, 2) == "\r\n") ++nIndex;
  }
  if (!strLine.empty()) astrLines.push_back(FromBytes(strLine));
  return astrLines;
}

TEST(LineReaderTest, LinesEndAsTheTableSays) {
  const struct {
    std::string strBytes;
    TLines astrLines;
  } atCases[] = {
      {"", {}},
      {"a", {L"a"}},
      {"a\n", {L"a"}},
      {"a\r\n", {L"a"}},
      {"a\r", {L"a"}},
      {"\n", {L""}},
      {"\r", {L""}},
      {"\r\n", {L""}},
      {"\n\n", {L"", L""}},
      {"\r\r", {L"", L""}},
      {"\n\r", {L"", L""}},
      {"\r\n\r\n", {L"", L""}},
      {"\r\r\n", {L"", L""}},
      {"a\nb\r\nc\rd", {L"a", L"b", L"c", L"d"}},
      {"a\n\n b \t\n", {L"a", L"", L" b \t"}},
      {"a\vb\fc\n", {L"a\vb\fc"}},
  };
  for (const auto& tCase : atCases)
    EXPECT_EQ(ReadLines(tCase.strBytes), tCase.astrLines) << testing::PrintToString(tCase.strBytes);
}

TEST(LineReaderTest, NulIsACharacter) {
  EXPECT_EQ(ReadLines(std::string("a\0b\n\0\n", 6)),
            (TLines{CString(std::wstring_view(L"a\0b", 3)), CString(std::wstring_view(L"\0", 1))}));
}

TEST(LineReaderTest, BytesThatAreNoTextAreKept) {
  const std::string strPrevious = std::setlocale(LC_ALL, nullptr);
  for (const char* pszLocale : {"C", "C.UTF-8"}) {
    ASSERT_TRUE(std::setlocale(LC_ALL, pszLocale));
    EXPECT_EQ(ReadLines("caf\xe9\n\xff\xfe"), (TLines{L"caf\xdce9", L"\xdcff\xdcfe"})) << pszLocale;
  }
  std::setlocale(LC_ALL, strPrevious.c_str());
}

TEST(LineReaderTest, EveryLineEndIsRightAtEveryPlaceAroundTheBlockBorder) {
  for (const std::string strEnd : {"\n", "\r", "\r\n", "\r\r\n", "\n\r\n"}) {
    for (std::size_t nLength = BLOCK_BYTES - 4; nLength <= BLOCK_BYTES + 1; ++nLength) {
      const std::string strBytes = std::string(nLength, 'x') + strEnd + "next" + strEnd;
      EXPECT_EQ(ReadLines(strBytes), SplitSlowly(strBytes)) << nLength << testing::PrintToString(strEnd);
    }
  }
}

TEST(LineReaderTest, InputThatEndsWithItsBlockIsAtItsEnd) {
  for (const std::string strEnd : {"", "\n", "\r", "\r\n"}) {
    const std::string strBytes = std::string(BLOCK_BYTES - strEnd.size(), 'x') + strEnd;
    EXPECT_EQ(ReadLines(strBytes), SplitSlowly(strBytes)) << testing::PrintToString(strEnd);
  }
}

TEST(LineReaderTest, CharacterAcrossTheBlockBorderIsDecodedWhole) {
  const std::string strPrevious = std::setlocale(LC_ALL, nullptr);
  ASSERT_TRUE(std::setlocale(LC_ALL, "C.UTF-8"));
  for (std::size_t nLength = BLOCK_BYTES - 3; nLength <= BLOCK_BYTES; ++nLength) {
    const CString strExpected(std::wstring(nLength, L'x') + L'\u20ac');
    EXPECT_EQ(ReadLines(std::string(nLength, 'x') + "\xe2\x82\xac\n"), TLines{strExpected}) << nLength;
  }
  std::setlocale(LC_ALL, strPrevious.c_str());
}

TEST(LineReaderTest, LineOfAMegabyteComesWhole) {
  const std::string strLong(1 << 20, 'y');
  EXPECT_EQ(ReadLines("a\n" + strLong + "\nb\n"), (TLines{L"a", FromBytes(strLong), L"b"}));
  EXPECT_EQ(ReadLines(strLong), TLines{FromBytes(strLong)});
}

TEST(LineReaderTest, MemoryOfALongLineGoesWithTheNextOne) {
  CPortionStream oStream(std::string(4 << 20, 'y') + "\nshort\n");
  CLineReader oReader(&oStream);
  CString strLine;
  ASSERT_TRUE(oReader.ReadLine(strLine));
  ASSERT_TRUE(oReader.ReadLine(strLine));
  EXPECT_EQ(strLine, L"short");
  EXPECT_LT(strLine.Release().capacity(), 100U);
}

TEST(LineReaderTest, ReadErrorEndsTheInputAndKeepsWhatCameBefore) {
  for (const std::string strBytes : {"a\nb", "a\nb\r"}) {
    CPortionStream oStream(strBytes, nullptr, true);
    EXPECT_EQ(ReadLines(oStream), (TLines{L"a", L"b"}));
    EXPECT_EQ(oStream.GetLastError(), wxSTREAM_READ_ERROR);
  }
}

TEST(LineReaderTest, StreamThatFailedIsNotAskedAgain) {
  CPortionStream oStream("a\n", nullptr, true);
  CLineReader oReader(&oStream);
  CString strLine;
  EXPECT_TRUE(oReader.ReadLine(strLine));
  EXPECT_TRUE(oReader.IsAtEnd());
  const int nReads = oStream.GetReads();
  EXPECT_TRUE(oReader.IsAtEnd());
  EXPECT_FALSE(oReader.ReadLine(strLine));
  EXPECT_EQ(oStream.GetReads(), nReads);
}

/// A stream whose second portion can't be read, while a third could be.
class CGapStream : public wxInputStream {
 protected:
  std::size_t OnSysRead(void* pBuffer, std::size_t nBytes) override {
    ++m_nReads;
    m_lasterror = m_nReads == 2 ? wxSTREAM_READ_ERROR : wxSTREAM_NO_ERROR;
    return m_nReads == 2 ? 0 : std::string("a\nb").copy(static_cast<char*>(pBuffer), nBytes);
  }

 private:
  int m_nReads = 0;
};

// wxInputStream::Read returns the bytes that came before the error, together with the error.
TEST(LineReaderTest, ErrorThatComesTogetherWithBytesEndsTheInput) {
  CGapStream oStream;
  EXPECT_EQ(ReadLines(oStream), (TLines{L"a", L"b"}));
}

TEST(LineReaderTest, NullStreamIsAtItsEnd) {
  CLineReader oReader(nullptr);
  CString strLine(L"left over");
  EXPECT_TRUE(oReader.IsAtEnd());
  EXPECT_FALSE(oReader.ReadLine(strLine));
  EXPECT_EQ(strLine, CString());
}

TEST(LineReaderTest, StreamIsReadInBlocks) {
  std::string strBytes;
  while (strBytes.size() < 10 * BLOCK_BYTES)
    strBytes += "a line of some length\n";
  CPortionStream oStream(strBytes);
  ReadLines(oStream);
  EXPECT_LE(oStream.GetReads(), 12);
}

TEST(LineReaderTest, AgreesWithTheSlowSplitterOnRandomInputInRandomPortions) {
  const unsigned nSeed = 19990704;
  std::mt19937 oRandom(nSeed);
  for (int nRound = 0; nRound < 3000; ++nRound) {
    std::string strBytes;
    for (auto nLeft = oRandom() % 60; nLeft > 0; --nLeft)
      strBytes += std::string_view("\n\n\r\r\r\nab\0\xe9", 10)[oRandom() % 10];
    CPortionStream oStream(strBytes, &oRandom);
    ASSERT_EQ(ReadLines(oStream), SplitSlowly(strBytes))
        << "round " << nRound << testing::PrintToString(strBytes);
  }
}

// The reader decodes ahead up to the next byte that isn't ASCII. Here these stretches have all kinds of
// lengths.
TEST(LineReaderTest, AgreesWithTheSlowSplitterOnLongInputWithAFewBytesThatAreNotAscii) {
  const unsigned nSeed = 20030417;
  std::mt19937 oRandom(nSeed);
  for (int nRound = 0; nRound < 200; ++nRound) {
    std::string strBytes;
    while (strBytes.size() < 20000) {
      strBytes.append(oRandom() % (oRandom() % 8 == 0 ? 6000 : 60), 'a');
      if (oRandom() % 16 == 0) strBytes += '\xe9';
      strBytes += std::string_view("\n\n\n\r", 4)[oRandom() % 4];
    }
    ASSERT_EQ(ReadLines(strBytes), SplitSlowly(strBytes)) << "round " << nRound;
  }
}

TEST(LineReaderTest, ViewOfALineIsGoodUntilTheNextOneIsRead) {
  // The \r of "ab\r\n" is the last byte of its block, so the \n is in the next one.
  const std::string strLong(BLOCK_BYTES - 11, 'x');
  CPortionStream oStream("one\n\xc3\xa9\n" + strLong + "\nab\r\nlast");
  CLineReader oReader(&oStream);
  TLines astrLines;
  for (std::wstring_view strLine; oReader.ReadLineView(strLine);)
    astrLines.emplace_back(strLine);
  EXPECT_EQ(astrLines, (TLines{L"one", FromBytes("\xc3\xa9"), FromBytes(strLong), L"ab", L"last"}));
  std::wstring_view strNone = L"left over";
  EXPECT_FALSE(oReader.ReadLineView(strNone));
  EXPECT_TRUE(strNone.empty());
}

TEST(LineReaderTest, LongLineComesInPiecesWhenThatIsWanted) {
  CPortionStream oStream(std::string(3 * BLOCK_BYTES, 'x') + "\nshort\n");
  CLineReader oReader(&oStream, BLOCK_BYTES + 1);
  std::vector<int> anLengths;
  for (CString strLine; oReader.ReadLine(strLine);)
    anLengths.push_back(strLine.GetLength());
  EXPECT_EQ(anLengths, (std::vector<int>{2 * BLOCK_BYTES, BLOCK_BYTES, 5}));
}

}  // namespace
}  // namespace TALVEK::VCM
