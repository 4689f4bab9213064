#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace glimto {

enum class SignatureVerdict { valid, unsignedRequest, wrong, expired };

// Signs and judges upload URLs: HMAC-SHA256 (RFC 2104) over method, key and the second at which the URL
// expires, so that a URL serves for nothing else.
class UploadURLSigner {
public:
    using Time = std::chrono::system_clock::time_point;

    explicit UploadURLSigner(std::string secret);

    // "expires=<Unix seconds>&signature=<64 hexadecimal digits>".
    std::string query(const std::string& method, const std::string& key, Time expiry) const;

    SignatureVerdict judge(const std::string& method, const std::string& key,
        const std::optional<std::string>& expires, const std::optional<std::string>& signature,
        Time now) const;

    // 256 bits from the system's random source, in hexadecimal digits.
    static std::string randomSecret();

private:
    std::string signature(const std::string& method, const std::string& key, long long expires) const;

    std::string secret_;
};

// Whether both are equal, in a time that depends on their lengths only.
bool equalInConstantTime(const std::string& left, const std::string& right);

} // namespace glimto
