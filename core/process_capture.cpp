#include "core/process_capture.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/child_process.h"
#include "core/descriptor.h"
#include "core/file_stream.h"
#include "core/text_codec.h"

namespace TALVEK::VCM {

namespace {

/// A shell's exit status for a command that it can't start.
constexpr int CANNOT_START = 127;

bool IsSeparator(wchar_t ch) {
  return ch == L' ' || ch == L'\t';
}

/// True when the character at `nIndex`, between quotes, is a backslash that makes a quote or a backslash
/// plain.
bool IsEscape(std::wstring_view strText, std::size_t nIndex) {
  if (strText[nIndex] != L'\\' || nIndex + 1 == strText.size()) return false;
  return strText[nIndex + 1] == L'"' || strText[nIndex + 1] == L'\\';
}

/// Reads one word that starts at `nIndex` and leaves `nIndex` behind it.
CString ReadWord(std::wstring_view strText, std::size_t& nIndex) {
  CString strWord;
  bool bQuoted = false;
  for (; nIndex < strText.size() && (bQuoted || !IsSeparator(strText[nIndex])); ++nIndex) {
    if (strText[nIndex] == L'"') {
      bQuoted = !bQuoted;
    } else {
      if (bQuoted && IsEscape(strText, nIndex)) ++nIndex;
      strWord += strText[nIndex];
    }
  }
  return strWord;
}

CDescriptor OpenTemporaryFile(const std::string& strFolder) {
  // O_EXCL: linkat can't give the file a name later.
  CDescriptor oFile(::open(strFolder.c_str(), O_TMPFILE | O_EXCL | O_RDWR | O_CLOEXEC, 0600));
  if (oFile.IsOpen()) return oFile;
  // Not every file system can make a file without a name.
  std::string strName = strFolder + "/talvek-output-XXXXXX";
  oFile = CDescriptor(::mkostemp(strName.data(), O_CLOEXEC));
  if (oFile.IsOpen()) ::unlink(strName.c_str());
  return oFile;
}

CDescriptor OpenTemporaryFile() {
  const char* pszFolder = ::secure_getenv("TMPDIR");
  CDescriptor oFile;
  if (pszFolder && *pszFolder) oFile = OpenTemporaryFile(std::string(pszFolder));
  return oFile.IsOpen() ? std::move(oFile) : OpenTemporaryFile(std::string("/tmp"));
}

/// A stream over the file from its beginning. The file is opened again for a position of its own, because the
/// program may have left another one running that still writes through the old one (ssh with a shared
/// connection).
std::unique_ptr<wxInputStream> ReadFromStart(CDescriptor oFile) {
  const std::string strName = "/proc/self/fd/" + std::to_string(oFile.Get());
  CDescriptor oReopened(::open(strName.c_str(), O_RDONLY | O_CLOEXEC));
  if (oReopened.IsOpen()) return std::make_unique<VFH::CFileReadStream>(oReopened.Release());
  ::lseek(oFile.Get(), 0, SEEK_SET);
  return std::make_unique<VFH::CFileReadStream>(oFile.Release());
}

/// In English in every locale, like all other messages.
std::string DescribeError(int nError) {
  const char* pszText = ::strerrordesc_np(nError);
  return pszText ? pszText : "error " + std::to_string(nError);
}

/// The errno that the next write to the file would get; 0 when there is room or it can't be known.
int LackOfRoom(int nDescriptor) {
  constexpr off_t BLOCK_BYTES = 4096;
  struct stat tStat {};
  if (::fstat(nDescriptor, &tStat) != 0) return 0;
  rlimit tLimit{};
  ::getrlimit(RLIMIT_FSIZE, &tLimit);
  if (static_cast<rlim_t>(tStat.st_size) >= tLimit.rlim_cur) return EFBIG;
  const off_t nNextBlock = (tStat.st_size + BLOCK_BYTES - 1) / BLOCK_BYTES * BLOCK_BYTES;
  if (::fallocate(nDescriptor, FALLOC_FL_KEEP_SIZE, nNextBlock, BLOCK_BYTES) == 0) return 0;
  return errno == ENOSPC || errno == EDQUOT ? errno : 0;
}

/// An errno when the program's output may be incomplete, else 0. A program that doesn't check its writes
/// exits with success on a full disk.
int OutputLoss(int nStdOutput, int nStdError, int nResult) {
  if (nResult == 128 + SIGXFSZ) return EFBIG;
  const int nError = LackOfRoom(nStdOutput);
  return nError != 0 ? nError : LackOfRoom(nStdError);
}

/// A stream over the beginning of the file, followed by a line. In memory, because the disk is full.
std::unique_ptr<wxInputStream> ReadWithLine(const CDescriptor& oFile, const std::string& strLine) {
  constexpr std::size_t MOST_BYTES = std::size_t{32} * 1024;
  std::string strText(MOST_BYTES, '\0');
  const ssize_t nRead = ::pread(oFile.Get(), strText.data(), strText.size(), 0);
  strText.resize(static_cast<std::size_t>(std::max<ssize_t>(nRead, 0)));
  if (!strText.empty() && strText.back() != '\n') strText += '\n';
  strText += strLine + "\n";
  CDescriptor oMemory(::memfd_create("talvek output", MFD_CLOEXEC));
  const ssize_t nWritten = ::write(oMemory.Get(), strText.data(), strText.size());
  return nWritten == static_cast<ssize_t>(strText.size()) ? ReadFromStart(std::move(oMemory)) : nullptr;
}

/// Writes the reason as standard error of the program that didn't run.
int Refuse(int nStdError, const std::string& strReason) {
  const std::string strLine = strReason + "\n";
  [[maybe_unused]] const ssize_t nIgnored = ::write(nStdError, strLine.data(), strLine.size());
  return CANNOT_START;
}

bool ToSystemArguments(const std::vector<CString>& astrWords, std::vector<std::string>& astrArguments) {
  for (const CString& strWord : astrWords) {
    std::string strArgument;
    if (!ToSystemPath(strWord, strArgument)) return false;
    astrArguments.push_back(std::move(strArgument));
  }
  return true;
}

int Run(const CString& strCommandLine, int nStdOutput, int nStdError) {
  const std::vector<CString> astrWords = SplitCommandLine(strCommandLine);
  if (astrWords.empty()) return Refuse(nStdError, "can't start a program: the command line is empty");
  const std::string strProgram = "'" + ToBytes(astrWords[0]) + "'";
  TChildStart tStart;
  tStart.nStdOutput = nStdOutput;
  tStart.nStdError = nStdError;
  if (!ToSystemArguments(astrWords, tStart.astrArguments))
    return Refuse(nStdError, "can't start " + strProgram + ": an argument holds a NUL character");
  const TChildResult tResult = RunChild(tStart);
  if (tResult.nKind == TChildResult::ENDED) return tResult.nValue;
  const char* pszWhat =
      tResult.nKind == TChildResult::LOST ? "can't learn the exit status of " : "can't start ";
  return Refuse(nStdError, pszWhat + strProgram + ": " + DescribeError(tResult.nValue));
}

}  // namespace

std::vector<CString> SplitCommandLine(const CString& strCommandLine) {
  const std::wstring_view strText = strCommandLine.View();
  std::vector<CString> astrWords;
  for (std::size_t nIndex = 0; nIndex < strText.size();) {
    if (IsSeparator(strText[nIndex])) {
      ++nIndex;
    } else {
      astrWords.push_back(ReadWord(strText, nIndex));
    }
  }
  return astrWords;
}

CString EscapeQuoted(const CString& strText) {
  CString strEscaped;
  for (const wchar_t ch : strText.View()) {
    if (ch == L'"' || ch == L'\\') strEscaped += L'\\';
    strEscaped += ch;
  }
  return strEscaped;
}

CProcessCapture::CProcessCapture() = default;
CProcessCapture::~CProcessCapture() = default;

int CProcessCapture::Execute(const CString& strCommandLine) {
  m_poStdOutput.reset();
  m_poStdError.reset();
  CDescriptor oStdOutput = OpenTemporaryFile();
  CDescriptor oStdError = OpenTemporaryFile();
  if (!oStdOutput.IsOpen() || !oStdError.IsOpen()) return CANNOT_START;
  const int nResult = Run(strCommandLine, oStdOutput.Get(), oStdError.Get());
  if (const int nLoss = OutputLoss(oStdOutput.Get(), oStdError.Get(), nResult)) {
    m_poStdError = ReadWithLine(oStdError, "no room for the program's output: " + DescribeError(nLoss));
    return nResult == 0 ? CANNOT_START : nResult;
  }
  m_poStdOutput = ReadFromStart(std::move(oStdOutput));
  m_poStdError = ReadFromStart(std::move(oStdError));
  return nResult;
}

}  // namespace TALVEK::VCM
