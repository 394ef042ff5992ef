#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Server.h"

namespace brio::test {
namespace {

/// Why a statement was refused; empty when it was not.
std::string Refusal(const std::string& statement) {
  try {
    server::Query("postgres", statement);
  } catch (const std::runtime_error& error) { return error.what(); }
  return {};
}

TEST(OwnServer, IsAskedWhateverTheCallersVariablesSay) {
  // CTest sets some that lead elsewhere.
  for (char** variable = environ; *variable != nullptr; ++variable) {
    EXPECT_NE(std::string(*variable).substr(0, 2), "PG") << *variable;
  }
  EXPECT_EQ(server::Value("postgres", "SHOW data_directory"),
            std::string(std::getenv("BRIO_TEST_SERVER_DIR")) + "/data");
}

TEST(OwnServer, IsToldFromAnotherBeforeAStatementIsSent) {
  const auto folder = std::filesystem::path(testing::TempDir()) / ("own_server_" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  std::filesystem::create_directory_symlink(server::SocketFolder(), folder / "socket");
  {
    const EnvironmentVariable elsewhere("BRIO_TEST_SERVER_DIR", folder.string());
    const std::string refused =
        "the server that answers in " + folder.string() + "/socket is not this test run's own";
    EXPECT_EQ(Refusal("CREATE DATABASE refused"), refused);  // no token
    std::ofstream(folder / "token") << "0123456789abcdef0123456789abcdef";
    EXPECT_EQ(Refusal("CREATE DATABASE refused"), refused);
  }
  EXPECT_EQ(server::Value("postgres", "SELECT count(*) FROM pg_database WHERE datname = 'refused'"), "0");
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace brio::test
