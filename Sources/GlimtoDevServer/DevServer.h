#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include "BoundedServer.h"
#include "DevServerOptions.h"
#include "ObjectStore.h"
#include "RecordingAPI.h"
#include "RecordingRegistry.h"
#include "RequestOrigin.h"
#include "TakeTool.h"
#include "UploadURLSigner.h"

namespace glimto {

// The HTTP server: the API, the objects, and the pages. For development and tests: everyone who reaches
// the address may look at all recordings.
class DevServer {
public:
    using LogLine = std::function<void(const std::string& line)>;

    // Makes the directories. `log` is called on the server's threads, one line a request.
    DevServer(const DevServerOptions& options, LogLine log);

    // Begins to listen; connections wait until run(). Returns the port. Throws CLIError when the address
    // cannot be had.
    int listen();

    // Serves until stop() is called.
    void run();

    // Ends run() soon. Any thread.
    void stop();

private:
    using Answer = std::function<void(const httplib::Request& request, httplib::Response& response)>;
    using JSONAnswer
        = std::function<nlohmann::json(const httplib::Request& request, const std::string& body)>;

    // Answer the requests of paths; what is thrown becomes the answer. A POST must have the access key.
    void get(const char* pattern, const Answer& answer);
    void post(const char* pattern, const JSONAnswer& answer);

    void configure();
    void addAPI();
    void addObjects();
    void addPages();
    void addWhatIsMade();
    void addRefusals();
    void requireAccessKey(const httplib::Request& request) const;
    void requireHost(const httplib::Request& request) const;
    std::string readJSON(const httplib::Request& request, const httplib::ContentReader& reader) const;
    void receiveObject(const httplib::Request& request, const httplib::ContentReader& reader);
    void answerWebFile(httplib::Response& response, const std::string& name) const;
    std::filesystem::path finishedTake(const std::string& recordingId) const;

    const DevServerOptions options_;
    const LogLine log_;
    RecordingRegistry recordings_;
    ObjectStore objects_;
    const UploadURLSigner signer_;
    RecordingAPI api_;
    TakeTool takeTool_;
    const ServedNames names_;
    BoundedServer server_;
};

} // namespace glimto
