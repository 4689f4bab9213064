#include "Support/JSONFields.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

constexpr std::size_t mostValues = 1'000'000;
constexpr int deepest = 100; // the parser needs stack for each level; nobody means more

// What reading a text would cost, known before it is parsed. It need not be valid.
struct JSONShape {
    int depth = 0; // of nested objects and arrays
    std::size_t values = 1; // at least as many as there are
};

JSONShape shapeOfJSON(std::string_view text)
{
    int depth = 0;
    JSONShape shape;
    bool isInString = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char character = text[at];
        if (isInString) {
            if (character == '\\')
                ++at;
            isInString = character != '"';
        } else if (character == '"') {
            isInString = true;
        } else if (character == '{' || character == '[') {
            shape.depth = std::max(shape.depth, ++depth);
            ++shape.values;
        } else if (character == '}' || character == ']') {
            --depth;
        } else if (character == ',') {
            ++shape.values;
        }
    }
    return shape;
}

[[noreturn]] void throwUnreadable(const std::string& source, const std::string& reason)
{
    throw PlatformError("JSON", 1, "Could not read " + source + ": " + reason);
}

// Whole numbers that a double holds exactly.
constexpr double largestWholeDouble = 9007199254740992.0;

} // namespace

nlohmann::json parseJSON(std::string_view text, const std::string& source)
{
    const JSONShape shape = shapeOfJSON(text);
    if (shape.depth > deepest)
        throwUnreadable(source, "its JSON is nested too deeply.");
    if (shape.values > mostValues)
        throwUnreadable(source, "its JSON holds too many values.");
    try {
        return nlohmann::json::parse(text);
    } catch (const nlohmann::json::parse_error& error) {
        throwUnreadable(source, "no valid JSON at byte " + std::to_string(error.byte) + ".");
    } catch (const nlohmann::json::exception&) {
        throwUnreadable(source, "a number in its JSON is out of range.");
    }
}

nlohmann::json parseBoundedJSON(std::string_view text, std::size_t mostValues)
{
    const JSONShape shape = shapeOfJSON(text);
    if (shape.depth > deepest || shape.values > mostValues)
        return nlohmann::json(nlohmann::json::value_t::discarded);
    return nlohmann::json::parse(text, nullptr, false);
}

JSONFields::JSONFields(const nlohmann::json& object, std::string source)
    : JSONFields(object, std::move(source), "")
{
    if (!object.is_object())
        throwUnreadable(source_, "its JSON is no object.");
}

JSONFields::JSONFields(const nlohmann::json& object, std::string source, std::string path)
    : object_(&object)
    , source_(std::move(source))
    , path_(std::move(path))
{
}

void JSONFields::fail(const std::string& key, const std::string& what) const
{
    throwUnreadable(source_, excerpt(path_ + key) + " " + what + "."); // a key may be the server's
}

bool JSONFields::has(const char* key) const
{
    const auto found = object_->find(key);
    return found != object_->end() && !found->is_null();
}

const nlohmann::json& JSONFields::field(const char* key) const
{
    const auto found = object_->find(key);
    if (found == object_->end())
        fail(key, "is missing");
    return *found;
}

std::string JSONFields::text(const char* key) const
{
    const auto& value = field(key);
    if (!value.is_string())
        fail(key, "is no text");
    return value.get<std::string>();
}

bool JSONFields::flag(const char* key) const
{
    const auto& value = field(key);
    if (!value.is_boolean())
        fail(key, "is neither true nor false");
    return value.get<bool>();
}

double JSONFields::number(const char* key) const
{
    const auto& value = field(key);
    if (!value.is_number())
        fail(key, "is no number");
    return value.get<double>();
}

std::int64_t JSONFields::integerWithin(const char* key, std::int64_t least, std::int64_t most) const
{
    const auto& value = field(key);
    std::optional<std::int64_t> integer;
    if (value.is_number_unsigned()) {
        if (value.get<std::uint64_t>()
            <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            integer = value.get<std::int64_t>();
    } else if (value.is_number_integer()) {
        integer = value.get<std::int64_t>();
    } else if (value.is_number_float()) {
        const double number = value.get<double>();
        if (std::trunc(number) == number && std::abs(number) <= largestWholeDouble)
            integer = static_cast<std::int64_t>(number);
    }
    if (!integer || *integer < least || *integer > most)
        fail(key, "is no whole number within its range");
    return *integer;
}

std::uint64_t JSONFields::unsignedInteger(const char* key) const
{
    const auto& value = field(key);
    if (value.is_number_unsigned())
        return value.get<std::uint64_t>();
    return static_cast<std::uint64_t>(integerWithin(key, 0, std::numeric_limits<std::int64_t>::max()));
}

std::vector<std::string> JSONFields::texts(const char* key) const
{
    const auto& value = field(key);
    if (!value.is_array())
        fail(key, "is no list");
    std::vector<std::string> result;
    result.reserve(value.size());
    for (const auto& element : value) {
        if (!element.is_string())
            fail(key, "holds what is no text");
        result.push_back(element.get<std::string>());
    }
    return result;
}

JSONFields JSONFields::object(const char* key) const
{
    const auto& value = field(key);
    if (!value.is_object())
        fail(key, "is no object");
    return JSONFields(value, source_, path_ + key + ".");
}

std::vector<JSONFields> JSONFields::objects(const char* key) const
{
    const auto& value = field(key);
    if (!value.is_array())
        fail(key, "is no list");
    std::vector<JSONFields> result;
    result.reserve(value.size());
    for (std::size_t index = 0; index < value.size(); ++index) {
        const std::string name = std::string(key) + "[" + std::to_string(index) + "]";
        if (!value[index].is_object())
            fail(name, "is no object");
        result.push_back(JSONFields(value[index], source_, path_ + name + "."));
    }
    return result;
}

std::map<std::string, std::string> JSONFields::allTexts() const
{
    std::map<std::string, std::string> result;
    for (const auto& [key, value] : object_->items()) {
        if (!value.is_string())
            fail(key, "is no text");
        result.emplace(key, value.get<std::string>());
    }
    return result;
}

} // namespace glimto
