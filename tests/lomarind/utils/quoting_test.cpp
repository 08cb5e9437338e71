#include "lomarind/utils/quoting.h"

#include <gtest/gtest.h>

#include <fstream>
#include <limits>
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

// The expected texts are a Python interpreter's repr() of the same doubles.
TEST(FloatReprTest, WritesADoubleAsPythonDoes) {
  const std::pair<double, std::string_view> cases[] = {
      {0.3, "0.3"},
      {1.5, "1.5"},
      {2.0, "2.0"},
      {-0.0, "-0.0"},
      {0.0, "0.0"},
      {-2.5, "-2.5"},
      {100.0, "100.0"},
      {12345.678, "12345.678"},
      {0.1 + 0.2, "0.30000000000000004"},
      {9999999999999998.0, "9999999999999998.0"},  // the last positional one
      {1e16, "1e+16"},
      {123456789012345678.0, "1.2345678901234568e+17"},
      {1e300, "1e+300"},
      {1e-4, "0.0001"},  // the last positional one below 1
      {1e-5, "1e-05"},
      {1.5e-5, "1.5e-05"},
      {5e-324, "5e-324"},
      {std::numeric_limits<double>::quiet_NaN(), "nan"},
      {std::numeric_limits<double>::infinity(), "inf"},
      {-std::numeric_limits<double>::infinity(), "-inf"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(float_repr(value), text);
}

}  // namespace
}  // namespace lomarind::quoting
