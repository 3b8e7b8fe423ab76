#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace TALVEK::TEST {

/// Sets an environment variable for its own lifetime.
class CEnvironmentScope {
 public:
  CEnvironmentScope(const char* pszName, const std::string& strValue) : m_strName(pszName) {
    if (const char* pszPrevious = std::getenv(pszName)) m_strPrevious = pszPrevious;
    setenv(pszName, strValue.c_str(), 1);
  }
  ~CEnvironmentScope() {
    if (m_strPrevious) {
      setenv(m_strName.c_str(), m_strPrevious->c_str(), 1);
    } else {
      unsetenv(m_strName.c_str());
    }
  }
  CEnvironmentScope(const CEnvironmentScope&) = delete;
  CEnvironmentScope& operator=(const CEnvironmentScope&) = delete;

 private:
  std::string m_strName;
  std::optional<std::string> m_strPrevious;
};

}  // namespace TALVEK::TEST
