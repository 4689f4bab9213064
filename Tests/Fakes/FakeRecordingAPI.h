#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Fakes/FakeHTTPTransport.h"

namespace glimto {

// A recording-upload API at http://api.localhost that keeps objects in memory and plans for every recording
// what the real one does.
class FakeRecordingAPI {
public:
    explicit FakeRecordingAPI(FakeHTTPTransport& transport)
    {
        transport.answer
            = [this](const HTTPRequest& request, const std::string& body) { return respond(request, body); };
    }

    // Changes the answer to a request, as "POST /api/recordings", or makes one instead when it returns it.
    // May throw.
    std::function<std::optional<HTTPResponse>(const std::string& request)> interrupt;
    std::function<void(const std::string& request, nlohmann::json& answer)> change;

    // The requests so far: "POST /api/recordings", "PUT org/rec/manifest.json".
    std::vector<std::string> log() const
    {
        const std::lock_guard lock(mutex_);
        return log_;
    }

    // What was put, by object key.
    std::map<std::string, std::string> objects() const
    {
        const std::lock_guard lock(mutex_);
        return objects_;
    }

    // The keys of every "upload-urls" request.
    std::vector<std::vector<std::string>> requestedKeys() const
    {
        const std::lock_guard lock(mutex_);
        return requestedKeys_;
    }

    static constexpr const char* address = "http://api.localhost";
    std::string recordingState = "uploading";

private:
    HTTPResponse respond(const HTTPRequest& request, const std::string& body)
    {
        const std::string start = std::string(address) + "/";
        const std::string signedStart = "http://store.test/";
        const bool isPut = request.url.starts_with(signedStart);
        const std::string path = isPut
            ? request.url.substr(signedStart.size(), request.url.find('?') - signedStart.size())
            : "/" + request.url.substr(start.size());
        const std::string line = request.method + " " + path;
        {
            const std::lock_guard lock(mutex_);
            log_.push_back(line);
        }
        if (interrupt) {
            if (auto response = interrupt(line))
                return *response;
        }
        const std::lock_guard lock(mutex_);
        if (isPut) {
            objects_[path] = body;
            return {200, ""};
        }
        nlohmann::json answer = answerTo(request.method, path, body);
        if (change)
            change(line, answer);
        return {200, answer.dump()};
    }

    nlohmann::json answerTo(const std::string& method, const std::string& path, const std::string& body)
    {
        if (path == "/api/recordings") {
            id_ = nlohmann::json::parse(body).at("recordingId");
            return {{"recording", recording()}, {"uploadInstructions", instructions()}};
        }
        if (path.ends_with("/upload-urls"))
            return uploadURLs(nlohmann::json::parse(body));
        if (path.ends_with("/recording-complete")) {
            recordingState = "uploaded";
            return {{"recording", recording()}, {"checkedObjectCount", objects_.size()}};
        }
        static_cast<void>(method);
        return {{"recording", recording()}};
    }

    std::string prefix() const { return "org/" + id_; }

    nlohmann::json recording() const
    {
        return {{"manifestKey", prefix() + "/manifest.json"}, {"organizationId", "org"}, {"prefix", prefix()},
            {"recordingId", id_}, {"state", recordingState}};
    }

    nlohmann::json planned(const std::vector<std::string>& names) const
    {
        auto list = nlohmann::json::array();
        for (const auto& name : names)
            list.push_back({{"key", prefix() + "/" + name}});
        return list;
    }

    nlohmann::json instructions() const
    {
        const auto pattern = [this](const std::string& track) {
            return nlohmann::json{
                {"regex", "^" + prefix() + "/segments/" + track + "/segment_[0-9]{3,}\\.m4s$"}};
        };
        return {{"allowedSegmentKeyPatterns", {{"audio", pattern("audio")}, {"video", pattern("video")}}},
            {"manifestKey", prefix() + "/manifest.json"}, {"objectPrefix", prefix()},
            {"plannedUploads",
                {{"required",
                     planned({"manifest.json", "segments/playlist.m3u8", "segments/video/init.mp4"})},
                    {"optional",
                        planned({"thumbnail.jpg", "events.json", "segments/video/playlist.m3u8",
                            "segments/audio/init.mp4", "segments/audio/playlist.m3u8"})}}}};
    }

    nlohmann::json uploadURLs(const nlohmann::json& request)
    {
        requestedKeys_.push_back(request.at("keys").get<std::vector<std::string>>());
        auto uploads = nlohmann::json::array();
        for (const auto& key : requestedKeys_.back())
            uploads.push_back({{"contentType", "application/octet-stream"},
                {"headers", {{"Content-Type", "video/mp4"}}}, {"key", key}, {"method", "PUT"},
                {"url", "http://store.test/" + key + "?signature=secret"}});
        return {{"uploads", uploads}};
    }

    mutable std::mutex mutex_;
    std::string id_;
    std::vector<std::string> log_;
    std::map<std::string, std::string> objects_;
    std::vector<std::vector<std::string>> requestedKeys_;
};

} // namespace glimto
