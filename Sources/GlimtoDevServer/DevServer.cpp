#include "DevServer.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "RecordingKeys.h"
#include "Support/Errors.h"
#include "Support/FileDescriptor.h"
#include "Support/Text.h"
#include "WebFiles.h"

namespace glimto {

namespace {

constexpr std::size_t mostObjectBytes = std::size_t(16) << 30;
constexpr std::size_t mostJSONBytes = 8 << 20;
constexpr int timeoutSeconds = 60;
constexpr const char* accessKeyHeader = "x-glimto-access-key";
constexpr const char* jsonType = "application/json";
constexpr const char* htmlType = "text/html; charset=utf-8";

void answerJSON(httplib::Response& response, const nlohmann::json& json, int status = 200)
{
    response.status = status;
    response.set_header("Cache-Control", "no-store");
    response.set_content(json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace), jsonType);
}

void answerError(httplib::Response& response, int status, const std::string& message)
{
    answerJSON(response, {{"error", {{"message", message}}}}, status);
}

// A body that ended too early or makes no sense. What follows it on the connection belongs to nobody.
class CutOffError : public APIError {
public:
    CutOffError()
        : APIError(400, "The request body was cut off.")
    {
    }
};

// Gives the body to `receive` piece by piece, to its end: the next request on the connection begins there.
void readBody(const httplib::ContentReader& reader, const httplib::ContentReceiver& receive)
{
    bool isWhole = false;
    try {
        isWhole = reader(receive);
    } catch (const std::exception&) {
        // The library's way with forms.
    }
    if (!isWhole)
        throw CutOffError();
}

// Ends the connection behind an answer.
void endConnectionAfter(httplib::Response& response, const char* type)
{
    const std::string body = std::exchange(response.body, {});
    response.headers.erase("Content-Type"); // set anew with the provider
    response.set_content_provider(
        body.size(), type, [body](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
            sink.write(body.data() + offset, length);
            return false;
        });
}

// Runs one step of a request; what it throws becomes the answer.
template <typename Step> void answering(httplib::Response& response, Step&& step)
{
    try {
        step();
    } catch (const CutOffError& error) {
        answerError(response, error.status(), error.what());
        endConnectionAfter(response, jsonType);
    } catch (const APIError& error) {
        answerError(response, error.status(), error.what());
    } catch (const std::exception& error) {
        answerError(response, 500, error.what());
    }
}

std::optional<std::string> parameter(const httplib::Request& request, const char* name)
{
    if (request.get_param_value_count(name) != 1)
        return std::nullopt;
    return request.get_param_value(name);
}

// Whether the library answers the request's ranges rightly: at most one, which lies within the file.
bool hasUsableRange(const httplib::Request& request, ssize_t size)
{
    if (request.ranges.empty())
        return true;
    const auto [first, last] = request.ranges.front();
    return request.ranges.size() == 1 && first < size && last < size;
}

// A file piece by piece, as the client takes it.
void answerFile(const httplib::Request& request, httplib::Response& response,
    const std::filesystem::path& path, const std::string& type)
{
    auto file = std::make_shared<FileDescriptor>(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    struct stat status = {};
    if (!*file || ::fstat(file->get(), &status) != 0)
        throw APIError(404, "There is no such object.");
    const auto write = [file](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
        char buffer[64 * 1024];
        const auto wanted = std::min(length, sizeof(buffer));
        const auto got = ::pread(file->get(), buffer, wanted, static_cast<off_t>(offset));
        return got > 0 && sink.write(buffer, static_cast<std::size_t>(got));
    };
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size == 0) {
        response.status = 200;
        response.set_content("", type);
    } else if (hasUsableRange(request, status.st_size)) {
        response.set_content_provider(size, type, write);
    } else {
        // A server may answer other ranges with everything (RFC 9110 section 14.2).
        response.status = 200;
        response.set_chunked_content_provider(
            type, [write, size](std::size_t offset, httplib::DataSink& sink) {
                if (offset < size)
                    return write(offset, size - offset, sink);
                sink.done();
                return true;
            });
    }
}

// Whole, as the library's own way to read it ends at a zero byte. Nothing where there is not exactly one.
std::string hostOf(const httplib::Request& request)
{
    const auto [first, end] = request.headers.equal_range("Host");
    return std::distance(first, end) == 1 ? first->second : "";
}

// This machine's own name, also as others in its network know it, and those that the user added.
std::vector<std::string> servedNames(const DevServerOptions& options)
{
    auto names = options.hostNames;
    char own[256] = {};
    if (::gethostname(own, sizeof(own) - 1) == 0) {
        names.emplace_back(own);
        names.push_back(std::string(own) + ".local");
    }
    return names;
}

} // namespace

DevServer::DevServer(const DevServerOptions& options, LogLine log)
    : options_(options)
    , log_(std::move(log))
    , recordings_(options.directory / "recordings")
    , objects_(options.directory / "objects")
    , signer_(UploadURLSigner::randomSecret())
    , api_(recordings_, objects_, signer_, [] { return std::chrono::system_clock::now(); })
    , takeTool_(options.takeTool, options.directory / "made")
    , names_(options.address, servedNames(options))
{
    configure();
    addAPI();
    addObjects();
    addPages();
    addWhatIsMade();
    addRefusals();
}

