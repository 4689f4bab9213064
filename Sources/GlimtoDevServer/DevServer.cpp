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

#include <httplib.h>

#include "BoundedServer.h"
#include "ObjectStore.h"
#include "RecordingAPI.h"
#include "RecordingKeys.h"
#include "RecordingPages.h"
#include "RecordingRegistry.h"
#include "RequestOrigin.h"
#include "Support/Errors.h"
#include "Support/FileDescriptor.h"
#include "Support/Text.h"
#include "TakeTool.h"
#include "UploadURLSigner.h"
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

struct DevServer::Rooms {
    Rooms(const DevServerOptions& serverOptions, LogLine logLine)
        : options(serverOptions)
        , log(std::move(logLine))
        , recordings(options.directory / "recordings")
        , objects(options.directory / "objects")
        , signer(UploadURLSigner::randomSecret())
        , api(recordings, objects, signer, [] { return std::chrono::system_clock::now(); })
        , pages(recordings, objects)
        , takeTool(options.takeTool, options.directory / "made")
        , names(options.address, servedNames(options))
    {
        configure();
        addAPI();
        addObjects();
        addPages();
        addWhatIsMade();
        addRefusals();
    }

    void configure();

    using Answer = std::function<void(const httplib::Request& request, httplib::Response& response)>;
    using JSONAnswer
        = std::function<nlohmann::json(const httplib::Request& request, const std::string& body)>;

    // Answer the requests of paths; what is thrown becomes the answer. A POST must have the access key.
    void get(const char* pattern, const Answer& answer);
    void post(const char* pattern, const JSONAnswer& answer);

    void addAPI();
    void addObjects();
    void addPages();
    void addWhatIsMade();
    void addRefusals();
    void requireAccessKey(const httplib::Request& request) const;
    void requireHost(const httplib::Request& request) const;
    std::string readJSON(const httplib::Request& request, const httplib::ContentReader& reader) const;
    void receiveObject(const httplib::Request& request, const httplib::ContentReader& reader);
    std::string origin(const httplib::Request& request) const;
    void answerWebFile(httplib::Response& response, const std::string& name) const;
    std::filesystem::path finishedTake(const std::string& recordingId) const;

    const DevServerOptions options;
    const LogLine log;
    RecordingRegistry recordings;
    ObjectStore objects;
    const UploadURLSigner signer;
    RecordingAPI api;
    const RecordingPages pages;
    TakeTool takeTool;
    const ServedNames names;
    BoundedServer server;
};

void DevServer::Rooms::configure()
{
    server.set_payload_max_length(mostObjectBytes);
    server.set_keep_alive_max_count(1'000'000);
    server.set_keep_alive_timeout(timeoutSeconds);
    server.set_default_headers({{"X-Content-Type-Options", "nosniff"}, {"Referrer-Policy", "no-referrer"},
        {"Content-Security-Policy",
            "default-src 'self'; media-src 'self' blob:; worker-src 'self' blob:; object-src 'none'; "
            "frame-ancestors 'none'; base-uri 'none'; form-action 'none'"},
        {"Cross-Origin-Resource-Policy", "same-origin"}});
    // A request with a body is refused later, when its body is read: the next one on the connection would
    // begin in it.
    server.set_pre_routing_handler([this](const auto& request, auto& response) {
        if (hasUncertainBody(request)) {
            answerError(response, 400, "The length of the request's body is not certain.");
            return httplib::Server::HandlerResponse::Handled;
        }
        if (request.method == "POST" || request.method == "PUT")
            return httplib::Server::HandlerResponse::Unhandled;
        if (request.method != "GET" && request.method != "HEAD") {
            answerError(response, 405, "There is no such method here.");
            return httplib::Server::HandlerResponse::Handled;
        }
        try {
            requireHost(request);
            return httplib::Server::HandlerResponse::Unhandled;
        } catch (const APIError& error) {
            answerError(response, error.status(), error.what());
            return httplib::Server::HandlerResponse::Handled;
        }
    });
    server.set_error_handler([](const auto&, auto& response) {
        if (response.body.empty() && response.content_length_ == 0)
            answerError(response, response.status, "The request cannot be answered.");
    });
    server.set_exception_handler([](const auto&, auto& response, const std::exception_ptr&) {
        answerError(response, 500, "The request could not be answered.");
    });
    server.set_logger([this](const auto& request, const auto& response) {
        // The query holds signatures.
        log(singleLine(request.method + " " + request.path + " " + std::to_string(response.status)));
    });
}

