#include "tests/hostile/import_world.h"

#include <numeric>
#include <set>
#include <sstream>

#include "tests/support/import_log.h"
#include "tests/support/shell.h"
#include "tests/support/tested_provider.h"

namespace TALVEK::TEST {

namespace fs = std::filesystem;

namespace {

constexpr char CLIENT[] = R"(#!/bin/sh
for word; do printf '[%s]' "$word" >> "$CALLS"; done
echo >> "$CALLS"
[ "$1" = -d ] && [ "$3" = checkout ] || exit 1
shift 3
while getopts 'r:D:d:l' option; do
  case $option in
    l) files=1 ;;
    d) folder=$OPTARG ;;
    '?') exit 1 ;;
  esac
done
shift $((OPTIND - 1))
[ $# = 1 ] && [ -n "$folder" ] || exit 1
if [ "$files" ]; then  # those of a folder, as the log names them
  mkdir -p -- "$folder/CVS"
  sed -n "s|^RCS file: /repo/$1/\(Attic/\)\{0,1\}\([^/]*\),v\$|\2|p" "${CALLS%/calls}/saved.rlog" |
    while read -r name; do printf '%s\n' "$1/$name" > "$folder/$name"; done
  exit
fi
mkdir -p -- "$folder" 2>/dev/null && printf '%s\n' "$1" 2>/dev/null > "$folder/${1##*/}"
)";

}  // namespace

ImportWorldTest::ImportWorldTest() {
  WriteFile(m_oFolder / "cvs", CLIENT);
  fs::permissions(m_oFolder / "cvs", fs::perms::owner_all);
  fs::create_directories(m_oFolder / "sandbox/tmp");
}

ImportWorldTest::TResult ImportWorldTest::ImportText(const std::string& strLog,
                                                     const std::string& strOptions) {
  WriteFile(m_oFolder / "saved.rlog", strLog);
  const std::string strFolder = m_oFolder.Path().string();
  const TShellResult tRun = RunShell(
      "cd " + ShellQuote(strFolder + "/sandbox") + " && env HOME=" + ShellQuote(strFolder) +
      " CALLS=" + ShellQuote(strFolder + "/calls") + " TMPDIR=" + ShellQuote(strFolder + "/sandbox/tmp") +
      " " TALVEK_BIN_DIR "/talvek-import run --provider " + TestedProvider() +
      " --no-verify --quiet --bare --repos-path /repo --module-name mod " +
      "--cvs-path ../cvs --cmd-repeat-count 1 --log-file ../saved.rlog --into ../git --work work " +
      "--import-log ../import.log " + strOptions + " 2>&1");
  return {tRun.nStatus, tRun.strOutput};
}

std::string ImportWorldTest::Calls() const {
  return fs::exists(m_oFolder / "calls") ? ReadFile(m_oFolder / "calls") : "";
}

std::string ImportWorldTest::SortedCalls() const {
  return Sorted(Calls());
}

std::string Sorted(const std::string& strLines) {
  std::multiset<std::string> astrLines;
  std::istringstream oLines(strLines);
  for (std::string strLine; std::getline(oLines, strLine);)
    astrLines.insert(strLine + "\n");
  return std::accumulate(astrLines.begin(), astrLines.end(), std::string());
}

std::string ImportWorldTest::ImportLog() const {
  return WithoutSeconds(ReadFile(m_oFolder / "import.log"));
}

std::string ImportWorldTest::GitFiles(const std::string& strBranch) const {
  return ShellOutput("git -C " + ShellQuote((m_oFolder / "git").string()) + " ls-tree -r -z --name-only " +
                     ShellQuote("refs/heads/" + strBranch) + " | tr '\\0' '\\n'");
}

std::string ImportWorldTest::GitBranches() const {
  return ShellOutput("git -C " + ShellQuote((m_oFolder / "git").string()) +
                     " for-each-ref --format='%(refname:lstrip=2)' refs/heads");
}

void ImportWorldTest::ExpectNothingElse() const {
  std::set<std::string> astrNames;
  for (const auto& oEntry : fs::directory_iterator(m_oFolder.Path()))
    astrNames.insert(oEntry.path().filename().string());
  EXPECT_EQ(astrNames, (std::set<std::string>{"calls", "cvs", "git", "import.log", "sandbox", "saved.rlog"}));
  astrNames.clear();
  for (const auto& oEntry : fs::directory_iterator(m_oFolder / "sandbox"))
    astrNames.insert(oEntry.path().filename().string());
  EXPECT_EQ(astrNames, (std::set<std::string>{"tmp", "work"}));
  EXPECT_TRUE(fs::is_empty(m_oFolder / "sandbox/tmp"));
}

}  // namespace TALVEK::TEST
