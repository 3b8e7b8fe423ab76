#include "host/git_names.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace TALVEK::HOST {
namespace {

// Git stores a reference as a file, which it writes as NAME.lock first, and a file name has at most 255
// bytes. 240 leaves room for ".lock" and for the suffix of CRefNames.
constexpr std::size_t LONGEST_REF_ITEM = 240;

// References outside refs/heads and refs/tags. Git looks for a name there first.
constexpr std::string_view SPECIAL_REFS[] = {"@",
                                             "AUTO_MERGE",
                                             "BISECT_EXPECTED_REV",
                                             "BISECT_HEAD",
                                             "CHERRY_PICK_HEAD",
                                             "FETCH_HEAD",
                                             "HEAD",
                                             "MERGE_AUTOSTASH",
                                             "MERGE_HEAD",
                                             "NOTES_MERGE_PARTIAL",
                                             "NOTES_MERGE_REF",
                                             "ORIG_HEAD",
                                             "REBASE_HEAD",
                                             "REVERT_HEAD",
                                             "stash"};

// Folders of references. For "FOLDER/NAME" Git looks in there before it looks for a branch or tag of that
// name.
constexpr std::string_view REF_FOLDERS[] = {"bisect", "heads", "notes", "refs", "remotes", "tags"};

constexpr std::size_t COMMIT_NAME_DIGITS = 40;

bool IsCommitName(std::string_view strName) {
  return strName.size() == COMMIT_NAME_DIGITS &&
         strName.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

bool BeginsWithRefFolder(std::string_view strName) {
  const std::size_t nEnd = strName.find('/');
  return nEnd != std::string_view::npos && std::find(std::begin(REF_FOLDERS), std::end(REF_FOLDERS),
                                                     strName.substr(0, nEnd)) != std::end(REF_FOLDERS);
}

bool IsSpecialRef(std::string_view strName) {
  return std::find(std::begin(SPECIAL_REFS), std::end(SPECIAL_REFS), strName) != std::end(SPECIAL_REFS);
}

std::vector<std::string> SplitItems(std::string_view strPath) {
  std::vector<std::string> astrItems(1);
  for (const char ch : strPath) {
    if (ch == '/') {
      astrItems.emplace_back();
    } else {
      astrItems.back() += ch;
    }
  }
  return astrItems;
}

std::string JoinItems(const std::vector<std::string>& astrItems) {
  std::string strPath = astrItems.front();
  for (std::size_t nIndex = 1; nIndex < astrItems.size(); ++nIndex) {
    strPath += '/';
    strPath += astrItems[nIndex];
  }
  return strPath;
}

bool IsRefusedInRef(char ch) {
  const auto nByte = static_cast<unsigned char>(ch);
  return nByte <= 0x20 || nByte == 0x7F || std::string_view("~^:?*[\\").find(ch) != std::string_view::npos;
}

// Cuts between characters of UTF-8, never within one.
void CutItem(std::string& strItem) {
  if (strItem.size() <= LONGEST_REF_ITEM) return;
  std::size_t nLength = LONGEST_REF_ITEM;
  while (nLength > LONGEST_REF_ITEM - 3 && (static_cast<unsigned char>(strItem[nLength]) & 0xC0) == 0x80) {
    --nLength;
  }
  strItem.resize(nLength);
}

// Replaces the second byte of pairs that Git refuses.
void BreakPairs(std::string& strItem) {
  for (std::size_t nIndex = 1; nIndex < strItem.size(); ++nIndex) {
    const std::string_view strPair = std::string_view(strItem).substr(nIndex - 1, 2);
    if (strPair == ".." || strPair == "@{") strItem[nIndex] = '_';
  }
}

void MendRefItem(std::string& strItem) {
  CutItem(strItem);
  std::replace_if(strItem.begin(), strItem.end(), IsRefusedInRef, '_');
  if (strItem.empty()) strItem.push_back('_');
  if (strItem.front() == '.') strItem.front() = '_';
  BreakPairs(strItem);
  if (strItem.ends_with(".lock")) strItem[strItem.size() - 5] = '_';
}

// The length of `strName` if a file system may take the item for a file of that name, else 0.
std::size_t MatchDisguise(std::string_view strItem, std::string_view strName) {
  if (strItem.size() < strName.size()) return 0;
  for (std::size_t nIndex = 0; nIndex < strName.size(); ++nIndex) {
    const char ch = strItem[nIndex];
    const bool bUpper = ch >= 'A' && ch <= 'Z';
    if ((bUpper ? static_cast<char>(ch + ('a' - 'A')) : ch) != strName[nIndex]) return 0;
  }
  // Some file systems ignore blanks and dots at the end of a name, and what follows a colon.
  const std::size_t nEnd = strItem.find_first_not_of(" .", strName.size());
  const bool bSame = nEnd == std::string_view::npos || strItem[nEnd] == ':';
  return bSame ? strName.size() : 0;
}

// Git refuses names that mean .git on other systems too, where "\" separates folders.
void MendPathPart(std::string& strPart) {
  if (strPart == "." || strPart == "..") {
    strPart += '_';
    return;
  }
  const std::size_t nDotGit = MatchDisguise(strPart, ".git");
  const std::size_t nMatched = nDotGit > 0 ? nDotGit : MatchDisguise(strPart, "git~1");
  if (nMatched > 0) strPart.insert(nMatched, 1, '_');
}

void MendPathItem(std::string& strItem) {
  std::string strMended;
  std::size_t nBegin = 0;
  while (true) {
    const std::size_t nEnd = strItem.find('\\', nBegin);
    const bool bLast = nEnd == std::string::npos;
    std::string strPart = strItem.substr(nBegin, bLast ? nEnd : nEnd - nBegin);
    MendPathPart(strPart);
    strMended += strPart;
    if (bLast) break;
    strMended += '\\';
    nBegin = nEnd + 1;
  }
  strItem = strMended;
}

void AppendQuoted(char ch, std::string& strQuoted) {
  const auto nByte = static_cast<unsigned char>(ch);
  if (ch == '"' || ch == '\\') {
    strQuoted += {'\\', ch};
  } else if (nByte < 0x20 || nByte == 0x7F) {
    strQuoted += {'\\', static_cast<char>('0' + (nByte >> 6)), static_cast<char>('0' + ((nByte >> 3) & 7)),
                  static_cast<char>('0' + (nByte & 7))};
  } else {
    strQuoted += ch;
  }
}

}  // namespace

std::string GitRefName(std::string_view strName) {
  std::vector<std::string> astrItems = SplitItems(strName);
  for (std::string& strItem : astrItems)
    MendRefItem(strItem);
  if (astrItems.back().ends_with('.')) astrItems.back().back() = '_';
  std::string strMended = JoinItems(astrItems);
  if (strMended.front() == '-') strMended.front() = '_';
  if (IsSpecialRef(strMended) || IsCommitName(strMended)) strMended += '_';
  if (BeginsWithRefFolder(strMended)) strMended.insert(strMended.find('/'), 1, '_');
  return strMended;
}

bool HasMeaningInGit(std::string_view strName) {
  return strName.starts_with('-') || IsSpecialRef(strName) || IsCommitName(strName) ||
         BeginsWithRefFolder(strName);
}

std::string GitIdentity(std::string_view strUser) {
  std::string strIdentity(strUser);
  for (char& ch : strIdentity) {
    if (ch == '<') ch = '(';
    if (ch == '>') ch = ')';
    if (ch == '\n' || ch == '\0') ch = ' ';
  }
  return strIdentity;
}

std::string GitPath(std::string_view strPath) {
  std::vector<std::string> astrItems = SplitItems(strPath);
  for (std::string& strItem : astrItems)
    MendPathItem(strItem);
  return JoinItems(astrItems);
}

std::string QuoteGitPath(std::string_view strPath) {
  const bool bPlain = std::none_of(strPath.begin(), strPath.end(), [](char ch) {
    return ch == '"' || ch == '\\' || static_cast<unsigned char>(ch) < 0x20 || ch == 0x7F;
  });
  if (bPlain) return std::string(strPath);
  std::string strQuoted = "\"";
  for (const char ch : strPath)
    AppendQuoted(ch, strQuoted);
  return strQuoted + '"';
}

}  // namespace TALVEK::HOST
