#include "JsonSchema.h"

using nlohmann::json;

namespace {

const JsonSchema SCHEMA(json::parse(R"({
    "type": "object",
    "required": ["kind"],
    "additionalProperties": false,
    "properties": {
        "kind": { "enum": ["call", "message"] },
        "count": { "type": ["integer", "null"], "minimum": 1 },
        "place": { "anyOf": [{ "type": "null" }, { "$ref": "#/$defs/place" }] },
        "names": { "type": "array", "items": { "type": "string" } },
        "counts": { "type": "object", "additionalProperties": { "type": "integer" } }
    },
    "$defs": { "place": { "type": "object", "additionalProperties": false, "properties": {} } }
})"));

std::string violation(const char* value) {
    return SCHEMA.violationIn(json::parse(value));
}

} // namespace

TEST(JsonSchema, WhatIsDescribedIsValid) {
    EXPECT_EQ(violation(R"({"kind": "call", "count": 1, "place": null, "names": ["a"], "counts": {"x": 0}})"),
              "");
    EXPECT_EQ(violation(R"({"kind": "message", "count": null, "place": {}})"), "");
    EXPECT_EQ(SCHEMA.violationIn(json::object(), "/$defs/place"), "");
}

TEST(JsonSchema, TellsWhatIsWrongAndWhere) {
    EXPECT_EQ(violation("[]"), "it: [] is no \"object\"");
    EXPECT_EQ(violation("{}"), "it lacks \"kind\"");
    EXPECT_EQ(violation(R"({"kind": "log"})"), R"(it.kind: "log" is not one of ["call","message"])");
    EXPECT_EQ(violation(R"({"kind": "call", "count": 0})"), "it.count: 0 is less than 1");
    EXPECT_EQ(violation(R"({"kind": "call", "count": 1.5})"), R"(it.count: 1.5 is no ["integer","null"])");
    EXPECT_EQ(violation(R"({"kind": "call", "names": ["a", 1]})"), "it.names[1]: 1 is no \"string\"");
    EXPECT_EQ(violation(R"({"kind": "call", "counts": {"x": "y"}})"), "it.counts.x: \"y\" is no \"integer\"");
    EXPECT_EQ(violation(R"({"kind": "call", "other": 1})"), "it has other, which is not described");
    EXPECT_EQ(violation(R"({"kind": "call", "place": {"x": 1}})"),
              R"(it.place: {"x":1} is no "null"; it.place has x, which is not described)");
}

TEST(JsonSchema, RefusesASchemaThatItDoesNotUnderstand) {
    const JsonSchema schema(json::parse(R"({"type": "string", "pattern": "a*"})"));
    EXPECT_THROW(schema.violationIn("b"), std::logic_error);
}
