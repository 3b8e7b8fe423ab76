#pragma once

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <stdexcept>
#include <string>

namespace TALVEK::TEST {

/// The process's locale, set for a scope: CLocaleScope("C.UTF-8").
class CLocaleScope {
 public:
  explicit CLocaleScope(const std::string& strLocale) : m_strBefore(std::setlocale(LC_ALL, nullptr)) {
    if (!std::setlocale(LC_ALL, strLocale.c_str())) throw std::runtime_error("no locale " + strLocale);
  }
  ~CLocaleScope() { std::setlocale(LC_ALL, m_strBefore.c_str()); }
  CLocaleScope(const CLocaleScope&) = delete;
  CLocaleScope& operator=(const CLocaleScope&) = delete;

 private:
  std::string m_strBefore;
};

/// The process's time zone (TZ), set for a scope.
class CTimezoneScope {
 public:
  explicit CTimezoneScope(const char* pszZone) {
    if (const char* pszBefore = std::getenv("TZ")) m_strBefore = pszBefore;
    setenv("TZ", pszZone, 1);
    tzset();
  }
  ~CTimezoneScope() {
    if (m_strBefore) {
      setenv("TZ", m_strBefore->c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  CTimezoneScope(const CTimezoneScope&) = delete;
  CTimezoneScope& operator=(const CTimezoneScope&) = delete;

 private:
  std::optional<std::string> m_strBefore;
};

}  // namespace TALVEK::TEST
