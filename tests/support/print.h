#pragma once

#include <cstdio>
#include <ostream>

#include "core/path.h"
#include "core/string.h"

/// How a failed comparison shows the core library's types. Google Test finds these by argument.
namespace TALVEK::VCM {

inline void PrintTo(const CString& strText, std::ostream* poStream) {
  *poStream << '"';
  for (const wchar_t ch : strText.View()) {
    char szCode[16];
    const bool bPlain = ch >= L' ' && ch < 0x7F;
    std::snprintf(szCode, sizeof szCode, bPlain ? "%c" : "{%X}", static_cast<unsigned>(ch));
    *poStream << szCode;
  }
  *poStream << '"';
}

inline void PrintTo(const CFilePath& oPath, std::ostream* poStream) {
  PrintTo(oPath.GeneratePath(), poStream);
}

}  // namespace TALVEK::VCM
