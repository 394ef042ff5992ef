#include <gmock/gmock.h>

#include "tests/support/Environment.h"

/// Tests stay with their own server, wherever the caller's variables would lead libpq.
int main(int argc, char** argv) {
  brio::test::ForgetLibpqVariables();
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
