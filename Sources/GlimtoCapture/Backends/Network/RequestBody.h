#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

#include "Platform/HTTPTransport.h"

namespace glimto {

// What is sent with a request, read piece by piece and from the beginning as often as it takes: bytes that
// another keeps, or a file as long as it was when it was opened.
class RequestBody {
public:
    // Nothing, bytes, or a file. `source` outlives the body.
    explicit RequestBody(const std::variant<std::monostate, std::string, HTTPBodyFile>& source);

    std::int64_t size() const { return size_; }

    // Reads the next bytes; 0 at the end. Throws PlatformError when the file cannot be read or has become
    // shorter.
    std::size_t read(char* buffer, std::size_t capacity);

    // False when there is no such place.
    bool seek(std::int64_t offset);

private:
    const std::string* bytes_ = nullptr;
    const RegularFile* file_ = nullptr;
    std::int64_t size_ = 0;
    std::int64_t offset_ = 0;
};

} // namespace glimto
