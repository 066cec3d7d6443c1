#include <gtest/gtest.h>

#include <filesystem>

#include "support/headless_env.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  korvid::test::EnterHeadlessEnvironment();
  const int result = RUN_ALL_TESTS();
  std::error_code ignored;
  std::filesystem::remove_all(korvid::test::WorkDir(), ignored);
  return result;
}
