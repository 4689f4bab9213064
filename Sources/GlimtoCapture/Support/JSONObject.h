#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Support/Text.h"

namespace glimto {

// How a value stands in JSON: as itself, as the toJSON() of its type, or as the list of its elements. Text is
// made valid UTF-8.
template <typename Value> nlohmann::json jsonOf(const Value& value)
{
    if constexpr (std::is_constructible_v<std::string, const Value&>)
        return validUTF8(value);
    else if constexpr (requires { toJSON(value); })
        return toJSON(value);
    else
        return value;
}

template <typename Element> nlohmann::json jsonOf(const std::vector<Element>& elements)
{
    auto list = nlohmann::json::array();
    for (const auto& element : elements)
        list.push_back(jsonOf(element));
    return list;
}

// Sets a member; one that is absent is left out.
template <typename Value> void setMember(nlohmann::json& object, const char* key, const Value& value)
{
    object[key] = jsonOf(value);
}

template <typename Value>
void setMember(nlohmann::json& object, const char* key, const std::optional<Value>& value)
{
    if (value)
        object[key] = jsonOf(*value);
}

} // namespace glimto

#define GLIMTO_JSON_MEMBER(field) glimto::setMember(object, #field, value.field);

#define GLIMTO_JSON_READ_MEMBER(field) fields.read(#field, value.field);

// Defines toJSON(), and readFields() for JSONFields, for a struct whose JSON keys equal the names of its
// fields, which are listed after it.
#define GLIMTO_JSON_OBJECT(Type, ...)                                                                        \
    inline nlohmann::json toJSON(const Type& value)                                                          \
    {                                                                                                        \
        auto object = nlohmann::json::object();                                                              \
        NLOHMANN_JSON_EXPAND(NLOHMANN_JSON_PASTE(GLIMTO_JSON_MEMBER, __VA_ARGS__))                           \
        return object;                                                                                       \
    }                                                                                                        \
    template <typename Fields> void readFields(const Fields& fields, Type& value)                            \
    {                                                                                                        \
        NLOHMANN_JSON_EXPAND(NLOHMANN_JSON_PASTE(GLIMTO_JSON_READ_MEMBER, __VA_ARGS__))                      \
    }
