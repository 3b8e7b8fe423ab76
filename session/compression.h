#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace TALVEK::SESSION {

/// Both directions of a compressed connection. Each is one zlib stream from its first byte to the last, which
/// is why it lives as long as the connection and not as long as a command.
class CCompression {
 public:
  explicit CCompression(int nLevel);
  ~CCompression();
  CCompression(const CCompression&) = delete;
  CCompression& operator=(const CCompression&) = delete;

  /// What to send for these bytes; the other end can read all of it at once.
  std::string Deflate(std::string_view strBytes);
  /// What the received bytes mean, perhaps nothing yet. Throws EFailure when they are no zlib stream.
  std::string Inflate(std::string_view strBytes);

 private:
  struct TStreams;
  std::unique_ptr<TStreams> m_poStreams;
};

}  // namespace TALVEK::SESSION
