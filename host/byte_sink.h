#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "core/descriptor.h"

namespace TALVEK::HOST {

/// Buffered writing to a descriptor.
///
/// Errors   EWriteError with the sink's name and the system's reason.
/// Owns     Nothing: the descriptor stays the caller's. Call Flush at the end: the destructor drops what is
///          still in the buffer.
class CByteSink {
 public:
  CByteSink(int nDescriptor, std::string strName)
      : m_nDescriptor(nDescriptor), m_strName(std::move(strName)) {}
  CByteSink(const CByteSink&) = delete;
  CByteSink& operator=(const CByteSink&) = delete;

  void Write(std::string_view strBytes);
  void Flush();

 private:
  void WriteThrough(std::string_view strBytes);

  int m_nDescriptor;
  std::string m_strName;
  std::string m_strBuffer;
};

/// The file of --fast-export. It is written under a temporary name in the same folder, and Finish renames it,
/// so a failed run leaves an older file as it was. Standard output ("-"), pipes and devices are written
/// directly.
///
/// Errors   EHostError (STATUS_FAILED).
/// Owns     The temporary file: without Finish the destructor removes it.
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
  std::filesystem::path m_oPartial;  // the temporary name; empty: written directly
  VCM::CDescriptor m_oDescriptor;    // not open: standard output
};

}  // namespace TALVEK::HOST
