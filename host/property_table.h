#pragma once

#include <string>
#include <utility>
#include <vector>

#include "core/string.h"
#include "mce/provider.h"

namespace TALVEK::HOST {

/// One property that a provider publishes, and the value it will be given.
struct TProperty {
  VCM::CString strLabel;
  VCM::CString strKey;
  VCM::CString strDefault;      ///< the provider's
  VCM::CString strHostDefault;  ///< used when the administrator gives no value; usually the provider's
  unsigned long nType = MCE::TPropertyInfo::TYPE_TEXT;
  std::string strOption;  ///< "module-name"; empty when that name is taken, then only --set works
  VCM::CString strValue;
  bool bGiven = false;  ///< by the administrator; else the value is the host's default

  bool IsSwitch() const { return nType == MCE::TPropertyInfo::TYPE_SWITCH; }
};

/// The properties of an import, in the order of the provider's table.
class CPropertyTable {
 public:
  CPropertyTable() = default;
  explicit CPropertyTable(MCE::CProvider& oProvider);

  std::vector<TProperty>& GetProperties() { return m_atProperties; }
  const std::vector<TProperty>& GetProperties() const { return m_atProperties; }
  /// Null when the provider has no such property.
  const TProperty* Find(const wchar_t* pszKey) const;

  /// Replaces the provider's default. Call it before any value is given; a key that the provider doesn't have
  /// is ignored.
  void SetHostDefault(const wchar_t* pszKey, const VCM::CString& strValue);

  /// Sets a property from "Key=Value". EHostError (STATUS_WRONG_USE) when there is no "=", when the provider
  /// has no such key, or when a switch gets another value than 1 or 0: providers read "true" as off.
  void SetFromText(const std::string& strText);

  /// Validates every value and hands it to the provider. EHostError (STATUS_WRONG_USE) for one it refuses.
  void Apply(MCE::CProvider& oProvider) const;

 private:
  std::vector<TProperty> m_atProperties;
};

/// "ModuleName" becomes "module-name", "CVSPath" "cvs-path".
std::string OptionName(const VCM::CString& strKey);

/// How the administrator sets a property: "--module-name", or "--set Key=..." where it has no option.
std::string OptionHint(const TProperty& tProperty);

}  // namespace TALVEK::HOST
