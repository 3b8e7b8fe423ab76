#include "host/import_source.h"

#include <gtest/gtest.h>

#include <tuple>

namespace TALVEK::HOST {
namespace {

CPropertyTable Table(const wchar_t* pszModule) {
  CPropertyTable oTable;
  for (const auto& [pszKey, pszOption, pszValue] :
       {std::tuple{L"ModuleName", "module-name", pszModule}, std::tuple{L"ReposPath", "repos-path", L"/cvs"},
        std::tuple{L"LogFile", "log-file", L""}}) {
    TProperty tProperty;
    tProperty.strKey = pszKey;
    tProperty.strOption = pszOption;
    tProperty.strValue = pszValue;
    oTable.GetProperties().push_back(tProperty);
  }
  return oTable;
}

TEST(ModuleProblemTest, FolderWithinAModuleIsOneForProviderCvs) {
  const std::optional<TModuleProblem> tProblem = FindModuleProblem(Table(L"www/mk/deep"), L"cvs");
  ASSERT_TRUE(tProblem);
  EXPECT_EQ(tProblem->strWhat,
            "'www/mk/deep' is a folder within a module, of which provider cvs can fetch no file");
  EXPECT_EQ(tProblem->strRemedy,
            "import the module 'www'; for the folder alone save its log with 'cvs -d /cvs rlog www/mk/deep > "
            "FILE' and import the module 'www' with --log-file FILE");
}

TEST(ModuleProblemTest, OtherProvidersFetchInTheirOwnWays) {
  for (const wchar_t* pszProvider : {L"cvsexact", L"fake", L""})
    EXPECT_FALSE(FindModuleProblem(Table(L"www/mk"), pszProvider)) << VCM::CString(pszProvider).c_str();
}

TEST(ModuleProblemTest, WhatNamesAWholeModuleIsNone) {
  for (const wchar_t* pszModule : {L"www", L"www/", L"./www", L"www/.", L"//www//"})
    EXPECT_FALSE(FindModuleProblem(Table(pszModule), L"cvs")) << pszModule;
}

TEST(ModuleProblemTest, ProviderWithoutModulesHasNone) {
  EXPECT_FALSE(FindModuleProblem(CPropertyTable(), L"cvs"));
}

}  // namespace
}  // namespace TALVEK::HOST
