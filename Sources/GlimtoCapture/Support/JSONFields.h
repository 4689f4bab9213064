#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace glimto {

// JSON (RFC 8259) from a file or a server, which may hold anything. `source` names it in errors, such as
// "manifest.json". Throws PlatformError (domain "JSON") when it is not valid, not UTF-8, or nested
// deeper than 100 levels, or holds more than a million values. A value takes up to 130 bytes of memory beside
// its text, so this bounds what a text of "{},{},{}" can cost. No error quotes the text, which may hold
// secrets.
nlohmann::json parseJSON(std::string_view text, const std::string& source);

// The same for who tells no more than that it is wrong: discarded when it is not valid, nested too deeply, or
// has more than `mostValues` values.
nlohmann::json parseBoundedJSON(std::string_view text, std::size_t mostValues);

// Reads the fields of one JSON object. A field that is missing or of another type throws PlatformError
// (domain "JSON"), which names the field by its path: "segments[2].key". What nobody asks for is ignored.
class JSONFields {
public:
    // `object` outlives the fields. Throws when it is no object.
    JSONFields(const nlohmann::json& object, std::string source);

    std::string text(const char* key) const;
    bool flag(const char* key) const;
    double number(const char* key) const;
    std::vector<std::string> texts(const char* key) const;
    JSONFields object(const char* key) const;
    std::vector<JSONFields> objects(const char* key) const;

    // A whole number within the type's range; 2.0 is one.
    template <typename Integer> Integer integer(const char* key) const
    {
        using Limits = std::numeric_limits<Integer>;
        return static_cast<Integer>(integerWithin(key, Limits::min(), Limits::max()));
    }
    std::uint64_t unsignedInteger(const char* key) const;

    // Whether the field is there and not null.
    bool has(const char* key) const;

    // What the type of `value` asks for, by the operations above; a struct is read by its readFields(). An
    // optional value stays as it is when the field is missing or null.
    void read(const char* key, std::string& value) const { value = text(key); }
    void read(const char* key, bool& value) const { value = flag(key); }
    void read(const char* key, double& value) const { value = number(key); }
    void read(const char* key, std::uint64_t& value) const { value = unsignedInteger(key); }
    void read(const char* key, std::vector<std::string>& value) const { value = texts(key); }
    void read(const char* key, std::map<std::string, std::string>& value) const
    {
        value = object(key).allTexts();
    }
    template <std::signed_integral Integer> void read(const char* key, Integer& value) const
    {
        value = integer<Integer>(key);
    }
    // By its names in JSON, which NLOHMANN_JSON_SERIALIZE_ENUM tells.
    template <typename Enumeration>
    requires std::is_enum_v<Enumeration>
    void read(const char* key, Enumeration& value) const
    {
        const nlohmann::json name = text(key);
        value = name.get<Enumeration>();
        if (nlohmann::json(value) != name)
            fail(key, "is unknown");
    }
    template <typename Value> void read(const char* key, std::optional<Value>& value) const
    {
        if (!has(key))
            return;
        Value given = {}; // not made in place, which clang 14 refuses for a struct within a struct
        read(key, given);
        value = std::move(given);
    }
    template <typename Struct> void read(const char* key, std::vector<Struct>& value) const
    {
        for (const JSONFields& fields : objects(key))
            readFields(fields, value.emplace_back());
    }
    template <typename Struct>
    requires std::is_class_v<Struct>
    void read(const char* key, Struct& value) const { readFields(object(key), value); }

    // Every field, each of which must be a text, by its key.
    std::map<std::string, std::string> allTexts() const;

private:
    JSONFields(const nlohmann::json& object, std::string source, std::string path);

    const nlohmann::json& field(const char* key) const;
    std::int64_t integerWithin(const char* key, std::int64_t least, std::int64_t most) const;
    [[noreturn]] void fail(const std::string& key, const std::string& what) const;

    const nlohmann::json* object_;
    std::string source_;
    std::string path_; // of this object, with a dot at its end, or empty
};

// A struct from the text of its JSON object, by its readFields().
template <typename Struct> Struct readJSON(std::string_view text, const std::string& source)
{
    const auto json = parseJSON(text, source);
    Struct value;
    readFields(JSONFields(json, source), value);
    return value;
}

} // namespace glimto
