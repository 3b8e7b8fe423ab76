#pragma once

#include <filesystem>
#include <string>

#include "core/descriptor.h"

namespace TALVEK::HOST {

/// The file to which a stream is exported: it has its name only once it is whole, so a failed run leaves what
/// was there before. "-" and what is no regular file (a pipe, a device) are written directly.
///
/// Errors   EHostError (STATUS_FAILED).
class CExportTarget {
 public:
  explicit CExportTarget(const std::string& strFile);
  ~CExportTarget();
  CExportTarget(const CExportTarget&) = delete;
  CExportTarget& operator=(const CExportTarget&) = delete;

  int GetDescriptor() const;
  void Finish();

 private:
  std::filesystem::path m_oFile;
  std::filesystem::path m_oPartial;  // empty: written directly
  VCM::CDescriptor m_oDescriptor;    // none: standard output
};

}  // namespace TALVEK::HOST
