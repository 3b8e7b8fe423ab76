// Loaded into a cvs client by LD_PRELOAD: the clock stands where CVS_WORLD_NOW says (seconds since 1970), and
// sleeping costs nothing. After each commit the client sleeps until the next second; a repository of 40
// commits would take as many seconds, and takes half a second so.
//
// The client takes the author from LOGNAME when root runs it, so everybody is root here.

#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

namespace {

time_t s_nSlept = 0;

time_t Now() {
  const char* pszNow = std::getenv("CVS_WORLD_NOW");
  return (pszNow ? std::atoll(pszNow) : 0) + s_nSlept;
}

}  // namespace

extern "C" {

time_t time(time_t* pnTime) noexcept {
  const time_t nNow = Now();
  if (pnTime) *pnTime = nNow;
  return nNow;
}

int gettimeofday(timeval* __restrict ptTime, void* __restrict) noexcept {
  *ptTime = {Now(), 0};
  return 0;
}

int clock_gettime(clockid_t, timespec* ptTime) noexcept {
  *ptTime = {Now(), 0};
  return 0;
}

int nanosleep(const timespec* ptTime, timespec*) {
  s_nSlept += ptTime->tv_sec + 1;
  return 0;
}

uid_t getuid() noexcept {
  return 0;
}

char* getlogin() {
  return nullptr;
}
}
