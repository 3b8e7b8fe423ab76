#pragma once

#include <exception>
#include <string>

#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VCM {

/// Base of the core library's exceptions. Exported, because host and plug-in catch what the library throws.
class TALVEK_CORE_API EBaseException : public std::exception {
 public:
  ~EBaseException() override;
  virtual CString GetErrorMessage() const = 0;
  /// The same message in UTF-8, for handlers that know only the standard library.
  const char* what() const noexcept override;

 private:
  mutable std::string m_strWhat;
};

/// Base of both index errors: builds the message from the bad index.
class TALVEK_CORE_API EIndexOutOfRange : public EBaseException {
 public:
  EIndexOutOfRange(const wchar_t* pszFormat, int nIndex);
  CString GetErrorMessage() const override;
  int GetIndex() const { return m_nIndex; }

 private:
  const wchar_t* m_pszFormat;
  int m_nIndex;
};

/// A bad index into a CArray: "Array index (%d) out of range".
class TALVEK_CORE_API EArrayIndexOutOfRange : public EIndexOutOfRange {
 public:
  explicit EArrayIndexOutOfRange(int nIndex);
};

/// A bad index into a CMap: "Map index (%d) out of range".
class TALVEK_CORE_API EMapIndexOutOfRange : public EIndexOutOfRange {
 public:
  explicit EMapIndexOutOfRange(int nIndex);
};

}  // namespace TALVEK::VCM
