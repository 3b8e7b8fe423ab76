#pragma once

#include <exception>

namespace TALVEK::SESSION {

/// Why a checkout is left to the client.
enum THandOverType {
  HAND_OVER_CVSRC,
  HAND_OVER_OPTION,
  HAND_OVER_ROOT,
  HAND_OVER_KIND,
  HAND_OVER_PATH,
  HAND_OVER_CALLER,
  HAND_OVER_INSIDE,
  HAND_OVER_CASE,
  HAND_OVER_NO_FOLDER,
  HAND_OVER_ADMIN,
  HAND_OVER_ABOVE,
  HAND_OVER_FILE,
  HAND_OVER_ENTRY,
  HAND_OVER_STRANGERS,
  HAND_OVER_SESSION,
  HAND_OVER_SERVER,
  HAND_OVER_ANSWER,
};

/// The reason as it is written to CVS_SESSION_NOTES. Keep the texts as they are: cvs-session(1) lists them,
/// and users may search for them.
const char* HandOverText(THandOverType nReason);

/// Thrown when a checkout must be left to the client, always before anything is written.
class EHandOver : public std::exception {
 public:
  explicit EHandOver(THandOverType nReason) : m_nReason(nReason) {}
  THandOverType Reason() const { return m_nReason; }
  const char* what() const noexcept override { return HandOverText(m_nReason); }

 private:
  THandOverType m_nReason;
};

/// Appends a line with the reason to the file that CVS_SESSION_NOTES names. Does nothing when it isn't set or
/// the file can't be written.
void NoteHandOver(THandOverType nReason);

/// Replaces this process by the real client, with the same arguments. Returns only when that fails: prints
/// why, and returns 127.
int BecomeClient(char** ppszArguments);

}  // namespace TALVEK::SESSION
