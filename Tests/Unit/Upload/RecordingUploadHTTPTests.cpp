#include "Upload/RecordingUploadHTTP.h"

#include "UploadTestSupport.h"
#include "Upload/TaskCancellationError.h"

namespace glimto {
namespace {

class RecordingUploadHTTPTests : public testing::Test {
protected:
    RecordingUploadHTTP http() { return {options, transport, cancellation}; }

    HTTPRequest request()
    {
        return RecordingUploadHTTP::uploadRequest(artifact, signedUpload, options.apiBaseURL, files);
    }

    static std::string validationFailure(int status, const std::string& body)
    {
        return failureOf([&] { RecordingUploadHTTP::validateHTTPResponse(status, body, "/api"); });
    }

    RecordingUploadOptions options{
        .accessKey = " key \n", .apiBaseURL = "http://host:1/base/", .recordingId = std::nullopt};
    FakeHTTPTransport transport;
    UploadCancellation cancellation;
    TemporaryDirectory take;
    FilesBelow files;
    UploadArtifact artifact{std::string("bytes"), "org/rec/x", "x", 5};
    SignedUpload signedUpload{"video/mp4", {}, "org/rec/x", "PUT", "https://store/x?signature=1"};
};

TEST_F(RecordingUploadHTTPTests, EndpointsHaveOneComponentEach)
{
    EXPECT_EQ(http().endpoint({"api", "recordings", "a/b c"}), "http://host:1/base/api/recordings/a%2Fb%20c");
}

TEST_F(RecordingUploadHTTPTests, APostHasTypeBodyAndKey)
{
    transport.answer = [](const auto&, const std::string& body) { return HTTPResponse{201, "got " + body}; };
    EXPECT_EQ(http().postJSON("http://host/x", "{}"), "got {}");
    const auto request = transport.requests().at(0);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, "http://host/x");
    EXPECT_EQ(request.headers, (HTTPHeaders{{"Content-Type", "application/json"}}));
    EXPECT_EQ(request.originHeaders, (HTTPHeaders{{"x-glimto-access-key", "key"}}));
    EXPECT_EQ(request.timeout, std::chrono::seconds(60));
}

TEST_F(RecordingUploadHTTPTests, AGetHasTheKeyAlone)
{
    transport.answer = [](const auto&, const auto&) { return HTTPResponse{200, "{}"}; };
    EXPECT_EQ(http().getJSON("http://host/x"), "{}");
    const auto request = transport.requests().at(0);
    EXPECT_EQ(request.method, "GET");
    EXPECT_TRUE(request.headers.empty());
    EXPECT_EQ(request.originHeaders.size(), 1U);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(request.body));
}

TEST_F(RecordingUploadHTTPTests, AKeyOfSpacesIsNoKey)
{
    transport.answer = [](const auto&, const auto&) { return HTTPResponse{200, ""}; };
    for (const std::optional<std::string>& key :
        {std::optional<std::string>("  "), std::optional<std::string>()}) {
        options.accessKey = key;
        http().getJSON("http://host/x");
        EXPECT_TRUE(transport.requests().back().originHeaders.empty());
    }
}

TEST_F(RecordingUploadHTTPTests, ErrorsOfTheNetworkPassThrough)
{
    transport.answer
        = [](const auto&, const auto&) -> HTTPResponse { throw PlatformError("HTTP", 7, "no route"); };
    EXPECT_EQ(failureOf([&] { http().getJSON("http://host/x"); }), "no route");
}

TEST_F(RecordingUploadHTTPTests, ARefusalNamesThePathAndNeitherHostNorQuery)
{
    transport.answer = [](const auto&, const auto&) {
        return HTTPResponse{404, R"({"error":{"message":"gone"}})"};
    };
    EXPECT_EQ(
        failureOf([&] { http().getJSON("http://host/a%20b/c?secret=1"); }), "HTTP 404 for /a b/c: gone");
}

TEST_F(RecordingUploadHTTPTests, ACancelledRequestEndsAtOnce)
{
    cancellation.cancel();
    transport.answer = [](const auto&, const auto&) { return HTTPResponse{200, ""}; };
    EXPECT_THROW(http().getJSON("http://host/x"), TaskCancellationError);
}

TEST_F(RecordingUploadHTTPTests, StatusesOfSuccessAre200To299)
{
    EXPECT_EQ(validationFailure(200, ""), "no failure");
    EXPECT_EQ(validationFailure(299, "x"), "no failure");
    EXPECT_EQ(validationFailure(199, "x"), "HTTP 199 for /api: x");
    EXPECT_EQ(validationFailure(300, "x"), "HTTP 300 for /api: x");
    EXPECT_EQ(validationFailure(0, ""), "No HTTP response for /api.");
}

