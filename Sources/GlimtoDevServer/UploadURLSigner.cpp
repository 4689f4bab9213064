#include "UploadURLSigner.h"

#include <array>
#include <span>
#include <utility>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include "Support/DecimalText.h"
#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

long long secondsSinceEpoch(UploadURLSigner::Time time)
{
    return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

} // namespace

UploadURLSigner::UploadURLSigner(std::string secret)
    : secret_(std::move(secret))
{
}

std::string UploadURLSigner::signature(
    const std::string& method, const std::string& key, long long expires) const
{
    const std::string message = method + "\n" + key + "\n" + std::to_string(expires);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest = {};
    unsigned int size = 0;
    if (!HMAC(EVP_sha256(), secret_.data(), static_cast<int>(secret_.size()),
            reinterpret_cast<const unsigned char*>(message.data()), message.size(), digest.data(), &size))
        throw PlatformError("OpenSSL", 0, "The upload URL could not be signed.");
    return hexadecimal(std::span(digest).first(size));
}

std::string UploadURLSigner::query(const std::string& method, const std::string& key, Time expiry) const
{
    const auto expires = secondsSinceEpoch(expiry);
    return "expires=" + std::to_string(expires) + "&signature=" + signature(method, key, expires);
}

SignatureVerdict UploadURLSigner::judge(const std::string& method, const std::string& key,
    const std::optional<std::string>& expires, const std::optional<std::string>& signature, Time now) const
{
    if (!expires || !signature)
        return SignatureVerdict::unsignedRequest;
    const auto seconds = wholeNumber<long long>(*expires);
    if (!seconds || !equalInConstantTime(*signature, this->signature(method, key, *seconds)))
        return SignatureVerdict::wrong;
    return secondsSinceEpoch(now) < *seconds ? SignatureVerdict::valid : SignatureVerdict::expired;
}

std::string UploadURLSigner::randomSecret()
{
    std::array<unsigned char, 32> bytes = {};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
        throw PlatformError("OpenSSL", 0, "The system has no random numbers.");
    return hexadecimal(bytes);
}

bool equalInConstantTime(const std::string& left, const std::string& right)
{
    return left.size() == right.size() && CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}

} // namespace glimto
