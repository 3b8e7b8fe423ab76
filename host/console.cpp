#include "host/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace TALVEK::HOST {
namespace {

constexpr std::size_t MOST_RENAMED_SHOWN = 10;

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

void CReport::Renamed(const std::string& strName, const std::string& strGitName,
                      const std::string& strReason) {
  const std::string strNames = "'" + strName + "' is called '" + strGitName + "'";
  Changed("stream " + strNames + ": " + strReason);
  m_astrRenamed.push_back(strNames);
}

std::string CReport::RenamedText() const {
  if (m_astrRenamed.empty()) return "";
  std::string strText =
      m_astrRenamed.size() == 1 ? "1 stream has" : std::to_string(m_astrRenamed.size()) + " streams have";
  strText += " another name in Git: ";
  const std::size_t nShown = std::min(m_astrRenamed.size(), MOST_RENAMED_SHOWN);
  for (std::size_t nIndex = 0; nIndex < nShown; ++nIndex)
    strText += (nIndex == 0 ? "" : ", ") + m_astrRenamed[nIndex];
  if (nShown < m_astrRenamed.size()) {
    strText += " and " + std::to_string(m_astrRenamed.size() - nShown) + " more";
  }
  return strText;
}

}  // namespace TALVEK::HOST
