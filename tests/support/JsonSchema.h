#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>

/// Whether a value conforms to a schema. Knows the part of the language that the schemas in docs/schemas use,
/// and refuses the rest.
class JsonSchema {
public:
    explicit JsonSchema(nlohmann::json schema) : m_schema(std::move(schema)) {}

    /// @param pointer  to the part of the schema to check against; empty: all of it
    void expectValid(const nlohmann::json& value, const std::string& pointer = {}) const {
        EXPECT_EQ(violationIn(value, pointer), "");
    }

    /// The first mistake, with its path in the value, which begins with "it"; empty if there is none.
    std::string violationIn(const nlohmann::json& value, const std::string& pointer = {}) const {
        return violation(value, m_schema.at(nlohmann::json::json_pointer(pointer)), "it");
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
               : type == "object"  ? value.is_object()
                                   : throw std::logic_error("the schema has an unknown type: " + type);
    }

    static bool isOfAny(const json& value, const json& types) {
        if (types.is_string())
            return isOfType(value, types);
        return std::any_of(types.begin(), types.end(),
                           [&value](const json& type) { return isOfType(value, type); });
    }

    static void requireKnownWords(const json& schema) {
        static const std::set<std::string> KNOWN = {
            "$defs", "$ref",  "$schema", "additionalProperties", "anyOf",    "definitions", "description",
            "enum",  "items", "minimum", "properties",           "required", "title",       "type"};
        for (const auto& [word, unused] : schema.items())
            if (KNOWN.count(word) == 0)
                throw std::logic_error("JsonSchema.h does not know the schema's word " + word);
    }

    std::string violation(const json& value, const json& schema, const std::string& where) const {
        requireKnownWords(schema);
        if (schema.contains("$ref"))
            return violation(value,
                             m_schema.at(json::json_pointer(schema.at("$ref").get<std::string>().substr(1))),
                             where);
        if (schema.contains("anyOf"))
            return violationOfAll(value, schema.at("anyOf"), where);
        if (schema.contains("enum")) {
            const json& listed = schema.at("enum");
            return std::find(listed.begin(), listed.end(), value) == listed.end()
                       ? where + ": " + value.dump() + " is not one of " + listed.dump()
                       : "";
        }
        const json& types = schema.at("type");
        if (!isOfAny(value, types))
            return where + ": " + value.dump() + " is no " + types.dump();
        if (value.is_number() && schema.contains("minimum") &&
            value.get<double>() < schema.at("minimum").get<double>())
            return where + ": " + value.dump() + " is less than " + schema.at("minimum").dump();
        if (value.is_array())
            return violationOfItems(value, schema.at("items"), where);
        return value.is_object() ? violationOfMembers(value, schema, where) : "";
    }

    std::string violationOfAll(const json& value, const json& choices, const std::string& where) const {
        std::string violations;
        for (const json& choice : choices) {
            const std::string found = violation(value, choice, where);
            if (found.empty())
                return "";
            violations += (violations.empty() ? "" : "; ") + found;
        }
        return violations;
    }

    std::string violationOfItems(const json& value, const json& items, const std::string& where) const {
        for (std::size_t i = 0; i < value.size(); ++i) {
            const std::string found = violation(value[i], items, where + "[" + std::to_string(i) + "]");
            if (!found.empty())
                return found;
        }
        return "";
    }

    std::string violationOfMembers(const json& value, const json& schema, const std::string& where) const {
        for (const json& name : schema.value("required", json::array()))
            if (!value.contains(name.get<std::string>()))
                return where + " lacks " + name.dump();
        // A schema that allows members which it does not describe would not notice a missing description.
        const json& others = schema.at("additionalProperties");
        const json properties = schema.value("properties", json::object());
        for (const auto& [name, member] : value.items()) {
            const bool isDescribed = properties.contains(name);
            if (!isDescribed && !others.is_object())
                return where + " has " + name + ", which is not described";
            const std::string found =
                violation(member, isDescribed ? properties.at(name) : others, where + "." + name);
            if (!found.empty())
                return found;
        }
        return "";
    }

    json m_schema;
};
