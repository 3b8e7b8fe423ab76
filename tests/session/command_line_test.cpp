#include "session/command_line.h"

#include <gtest/gtest.h>

#include "session/client.h"

namespace TALVEK::SESSION {
namespace {

using CWords = std::vector<std::string>;

std::string Describe(const std::optional<TCheckout>& tCheckout) {
  if (!tCheckout) return "for the client";
  return tCheckout->tRoot.strText + " | " + tCheckout->strQuiet + (tCheckout->bReadOnly ? " -r" : "") + " z" +
         std::to_string(tCheckout->nCompression) + " | " + tCheckout->strRevision + " | " +
         tCheckout->strFolder + " | " + tCheckout->strFile;
}

std::string Describe(const CWords& astrWords, std::string_view strCvsrc = "") try {
  return Describe(ParseCommandLine(astrWords, strCvsrc));
} catch (const EHandOver&) {
  return "for the client";
}

/// The reason why a checkout is left to the client; "another command" for commands other than checkouts.
std::string Reason(const CWords& astrWords, std::string_view strCvsrc = "") try {
  return ParseCommandLine(astrWords, strCvsrc) ? "not for the client" : "another command";
} catch (const EHandOver& oHandOver) {
  return oHandOver.what();
}

TEST(CommandLineTest, CheckoutOfOneRevisionIsUnderstood) {
  const struct {
    CWords astrWords;
    const char* pszExpected;
  } atCases[] = {
      {{"-d", "/cvs", "checkout", "-r", "1.2", "-d", "Main/src", "mod/src/a.c"},
       "/cvs |  z0 | 1.2 | Main/src | mod/src/a.c"},
      {{"-q", "-z3", "-d/cvs", "co", "-d", "Main", "-r1.2.4.1", "--", "mod/-a b"},
       "/cvs | -q z3 | 1.2.4.1 | Main | mod/-a b"},
      {{"-rfQz", "9", "-d", "/cvs", "get", "-r", "1.1", "-d", "M", "m/f"}, "/cvs | -Q -r z9 | 1.1 | M | m/f"},
      {{"-d", "/cvs", "checkout", "-r", "1.2", "-d", "Main/bin/cvs", "gnu/bin/cvs/cvs.h"},
       "/cvs |  z0 | 1.2 | Main/bin/cvs | gnu/bin/cvs/cvs.h"},
  };
  for (const auto& tCase : atCases)
    EXPECT_EQ(Describe(tCase.astrWords), tCase.pszExpected);
}

TEST(CommandLineTest, EveryOtherCommandIsForTheClient) {
  const CWords astrGood = {"-d", "/cvs", "checkout", "-r", "1.2", "-d", "Main", "mod/a"};
  const struct {
    std::size_t nWord;
    const char* pszInstead;
  } atChanges[] = {
      {0, "-n"},      {0, "-x"},        {1, "cvs"},
      {2, "rlog"},    {2, "export"},    {3, "-j"},
      {3, "-D"},      {3, "-pr"},       {4, "BRANCH"},
      {4, "1"},       {4, "1..2"},      {4, ".1"},
      {4, "1.1."},    {4, ""},          {6, "/tmp/x"},
      {6, "../x"},    {6, "a/../../x"}, {6, "."},
      {6, "a//b"},    {6, "a/"},        {6, "CVS"},
      {6, "a/CVS/b"}, {6, ""},          {7, "mod"},
      {7, "/mod/a"},  {7, "mod/../a"},  {7, "mod/a\nArgument -j"},
      {7, "-A"},      {7, ""},
  };
  for (const auto& tChange : atChanges) {
    CWords astrWords = astrGood;
    astrWords[tChange.nWord] = tChange.pszInstead;
    EXPECT_EQ(Describe(astrWords), "for the client") << tChange.nWord << ": " << tChange.pszInstead;
  }
  for (std::size_t nWords = 0; nWords < astrGood.size(); ++nWords)
    EXPECT_EQ(Describe(CWords(astrGood.begin(), astrGood.begin() + static_cast<std::ptrdiff_t>(nWords))),
              "for the client")
        << nWords;
  EXPECT_NE(Describe(astrGood), "for the client");
}

TEST(CommandLineTest, EachCheckoutForTheClientHasAReason) {
  const std::string strKind = "not a checkout of one revision of one file";
  const struct {
    CWords astrWords;
    const char* pszCvsrc;
    std::string strReason;
  } atCases[] = {
      {{"-d", "/cvs", "rlog", "mod"}, "checkout -kb\n", "another command"},
      {{"-n", "-d", "/cvs", "update"}, "", "another command"},
      {{"--version"}, "", "another command"},
      {{"-y", "-d", "/cvs", "checkout", "mod"}, "", "another command"},
      {{"-d", "/cvs", "checkout", "-c"}, "", "another command"},
      {{"checkout"}, "", "the root is of a kind for the client"},
      {{"-d", "/cvs", "checkout"}, "", strKind},
      {{"-d", "/cvs", "co", "-D", "2004-01-01", "-d", "M", "m"}, "", strKind},
      {{"-d", "/cvs", "co", "-r", "1.2", "-r", "1.2", "-d", "M", "m/a"}, "", strKind},
      {{"-d", "/cvs", "co", "-r", "1.2", "-d", "M", "m/a", "m/b"}, "", strKind},
      {{"-d", "/cvs", "co", "-r", "1.2", "-d", "M", "m"}, "", strKind},
      {{"-d", "/cvs", "co", "-r", "1.2", "-d", "M/CVS", "m/a"},
       "",
       "a path is not plain, or has the name CVS in it"},
      {{"-d", "/cvs", "-n", "co", "-r", "1.2", "-d", "M", "m/a"}, "", "a global option is for the client"},
      {{"-z10", "-d", "/cvs", "co", "-r", "1.2", "-d", "M", "m/a"}, "", "a global option is for the client"},
      {{"-d", ":sspi:host:/cvs", "co", "-r", "1.2", "-d", "M", "m/a"},
       "",
       "the root is of a kind for the client"},
      {{"-d", "/cvs", "co", "-r", "1.2", "-d", "M", "m/a"},
       "cvs -n\n",
       "~/.cvsrc has options for the client"},
  };
  for (const auto& tCase : atCases)
    EXPECT_EQ(Reason(tCase.astrWords, tCase.pszCvsrc), tCase.strReason) << tCase.astrWords[0];
}

TEST(CommandLineTest, OptionsFromTheUsersFileComeFirst) {
  const CWords astrWords = {"-d", "/cvs", "co", "-r", "1.2", "-d", "M", "m/a"};
  EXPECT_EQ(Describe(astrWords, "cvs -z3 -q\nupdate -dP\n"), "/cvs | -q z3 | 1.2 | M | m/a");
  EXPECT_EQ(Describe(astrWords, "checkout -kb\n"), "for the client");
  EXPECT_EQ(Describe(astrWords, "cvs -n\n"), "for the client");
  EXPECT_EQ(Describe(astrWords, "cvs -z '3'\n"), "for the client");
  EXPECT_EQ(Describe({"-f", "-d", "/cvs", "co", "-r", "1.2", "-d", "M", "m/a"}, "cvs -z3\ncheckout -kb\n"),
            "/cvs |  z0 | 1.2 | M | m/a");
}

}  // namespace
}  // namespace TALVEK::SESSION
