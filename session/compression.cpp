#include "session/compression.h"

#include <zlib.h>

#include "session/failure.h"

namespace TALVEK::SESSION {

namespace {

constexpr std::size_t BLOCK = 1 << 16;

void SetInput(z_stream& tStream, std::string_view strBytes) {
  // zlib only reads through this pointer, though its type lacks the const.
  tStream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(strBytes.data()));
  tStream.avail_in = static_cast<uInt>(strBytes.size());
}

/// Calls `fnStep` until it leaves room in its block, and returns all that it has written.
template <class TStep>
std::string Run(z_stream& tStream, const TStep& fnStep) {
  std::string strMade;
  do {
    char achBlock[BLOCK];
    tStream.next_out = reinterpret_cast<Bytef*>(achBlock);
    tStream.avail_out = BLOCK;
    fnStep();
    strMade.append(achBlock, BLOCK - tStream.avail_out);
  } while (tStream.avail_out == 0);
  return strMade;
}

}  // namespace

struct CCompression::TStreams {
  z_stream tOut{};
  z_stream tIn{};
};

CCompression::CCompression(int nLevel) : m_poStreams(std::make_unique<TStreams>()) {
  if (deflateInit(&m_poStreams->tOut, nLevel) != Z_OK || inflateInit(&m_poStreams->tIn) != Z_OK)
    throw Aborted("no memory for compression");
}

CCompression::~CCompression() {
  deflateEnd(&m_poStreams->tOut);
  inflateEnd(&m_poStreams->tIn);
}

std::string CCompression::Deflate(std::string_view strBytes) {
  SetInput(m_poStreams->tOut, strBytes);
  return Run(m_poStreams->tOut, [this] { deflate(&m_poStreams->tOut, Z_SYNC_FLUSH); });
}

std::string CCompression::Inflate(std::string_view strBytes) {
  SetInput(m_poStreams->tIn, strBytes);
  return Run(m_poStreams->tIn, [this] {
    const int nResult = inflate(&m_poStreams->tIn, Z_SYNC_FLUSH);
    // Z_BUF_ERROR means that there is nothing left to do.
    if (nResult != Z_OK && nResult != Z_STREAM_END && nResult != Z_BUF_ERROR)
      throw Aborted("the server's compressed data is damaged");
  });
}

}  // namespace TALVEK::SESSION
