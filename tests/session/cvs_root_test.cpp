#include "session/cvs_root.h"

#include <string>

#include <gtest/gtest.h>

namespace TALVEK::SESSION {
namespace {

std::string Describe(std::string_view strText) {
  const std::optional<TRoot> tRoot = ParseRoot(strText);
  if (!tRoot) return "for the client";
  const char* apszMethods[] = {"local", "fork", "rsh", "pserver"};
  return std::string(apszMethods[tRoot->nMethod]) + " user=" + tRoot->strUser +
         " password=" + tRoot->strPassword.value_or("(none)") + " host=" + tRoot->strHost +
         " port=" + std::to_string(tRoot->nPort) + " folder=" + tRoot->strFolder;
}

TEST(CvsRootTest, IsTakenApart) {
  const struct {
    const char* pszRoot;
    const char* pszExpected;
  } atCases[] = {
      {"/cvs", "local user= password=(none) host= port=0 folder=/cvs"},
      {"/cvs/", "local user= password=(none) host= port=0 folder=/cvs"},
      {":local:/cvs/a b", "local user= password=(none) host= port=0 folder=/cvs/a b"},
      {":FORK:/cvs", "fork user= password=(none) host= port=0 folder=/cvs"},
      {":ext:host:/cvs", "rsh user= password=(none) host=host port=0 folder=/cvs"},
      {":ext:me@host/cvs", "rsh user=me password=(none) host=host port=0 folder=/cvs"},
      {":server:me@host:/cvs", "rsh user=me password=(none) host=host port=0 folder=/cvs"},
      {"me@host:/cvs", "rsh user=me password=(none) host=host port=0 folder=/cvs"},
      {":pserver:me@host:/cvs", "pserver user=me password=(none) host=host port=0 folder=/cvs"},
      {":pserver:me:@host:2402/cvs", "pserver user=me password= host=host port=2402 folder=/cvs"},
      {":pserver:me:a@b c@host:/cvs", "pserver user=me password=a@b c host=host port=0 folder=/cvs"},
  };
  for (const auto& tCase : atCases)
    EXPECT_EQ(Describe(tCase.pszRoot), tCase.pszExpected) << tCase.pszRoot;
}

TEST(CvsRootTest, WhatTheClientRefusesOrNobodyKnowsIsForTheClient) {
  for (const char* pszRoot : {"",
                              "cvs",
                              "./cvs",
                              "host/cvs",
                              ":ext:host",
                              ":gserver:host:/cvs",
                              ":extssh:host:/cvs",
                              "::host:/cvs",
                              ":pserver:host:/cvs",
                              ":pserver:me@host:0/cvs",
                              ":pserver:me@host:99999/cvs",
                              ":pserver:me@host:24a/cvs",
                              ":ext:me@host:22/cvs",
                              ":ext:me:word@host:/cvs",
                              ":pserver;CVS_RSH=x:me@host:/cvs",
                              "/cvs/../etc",
                              "//cvs",
                              "/cvs/./a",
                              ":ext:-oProxyCommand=x:/cvs",
                              ":ext:-l@host:/cvs",
                              ":pserver:me:\x01@host:/cvs",
                              "/cvs\nRoot /other",
                              "/"})
    EXPECT_EQ(Describe(pszRoot), "for the client") << pszRoot;
}

TEST(PasswordTest, IsScrambledAsServersExpectIt) {
  EXPECT_EQ(ScramblePassword(""), "A");
  EXPECT_EQ(ScramblePassword("se cret!"), "AZdrh d,x");
  EXPECT_EQ(ScramblePassword("\n"), std::nullopt);
  EXPECT_EQ(ScramblePassword("\xC3\xA4"), std::nullopt);
}

TEST(PasswordTest, ScramblingTwiceGivesThePasswordBack) {
  std::string strAll;
  for (char ch = ' '; ch <= '~'; ++ch)
    strAll += ch;
  const std::string strScrambled = ScramblePassword(strAll).value().substr(1);
  EXPECT_NE(strScrambled, strAll);
  EXPECT_EQ(ScramblePassword(strScrambled).value().substr(1), strAll);
}

TEST(PasswordTest, IsFoundForTheSamePlaceOnly) {
  const std::string strFile =
      "/1 :pserver:me@host:2401/other Aother\n"
      "/1 :pserver:me@host:2401/cvs Aone d,x\n"
      ":pserver:old@host:/cvs Atwo\n"
      "damaged\n";
  const auto Find = [&strFile](const char* pszRoot) {
    return FindPassword(strFile, ParseRoot(pszRoot).value(), 2401).value_or("(none)");
  };
  EXPECT_EQ(Find(":pserver:me@host:/cvs"), "Aone d,x");
  EXPECT_EQ(Find(":pserver:me@host:2401/cvs/"), "Aone d,x");
  EXPECT_EQ(Find(":pserver:old@host:/cvs"), "Atwo");
  EXPECT_EQ(Find(":pserver:me@host:2402/cvs"), "(none)");
  EXPECT_EQ(Find(":pserver:you@host:/cvs"), "(none)");
}

}  // namespace
}  // namespace TALVEK::SESSION
