#include "host/property_table.h"

#include <filesystem>

#include "core/text_codec.h"
#include "host/exit_status.h"
#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

bool IsUpper(wchar_t ch) {
  return ch >= L'A' && ch <= L'Z';
}
bool IsWordCharacter(wchar_t ch) {
  return IsUpper(ch) || (ch >= L'a' && ch <= L'z') || (ch >= L'0' && ch <= L'9');
}

// A word begins at a capital after a small letter ("module|Name"), and at the last of several capitals before
// a small letter ("CVS|Path").
bool BeginsWord(const VCM::CString& strKey, int nIndex) {
  if (nIndex == 0 || !IsUpper(strKey[nIndex])) return false;
  const bool bAfterCapital = IsUpper(strKey[nIndex - 1]);
  const bool bBeforeSmall = nIndex + 1 < strKey.GetLength() && !IsUpper(strKey[nIndex + 1]);
  return !bAfterCapital || bBeforeSmall;
}

// A relative path of a program is made absolute, because the provider changes its working folder.
VCM::CString ProvidedValue(const TProperty& tProperty) {
  const std::string strValue = VCM::ToBytes(tProperty.strValue);
  const bool bProgram = tProperty.nType == MCE::TPropertyInfo::TYPE_EXECUTABLE;
  if (!bProgram || strValue.find('/') == std::string::npos) return tProperty.strValue;
  std::error_code oError;
  const std::filesystem::path oAbsolute = std::filesystem::absolute(strValue, oError);
  return oError ? tProperty.strValue : VCM::FromBytes(oAbsolute.string());
}

}  // namespace

std::string OptionName(const VCM::CString& strKey) {
  std::string strOption;
  for (int nIndex = 0; nIndex < strKey.GetLength(); ++nIndex) {
    const wchar_t ch = strKey[nIndex];
    const bool bWord = IsWordCharacter(ch);
    if ((!bWord || BeginsWord(strKey, nIndex)) && !strOption.empty() && strOption.back() != '-')
      strOption += '-';
    if (bWord) strOption += static_cast<char>(IsUpper(ch) ? ch - L'A' + L'a' : ch);
  }
  while (strOption.ends_with('-'))
    strOption.pop_back();
  return strOption;
}

std::string OptionHint(const TProperty& tProperty) {
  return tProperty.strOption.empty() ? "--set " + VCM::ToBytes(tProperty.strKey) + "=..."
                                     : "--" + tProperty.strOption;
}

CPropertyTable::CPropertyTable(MCE::CProvider& oProvider) {
  for (const MCE::TPropertyInfo* ptInfo = oProvider.GetPropertyInfo(); ptInfo->pszLabel; ++ptInfo) {
    TProperty tProperty;
    tProperty.strLabel = ptInfo->pszLabel;
    tProperty.strKey = ptInfo->pszKey;
    tProperty.strDefault = ptInfo->pszDefault;
    tProperty.nType = ptInfo->nType;
    tProperty.strOption = OptionName(tProperty.strKey);
    tProperty.strHostDefault = tProperty.strDefault;
    tProperty.strValue = tProperty.strDefault;
    m_atProperties.push_back(std::move(tProperty));
  }
}

const TProperty* CPropertyTable::Find(const wchar_t* pszKey) const {
  for (const TProperty& tProperty : m_atProperties) {
    if (tProperty.strKey == pszKey) return &tProperty;
  }
  return nullptr;
}

void CPropertyTable::SetHostDefault(const wchar_t* pszKey, const VCM::CString& strValue) {
  for (TProperty& tProperty : m_atProperties) {
    if (tProperty.strKey == pszKey) tProperty.strValue = tProperty.strHostDefault = strValue;
  }
}

void CPropertyTable::SetFromText(const std::string& strText) {
  const std::size_t nEqual = strText.find('=');
  if (nEqual == std::string::npos) {
    throw EHostError(STATUS_WRONG_USE, "--set " + ShowBytes(strText) + " has no '='",
                     "write --set Key=Value");
  }
  const std::string strKey = strText.substr(0, nEqual);
  for (TProperty& tProperty : m_atProperties) {
    if (VCM::ToBytes(tProperty.strKey) != strKey) continue;
    const std::string strValue = strText.substr(nEqual + 1);
    if (tProperty.IsSwitch() && strValue != "1" && strValue != "0") {
      throw EHostError(STATUS_WRONG_USE, "the switch " + strKey + " can't be '" + ShowBytes(strValue) + "'",
                       "write 1 for on and 0 for off");
    }
    tProperty.strValue = VCM::FromBytes(strValue);
    tProperty.bGiven = true;
    return;
  }
  throw EHostError(STATUS_WRONG_USE, "the provider has no property '" + ShowBytes(strKey) + "'",
                   "'talvek-import properties' lists them");
}

void CPropertyTable::Apply(MCE::CProvider& oProvider) const {
  for (const TProperty& tProperty : m_atProperties) {
    VCM::CString strValue = ProvidedValue(tProperty);
    VCM::CString strMessage;
    if (!oProvider.ValidateStringProperty(tProperty.strKey.c_str(), strValue, strMessage)) {
      throw EHostError(
          STATUS_WRONG_USE,
          "the provider refuses '" + ShowText(tProperty.strValue) + "' for " + ShowText(tProperty.strKey),
          strMessage.IsEmpty() ? "give another with " + OptionHint(tProperty) : ShowText(strMessage));
    }
    oProvider.SetProperty(tProperty.strKey, strValue);
  }
}

}  // namespace TALVEK::HOST
