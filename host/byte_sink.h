#pragma once

#include <string>
#include <string_view>

namespace TALVEK::HOST {

/// Buffered writing to a descriptor.
///
/// Errors   EWriteError with the sink's name and the system's reason.
/// Owns     Nothing: the descriptor stays the caller's, and bytes that were not flushed are dropped.
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

}  // namespace TALVEK::HOST
