// tools/install-packages with stand-ins for the system's programs: it installs what is missing and no more.

#include <string>

#include <gtest/gtest.h>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

const char* const PROGRAMS[] = {"sh", "sed", "dirname"};

/// A system whose PATH holds nothing but what is put there.
class InstallPackagesTest : public testing::Test {
 protected:
  InstallPackagesTest() {
    ShellOutput("mkdir " + ShellQuote(Bin()));
    for (const char* pszProgram : PROGRAMS)
      ShellOutput(std::string("ln -s \"$(command -v ") + pszProgram + ")\" " + ShellQuote(Bin()));
  }

  std::string Bin() { return (m_oFolder / "bin").string(); }

  void AddProgram(const std::string& strName, const std::string& strBody) {
    WriteFile(m_oFolder / ("bin/" + strName), "#!/bin/sh\n" + strBody + "\n");
    ShellOutput("chmod +x " + ShellQuote(Bin() + "/" + strName));
  }
  void HasOnlyPackage(const std::string& strPackage) {
    AddProgram("dpkg-query", "case $* in *' " + strPackage + "') echo installed ;; *) exit 1 ;; esac");
  }
  void HasApt() {
    AddProgram("apt-get", "echo \"apt-get $*\"");
    AddProgram("env", "shift; \"$@\"");
  }
  void UserIs(int nUser) { AddProgram("id", "echo " + std::to_string(nUser)); }

  TShellResult Install(const std::string& strGroup) {
    return RunShell("PATH=" + ShellQuote(Bin()) + " " TALVEK_SOURCE_DIR "/tools/install-packages " +
                    strGroup + " 2>&1");
  }

 private:
  CTempFolder m_oFolder;
};

TEST_F(InstallPackagesTest, NothingIsAskedOfAptWhenNothingIsMissing) {
  HasOnlyPackage("libbenchmark-dev");
  EXPECT_EQ(Install("bench"), (TShellResult{0, ""}));
}

TEST_F(InstallPackagesTest, RootInstallsWhatIsMissing) {
  HasOnlyPackage("clang-format");
  HasApt();
  UserIs(0);
  EXPECT_EQ(Install("format bench"),
            (TShellResult{0,
                          "Installing libbenchmark-dev\n"
                          "apt-get -q -o DPkg::Lock::Timeout=120 update\n"
                          "apt-get -q -y -o DPkg::Lock::Timeout=120 install --no-install-recommends "
                          "libbenchmark-dev\n"}));
}

TEST_F(InstallPackagesTest, AUserInstallsThroughSudo) {
  HasOnlyPackage("none");
  HasApt();
  UserIs(1000);
  AddProgram("sudo", "echo \"sudo $*\"");
  EXPECT_EQ(Install("bench"),
            (TShellResult{0,
                          "Installing libbenchmark-dev\n"
                          "sudo apt-get -q -o DPkg::Lock::Timeout=120 update\n"
                          "sudo env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=120 "
                          "install --no-install-recommends libbenchmark-dev\n"}));
}

TEST_F(InstallPackagesTest, AUserWithoutSudoIsToldWhatRootMustRun) {
  HasOnlyPackage("none");
  HasApt();
  UserIs(1000);
  EXPECT_EQ(Install("bench"),
            (TShellResult{1,
                          "Packages are missing, and only root can install them (there is no sudo here). As "
                          "root, run\n"
                          "  apt-get update && apt-get install --no-install-recommends libbenchmark-dev\n"}));
}

TEST_F(InstallPackagesTest, ASystemWithoutAptIsToldWhatIsNeeded) {
  EXPECT_EQ(Install("bench"),
            (TShellResult{1,
                          "This system has no apt-get, so nothing can be installed for you. Needed are, by "
                          "their names in Debian 12,\n"
                          "  libbenchmark-dev\n"
                          "Install these another way, then call make with NO_DEPS=1.\n"}));
}

}  // namespace
}  // namespace TALVEK::TEST
