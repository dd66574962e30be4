#include "text/Json.h"

#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using OrderedJson = nlohmann::ordered_json;

TEST(TextJsonTest, MembersStayInTheOrderInWhichTheyCame) {
  OrderedJson json;
  json["peak"] = 42.5;
  json["above"] = nullptr;
  json["changes"] = OrderedJson::array({1, 2});
  EXPECT_EQ(jsonText(json), R"({"peak":42.5,"above":null,"changes":[1,2]})");
  EXPECT_EQ(jsonText(parsedJson(R"({"b":1,"a":2})")), R"({"b":1,"a":2})");
}

TEST(TextJsonTest, AnIndentationPutsEachMemberOnALine) {
  EXPECT_EQ(jsonText(parsedJson(R"({"a":[1]})"), 2), "{\n  \"a\": [\n    1\n  ]\n}");
}

TEST(TextJsonTest, BytesThatAreNotUtf8AreReplaced) {
  EXPECT_EQ(jsonText(OrderedJson("a\xFF")), "\"a\xEF\xBF\xBD\"");
  EXPECT_EQ(jsonText(OrderedJson("\xC3\xA4")), "\"\xC3\xA4\"");
}

TEST(TextJsonTest, ATextThatIsNoneThrowsOrIsDiscardedAsAsked) {
  for (const char* text : {"", "{", "{\"a\":}", "nothing", "1 2"}) {
    EXPECT_THROW(parsedJson(text), OrderedJson::parse_error) << text;
    EXPECT_TRUE(parsedJson(text, false).is_discarded()) << text;
  }
  EXPECT_FALSE(parsedJson("null", false).is_discarded());
}

} // namespace
