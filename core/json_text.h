#pragma once

#include <string>

#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VCM {

/// Appends `strText` to `strOut` as a JSON string, quotes included: the same in every locale.
///
/// Shape    Characters stand in UTF-8, '"', '\' and control characters escaped as JSON requires; "/" is not
///          escaped. A surrogate (U+DC80 to U+DCFF stands for a byte that was no text) becomes its escape,
///          \udc80 to \udcff, so that nothing is lost although UTF-8 has no form for it. What is beyond
///          U+10FFFF becomes U+FFFD.
TALVEK_CORE_API void AppendJsonString(const CString& strText, std::string& strOut);

/// Builds one line of JSON Lines: an object with one key, the kind of record, whose value is an object.
///
/// CJsonLine("stream").Number("id", 1).Text("name", strName).Take() is {"stream":{"id":1,"name":"Main"}} and
/// a line feed. The names must need no escapes.
class TALVEK_CORE_API CJsonLine {
 public:
  explicit CJsonLine(const char* pszRecord);

  CJsonLine& Number(const char* pszField, long long nValue);
  CJsonLine& Text(const char* pszField, const CString& strValue);
  /// The whole line. Ends the object's use.
  std::string Take();

 private:
  void AppendField(const char* pszField);

  std::string m_strLine;
};

}  // namespace TALVEK::VCM
