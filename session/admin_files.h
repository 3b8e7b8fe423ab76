#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace TALVEK::SESSION {

/// The text of CVS/Entries: a line for each file and sub-folder checked out, the latest last.
class CEntries {
 public:
  /// Shape    The text of Entries, then that of Entries.Log, which holds what came since Entries was written.
  /// Returns  False for a line of an unknown kind; this folder is then left to the client.
  bool Parse(std::string_view strEntries, std::string_view strLog);

  /// True when there is a line for the sub-folder.
  bool HasFolder(std::string_view strName) const;
  /// The names of the sub-folders, in the order of their lines.
  std::vector<std::string> Folders() const;
  /// The line of a file, empty without one.
  std::string FileLine(std::string_view strName) const;
  /// Adds the line of a file or sub-folder as the last one, and removes an older line of the same name.
  void Add(const std::string& strLine);
  /// Notes that every sub-folder has its line here; without sub-folders a line "D" says so.
  void SetFoldersKnown() { m_bFoldersKnown = true; }
  bool AreFoldersKnown() const { return m_bFoldersKnown; }

  std::string Text() const;

 private:
  bool ParseLine(std::string_view strLine);
  void Remove(std::string_view strLine);

  std::vector<std::string> m_astrLines;
  bool m_bFoldersKnown = false;
};

/// The fields of a file's line: /NAME/REVISION/TIME/OPTIONS/TAG.
struct TEntry {
  std::string strName;
  std::string strRevision;
  std::string strTime;
  std::string strOptions;
  std::string strTag;
};

bool ParseEntry(std::string_view strLine, TEntry& tEntry);
std::string EntryLine(const TEntry& tEntry);
std::string FolderLine(std::string_view strName);

}  // namespace TALVEK::SESSION
