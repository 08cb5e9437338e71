#include "cli/json_writer.h"

#include <gtest/gtest.h>

namespace lomarind::cli {
namespace {

TEST(JsonWriterTest, StringsEscapeControlsAndInvalidBytes) {
  struct Case {
    const char* name;
    std::string input;
    std::string expected;
  } cases[] = {
      {"quote and backslash", "a\"b\\c", R"("a\"b\\c")"},
      {"named controls", "\b\f\n\r\t", R"("\b\f\n\r\t")"},
      {"other controls", std::string("\x01\x1f\x00", 3), R"("\u0001\u001f\u0000")"},
      {"delete stays", "a\x7f", "\"a\x7f\""},
      {"valid utf-8 passes", "caf\xc3\xa9/\xe2\x82\xac/\xf0\x9f\x98\x80",
       "\"caf\xc3\xa9/\xe2\x82\xac/\xf0\x9f\x98\x80\""},
      {"latin-1 byte", "caf\xe9.txt", R"("caf\udce9.txt")"},
      {"cut-off sequence", "a\xe2\x82", R"("a\udce2\udc82")"},
      {"overlong slash", "\xc0\xaf", R"("\udcc0\udcaf")"},
      {"encoded surrogate", "\xed\xa0\x80", R"("\udced\udca0\udc80")"},
      {"past U+10FFFF", "\xf4\x90\x80\x80", R"("\udcf4\udc90\udc80\udc80")"},
      {"invalid then valid", "\xff\xc3\xa9", "\"\\udcff\xc3\xa9\""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(json_string(c.input), c.expected);
  }
}

TEST(JsonWriterTest, ObjectsKeepInsertionOrderAndEscapeKeys) {
  Json answer;
  answer["since"] = "2 weeks";
  answer["files"] = Json::array({Json{{"path", "z\xff"}, {"status", "added"}}});
  answer["empty"] = Json::object();
  answer["k\n"] = nullptr;
  EXPECT_EQ(write_json(answer),
            "{\n"
            "  \"since\": \"2 weeks\",\n"
            "  \"files\": [\n"
            "    {\n"
            "      \"path\": \"z\\udcff\",\n"
            "      \"status\": \"added\"\n"
            "    }\n"
            "  ],\n"
            "  \"empty\": {},\n"
            "  \"k\\n\": null\n"
            "}");
}

TEST(JsonWriterTest, NumbersKeepTheirKindAndReadBack) {
  struct Case {
    Json value;
    const char* expected;
  } cases[] = {
      {Json(1.0), "1.0"},
      {Json(0.38), "0.38"},
      {Json(0.1 + 0.2), "0.30000000000000004"},
      {Json(-2.0), "-2.0"},
      {Json(1e300), "1e+300"},
      {Json(std::numeric_limits<double>::quiet_NaN()), "null"},
      {Json(std::uint64_t{18446744073709551615u}), "18446744073709551615"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);
    EXPECT_EQ(write_json(c.value), c.expected);
  }
  // Valid text reads back as the same value, floats still floats.
  const Json answer = {{"path", "ok \xc3\xa9"}, {"risk_score", 1.0}, {"commits", 3}};
  const Json parsed = Json::parse(write_json(answer));
  EXPECT_EQ(parsed, answer);
  EXPECT_TRUE(parsed["risk_score"].is_number_float());
}

}  // namespace
}  // namespace lomarind::cli
