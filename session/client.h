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

/// The reason as the notes show it. A text never changes: others count by it.
const char* HandOverText(THandOverType nReason);

/// Thrown where it turns out that a checkout is for the client. Nothing was written up to there.
class EHandOver : public std::exception {
 public:
  explicit EHandOver(THandOverType nReason) : m_nReason(nReason) {}
  THandOverType Reason() const { return m_nReason; }
  const char* what() const noexcept override { return HandOverText(m_nReason); }

 private:
  THandOverType m_nReason;
};

/// Adds a line with the reason to the file that CVS_SESSION_NOTES names. No file, no note: that is no error.
void NoteHandOver(THandOverType nReason);

/// Becomes the real client, with the same arguments; returns (with its exit status) only when there is none.
int BecomeClient(char** ppszArguments);

}  // namespace TALVEK::SESSION
