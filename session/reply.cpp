#include "session/reply.h"

#include <charconv>

#include "session/failure.h"
#include "session/mail_date.h"

namespace TALVEK::SESSION {

namespace {

constexpr std::size_t MAX_TEXT = 1 << 24;
/// More than any file system holds, and small enough for sums without overflow.
constexpr std::uint64_t MAX_SIZE = std::uint64_t(1) << 48;

/// A line "Word rest", split at the first blank.
struct TLine {
  explicit TLine(std::string_view strLine)
      : strWord(strLine.substr(0, strLine.find(' '))),
        strRest(strLine.size() > strWord.size() ? strLine.substr(strWord.size() + 1) : std::string_view()) {}
  std::string strWord;
  std::string strRest;
};

bool IsOneOf(std::string_view strWord, std::initializer_list<std::string_view> astrWords) {
  for (const std::string_view strOther : astrWords) {
    if (strWord == strOther) return true;
  }
  return false;
}

/// Responses that name a folder, followed by a line with its place in the repository.
bool NamesFolder(std::string_view strWord) {
  return IsOneOf(strWord,
                 {"Checked-in", "New-entry", "Updated", "Created", "Update-existing", "Merged", "Patched",
                  "Rcs-diff", "Copy-file", "Removed", "Remove-entry", "Set-static-directory",
                  "Clear-static-directory", "Set-sticky", "Clear-sticky", "Template", "Notified"});
}

bool ParseSize(std::string_view strText, std::uint64_t& nSize) {
  const auto [pEnd, nError] = std::from_chars(strText.data(), strText.data() + strText.size(), nSize);
  return nError == std::errc() && pEnd == strText.data() + strText.size() && nSize <= MAX_SIZE;
}

/// "u=rw,g=rw,o=r" as bits.
mode_t ParseMode(std::string_view strText) {
  mode_t nMode = 0;
  int nShift = -1;
  for (std::size_t nIndex = 0; nIndex < strText.size(); ++nIndex) {
    const char ch = strText[nIndex];
    const bool bStarts = nIndex == 0 || strText[nIndex - 1] == ',';
    if (bStarts) nShift = ch == 'u' ? 6 : ch == 'g' ? 3 : ch == 'o' ? 0 : -1;
    if (bStarts || nShift < 0) continue;
    const mode_t nBit = ch == 'r' ? 4 : ch == 'w' ? 2 : ch == 'x' ? 1 : 0;
    nMode |= nBit << nShift;
  }
  return nMode;
}

/// Reads one reply, response by response.
class CReply {
 public:
  CReply(CReplyReader& oReader, const TCheckout& tCheckout, const std::string& strRepository,
         const std::function<void(std::string_view)>& fnTake, TReply& tReply)
      : m_oReader(oReader),
        m_tCheckout(tCheckout),
        m_strRepository(strRepository),
        m_fnTake(fnTake),
        m_tReply(tReply) {}

  void Read() {
    bool bUsual = true;
    while (bUsual && !m_tReply.bIsWhole)
      bUsual = ReadResponse();
    m_tReply.bIsFile = m_tReply.bIsFile && bUsual;
  }

 private:
  /// False for a response that only the client can handle.
  bool ReadResponse() {
    const TLine tLine(m_oReader.ReadLine());
    if (tLine.strWord == "ok" || tLine.strWord == "error") {
      m_tReply.bIsWhole = true;
      return tLine.strWord == "ok";
    }
    if (tLine.strWord == "M") return AddText(m_tReply.strOutput, tLine.strRest);
    if (tLine.strWord == "E") return AddText(m_tReply.strErrors, tLine.strRest);
    if (tLine.strWord == "F") return true;
    if (tLine.strWord == "Mod-time") return ReadTime(tLine.strRest);
    if (NamesFolder(tLine.strWord)) return ReadPlace(tLine);
    return false;
  }

  bool AddText(std::string& strText, const std::string& strLine) {
    strText += strLine + "\n";
    if (strText.size() > MAX_TEXT) throw Aborted("the server sends text without end");
    // For a local root the client has no server, and says "cvs checkout:" here.
    return m_tCheckout.tRoot.nMethod != TRoot::LOCAL || !strLine.starts_with("cvs server:");
  }

  bool ReadTime(const std::string& strText) {
    m_tReply.nTime = ParseMailDate(strText);
    return m_tReply.nTime.has_value();
  }