TEST_F(RecordingUploadHTTPTests, TheDetailIsTheBestThereIs)
{
    EXPECT_EQ(
        validationFailure(500, R"({"error":{"message":"deep trouble"}})"), "HTTP 500 for /api: deep trouble");
    EXPECT_EQ(validationFailure(500, R"({"error":"text"})"), R"(HTTP 500 for /api: {"error":"text"})");
    EXPECT_EQ(validationFailure(500, "plain"), "HTTP 500 for /api: plain");
    EXPECT_EQ(validationFailure(500, "\xFF"), "HTTP 500 for /api: request failed");
    EXPECT_EQ(validationFailure(403, ""), "HTTP 403 for /api: request failed");
}

TEST_F(RecordingUploadHTTPTests, ADetailMakesOneLineOfBoundedLength)
{
    EXPECT_EQ(validationFailure(502, "<html>\n<h1>Bad</h1>\n"), "HTTP 502 for /api: <html> <h1>Bad</h1>");
    EXPECT_EQ(validationFailure(502, std::string(5'000'000, 'x')).size(), 19U + 2000U);
    EXPECT_EQ(validationFailure(502, std::string(5'000'000, '[')).size(), 19U + 2000U);
}

TEST_F(RecordingUploadHTTPTests, AnUploadHasTheHeadersThatItCameWith)
{
    signedUpload.headers = {{"Content-Type", "a/b"}, {"x-extra", "1"}};
    const auto request = this->request();
    EXPECT_EQ(request.method, "PUT");
    EXPECT_EQ(request.url, "https://store/x?signature=1");
    EXPECT_EQ(request.headers, (HTTPHeaders{{"Content-Type", "a/b"}, {"x-extra", "1"}}));
    EXPECT_TRUE(request.originHeaders.empty());
    EXPECT_EQ(request.timeout, std::chrono::seconds(60));
}

TEST_F(RecordingUploadHTTPTests, AnUploadWithoutHeadersHasItsContentType)
{
    EXPECT_EQ(request().headers, (HTTPHeaders{{"Content-Type", "video/mp4"}}));
    signedUpload.headers = {{"x-extra", "1"}};
    EXPECT_EQ(request().headers, (HTTPHeaders{{"x-extra", "1"}}));
}

TEST_F(RecordingUploadHTTPTests, BytesAreSentFromMemory)
{
    EXPECT_EQ(std::get<std::string>(request().body), "bytes");
}

TEST_F(RecordingUploadHTTPTests, AFileIsSentAsItIsWhenItsTurnHasCome)
{
    artifact.body = FileBelow{take.path(), "x"};
    EXPECT_EQ(failureOf([&] { request(); }),
        "Could not read " + (take.path() / "x").string() + ": No such file or directory");
    writeTestFile(take.path() / "x", "content");
    const auto body = std::get<HTTPBodyFile>(request().body);
    std::filesystem::rename(take.path() / "x", take.path() / "y");
    EXPECT_EQ(body->readWhole(100), "content");
}

TEST_F(RecordingUploadHTTPTests, AnEncryptedAPIMayNotSendObjectsInTheClear)
{
    signedUpload.url = "http://store/x";
    EXPECT_EQ(request().url, "http://store/x");
    options.apiBaseURL = "https://host";
    EXPECT_EQ(failureOf([&] { request(); }),
        "API returned an upload URL that leads away from encryption for org/rec/x.");
    signedUpload.url = "https://store/x";
    EXPECT_EQ(request().url, "https://store/x");
}

TEST_F(RecordingUploadHTTPTests, RequestsHaveADeadlineAndObjectsTheTimeThatASlowLineTakes)
{
    transport.answer = [](const auto&, const auto&) { return HTTPResponse{200, "{}"}; };
    http().getJSON("http://host/x");
    EXPECT_EQ(transport.requests().back().deadline, std::chrono::seconds(120));
    writeTestFile(take.path() / "x", std::string(8 << 20, 'x'));
    artifact.body = FileBelow{take.path(), "x"};
    EXPECT_EQ(request().deadline, std::chrono::seconds(120 + 2048));
}

TEST_F(RecordingUploadHTTPTests, OnlyPutInCapitalsIsPut)
{
    for (const char* method : {"put", "POST", "", "PUT "}) {
        signedUpload.method = method;
        EXPECT_EQ(failureOf([&] { request(); }),
            std::string("Expected signed upload method PUT for org/rec/x, got ") + method + ".");
    }
}

TEST_F(RecordingUploadHTTPTests, WhatIsNoURLIsRefused)
{
    for (const char* url : {"", "not a url", "/relative", "file:///etc/passwd", "http://", "http://h/a b"}) {
        signedUpload.url = url;
        EXPECT_EQ(failureOf([&] { request(); }), "API returned an invalid signed upload URL for org/rec/x.");
    }
}

} // namespace
} // namespace glimto
