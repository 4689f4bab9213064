// A request to the development server's API: the first byte chooses which, the rest is its body, or its
// headers. Whatever comes is answered, or refused with a status of its own.

#include <chrono>
#include <filesystem>

#include "FuzzInput.h"
#include "RecordingAPI.h"
#include "RecordingKeys.h"
#include "RequestOrigin.h"
#include "Fakes/TemporaryDirectory.h"

namespace {

using namespace glimto;

struct Server {
    TemporaryDirectory folder;
    RecordingRegistry recordings{folder.path() / "recordings"};
    ObjectStore objects{folder.path() / "objects"};
    UploadURLSigner signer{"secret"};
    RecordingAPI api{recordings, objects, signer,
        [] { return std::chrono::system_clock::time_point(std::chrono::seconds(1'700'000'000)); }};

    Server()
    {
        api.createRecording(R"({"recordingId":"rec"})");
        for (const auto& key : requiredRelativeKeys())
            put(key, "x");
    }

    void put(const std::string& key, std::string_view content)
    {
        auto file = objects.beginObject(objectPrefix("rec") + "/" + key);
        file->write(std::as_bytes(std::span(content)));
        file->commit();
    }
};

void checkUploads(const nlohmann::json& answer)
{
    for (const auto& upload : answer.at("uploads")) {
        const auto key = upload.at("key").get<std::string>();
        require(isAllowedKey("rec", key));
        require(upload.at("url").get<std::string>().starts_with("http://host/objects/" + key + "?expires="));
    }
}

// A recording with any name would stay for the next input.
void checkCreation(const Server& server, const std::string& id)
{
    require(isRecordingId(id));
    if (id != "rec")
        std::filesystem::remove(server.folder.path() / "recordings" / (id + ".json"));
}

void checkHeaders(std::string_view text)
{
    const auto end = std::min(text.find('\n'), text.size());
    const auto host = text.substr(0, end);
    const auto name = hostNameOf(host);
    require(name.find_first_of("/@[] \\") == name.npos);
    if (ServedNames("127.0.0.1", {}).includes(host))
        require(name == "localhost" || name == "::1" || name.starts_with("127.") || isLoopback(name));
    if (isOwnOrigin(text.substr(std::min(end + 1, text.size())), host))
        require(text.size() >= 2 * host.size());
}

void request(Server& server, std::uint8_t which, const std::string& body)
{
    switch (which % 6) {
    case 0:
        checkCreation(
            server, server.api.createRecording(body).at("recording").at("recordingId").get<std::string>());
        break;
    case 1:
        checkUploads(server.api.uploadURLs("rec", body, "http://host"));
        break;
    case 2:
        server.put("manifest.json", body);
        server.api.recordingDetails("rec");
        server.api.completeRecording("rec");
        break;
    case 3:
        server.api.readRecording(body);
        break;
    case 4:
        server.api.requireUploadAllowed("PUT", objectPrefix("rec") + "/thumbnail.jpg", body, body);
        std::abort(); // nobody guesses a signature
    default:
        checkHeaders(body);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static Server server;
    if (size == 0)
        return 0;
    try {
        request(server, bytes[0], std::string(fuzzText(bytes + 1, size - 1)));
    } catch (const APIError& error) {
        require(error.status() >= 400 && error.status() < 500);
    }
    return 0;
}
