#pragma once

#include <filesystem>
#include <string>

#include <wx/stream.h>

namespace TALVEK::TEST {

/// A shell script in place of the `cvs` client, in a folder of the test.
class CFakeCvs {
 public:
  explicit CFakeCvs(const std::filesystem::path& oFolder) : m_oFolder(oFolder) {}

  /// Makes the client. The script may call `record "$@"`, which appends the working directory and the
  /// arguments to what Calls() shows, and `count`, which prints how often it has been called before.
  /// "$folder" is the test's folder.
  void Make(const std::string& strScript) const;
  std::filesystem::path Path() const { return m_oFolder / "bin/my cvs"; }
  /// What has been recorded: "in FOLDER" and then each argument in brackets, a line each. "@" stands for the
  /// test's folder.
  std::string Calls() const;

 private:
  std::filesystem::path m_oFolder;
};

/// The script of a client that records its calls and writes "new" to the file that it is asked to check out.
inline constexpr char WRITING_CLIENT[] = R"(record "$@"
shift 2
for a; do [ "$before" = -d ] && out=$a; before=$a; last=$a; done
mkdir -p "$out" && echo new > "$out/${last##*/}")";

/// What is left in a stream, which may be null.
std::string ReadAll(wxInputStream* poStream);

}  // namespace TALVEK::TEST
