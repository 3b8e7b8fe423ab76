#pragma once

#include <wx/stream.h>

#include "core/export.h"
#include "core/string.h"
#include "core/timestamp.h"

namespace TALVEK::VFH {

/// A file as a wxInputStream.
///
/// Errors   IsOk() is false when the file couldn't be opened (or is a folder). At the end of the file
///          GetLastError() is wxSTREAM_EOF and Eof() true; after a failed read GetLastError() is
///          wxSTREAM_READ_ERROR and Eof() false.
/// Owns     The descriptor.
class TALVEK_CORE_API CFileReadStream : public wxInputStream {
 public:
  explicit CFileReadStream(const VCM::CString& strPath);
  /// Takes over an open descriptor and reads from its current position.
  explicit CFileReadStream(int nDescriptor);
  ~CFileReadStream() override;

 protected:
  std::size_t OnSysRead(void* pBuffer, std::size_t nBytes) override;
  wxFileOffset OnSysTell() const override;

 private:
  int m_nDescriptor = -1;
};

/// A file opened for writing.
///
/// Owns     The descriptor, until Close or destruction.
class TALVEK_CORE_API CFileWriteStream {
 public:
  enum TOpenMode : int {
    MODE_EXISTING = 0,  ///< The file must be there; its content stays.
    MODE_CREATE = 1,    ///< Created when missing, emptied when there.
  };

  CFileWriteStream() = default;
  ~CFileWriteStream();
  CFileWriteStream(const CFileWriteStream&) = delete;
  CFileWriteStream& operator=(const CFileWriteStream&) = delete;

  /// Refuses a path that is a symbolic link. `nFlags` belongs to the server's interface and must be 0.
  bool Open(const VCM::CString& strPath, int nMode, unsigned nFlags);
  bool IsOpen() const { return m_nDescriptor >= 0; }
  /// True when every byte was written.
  bool Write(const void* pBytes, std::size_t nBytes);
  /// Sets modification and access time to whole seconds.
  bool SetModificationTime(const VCM::CTimestamp& oTime);
  /// False when the system reports only now that earlier bytes couldn't be written.
  bool Close();

 private:
  int m_nDescriptor = -1;
};

}  // namespace TALVEK::VFH
