#include "core/json_text.h"

#include <gtest/gtest.h>

#include <string>

namespace TALVEK::VCM {
namespace {

struct TJsonCase {
  std::wstring_view strText;
  std::string strJson;
};

TEST(JsonTextTest, EveryKindOfCharacterHasItsForm) {
  const TJsonCase atCases[] = {
      {L"", R"("")"},
      {L"plain/path", R"("plain/path")"},
      {L"say \"hi\" to a\\b", R"("say \"hi\" to a\\b")"},
      {L"a\nb\tc\rd\be\ff", R"("a\nb\tc\rd\be\ff")"},
      {std::wstring_view(L"\0\x1f\x7f", 3), "\"\\u0000\\u001f\x7f\""},
      {L"\u00e4\u20ac\U0001F600", "\"\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80\""},
      {L"\xdc80\xdce4\xdcff", R"("\udc80\udce4\udcff")"},
      {L"\xd800\xdfff", R"("\ud800\udfff")"},
      {L"\x110000", "\"\xef\xbf\xbd\""},
  };
  for (const TJsonCase& tCase : atCases) {
    std::string strOut;
    AppendJsonString(CString(tCase.strText), strOut);
    EXPECT_EQ(strOut, tCase.strJson);
  }
}

TEST(JsonTextTest, TextIsAppended) {
  std::string strOut = "{\"name\":";
  AppendJsonString(L"joe", strOut);
  EXPECT_EQ(strOut, R"({"name":"joe")");
}

TEST(JsonTextTest, LineIsOneRecordWithItsFieldsInOrder) {
  EXPECT_EQ(
      CJsonLine("item").Number("change", 4294967295).Text("path", L"a\xDCE9\"").Number("type", 0).Take(),
      "{\"item\":{\"change\":4294967295,\"path\":\"a\\udce9\\\"\",\"type\":0}}\n");
  EXPECT_EQ(CJsonLine("stream").Take(), "{\"stream\":{}}\n");
}

}  // namespace
}  // namespace TALVEK::VCM