int DevServer::listen()
{
    const int port = server_.bind(options_.address, options_.port);
    if (port <= 0)
        throw CLIError("Could not listen on " + options_.address + ", port " + std::to_string(options_.port)
            + ". Choose another one with --port.");
    return port;
}

void DevServer::run()
{
    if (!server_.serve())
        throw CLIError("No connection can be accepted any more.");
}

void DevServer::stop()
{
    takeTool_.end();
    server_.end();
}

void DevServer::configure()
{
    server_.set_payload_max_length(mostObjectBytes);
    server_.set_keep_alive_max_count(1'000'000);
    server_.set_keep_alive_timeout(timeoutSeconds);
    server_.set_default_headers({{"X-Content-Type-Options", "nosniff"}, {"Referrer-Policy", "no-referrer"},
        {"Content-Security-Policy",
            "default-src 'self'; media-src 'self' blob:; worker-src 'self' blob:; object-src 'none'; "
            "frame-ancestors 'none'; base-uri 'none'; form-action 'none'"},
        {"Cross-Origin-Resource-Policy", "same-origin"}});
    // A request with a body is refused later, when its body is read: the next one on the connection would
    // begin in it.
    server_.set_pre_routing_handler([this](const auto& request, auto& response) {
        try {
            if (hasUncertainBody(request))
                throw APIError(400, "The length of the request's body is not certain.");
            if (request.method == "POST" || request.method == "PUT")
                return httplib::Server::HandlerResponse::Unhandled;
            if (request.method != "GET" && request.method != "HEAD")
                throw APIError(405, "There is no such method here.");
            requireHost(request);
            return httplib::Server::HandlerResponse::Unhandled;
        } catch (const APIError& error) {
            answerError(response, error.status(), error.what());
            return httplib::Server::HandlerResponse::Handled;
        }
    });
    server_.set_error_handler([](const auto&, auto& response) {
        if (response.body.empty() && response.content_length_ == 0)
            answerError(response, response.status, "The request cannot be answered.");
    });
    server_.set_exception_handler([](const auto&, auto& response, const std::exception_ptr&) {
        answerError(response, 500, "The request could not be answered.");
    });
    server_.set_logger([this](const auto& request, const auto& response) {
        // The query holds signatures.
        log_(singleLine(request.method + " " + request.path + " " + std::to_string(response.status)));
    });
}

void DevServer::requireAccessKey(const httplib::Request& request) const
{
    if (options_.accessKey
        && !equalInConstantTime(request.get_header_value(accessKeyHeader), *options_.accessKey))
        throw APIError(401, "The access key is missing or wrong.");
}

void DevServer::requireHost(const httplib::Request& request) const
{
    const auto host = hostOf(request);
    if (!names_.includes(host))
        throw APIError(403, "This server does not answer under that name.");
    if (request.method == "GET" || request.method == "HEAD")
        return;
    // A browser tells the page's origin with whatever may change something.
    const auto [first, end] = request.headers.equal_range("Origin");
    const auto isOwn = [&](const auto& header) { return isOwnOrigin(header.second, host); };
    if (!std::all_of(first, end, isOwn))
        throw APIError(403, "A page of another site may change nothing here.");
}

std::string DevServer::readJSON(const httplib::Request& request, const httplib::ContentReader& reader) const
{
    std::string body;
    bool isTooLong = false;
    // What is too long is read to its end, or the next request on the connection would begin in it.
    readBody(reader, [&](const char* data, std::size_t size) {
        isTooLong = isTooLong || body.size() + size > mostJSONBytes;
        if (!isTooLong)
            body.append(data, size);
        return true;
    });
    if (isTooLong)
        throw APIError(413, "The request body is too long.");
    requireHost(request);
    return body;
}

void DevServer::get(const char* pattern, const Answer& answer)
{
    server_.Get(pattern, [answer](const auto& request, auto& response) {
        answering(response, [&] { answer(request, response); });
    });
}

void DevServer::post(const char* pattern, const JSONAnswer& answer)
{
    server_.Post(pattern, [this, answer](const auto& request, auto& response, const auto& reader) {
        answering(response, [&] {
            const auto body = readJSON(request, reader);
            requireAccessKey(request);
            answerJSON(response, answer(request, body));
        });
    });
}

void DevServer::addAPI()
{
    post("/api/recordings", [this](const auto&, const auto& body) { return api_.createRecording(body); });
    get("/api/recordings/([^/]+)", [this](const auto& request, auto& response) {
        requireAccessKey(request);
        answerJSON(response, api_.readRecording(request.matches[1]));
    });
    post("/api/recordings/([^/]+)/upload-urls", [this](const auto& request, const auto& body) {
        return api_.uploadURLs(request.matches[1], body, "http://" + hostOf(request));
    });
    post("/api/recordings/([^/]+)/recording-complete",
        [this](const auto& request, const auto&) { return api_.completeRecording(request.matches[1]); });
}

