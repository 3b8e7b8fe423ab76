#include "host/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

namespace TALVEK::HOST {
namespace {

constexpr std::string_view CLEAR_LINE = "\r\x1b[K";

std::size_t TerminalWidth() {
  winsize tSize = {};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &tSize) != 0 || tSize.ws_col == 0) return 80;
  return tSize.ws_col;
}

}  // namespace

CConsole::CConsole() : m_bTerminal(isatty(STDERR_FILENO) == 1) {}

CConsole::~CConsole() {
  ClearTransient();
}

void CConsole::Line(std::string_view strText) {
  ClearTransient();
  Put("talvek-import: " + std::string(strText) + '\n');
}

void CConsole::Transient(std::string_view strText) {
  if (!m_bTerminal) return;
  // A line as wide as the terminal would wrap, and \r would not get back to its beginning.
  Put(std::string(CLEAR_LINE) + std::string(strText.substr(0, TerminalWidth() - 1)));
  m_bTransient = true;
}

void CConsole::ClearTransient() {
  if (m_bTransient) Put(CLEAR_LINE);
  m_bTransient = false;
}

// Nothing can be done about a standard error that takes no bytes, so failures are dropped.
void CConsole::Put(std::string_view strBytes) {
  while (!strBytes.empty()) {
    const ssize_t nWritten = write(STDERR_FILENO, strBytes.data(), strBytes.size());
    if (nWritten < 0 && errno == EINTR) continue;
    if (nWritten < 0) return;
    strBytes.remove_prefix(static_cast<std::size_t>(nWritten));
  }
}

void CReport::Loss(const std::string& strText) {
  ++m_nLosses;
  m_oConsole.Line("lost: " + strText);
}

}  // namespace TALVEK::HOST
