#pragma once

#include <string>

#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VCM {

/// Appends `strText` to `strOut` as a JSON string, quotes included: the same in every locale.
///
/// Shape    UTF-8. '"', '\' and control characters are escaped as JSON requires; "/" is not. A surrogate,
///          which UTF-8 can't hold, becomes its escape: \udc80 to \udcff stand for bytes that couldn't be
///          decoded. A number beyond U+10FFFF becomes U+FFFD.
TALVEK_CORE_API void AppendJsonString(const CString& strText, std::string& strOut);

/// Builds one line of JSON Lines: an object with one key, the kind of record, whose value is an object.
///
/// CJsonLine("stream").Number("id", 1).Text("name", strName).Take() is {"stream":{"id":1,"name":"Main"}} and
/// a line feed. Names of records and fields are written as they are, so they must need no escapes.
class TALVEK_CORE_API CJsonLine {
 public:
  explicit CJsonLine(const char* pszRecord);

  CJsonLine& Number(const char* pszField, long long nValue);
  CJsonLine& Text(const char* pszField, const CString& strValue);
  /// Moves the whole line out. The object is of no use afterwards.
  std::string Take();

 private:
  void AppendField(const char* pszField);

  std::string m_strLine;
};

}  // namespace TALVEK::VCM