void DevServer::receiveObject(const httplib::Request& request, const httplib::ContentReader& reader)
{
    const std::string key = request.matches[1];
    std::unique_ptr<AtomicFile> file;
    std::exception_ptr failure;
    const auto attempt = [&](auto&& step) {
        if (failure)
            return;
        try {
            step();
        } catch (...) {
            failure = std::current_exception();
        }
    };
    attempt([&] {
        requireHost(request);
        api_.requireUploadAllowed(
            request.method, key, parameter(request, "expires"), parameter(request, "signature"));
        file = objects_.beginObject(key);
    });
    // A body that nobody wants is read all the same: the connection goes on behind it.
    readBody(reader, [&](const char* data, std::size_t size) {
        attempt([&] { file->write(std::as_bytes(std::span(data, size))); });
        return true;
    });
    if (failure)
        std::rethrow_exception(failure);
    file->commit();
}

void DevServer::addObjects()
{
    server_.Put("/objects/(.+)", [this](const auto& request, auto& response, const auto& reader) {
        answering(response, [&] {
            receiveObject(request, reader);
            response.status = 200;
        });
    });
}

void DevServer::answerWebFile(httplib::Response& response, const std::string& name) const
{
    const auto content = webFile(name);
    if (content.empty()) {
        answerError(response, 404, "There is no such page.");
        return;
    }
    const char* type = name.ends_with(".js") ? "text/javascript; charset=utf-8"
        : name.ends_with(".css")             ? "text/css; charset=utf-8"
                                             : htmlType;
    response.set_header("Cache-Control", "no-cache");
    response.set_content(std::string(content), type);
}

void DevServer::addPages()
{
    server_.Get("/", [](const auto&, auto& response) { response.set_redirect("/recordings"); });
    server_.Get("/recordings", [this](const auto&, auto& response) { answerWebFile(response, "list.html"); });
    get("/recordings.json",
        [this](const auto&, auto& response) { answerJSON(response, api_.listRecordings()); });
    get("/web/hls.min.js", [this](const auto& request, auto& response) {
        if (!options_.webDirectory)
            throw APIError(404, "This server has no HLS player of its own.");
        answerFile(
            request, response, *options_.webDirectory / "hls.min.js", "text/javascript; charset=utf-8");
    });
    server_.Get("/web/([a-z.]+)",
        [this](const auto& request, auto& response) { answerWebFile(response, request.matches[1]); });
    server_.Get("/recordings/([^/]+)", [this](const auto& request, auto& response) {
        const std::string id = request.matches[1];
        if (!recordings_.find(id)) {
            answerWebFile(response, "missing.html");
            response.status = 404;
            return;
        }
        response.set_header("Cache-Control", "no-cache");
        response.set_content(replacingAll(std::string(webFile("player.html")), "{{id}}", id), htmlType);
    });
    get("/recordings/([^/]+)/details.json", [this](const auto& request, auto& response) {
        auto details = api_.recordingDetails(request.matches[1]);
        details["canExport"] = details["isPlayable"] == true && takeTool_.isAvailable();
        answerJSON(response, details);
    });
    get("/recordings/([^/]+)/files/(.+)", [this](const auto& request, auto& response) {
        const std::string id = request.matches[1];
        const auto key = objectPrefix(id) + "/" + std::string(request.matches[2]);
        const auto file = isRecordingId(id) ? objects_.file(key) : std::nullopt;
        if (!file)
            throw APIError(404, "There is no such object.");
        response.set_header("Cache-Control", "no-cache");
        answerFile(request, response, *file, contentTypeOfKey(key));
    });
}

// What was uploaded for a recording, all of it.
std::filesystem::path DevServer::finishedTake(const std::string& recordingId) const
{
    const auto recording = recordings_.find(recordingId);
    if (!recording)
        throw APIError(404, "There is no such recording.");
    if (recording->state != RecordingState::uploaded)
        throw APIError(409, "The upload is not complete yet.");
    return objects_.directory(objectPrefix(recordingId));
}

void DevServer::addWhatIsMade()
{
    get("/recordings/([^/]+)/take.mp4", [this](const auto& request, auto& response) {
        const std::string id = request.matches[1];
        const auto file = takeTool_.mp4(id, finishedTake(id));
        response.set_header("Content-Disposition", "attachment; filename=\"" + id + ".mp4\"");
        answerFile(request, response, file, "video/mp4");
    });
    get("/recordings/([^/]+)/zooms.json", [this](const auto& request, auto& response) {
        const std::string id = request.matches[1];
        answerFile(request, response, takeTool_.zoomPlan(id, finishedTake(id)), jsonType);
    });
}

// The body of a request that nobody answers would be kept in memory, however long it is.
void DevServer::addRefusals()
{
    const auto refuse = [](const auto&, auto& response, const auto& reader) {
        answering(response, [&] {
            readBody(reader, [](const char*, std::size_t) { return true; });
            throw APIError(404, "There is nothing here that takes a body.");
        });
    };
    server_.Post(".*", refuse);
    server_.Put(".*", refuse);
}

} // namespace glimto
