#include "Backends/Network/CurlHTTPTransport.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>
#include <memory>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"
#include "TestHTTPServer.h"

namespace glimto {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class CurlHTTPTransportTests : public testing::Test {
protected:
    struct Outcome {
        HTTPResponse response;
        std::string error = "none";
    };

    std::unique_ptr<HTTPTransfer> start(const HTTPRequest& request, std::future<Outcome>& outcome)
    {
        auto promise = std::make_shared<std::promise<Outcome>>();
        outcome = promise->get_future();
        return transport.start(request, [promise](HTTPResponse response, const std::exception_ptr& error) {
            promise->set_value({std::move(response), error ? errorFacts(error).message : "none"});
        });
    }

    Outcome perform(const HTTPRequest& request)
    {
        std::future<Outcome> outcome;
        const auto transfer = start(request, outcome);
        if (outcome.wait_for(std::chrono::seconds(30)) != std::future_status::ready)
            return {{}, "no end"};
        return outcome.get();
    }

    static HTTPRequest get(const std::string& url)
    {
        HTTPRequest request;
        request.method = "GET";
        request.url = url;
        return request;
    }

    static HTTPBodyFile fileIn(const TemporaryDirectory& directory)
    {
        return std::make_shared<RegularFile>(RegularFile::open(FileBelow{directory.path(), "x"}));
    }

    TestHTTPServer& serve(TestHTTPServer::Answer answer)
    {
        servers.push_back(std::make_unique<TestHTTPServer>(std::move(answer)));
        return *servers.back();
    }

    TestHTTPServer& serveOK()
    {
        return serve([](const auto&) { return TestHTTPServer::ok("fine"); });
    }

    // A server that does not answer before the test is over.
    TestHTTPServer& serveSilence()
    {
        return serve([isOver = testEnd](const auto&) {
            isOver.wait_for(std::chrono::seconds(30));
            return std::string();
        });
    }

