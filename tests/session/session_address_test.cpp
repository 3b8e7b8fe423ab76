#include "session/session_address.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "core/descriptor.h"
#include "tests/support/child_process.h"

namespace TALVEK::TEST {
namespace {

/// One end of a connection whose other end belongs to the process's effective user.
VCM::CDescriptor MakeConnection() {
  int anEnds[2] = {-1, -1};
  ::socketpair(AF_UNIX, SOCK_STREAM, 0, anEnds);
  ::close(anEnds[1]);
  return VCM::CDescriptor(anEnds[0]);
}

TEST(SessionAddressTest, OwnConnectionIsTheSameUsers) {
  EXPECT_TRUE(SESSION::IsSameUser(MakeConnection().Get()));
}

// Only root can change its user to make such a connection; for others this repeats the test above.
TEST(SessionAddressTest, ConnectionOfAnotherUserIsNotTheSameUsers) {
  constexpr uid_t SOMEBODY = 65534;
  const bool bCanChange = ::geteuid() == 0;
  const int nSame = RunInChild([bCanChange] {
    if (bCanChange && ::seteuid(SOMEBODY) != 0) return 2;
    const VCM::CDescriptor oConnection = MakeConnection();
    if (bCanChange && ::seteuid(0) != 0) return 2;
    return SESSION::IsSameUser(oConnection.Get()) ? 1 : 0;
  });
  EXPECT_EQ(nSame, bCanChange ? 0 : 1);
}

TEST(SessionAddressTest, WhatIsNoConnectionIsNotTheSameUsers) {
  EXPECT_FALSE(SESSION::IsSameUser(STDIN_FILENO));
  EXPECT_FALSE(SESSION::IsSameUser(-1));
}

TEST(SessionAddressTest, NameIsFreeAgainWhenItsListenerHasGone) {
  const std::string strKey = "a key of " + std::to_string(::getpid());
  VCM::CDescriptor oListener = SESSION::ListenFor(strKey);
  ASSERT_TRUE(oListener.IsOpen());
  EXPECT_FALSE(SESSION::ListenFor(strKey).IsOpen());
  EXPECT_TRUE(SESSION::ConnectTo(strKey).IsOpen());
  EXPECT_FALSE(SESSION::ConnectTo(strKey + ".").IsOpen());
  oListener.Close();
  EXPECT_FALSE(SESSION::ConnectTo(strKey).IsOpen());
  EXPECT_TRUE(SESSION::ListenFor(strKey).IsOpen());
}

}  // namespace
}  // namespace TALVEK::TEST
