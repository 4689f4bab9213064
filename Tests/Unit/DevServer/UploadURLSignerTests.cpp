#include "UploadURLSigner.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using std::chrono::seconds;

constexpr UploadURLSigner::Time now(seconds(1'700'000'000));

struct Query {
    std::optional<std::string> expires;
    std::optional<std::string> signature;
};

Query parsed(const std::string& query)
{
    const auto ampersand = query.find('&');
    return {query.substr(8, ampersand - 8), query.substr(ampersand + 11)};
}

SignatureVerdict verdict(const UploadURLSigner& signer, const Query& query, const std::string& method = "PUT",
    const std::string& key = "a/b", UploadURLSigner::Time time = now)
{
    return signer.judge(method, key, query.expires, query.signature, time);
}

TEST(UploadURLSignerTests, QueryNamesTheSecondAndTheDigest)
{
    // printf 'PUT\na/b\n1700000300' | openssl dgst -sha256 -hmac secret
    EXPECT_EQ(UploadURLSigner("secret").query("PUT", "a/b", now + seconds(300)),
        "expires=1700000300&signature=b7b1488219123fbc0d979531f526ac40ce44707d13b28867b439853a092ebb60");
}

TEST(UploadURLSignerTests, AURLServesOnlyForWhatItWasSignedFor)
{
    const UploadURLSigner signer("secret");
    const auto query = parsed(signer.query("PUT", "a/b", now + seconds(300)));
    EXPECT_EQ(verdict(signer, query), SignatureVerdict::valid);
    EXPECT_EQ(verdict(signer, query, "GET"), SignatureVerdict::wrong);
    EXPECT_EQ(verdict(signer, query, "PUT", "a/c"), SignatureVerdict::wrong);
    EXPECT_EQ(verdict(UploadURLSigner("other"), query), SignatureVerdict::wrong);
    EXPECT_EQ(verdict(signer, {"1700000301", query.signature}), SignatureVerdict::wrong);
    EXPECT_EQ(verdict(signer, {query.expires, "00"}), SignatureVerdict::wrong);
    EXPECT_EQ(verdict(signer, {"+1700000300", query.signature}), SignatureVerdict::wrong);
    EXPECT_EQ(verdict(signer, {"", query.signature}), SignatureVerdict::wrong);
}

TEST(UploadURLSignerTests, MissingPartsMeanUnsigned)
{
    const UploadURLSigner signer("secret");
    const auto query = parsed(signer.query("PUT", "a/b", now + seconds(300)));
    EXPECT_EQ(verdict(signer, {std::nullopt, query.signature}), SignatureVerdict::unsignedRequest);
    EXPECT_EQ(verdict(signer, {query.expires, std::nullopt}), SignatureVerdict::unsignedRequest);
}

TEST(UploadURLSignerTests, AURLExpires)
{
    const UploadURLSigner signer("secret");
    const auto query = parsed(signer.query("PUT", "a/b", now + seconds(300)));
    EXPECT_EQ(verdict(signer, query, "PUT", "a/b", now + seconds(299)), SignatureVerdict::valid);
    EXPECT_EQ(verdict(signer, query, "PUT", "a/b", now + seconds(300)), SignatureVerdict::expired);
}

TEST(UploadURLSignerTests, RandomSecretsDiffer)
{
    EXPECT_EQ(UploadURLSigner::randomSecret().size(), 64u);
    EXPECT_NE(UploadURLSigner::randomSecret(), UploadURLSigner::randomSecret());
}

} // namespace
} // namespace glimto