void DevServer::Rooms::requireAccessKey(const httplib::Request& request) const
{
    if (options.accessKey
        && !equalInConstantTime(request.get_header_value(accessKeyHeader), *options.accessKey))
        throw APIError(401, "The access key is missing or wrong.");
}

void DevServer::Rooms::requireHost(const httplib::Request& request) const
{
    const auto host = hostOf(request);
    if (!names.includes(host))
        throw APIError(403, "This server does not answer under that name.");
    if (request.method == "GET" || request.method == "HEAD")
        return;
    // A browser tells the page's origin with whatever may change something.
    const auto [first, end] = request.headers.equal_range("Origin");
    const auto isOwn = [&](const auto& header) { return isOwnOrigin(header.second, host); };
    if (!std::all_of(first, end, isOwn))
        throw APIError(403, "A page of another site may change nothing here.");
}

std::string DevServer::Rooms::readJSON(
    const httplib::Request& request, const httplib::ContentReader& reader) const
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

std::string DevServer::Rooms::origin(const httplib::Request& request) const
{
    return "http://" + hostOf(request);
}

void DevServer::Rooms::get(const char* pattern, const Answer& answer)
{
    server.Get(pattern, [answer](const auto& request, auto& response) {
        answering(response, [&] { answer(request, response); });
    });
}

void DevServer::Rooms::post(const char* pattern, const JSONAnswer& answer)
{
    server.Post(pattern, [this, answer](const auto& request, auto& response, const auto& reader) {
        answering(response, [&] {
            const auto body = readJSON(request, reader);
            requireAccessKey(request);
            answerJSON(response, answer(request, body));
        });
    });
}

void DevServer::Rooms::addAPI()
{
    post("/api/recordings", [this](const auto&, const auto& body) { return api.createRecording(body); });
    get("/api/recordings/([^/]+)", [this](const auto& request, auto& response) {
        requireAccessKey(request);
        answerJSON(response, api.readRecording(request.matches[1]));
    });
    post("/api/recordings/([^/]+)/upload-urls", [this](const auto& request, const auto& body) {
        return api.uploadURLs(request.matches[1], body, origin(request));
    });
    post("/api/recordings/([^/]+)/recording-complete",
        [this](const auto& request, const auto&) { return api.completeRecording(request.matches[1]); });
}

void DevServer::Rooms::receiveObject(const httplib::Request& request, const httplib::ContentReader& reader)
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
        api.requireUploadAllowed(
            request.method, key, parameter(request, "expires"), parameter(request, "signature"));
        file = objects.beginObject(key);
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

void DevServer::Rooms::addObjects()
{
    server.Put("/objects/(.+)", [this](const auto& request, auto& response, const auto& reader) {
        answering(response, [&] {
            receiveObject(request, reader);
            response.status = 200;
        });
    });
}

void DevServer::Rooms::answerWebFile(httplib::Response& response, const std::string& name) const
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

