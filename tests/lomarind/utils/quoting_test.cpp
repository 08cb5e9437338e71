#include "lomarind/utils/quoting.h"

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

namespace lomarind::quoting {
namespace {

std::string from_hex(const std::string& hex) {
  std::string out;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    out += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  return out;
}

// The expected texts were produced once by a Python interpreter's repr() of
// the same bytes decoded with surrogateescape.
TEST(QuotedNameTest, MatchesPythonReprForEveryRecordedCase) {
  std::ifstream file(std::string(LOMARIND_TEST_DATA) + "/quoting_cases.json");
  ASSERT_TRUE(file) << "missing test data";
  const nlohmann::json cases = nlohmann::json::parse(file);
  ASSERT_GT(cases.size(), 40u);
  for (const auto& c : cases) {
    const std::string input = from_hex(c["input_hex"].get<std::string>());
    SCOPED_TRACE(c["repr"].get<std::string>());
    EXPECT_EQ(quoted_name(input), c["repr"].get<std::string>());
  }
}

TEST(QuotedNameTest, AbsentIsNone) {
  EXPECT_EQ(quoted_name(std::optional<std::string>()), "None");
  EXPECT_EQ(quoted_name(std::optional<std::string>("")), "''");
}

}  // namespace
}  // namespace lomarind::quoting