  bool ReadPlace(const TLine& tLine) {
    const std::string strFolder = CheckedFolder(tLine.strRest);
    const std::string strPlace = PlaceInRepository(m_oReader.ReadLine());
    if (IsOneOf(tLine.strWord, {"Clear-sticky", "Set-static-directory", "Clear-static-directory"}))
      return IsOnTheWay(strFolder);
    if (!IsOneOf(tLine.strWord, {"Created", "Updated", "Update-existing"})) return false;
    if (m_tReply.bIsFile || strFolder != m_tCheckout.strFolder) return false;
    const std::string strName = NameOf(m_tCheckout.strFile);
    return strPlace == m_strRepository + "/" + strName && ReadFile(strName);
  }

  /// The folder without the slash at its end. Throws for a folder outside the working folder, or the client's
  /// own (CVS), even in responses that are ignored: such a server isn't to be trusted, and not to be left to
  /// the client either.
  std::string CheckedFolder(std::string_view strText) {
    if (strText == "./") return ".";
    std::string strFolder(strText.substr(0, strText.find_last_not_of('/') + 1));
    const bool bClean = strText == strFolder + "/" && IsPlainPath(strFolder) &&
                        (IsOnTheWay(strFolder) || !HasAdminInOtherCase(strFolder));
    if (!bClean) {
      throw Aborted("the server names `" + std::string(strText) +
                    "', which is not a folder to check out into");
    }
    return strFolder;
  }

  /// The place relative to the root. Older servers send it absolute.
  std::string PlaceInRepository(const std::string& strText) const {
    const std::string strRoot = m_tCheckout.tRoot.strFolder + "/";
    return strText.starts_with(strRoot) ? strText.substr(strRoot.size()) : strText;
  }

  bool IsOnTheWay(const std::string& strFolder) const {
    return (m_tCheckout.strFolder + "/").starts_with(strFolder + "/");
  }

  bool ReadFile(const std::string& strName) {
    TEntry& tEntry = m_tReply.tEntry;
    const std::string strEntry = m_oReader.ReadLine();
    if (!ParseEntry(strEntry, tEntry) || tEntry.strName != strName)
      throw Aborted("the server sends `" + strEntry + "' as the entry of " + strName);
    tEntry.strTime.clear();
    m_tReply.nMode = ParseMode(m_oReader.ReadLine());
    const std::string strSize = m_oReader.ReadLine();
    std::uint64_t nSize = 0;
    if (!ParseSize(strSize, nSize))
      throw Aborted("the server sends `" + strSize + "' as the size of " + strName);
    m_oReader.ReadBytes(nSize, m_fnTake);
    m_tReply.bIsFile = true;
    return true;
  }

  CReplyReader& m_oReader;
  const TCheckout& m_tCheckout;
  const std::string& m_strRepository;
  const std::function<void(std::string_view)>& m_fnTake;
  TReply& m_tReply;
};

/// Sends an absolute place, because old servers don't understand relative ones.
std::string DirectoryRequest(const TRoot& tRoot, const std::string& strFolder,
                             const std::string& strRepository) {
  const std::string strPlace = strRepository == "." ? "" : "/" + strRepository;
  return "Directory " + strFolder + "\n" + tRoot.strFolder + strPlace + "\n";
}

}  // namespace

std::string QuestionRequests(const TRoot& tRoot, const std::vector<TQuestions>& atQuestions) {
  std::string strRequests;
  for (const TQuestions& tQuestions : atQuestions) {
    strRequests +=
        DirectoryRequest(tRoot, tQuestions.strFolder, tQuestions.strRepository) + "Static-directory\n";
    for (const std::string& strName : tQuestions.astrNames)
      strRequests += "Questionable " + strName + "\n";
  }
  return strRequests.empty() ? strRequests : strRequests + TopRequests(tRoot);
}

std::string CheckoutRequests(const TCheckout& tCheckout) {
  std::string strRequests;
  for (const std::string& strArgument :
       {std::string("-P"), std::string("-d"), tCheckout.strFolder, std::string("-r"), tCheckout.strRevision,
        std::string("--"), tCheckout.strFile})
    strRequests += "Argument " + strArgument + "\n";
  return strRequests + "co\n";
}

std::string ResetRequests(const TCheckout& tCheckout, const std::string& strRepository) {
  const std::string& strRevision = tCheckout.strRevision;
  return DirectoryRequest(tCheckout.tRoot, tCheckout.strFolder, strRepository) + "Entry /" +
         NameOf(tCheckout.strFile) + "/" + strRevision + "///T" + strRevision + "\n" +
         TopRequests(tCheckout.tRoot);
}

std::string TopRequests(const TRoot& tRoot) {
  return DirectoryRequest(tRoot, ".", ".");
}

void ReadReply(CReplyReader& oReader, const TCheckout& tCheckout, const std::string& strRepository,
               const std::function<void(std::string_view)>& fnTake, TReply& tReply) {
  tReply = TReply();
  CReply(oReader, tCheckout, strRepository, fnTake, tReply).Read();
}

}  // namespace TALVEK::SESSION