void DevServer::Rooms::addPages()
{
    server.Get("/", [](const auto&, auto& response) { response.set_redirect("/recordings"); });
    server.Get("/recordings", [this](const auto&, auto& response) { answerWebFile(response, "list.html"); });
    get("/recordings.json", [this](const auto&, auto& response) { answerJSON(response, pages.list()); });
    get("/web/hls.min.js", [this](const auto& request, auto& response) {
        if (!options.webDirectory)
            throw APIError(404, "This server has no HLS player of its own.");
        answerFile(request, response, *options.webDirectory / "hls.min.js", "text/javascript; charset=utf-8");
    });
    server.Get("/web/([a-z.]+)",
        [this](const auto& request, auto& response) { answerWebFile(response, request.matches[1]); });
    server.Get("/recordings/([^/]+)", [this](const auto& request, auto& response) {
        const std::string id = request.matches[1];
        if (!recordings.find(id)) {
            answerWebFile(response, "missing.html");
            response.status = 404;
            return;
        }
        response.set_header("Cache-Control", "no-cache");
        response.set_content(pageForRecording(std::string(webFile("player.html")), id), htmlType);
    });
    get("/recordings/([^/]+)/details.json", [this](const auto& request, auto& response) {
        auto details = pages.details(request.matches[1]);
        if (details.is_null())
            throw APIError(404, "There is no such recording.");
        details["canExport"] = details["isPlayable"] == true && takeTool.isAvailable();
        answerJSON(response, details);
    });
    get("/recordings/([^/]+)/files/(.+)", [this](const auto& request, auto& response) {
        const std::string id = request.matches[1];
        const auto key = objectPrefix(id) + "/" + std::string(request.matches[2]);
        const auto file = isRecordingId(id) ? objects.file(key) : std::nullopt;
        if (!file)
            throw APIError(404, "There is no such object.");
        response.set_header("Cache-Control", "no-cache");
        answerFile(request, response, *file, contentTypeOfKey(key));
    });
}

// What was uploaded for a recording, all of it.
std::filesystem::path DevServer::Rooms::finishedTake(const std::string& recordingId) const
{
    const auto recording = recordings.find(recordingId);
    if (!recording)
        throw APIError(404, "There is no such recording.");
    if (recording->state != RecordingState::uploaded)
        throw APIError(409, "The upload is not complete yet.");
    return objects.directory(objectPrefix(recordingId));
}

void DevServer::Rooms::addWhatIsMade()
{
    get("/recordings/([^/]+)/take.mp4", [this](const auto& request, auto& response) {
        const std::string id = request.matches[1];
        const auto file = takeTool.mp4(id, finishedTake(id));
        response.set_header("Content-Disposition", "attachment; filename=\"" + id + ".mp4\"");
        answerFile(request, response, file, "video/mp4");
    });
    get("/recordings/([^/]+)/zooms.json", [this](const auto& request, auto& response) {
        const std::string id = request.matches[1];
        answerFile(request, response, takeTool.zoomPlan(id, finishedTake(id)), jsonType);
    });
}

// The body of a request that nobody answers would be kept in memory, however long it is.
void DevServer::Rooms::addRefusals()
{
    const auto refuse = [](const auto&, auto& response, const auto& reader) {
        answering(response, [&] {
            readBody(reader, [](const char*, std::size_t) { return true; });
            throw APIError(404, "There is nothing here that takes a body.");
        });
    };
    server.Post(".*", refuse);
    server.Put(".*", refuse);
}

DevServer::DevServer(const DevServerOptions& options, LogLine log)
    : rooms_(std::make_unique<Rooms>(options, std::move(log)))
{
}

DevServer::~DevServer() = default;

int DevServer::listen()
{
    const auto& options = rooms_->options;
    const int port = rooms_->server.bind(options.address, options.port);
    if (port <= 0)
        throw CLIError("Could not listen on " + options.address + ", port " + std::to_string(options.port)
            + ". Choose another one with --port.");
    return port;
}

void DevServer::run()
{
    if (!rooms_->server.serve())
        throw CLIError("No connection can be accepted any more.");
}

void DevServer::stop()
{
    rooms_->takeTool.end();
    rooms_->server.end();
}

} // namespace glimto
