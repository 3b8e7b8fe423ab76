#include <gtest/gtest.h>

#include <string>

#include "exact/modules_file.h"

namespace TALVEK::EXACT {
namespace {

/// "name alias local place=x [dir file] & one two", a line for each module.
std::string Text(const TModules& atModules) {
  std::string strText;
  for (const auto& [strName, tModule] : atModules) {
    strText += strName + (tModule.bAlias ? " alias" : "") + (tModule.bLocal ? " local" : "");
    if (!tModule.strPlace.empty()) strText += " place=" + tModule.strPlace;
    strText += " [";
    for (const std::string& strWord : tModule.astrWords)
      strText += (strText.back() == '[' ? "" : " ") + strWord;
    strText += "]";
    for (const std::string& strIncluded : tModule.astrIncluded)
      strText += " &" + strIncluded;
    strText += "\n";
  }
  return strText;
}

TEST(ModulesFileTest, ModulesAsTheClientPrintsThem) {
  EXPECT_EQ(Text(ReadModules("alias        -a !www/mk/sub www lib/l.txt\n"
                             "both         -l -d x/y app &lib &mk\n"
                             "dirfile      www/mk a.txt\n"
                             "mk           www/mk/\n"
                             "nothing      &mk & lib&app\n"
                             "options      -i prog -oprog2 -e prog -t tag -s State -u up lib\n"
                             "together     -lda place lib\n"
                             "short -d pl\tlib\r\n")),
            "alias alias [!www/mk/sub www lib/l.txt]\n"
            "both local place=x/y [app] &lib &mk\n"
            "dirfile [www/mk a.txt]\n"
            "mk [www/mk]\n"
            "nothing [] &mk &lib &app\n"
            "options [lib]\n"
            "short place=pl [lib]\n"
            "together local place=a [place lib]\n");
}

TEST(ModulesFileTest, LongLinesGoOnAndCommentsEnd) {
  EXPECT_EQ(Text(ReadModules("longaliasname -a www/mk www/other lib/in app/m.txt tools/t1 tools/t2 tools/t3\n"
                             "             www/top.txt lib/l.txt\n"
                             "folders      -d some/folder tools t1 &lib &amp\n"
                             "             &nest &deep\n"
                             "noted        www/mk a.txt\n"
                             "             # what for\n"
                             "sharp        -a www/mk#frag\n"
                             "             # frag")),
            "folders place=some/folder [tools t1] &lib &amp &nest &deep\n"
            "longaliasname alias [www/mk www/other lib/in app/m.txt tools/t1 tools/t2 tools/t3 www/top.txt "
            "lib/l.txt]\n"
            "noted [www/mk a.txt]\n"
            "sharp alias [www/mk]\n");
}

TEST(ModulesFileTest, WhatIsNoModuleGivesNone) {
  for (const char* pszText : {"", "\n", "\n\n", "   \n", " indented\n"})
    EXPECT_EQ(Text(ReadModules(pszText)), "") << pszText;
  EXPECT_EQ(Text(ReadModules("empty\nopen -d\nonly -a\nhyphen -\n")),
            "empty []\nhyphen []\nonly alias []\nopen []\n");
}

}  // namespace
}  // namespace TALVEK::EXACT
