#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "core/descriptor.h"

namespace TALVEK::SESSION {

/// The whole of a file, through whatever links its path leads; empty when it can't be read. Standard streams
/// do the same, but setting them up takes this program a good part of its time.
std::string ReadFileText(const std::string& strPath);

/// An open folder. Everything in it is reached by a plain name, and never through a symbolic link: nobody can
/// redirect a write by putting a link in the place of a folder meanwhile.
///
/// Errors   What fails throws EFailure with the name and the reason, unless said otherwise.
class CFolder {
 public:
  static CFolder Working();

  /// Nothing when there is no such thing, or when it is no folder.
  std::optional<CFolder> Open(const std::string& strName) const;
  CFolder Make(const std::string& strName) const;
  /// True for anything of that name, even a link that leads nowhere.
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
  /// Renames `strBy` to `strName`, in the place of a file that may be there. At every moment one of both is.
  void Replace(const std::string& strName, const std::string& strBy) const;
  void Remove(const std::string& strName) const;

  int Descriptor() const { return m_oDescriptor.Get(); }

 private:
  explicit CFolder(VCM::CDescriptor oDescriptor) : m_oDescriptor(std::move(oDescriptor)) {}
  void WriteTo(const std::string& strName, int nFlags, std::string_view strText) const;

  VCM::CDescriptor m_oDescriptor;
};

/// A file that has no name until it is complete, so that nothing remains of it when the command fails or is
/// killed. File systems that can't do that get a temporary name.
class CStagedFile {
 public:
  /// `oFolder` is on the file system to which the file is to go, and must outlive it.
  explicit CStagedFile(const CFolder& oFolder);
  ~CStagedFile();
  CStagedFile(const CStagedFile&) = delete;
  CStagedFile& operator=(const CStagedFile&) = delete;

  void Write(std::string_view strBytes);
  /// Gives it mode, time and name. Fails when something has that name already.
  void Publish(const CFolder& oFolder, const std::string& strName, mode_t nMode, std::optional<time_t> nTime);
  time_t ModificationTime() const;

 private:
  int m_nFolder;
  std::string m_strName;  // temporary name; empty for a file without one
  VCM::CDescriptor m_oFile;
};

}  // namespace TALVEK::SESSION
