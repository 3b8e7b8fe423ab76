#include "tests/exact_road/module_world.h"

#include "tests/support/cvs_world.h"
#include "tests/support/shell.h"

namespace TALVEK::TEST {

namespace {

constexpr const char* MODULES = R"(
mk        www/mk
renamed   -d some/where www/mk
slashed   www/mk/
files     tools t1 t3
filesin   -d tt tools t2
top       -l www
al        -a www/mk lib
single    -a www/mk
alal      -a al tools
less      -a !www/mk/sub www lib/l.txt
late      -a lib !lib/in app
loop      -a loop lib app
amp       app &lib &renamed
onlyamp   &mk &files
deep      -d x/y app &lib
nest      &amp &al
rest      -d r lib &less
twice     app &app
withfile  www/mk a.txt &www/top.txt
www/other lib
clash     -d c www &into
into      -d other lib
verylong  -a www/mk www/other lib/in app/m.txt tools/t1 tools/t2 tools/t3 www/top.txt rootfile lib/l.txt # all
)";

/// The trunk's folders stand in "trunk", the branch's in "b1". The client sees a change by the file's time in
/// seconds, so each change gets one of its own.
constexpr const char* HISTORY = R"(
changed() { changes=$((changes + 1)); touch -d @$((900000000 + changes)) "$1"; }
put() { echo "$1" >>"$2"; changed "$2"; }
mkdir files && cd files && mkdir -p www/mk/sub www/other lib/in app tools
for f in www/top.txt www/mk/a.txt www/mk/sub/b.txt www/other/o.txt lib/l.txt lib/in/i.txt app/m.txt tools/t1 \
    tools/t2 tools/t3 rootfile; do put "$f" $f; done
chmod +x tools/t1
at 1000000000 import -m Import . V V1; cd ..
at 1000003600 checkout -d trunk . ; cd trunk
for f in www/mk/a.txt lib/l.txt app/m.txt tools/t2; do put second $f; done
at 1000007200 commit -m 'Second change'
at 1000010800 tag T1; at 1000010801 tag -b b1
cp "$modules" CVSROOT/modules; changed CVSROOT/modules; at 1000014400 commit -m Modules; cd ..
at 1000018000 checkout -r b1 -d b1 . ; cd b1
put branch www/mk/sub/b.txt; put branch lib/in/i.txt; put new lib/new.txt; rm tools/t3
at 1000021600 add lib/new.txt; at 1000021600 remove tools/t3; at 1000021600 commit -m 'On b1'; cd ../trunk
put third www/top.txt; put third lib/l.txt; rm tools/t1
at 1000025200 remove tools/t1; at 1000025200 commit -m 'Third change'
)";

}  // namespace

CModuleWorld::CModuleWorld() {
  WriteFile(m_oFolder / "modules", MODULES + 1);
  WriteFile(m_oFolder / "history", HISTORY);
  // The clock's command has the time in it.
  std::string strClock = ClockOfClient(1234567890);
  strClock.replace(strClock.find("1234567890"), 10, "$time");
  ShellOutput("set -e; cd " + ShellQuote(m_oFolder.Path().string()) +
              "; export HOME=$PWD CVSROOT=$PWD/root TZ=UTC; cvs init; "
              "at() { time=$1; shift; " +
              strClock + " cvs -f -Q \"$@\"; }; modules=$PWD/modules; . $PWD/history");
}

}  // namespace TALVEK::TEST
