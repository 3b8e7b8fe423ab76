#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace TALVEK::SESSION {

/// Both directions of a compressed connection. Each direction is one zlib stream for the whole connection.
class CCompression {
 public:
  explicit CCompression(int nLevel);
  ~CCompression();
  CCompression(const CCompression&) = delete;
  CCompression& operator=(const CCompression&) = delete;

  /// Compresses and flushes, so that the other end can read all of these bytes.
  std::string Deflate(std::string_view strBytes);
  /// Decompresses; the result may be empty until more bytes come. Throws EFailure for a damaged stream.
  std::string Inflate(std::string_view strBytes);

 private:
  struct TStreams;
  std::unique_ptr<TStreams> m_poStreams;
};

}  // namespace TALVEK::SESSION
