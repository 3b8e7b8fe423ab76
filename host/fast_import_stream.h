#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/byte_sink.h"

namespace TALVEK::HOST {

/// Writes the stream that `git fast-import` reads.
///
/// Shape    Begin; then blobs, commits and references in any order in which a mark comes before its use; then
///          End. `git fast-import` fails on a stream that was cut off before End.
/// Errors   Those of the sink.
class CFastImportStream {
 public:
  using TMark = std::uint64_t;

  /// One file of a commit.
  struct TFileChange {
    enum TKind { MODIFY, MODIFY_EXECUTABLE, REMOVE };
    TKind eKind = MODIFY;
    TMark nBlob = 0;      ///< its content; not for REMOVE
    std::string strPath;  ///< as it goes into the tree
  };

  struct TCommit {
    std::string strRef;  ///< "refs/heads/main"
    std::string strIdentity;
    long long nTime = 0;  ///< seconds since 1970 UTC
    std::string strMessage;
    std::optional<TMark> nParent;  ///< only for the first commit of a reference; the later ones follow it
    std::vector<TFileChange> atChanges;
  };

  explicit CFastImportStream(CByteSink& oSink) : m_oSink(oSink) {}
  CFastImportStream(const CFastImportStream&) = delete;
  CFastImportStream& operator=(const CFastImportStream&) = delete;

  void Begin();
  /// Announces a blob of `nSize` bytes; exactly so many must follow in BlobBytes, then EndBlob.
  TMark BeginBlob(std::uint64_t nSize);
  void BlobBytes(std::string_view strBytes) { m_oSink.Write(strBytes); }
  void EndBlob() { m_oSink.Write("\n"); }
  TMark Commit(const TCommit& tCommit);
  /// Makes a reference to a commit that is there.
  void Reference(const std::string& strRef, TMark nCommit);
  /// Also flushes the sink.
  void End();

 private:
  TMark NewMark() { return ++m_nLastMark; }
  void WriteData(std::string_view strBytes);
  void WriteChange(const TFileChange& tChange);

  CByteSink& m_oSink;
  TMark m_nLastMark = 0;
};

}  // namespace TALVEK::HOST
