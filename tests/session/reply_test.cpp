#include "session/reply.h"

#include <gtest/gtest.h>

#include "session/failure.h"

namespace TALVEK::SESSION {
namespace {

/// Gives a text in pieces of one size, and then throws EBrokenConnection.
class CTextSource : public CByteSource {
 public:
  CTextSource(std::string strText, std::size_t nPiece) : m_strText(std::move(strText)), m_nPiece(nPiece) {}
  std::string Read() override {
    if (m_strText.empty()) throw EBrokenConnection();
    std::string strPiece = m_strText.substr(0, m_nPiece);
    m_strText.erase(0, m_nPiece);
    return strPiece;
  }

 private:
  std::string m_strText;
  std::size_t m_nPiece;
};

TCheckout Checkout(const char* pszRoot = ":fork:/cvs") {
  return ParseCommandLine({"-f", "-d", pszRoot, "co", "-r", "1.1", "-d", "Main/src", "mod/src/a.c"}, "")
      .value();
}

/// The outcome of reading a reply, as a text.
std::string Outcome(const std::string& strReply, std::size_t nPiece = 1000,
                    const char* pszRoot = ":fork:/cvs") {
  CTextSource oSource(strReply, nPiece);
  CReplyReader oReader(oSource);
  std::string strContent;
  TReply tReply;
  const auto Take = [&strContent](std::string_view strBytes) { strContent += strBytes; };
  try {
    ReadReply(oReader, Checkout(pszRoot), "mod/src", Take, tReply);
  } catch (const EBrokenConnection&) {
    return "broken";
  } catch (const EFailure& oFailure) {
    return oFailure.what();
  }
  if (!tReply.bIsFile) return tReply.bIsWhole ? "for the client" : "for the client, and hang up";
  char szMode[8];
  std::snprintf(szMode, sizeof szMode, "%o", static_cast<unsigned>(tReply.nMode));
  return tReply.strOutput + tReply.strErrors + EntryLine(tReply.tEntry) + " " + szMode + " " +
         std::to_string(tReply.nTime.value_or(-1)) + " " + strContent;
}

const std::string FILE_BEGIN = "Mod-time 6 Nov 2001 06:51:22 -0000\nM U Main/src/a.c\nCreated Main/src/\n";
const std::string CONTENT_REPLY =
    FILE_BEGIN + "mod/src/a.c\n/a.c/1.1//-kb/T1.1\nu=rw,g=r,o=rx\n4\n" + std::string("o\n\0k", 4) + "ok\n";
const std::string CONTENT_OUTCOME =
    "U Main/src/a.c\n/a.c/1.1//-kb/T1.1 645 1005029482 " + std::string("o\n\0k", 4);

TEST(ReplyTest, IsReadInPiecesOfAnySize) {
  for (std::size_t nPiece = 1; nPiece <= CONTENT_REPLY.size(); ++nPiece)
    EXPECT_EQ(Outcome(CONTENT_REPLY, nPiece), CONTENT_OUTCOME) << nPiece;
}

TEST(ReplyTest, CutShortAnywhereIsABrokenConnection) {
  for (std::size_t nLength = 0; nLength < CONTENT_REPLY.size(); ++nLength)
    EXPECT_EQ(Outcome(CONTENT_REPLY.substr(0, nLength)), "broken") << nLength;
}

TEST(ReplyTest, FoldersOnTheWayAndOlderServersAbsolutePlacesAreFine) {
  std::string strReply = CONTENT_REPLY;
  strReply.replace(strReply.find("mod/src/a.c"), 11, "/cvs/mod/src/a.c");
  EXPECT_EQ(
      Outcome("Clear-sticky Main/\n/cvs/mod/\nSet-static-directory Main/src/\nmod/src/\nF\n" + strReply),
      CONTENT_OUTCOME);
}

TEST(ReplyTest, FoldersOutsideTheWorkingFolderAreRefused) {
  for (const char* pszFolder :
       {"../../x/", "/etc/", "Main/../../x/", "Main/src/../../../x/", "Main//src/", "", "Main/src", "CVS/",
        "Main/CVS/", "cvs/", "Main/cVs/", "..", "Main/./src/"}) {
    const std::string strText = std::string("cvs [checkout aborted]: the server names `") + pszFolder +
                                "', which is not a folder to check out into";
    for (const char* pszResponse :
         {"Created", "Updated", "Removed", "Set-static-directory", "Template", "Copy-file"})
      EXPECT_EQ(Outcome(std::string(pszResponse) + " " + pszFolder + "\nmod/src/a.c\n"), strText);
  }
}

TEST(ReplyTest, AFileUnderAnotherNameIsRefused) {
  for (const char* pszEntry : {"/../../x/1.1///T1.1", "/b.c/1.1///T1.1", "a.c", "", "/a.c/1.1"})
    EXPECT_EQ(Outcome(FILE_BEGIN + "mod/src/a.c\n" + pszEntry + "\nu=rw\n0\nok\n"),
              std::string("cvs [checkout aborted]: the server sends `") + pszEntry + "' as the entry of a.c");
}

TEST(ReplyTest, MalformedSizesAreRefused) {
  for (const char* pszSize : {"-1", "", "z4", "4x", "99999999999999999999999", "999999999999999999"})
    EXPECT_EQ(Outcome(FILE_BEGIN + "mod/src/a.c\n/a.c/1.1///T1.1\nu=rw\n" + pszSize + "\nok\n"),
              std::string("cvs [checkout aborted]: the server sends `") + pszSize + "' as the size of a.c");
}

TEST(ReplyTest, LinesWithoutEndAndTextWithoutEndAreRefused) {
  EXPECT_EQ(Outcome("M " + std::string(100000, 'x')),
            "cvs [checkout aborted]: the server sends a line that is too long");
  std::string strLines;
  for (int nLine = 0; nLine < 400; ++nLine)
    strLines += "E " + std::string(60000, 'x') + "\n";
  EXPECT_EQ(Outcome(strLines, 60000), "cvs [checkout aborted]: the server sends text without end");
  EXPECT_EQ(Outcome(std::string("M a\0b\nok\n", 9)),
            "cvs [checkout aborted]: the server sends a NUL in a line");
}

TEST(ReplyTest, WhatIsNotThePlainAnswerIsForTheClient) {
  const std::string strOther = "Created Main/other/\nmod/other/a.c\n/a.c/1.1///T1.1\nu=rw\n0\n";
  EXPECT_EQ(Outcome("ok\n"), "for the client");
  EXPECT_EQ(Outcome("E cvs server: no such file\nerror  \n"), "for the client");
  EXPECT_EQ(Outcome(strOther + "ok\n"), "for the client, and hang up");
  EXPECT_EQ(Outcome("Removed Main/src/\nmod/src/a.c\nok\n"), "for the client, and hang up");
  EXPECT_EQ(Outcome("Set-sticky Main/src/\nmod/src/\nTBRANCH\nok\n"), "for the client, and hang up");
  EXPECT_EQ(Outcome("Something new\nok\n"), "for the client, and hang up");
  EXPECT_EQ(Outcome(CONTENT_REPLY.substr(0, CONTENT_REPLY.size() - 3) + "error  \n"), "for the client");
  const std::string strComplaint = "E cvs server: something about it\n" + CONTENT_REPLY;
  EXPECT_NE(Outcome(strComplaint), "for the client, and hang up");
  EXPECT_EQ(Outcome(strComplaint, 1000, "/cvs"), "for the client, and hang up");
}

TEST(RequestsTest, SayNoMoreThanTheyMust) {
  EXPECT_EQ(CheckoutRequests(Checkout()),
            "Argument -P\nArgument -d\nArgument Main/src\nArgument -r\nArgument 1.1\nArgument --\n"
            "Argument mod/src/a.c\nco\n");
  EXPECT_EQ(ResetRequests(Checkout(), "mod/src"),
            "Directory Main/src\n/cvs/mod/src\nEntry /a.c/1.1///T1.1\nDirectory .\n/cvs\n");
}

}  // namespace
}  // namespace TALVEK::SESSION
