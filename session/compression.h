#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace TALVEK::SESSION {

/// Both directions of a compressed connection. Each is a single zlib stream, and so lives as long as the
/// connection.
class CCompression {
 public:
  explicit CCompression(int nLevel);
  ~CCompression();
  CCompression(const CCompression&) = delete;
  CCompression& operator=(const CCompression&) = delete;

  /// What to send for these bytes. Flushed, so that the other end can read all of it.
  std::string Deflate(std::string_view strBytes);
  /// The text in these bytes, perhaps none yet. Throws EFailure when they are no zlib stream.
  std::string Inflate(std::string_view strBytes);

 private:
  struct TStreams;
  std::unique_ptr<TStreams> m_poStreams;
};

}  // namespace TALVEK::SESSION
