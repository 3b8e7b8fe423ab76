#pragma once

#include <utility>

#include "core/string.h"

namespace TALVEK::VCM {

/// The outcome of an operation. Default: ok.
///
/// Shape    ok; absent (no error: there is no such row, or a new row's key is taken); failed, with the reason
///          in words for a person. Converts to true only when ok.
class CStatus {
 public:
  CStatus() = default;
  static CStatus Absent() { return CStatus(ABSENT, {}); }
  static CStatus Failed(CString strReason) { return CStatus(FAILED, std::move(strReason)); }

  bool IsAbsent() const { return m_nOutcome == ABSENT; }
  bool HasFailed() const { return m_nOutcome == FAILED; }
  /// Empty unless it has failed.
  const CString& GetReason() const { return m_strReason; }
  operator bool() const { return m_nOutcome == OK; }  // NOLINT: most callers ask only this

 private:
  enum TOutcome { OK, ABSENT, FAILED };

  CStatus(TOutcome nOutcome, CString strReason) : m_nOutcome(nOutcome), m_strReason(std::move(strReason)) {}

  TOutcome m_nOutcome = OK;
  CString m_strReason;
};

}  // namespace TALVEK::VCM