    std::vector<std::unique_ptr<TestHTTPServer>> servers;
    std::promise<void> testIsOver; // destroyed before the servers, which then end
    std::shared_future<void> testEnd = testIsOver.get_future().share();
    CurlHTTPTransport transport;
};

TEST_F(CurlHTTPTransportTests, AGetSendsItsHeadersAndNoOthers)
{
    auto& server = serveOK();
    auto request = get(server.url("/a?b=c"));
    request.headers = {{"x-one", "1"}, {"x-empty", ""}};
    request.originHeaders = {{"x-key", "secret"}};
    const auto outcome = perform(request);
    EXPECT_EQ(outcome.error, "none");
    EXPECT_EQ(outcome.response.status, 200);
    EXPECT_EQ(outcome.response.body, "fine");
    EXPECT_EQ(server.requests().at(0).head,
        "GET /a?b=c HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.port())
            + "\r\nx-one: 1\r\nx-empty:\r\nx-key: secret\r\n");
}

// A variable of the environment, as long as this lives.
class Variable {
public:
    Variable(const char* name, const std::string& value)
        : name_(name)
    {
        if (const char* text = std::getenv(name))
            before_ = text;
        ::setenv(name, value.c_str(), 1);
    }
    ~Variable() { before_ ? ::setenv(name_, before_->c_str(), 1) : ::unsetenv(name_); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* name_;
    std::optional<std::string> before_;
};

TEST_F(CurlHTTPTransportTests, TheProxyOfTheNetworkSeesNothingForThisMachine)
{
    auto& proxy = serve([](const auto&) { return TestHTTPServer::ok("proxy"); });
    auto& server = serveOK();
    const Variable http("http_proxy", proxy.url(""));
    const Variable all("all_proxy", proxy.url(""));
    for (const std::string host : {"127.0.0.1", "localhost"}) {
        auto request = get("http://" + host + ":" + std::to_string(server.port()) + "/a");
        request.originHeaders = {{"x-key", "secret"}};
        const auto outcome = perform(request);
        EXPECT_EQ(outcome.error, "none");
        EXPECT_EQ(outcome.response.body, "fine");
    }
    EXPECT_TRUE(proxy.requests().empty());
    EXPECT_EQ(perform(get("http://another.machine/a")).response.body, "proxy");
}

TEST_F(CurlHTTPTransportTests, APostSendsItsBody)
{
    auto& server = serve([](const auto&) { return TestHTTPServer::ok("made", "201 Created"); });
    auto request = get(server.url("/"));
    request.method = "POST";
    request.headers = {{"Content-Type", "application/json"}};
    request.body = std::string(5000, 'x');
    const auto outcome = perform(request);
    EXPECT_EQ(outcome.response.status, 201);
    EXPECT_EQ(server.requests().at(0).body, std::string(5000, 'x'));
    EXPECT_THAT(server.requests().at(0).head, StartsWith("POST / HTTP/1.1\r\n"));
    EXPECT_THAT(server.requests().at(0).head, HasSubstr("Content-Type: application/json\r\n"));
    EXPECT_THAT(server.requests().at(0).head, Not(HasSubstr("Expect")));
}

TEST_F(CurlHTTPTransportTests, APutStreamsItsFile)
{
    const TemporaryDirectory directory;
    const std::string content(3'000'000, 'y');
    std::ofstream(directory.path() / "x") << content;
    auto& server = serveOK();
    auto request = get(server.url("/x"));
    request.method = "PUT";
    request.body = fileIn(directory);
    EXPECT_EQ(perform(request).response.status, 200);
    EXPECT_EQ(server.requests().at(0).body, content);
    EXPECT_EQ(server.requests().at(0).head,
        "PUT /x HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.port())
            + "\r\nContent-Length: 3000000\r\n");
}

TEST_F(CurlHTTPTransportTests, AnEmptyFileIsSentAsAnEmptyBody)
{
    const TemporaryDirectory directory;
    std::ofstream(directory.path() / "x") << "";
    auto& server = serveOK();
    auto request = get(server.url("/x"));
    request.method = "PUT";
    request.body = fileIn(directory);
    EXPECT_EQ(perform(request).response.status, 200);
    EXPECT_THAT(server.requests().at(0).head, HasSubstr("Content-Length: 0\r\n"));
}

TEST_F(CurlHTTPTransportTests, AFileThatBecomesShorterIsAnError)
{
    const TemporaryDirectory directory;
    std::ofstream(directory.path() / "x") << "0123456789";
    auto request = get(serveOK().url("/"));
    request.method = "PUT";
    request.body = fileIn(directory);
    std::filesystem::resize_file(directory.path() / "x", 0);
    EXPECT_EQ(perform(request).error,
        "Could not read " + (directory.path() / "x").string() + ": it became shorter while it was sent.");
}

TEST_F(CurlHTTPTransportTests, ConnectionsAreKept)
{
    auto& server = serveOK();
    for (int count = 0; count < 5; ++count)
        EXPECT_EQ(perform(get(server.url("/"))).response.status, 200);
    EXPECT_EQ(server.connectionCount(), 1);
}

TEST_F(CurlHTTPTransportTests, RequestsGoSideBySide)
{
    std::promise<void> allThere;
    std::atomic<int> waiting = 0;
    auto there = allThere.get_future().share();
    auto& server = serve([&, there](const auto&) {
        if (++waiting == 6)
            allThere.set_value();
        there.wait_for(std::chrono::seconds(30));
        return TestHTTPServer::ok("x");
    });
    std::vector<std::future<Outcome>> outcomes(6);
    std::vector<std::unique_ptr<HTTPTransfer>> transfers;
    for (auto& outcome : outcomes)
        transfers.push_back(start(get(server.url("/")), outcome));
    for (auto& outcome : outcomes)
        EXPECT_EQ(outcome.get().response.status, 200);
    EXPECT_EQ(waiting, 6);
}

TEST_F(CurlHTTPTransportTests, AServerThatIsNotThereIsAnErrorWithoutThePath)
{
    int port = 0;
    {
        const TestHTTPServer gone([](const auto&) { return std::string(); });
        port = gone.port();
    }
    const auto error = perform(get("http://127.0.0.1:" + std::to_string(port) + "/x?signature=secret")).error;
    EXPECT_THAT(error, StartsWith("The request to http://127.0.0.1:" + std::to_string(port) + " failed: "));
    EXPECT_THAT(error, Not(HasSubstr("secret")));
}

TEST_F(CurlHTTPTransportTests, AnAnswerThatStopsIsAnError)
{
    auto& server = serve([](const auto& request) {
        return request.head.find(" /cut ") == std::string::npos
            ? std::string()
            : "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf";
    });
    EXPECT_THAT(
        perform(get(server.url("/none?secret"))).error, StartsWith("The request to http://127.0.0.1:"));
    auto request = get(server.url("/cut"));
    request.timeout = std::chrono::seconds(1);
    EXPECT_THAT(perform(request).error, HasSubstr("timed out: nothing moved for 1 seconds."));
}

TEST_F(CurlHTTPTransportTests, ASilentServerIsLeft)
{
    auto& server = serveSilence();
    auto request = get(server.url("/?secret"));
    request.timeout = std::chrono::seconds(1);
    EXPECT_EQ(perform(request).error,
        "The request to " + server.url("") + " timed out: nothing moved for 1 seconds.");
}

TEST_F(CurlHTTPTransportTests, AServerThatKeepsARequestMovingIsLeftAtItsDeadline)
{
    auto& server = serve([isOver = testEnd](const auto& request) {
        isOver.wait_for(std::chrono::milliseconds(300));
        return TestHTTPServer::redirect("302", request.head.find(" /a ") == std::string::npos ? "/a" : "/b");
    });
    auto request = get(server.url("/"));
    request.timeout = std::chrono::seconds(60);
    request.deadline = std::chrono::seconds(1);
    EXPECT_EQ(perform(request).error,
        "The request to " + server.url("") + " timed out: it was not done within 1 seconds.");
}

TEST_F(CurlHTTPTransportTests, ALongAnswerIsCutOff)
{
    auto& server = serve([](const auto&) {
        return "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + std::string(1'000'000, 'x');
    });
    auto request = get(server.url("/"));
    request.mostResponseBytes = 1000;
    EXPECT_EQ(perform(request).error, "The answer is longer than 1000 bytes.");
}

TEST_F(CurlHTTPTransportTests, HeadersWithoutEndAreCutOff)
{
    auto& server = serve([](const auto&) {
        std::string answer = "HTTP/1.1 200 OK\r\n";
        for (int count = 0; count < 10000; ++count)
            answer += "x-" + std::to_string(count) + ": " + std::string(100, 'x') + "\r\n";
        return answer;
    });
    EXPECT_EQ(perform(get(server.url("/"))).error, "The headers of an answer are too long.");
}

TEST_F(CurlHTTPTransportTests, ACancelledRequestEnds)
{
    auto& server = serveSilence();
    std::future<Outcome> outcome;
    const auto transfer = start(get(server.url("/")), outcome);
    transfer->cancel();
    EXPECT_EQ(outcome.get().error, "The request was canceled.");
}

TEST_F(CurlHTTPTransportTests, ATransferThatIsLetGoOfIsCancelled)
{
    auto& server = serveSilence();
    std::future<Outcome> outcome;
    start(get(server.url("/")), outcome).reset();
    EXPECT_EQ(outcome.get().error, "The request was canceled.");
}

TEST_F(CurlHTTPTransportTests, RedirectsAreFollowedWithTheBody)
{
    auto& server = serve([](const auto& request) {
        return request.head.find(" /there ") == std::string::npos ? TestHTTPServer::redirect("307", "/there")
                                                                  : TestHTTPServer::ok("fine");
    });
    auto request = get(server.url("/here"));
    request.method = "PUT";
    request.body = std::string("body");
    request.originHeaders = {{"x-key", "secret"}};
    EXPECT_EQ(perform(request).response.body, "fine");
    ASSERT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(server.requests()[1].body, "body");
    EXPECT_THAT(server.requests()[1].head, HasSubstr("x-key: secret"));
}

TEST_F(CurlHTTPTransportTests, AnotherOriginGetsNoSecrets)
{
    auto& other = serveOK();
    auto& server = serve([&](const auto&) { return TestHTTPServer::redirect("308", other.url("/x")); });
    auto request = get(server.url("/"));
    request.method = "POST";
    request.body = std::string("{}");
    request.headers = {{"Content-Type", "application/json"}, {"Authorization", "secret"}};
    request.originHeaders = {{"x-key", "secret"}};
    EXPECT_EQ(perform(request).response.body, "fine");
    EXPECT_THAT(server.requests().at(0).head, HasSubstr("x-key: secret"));
    EXPECT_THAT(other.requests().at(0).head, Not(HasSubstr("secret")));
    EXPECT_THAT(other.requests().at(0).head, HasSubstr("Content-Type: application/json"));
    EXPECT_EQ(other.requests().at(0).body, "{}");
}

TEST_F(CurlHTTPTransportTests, SecretsComeBackWithTheFirstOrigin)
{
    std::string back;
    auto& other = serve([&](const auto&) { return TestHTTPServer::redirect("307", back); });
    auto& server = serve([&](const auto& request) {
        return request.head.find(" /back ") == std::string::npos
            ? TestHTTPServer::redirect("307", other.url("/"))
            : TestHTTPServer::ok("fine");
    });
    back = server.url("/back");
    auto request = get(server.url("/"));
    request.originHeaders = {{"x-key", "secret"}};
    EXPECT_EQ(perform(request).response.body, "fine");
    EXPECT_THAT(other.requests().at(0).head, Not(HasSubstr("secret")));
    EXPECT_THAT(server.requests().at(1).head, HasSubstr("secret"));
}

TEST_F(CurlHTTPTransportTests, ASeeOtherBecomesAGet)
{
    auto& server = serve([](const auto& request) {
        return request.head.starts_with("POST") ? TestHTTPServer::redirect("303", "/there")
                                                : TestHTTPServer::ok("fine");
    });
    auto request = get(server.url("/"));
    request.method = "POST";
    request.headers = {{"Content-Type", "application/json"}};
    request.body = std::string("{}");
    EXPECT_EQ(perform(request).response.body, "fine");
    EXPECT_THAT(server.requests().at(1).head, StartsWith("GET /there"));
    EXPECT_THAT(server.requests().at(1).head, Not(HasSubstr("Content-")));
}

TEST_F(CurlHTTPTransportTests, RedirectsInCirclesEnd)
{
    auto& server = serve([](const auto&) { return TestHTTPServer::redirect("302", "/?secret"); });
    EXPECT_EQ(perform(get(server.url("/"))).error, "Too many redirects from " + server.url("") + ".");
    EXPECT_EQ(server.requests().size(), 17U);
}

TEST_F(CurlHTTPTransportTests, RedirectsToOtherSchemesAreRefused)
{
    for (const char* place : {"file:///etc/passwd", "ftp://127.0.0.1/", "gopher://x"}) {
        auto& server = serve([place](const auto&) { return TestHTTPServer::redirect("302", place); });
        EXPECT_EQ(perform(get(server.url("/"))).error,
            "A redirect of " + server.url("") + " leads to no http or https URL.");
    }
}

TEST_F(CurlHTTPTransportTests, OtherStatusesAreAnswers)
{
    auto& server = serve([](const auto&) { return TestHTTPServer::ok("why", "500 Oops"); });
    const auto outcome = perform(get(server.url("/")));
    EXPECT_EQ(outcome.error, "none");
    EXPECT_EQ(outcome.response.status, 500);
    EXPECT_EQ(outcome.response.body, "why");
}

TEST_F(CurlHTTPTransportTests, HeadersThatWouldBreakTheRequestAreRefused)
{
    auto& server = serveOK();
    for (const HTTPHeaders& headers : {HTTPHeaders{{"x", "a\r\ny: b"}}, HTTPHeaders{{"x y", "a"}},
             HTTPHeaders{{"", "a"}}, HTTPHeaders{{"x:", "a"}}, HTTPHeaders{{"x", std::string("a\0b", 3)}}}) {
        auto request = get(server.url("/"));
        request.headers = headers;
        EXPECT_EQ(perform(request).error, "A header of a request is malformed.");
    }
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(CurlHTTPTransportTests, HeadersThatHTTPSetsItselfAreNotTakenFromOutside)
{
    auto& server = serveOK();
    auto request = get(server.url("/"));
    request.method = "PUT";
    request.body = std::string("12345");
    request.headers = {{"content-length", "3"}, {"Transfer-Encoding", "chunked"}, {"HOST", "other"},
        {"Expect", "100-continue"}};
    EXPECT_EQ(perform(request).response.status, 200);
    EXPECT_EQ(server.requests().at(0).body, "12345");
    EXPECT_THAT(server.requests().at(0).head, Not(HasSubstr("other")));
    EXPECT_THAT(server.requests().at(0).head, Not(HasSubstr("chunked")));
}

TEST_F(CurlHTTPTransportTests, OnlyTheWebIsReached)
{
    for (const char* url : {"file:///etc/passwd", "ftp://h/", "", "http//x"})
        EXPECT_EQ(perform(get(url)).error, "The address of a request is no http or https URL.");
}

TEST_F(CurlHTTPTransportTests, DotsInPathsStay)
{
    auto& server = serveOK();
    perform(get(server.url("/a/%2E%2E/b")));
    EXPECT_THAT(server.requests().at(0).head, StartsWith("GET /a/%2E%2E/b HTTP"));
}

TEST_F(CurlHTTPTransportTests, TheEndOfTheTransportEndsItsRequests)
{
    const auto request = get(serveSilence().url("/"));
    std::string message;
    std::unique_ptr<HTTPTransfer> transfer;
    {
        CurlHTTPTransport ending;
        transfer = ending.start(request, [&](const HTTPResponse&, const std::exception_ptr& error) {
            message = errorFacts(error).message;
        });
    }
    EXPECT_EQ(message, "The request was canceled.");
}

} // namespace
} // namespace glimto
