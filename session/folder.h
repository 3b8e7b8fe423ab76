#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "core/descriptor.h"

namespace TALVEK::SESSION {

/// An open folder. Everything is reached by a plain name inside it and nothing through a symbolic link, so
/// that nobody can lead a write elsewhere by exchanging a folder for a link meanwhile.
///
/// Errors   What fails throws EFailure with the name and the reason, unless said otherwise.
class CFolder {
 public:
  static CFolder Working();

  /// Nothing when there is no such thing, or when it is no folder.
  std::optional<CFolder> Open(const std::string& strName) const;
  CFolder Make(const std::string& strName) const;
  /// True for anything of that name, be it a dangling link.
  bool Has(const std::string& strName) const;
  /// True when the file system tells "cvs" from "CVS" here. Makes a file and removes it; false when it can't.
  bool TellsCaseApart() const;
  /// In the order in which the file system lists them.
  std::vector<std::string> Names() const;

  /// Nothing when it can't be read or is no plain file.
  std::optional<std::string> Read(const std::string& strName) const;
  /// Makes a file. There must be none of that name.
  void Write(const std::string& strName, std::string_view strText) const;
  /// Makes the file when there is none.
  void Append(const std::string& strName, std::string_view strText) const;
  /// Puts a file in the place of another, which need not be there; nobody ever sees neither of them.
  void Replace(const std::string& strName, const std::string& strBy) const;
  void Remove(const std::string& strName) const;

  int Descriptor() const { return m_oDescriptor.Get(); }

 private:
  explicit CFolder(VCM::CDescriptor oDescriptor) : m_oDescriptor(std::move(oDescriptor)) {}
  void WriteTo(const std::string& strName, int nFlags, std::string_view strText) const;

  VCM::CDescriptor m_oDescriptor;
};

/// A file without a name yet, which goes without a trace when the command fails or is killed.
class CStagedFile {
 public:
  /// In a folder of the file system where it is to go.
  explicit CStagedFile(const CFolder& oFolder);
  ~CStagedFile();
  CStagedFile(const CStagedFile&) = delete;
  CStagedFile& operator=(const CStagedFile&) = delete;

  void Write(std::string_view strBytes);
  /// Gives it mode, time and name. A thing that has the name already isn't touched: that fails.
  void Publish(const CFolder& oFolder, const std::string& strName, mode_t nMode, std::optional<time_t> nTime);
  time_t ModificationTime() const;

 private:
  int m_nFolder;
  std::string m_strName;  // on file systems without nameless files
  VCM::CDescriptor m_oFile;
};

}  // namespace TALVEK::SESSION
