#pragma once

namespace brio::test {

/// Unsets every environment variable that libpq may know: those that begin with PG.
void ForgetLibpqVariables();

}  // namespace brio::test
