#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "ObjectStore.h"
#include "RecordingRegistry.h"

namespace glimto {

// What the web pages show, as JSON for their scripts. Any thread may call.
class RecordingPages {
public:
    // The references outlive the pages.
    RecordingPages(const RecordingRegistry& recordings, const ObjectStore& objects);

    // {"recordings":[...]}, newest first.
    nlohmann::json list() const;

    // One recording; null when there is none.
    nlohmann::json details(const std::string& recordingId) const;

private:
    nlohmann::json describe(const Recording& recording) const;

    const RecordingRegistry& recordings_;
    const ObjectStore& objects_;
};

// A page's text with "{{id}}" replaced by the recording's id, which holds nothing that HTML knows.
std::string pageForRecording(std::string page, const std::string& recordingId);

} // namespace glimto
