#include "host/process_tree.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

namespace TALVEK::HOST {
namespace {

constexpr int MAX_DEPTH = 8;

/// Numbers with a blank behind each.
void ReadChildren(const char* pszFile, TProcesses& tChildren) {
  const int nFile = open(pszFile, O_RDONLY | O_CLOEXEC);
  if (nFile < 0) return;
  char achPids[1024];
  const ssize_t nSize = read(nFile, achPids, sizeof achPids);
  close(nFile);
  pid_t nPid = 0;
  for (ssize_t nIndex = 0; nIndex < nSize && tChildren.nCount < TProcesses::MOST; ++nIndex) {
    if (achPids[nIndex] >= '0' && achPids[nIndex] <= '9') {
      nPid = nPid * 10 + (achPids[nIndex] - '0');
    } else {
      if (nPid > 0) tChildren.anPids[tChildren.nCount++] = nPid;
      nPid = 0;
    }
  }
}

char* Append(char* pszEnd, const char* pszText) {
  while (*pszText)
    *pszEnd++ = *pszText++;
  *pszEnd = '\0';
  return pszEnd;
}

char* AppendNumber(char* pszEnd, pid_t nNumber) {
  if (nNumber >= 10) pszEnd = AppendNumber(pszEnd, nNumber / 10);
  const char szDigit[] = {static_cast<char>('0' + nNumber % 10), '\0'};
  return Append(pszEnd, szDigit);
}

void ReadChildrenOf(pid_t nPid, TProcesses& tChildren) {
  char szFile[64];
  char* pszEnd = AppendNumber(Append(szFile, "/proc/"), nPid);
  pszEnd = AppendNumber(Append(pszEnd, "/task/"), nPid);
  Append(pszEnd, "/children");
  ReadChildren(szFile, tChildren);
}

/// The descendants are looked up before their parent is told, because they lose it with its end.
void SignalTreeFrom(pid_t nPid, int nSignal, int nDepth) {
  TProcesses tChildren;
  if (nDepth < MAX_DEPTH) ReadChildrenOf(nPid, tChildren);
  kill(nPid, nSignal);
  for (std::size_t nIndex = 0; nIndex < tChildren.nCount; ++nIndex)
    SignalTreeFrom(tChildren.anPids[nIndex], nSignal, nDepth + 1);
}

}  // namespace

bool TProcesses::Contains(pid_t nPid) const {
  return std::find(anPids, anPids + nCount, nPid) != anPids + nCount;
}

void ReadOwnChildren(TProcesses& tChildren) {
  ReadChildren("/proc/thread-self/children", tChildren);
}

void SignalTree(pid_t nPid, int nSignal) {
  SignalTreeFrom(nPid, nSignal, 0);
}

}  // namespace TALVEK::HOST
