#pragma once

#include <stdexcept>
#include <string>

namespace TALVEK::SESSION {

/// The command has failed; the text is the line for standard error, without its line end.
class EFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The server hung up before its answer was complete. Nothing has been written, so the command can be sent
/// again.
class EBrokenConnection : public std::runtime_error {
 public:
  EBrokenConnection() : std::runtime_error("the connection is broken") {}
};

/// A failure in the words of the client: "cvs [checkout aborted]: REASON".
inline EFailure Aborted(const std::string& strReason) {
  return EFailure("cvs [checkout aborted]: " + strReason);
}

}  // namespace TALVEK::SESSION
