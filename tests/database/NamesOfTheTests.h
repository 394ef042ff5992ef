#pragma once

namespace brio::test {

// Host names that exist inside the tests only, for this library and for libpq, without a name server.
constexpr const char* kTwoAddresses = "two-addresses.test";  ///< 127.0.0.2, then 127.0.0.3
constexpr const char* kNoAddress = "no-address.test";        ///< there is no such host

}  // namespace brio::test
