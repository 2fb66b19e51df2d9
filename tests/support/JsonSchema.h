#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

/// Whether a value is as a schema says; knows as much of the language as the schemas in docs/schemas use.
class JsonSchema {
public:
    explicit JsonSchema(nlohmann::json schema) : m_schema(std::move(schema)) {}

    /// @param pointer to the part of the schema that is meant; empty: all of it
    void expectValid(const nlohmann::json& value, const std::string& pointer = {}) const {
        check(value, m_schema.at(nlohmann::json::json_pointer(pointer)), "it");
    }

private:
    using json = nlohmann::json;

    static bool isOfType(const json& value, const std::string& type) {
        return type == "string"    ? value.is_string()
               : type == "boolean" ? value.is_boolean()
               : type == "integer" ? value.is_number_integer()
               : type == "number"  ? value.is_number()
               : type == "array"   ? value.is_array()
               : type == "null"    ? value.is_null()
                                   : value.is_object();
    }

    static bool isOfAny(const json& value, const json& types) {
        if (types.is_string())
            return isOfType(value, types);
        for (const json& type : types) {
            if (isOfType(value, type))
                return true;
        }
        return false;
    }

    void check(const json& value, const json& given, const std::string& where) const {
        const json& wanted =
            given.contains("$ref")
                ? m_schema.at(json::json_pointer(given.at("$ref").get<std::string>().substr(1)))
                : given;
        ASSERT_TRUE(isOfAny(value, wanted.at("type"))) << where << ": " << value;
        if (wanted.contains("minimum")) {
            EXPECT_GE(value.get<long>(), wanted.at("minimum").get<long>()) << where;
        }
        if (value.is_array()) {
            for (const json& item : value)
                check(item, wanted.at("items"), where + "[]");
        }
        if (!value.is_object())
            return;
        for (const json& name : wanted.at("required"))
            EXPECT_TRUE(value.contains(name.get<std::string>())) << where << " lacks " << name;
        for (const auto& [name, member] : value.items()) {
            ASSERT_TRUE(wanted.at("properties").contains(name)) << where << " has " << name;
            check(member, wanted.at("properties").at(name), where + "." + name);
        }
    }

    json m_schema;
};
