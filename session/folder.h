#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "core/descriptor.h"

namespace TALVEK::SESSION {

/// A file's content; symbolic links are followed. Empty when it can't be read. Doesn't use standard streams,
/// because constructing them takes a large part of this program's time.
std::string ReadFileText(const std::string& strPath);

/// An open folder. Its methods take plain names and never follow a symbolic link, so that nobody can redirect
/// a write by replacing a folder with a link.
///
/// Errors   EFailure with the name and the reason, unless said otherwise.
class CFolder {
 public:
  static CFolder Working();

  /// Nothing when it doesn't exist, is no folder or can't be opened.
  std::optional<CFolder> Open(const std::string& strName) const;
  CFolder Make(const std::string& strName) const;
  /// True for anything of that name, even a dangling link.
  bool Has(const std::string& strName) const;
  /// True when the file system tells "cvs" from "CVS" here. Tries it with a temporary file; false when that
  /// can't be made.
  bool TellsCaseApart() const;
  /// All names but "." and "..", in the file system's order.
  std::vector<std::string> Names() const;

  /// A file's content. Nothing when it can't be read or is no regular file.
  std::optional<std::string> Read(const std::string& strName) const;
  /// Makes a file. Fails when the name exists.
  void Write(const std::string& strName, std::string_view strText) const;
  /// Makes the file when there is none.
  void Append(const std::string& strName, std::string_view strText) const;
  /// Renames `strBy` to `strName`, atomically replacing a file of that name.
  void Replace(const std::string& strName, const std::string& strBy) const;
  void Remove(const std::string& strName) const;

  int Descriptor() const { return m_oDescriptor.Get(); }

 private:
  explicit CFolder(VCM::CDescriptor oDescriptor) : m_oDescriptor(std::move(oDescriptor)) {}
  void WriteTo(const std::string& strName, int nFlags, std::string_view strText) const;

  VCM::CDescriptor m_oDescriptor;
};

/// A file that has no name until it is complete, so that nothing remains when the command fails or is killed.
/// On file systems without unnamed files it has a temporary name.
class CStagedFile {
 public:
  /// `oFolder` must be on the file system where the file will be published, and must outlive this object.
  explicit CStagedFile(const CFolder& oFolder);
  ~CStagedFile();
  CStagedFile(const CStagedFile&) = delete;
  CStagedFile& operator=(const CStagedFile&) = delete;

  void Write(std::string_view strBytes);
  /// Sets mode and modification time, and gives the file its name. Fails when the name exists.
  void Publish(const CFolder& oFolder, const std::string& strName, mode_t nMode, std::optional<time_t> nTime);
  time_t ModificationTime() const;

 private:
  int m_nFolder;
  std::string m_strName;  // temporary name; empty for a file without one
  VCM::CDescriptor m_oFile;
};

}  // namespace TALVEK::SESSION
