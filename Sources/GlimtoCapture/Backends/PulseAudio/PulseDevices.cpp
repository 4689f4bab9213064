#include "Backends/PulseAudio/PulseDevices.h"

#include <algorithm>
#include <exception>

#include <pulse/introspect.h>

namespace glimto {

namespace {

const char* const refused = "The sound server does not tell its devices";

// What a callback collects; an exception waits here until the library is left.
template <typename Item> struct Answer {
    std::vector<Item> items;
    std::exception_ptr failure;

    template <typename Function> void add(Function&& make) noexcept
    {
        try {
            items.push_back(make());
        } catch (...) {
            failure = std::current_exception();
        }
    }
    std::vector<Item> taken()
    {
        if (failure)
            std::rethrow_exception(failure);
        return std::move(items);
    }
};

std::string textOf(const char* text)
{
    return text ? text : "";
}

void addSource(pa_context*, const pa_source_info* info, int isLast, void* answer)
{
    if (isLast != 0 || !info)
        return;
    static_cast<Answer<PulseSource>*>(answer)->add([info] {
        return PulseSource{.index = info->index,
            .name = textOf(info->name),
            .description = textOf(info->description),
            .sampleSpec = info->sample_spec,
            .channelMap = info->channel_map,
            .isMonitor = info->monitor_of_sink != PA_INVALID_INDEX};
    });
}

void addSourceIndex(pa_context*, const pa_source_output_info* info, int isLast, void* answer)
{
    if (isLast == 0 && info)
        static_cast<Answer<std::uint32_t>*>(answer)->add([info] { return info->source; });
}

void addSink(pa_context*, const pa_sink_info* info, int isLast, void* answer)
{
    if (isLast != 0 || !info)
        return;
    static_cast<Answer<PulseSink>*>(answer)->add([info] {
        return PulseSink{.index = info->index,
            .name = textOf(info->name),
            .monitorName = textOf(info->monitor_source_name)};
    });
}

struct ServerFacts {
    std::string name;
    std::string defaultSinkName;
};

void addServer(pa_context*, const pa_server_info* info, void* answer)
{
    if (!info)
        return;
    static_cast<Answer<ServerFacts>*>(answer)->add([info] {
        return ServerFacts{
            .name = textOf(info->server_name), .defaultSinkName = textOf(info->default_sink_name)};
    });
}

ServerFacts serverFacts(PulseConnection& connection)
{
    Answer<ServerFacts> answer;
    connection.finish(pa_context_get_server_info(connection.get(), &addServer, &answer), refused);
    const auto facts = answer.taken();
    return facts.empty() ? ServerFacts{} : facts.front();
}

// Half of it passes in the device, half in the server.
constexpr PulseServerTiming pulseAudioTiming = {.latency = 50'000, .unreportedMonitorDelay = 0};

// PipeWire works in blocks of 2^n frames, the largest that fit into the smallest latency anybody asks for.
// When that changes, frames are lost; so we ask for blocks that are smaller than those of common players. A
// block is handed to a monitor as it begins to be played, which is not reported.
constexpr PulseServerTiming pipeWireTiming = {.latency = 15'000, .unreportedMonitorDelay = 10'667};

} // namespace

std::optional<std::uint32_t> sourceOfPulseStream(PulseConnection& connection, std::uint32_t streamIndex)
{
    Answer<std::uint32_t> answer;
    connection.finish(
        pa_context_get_source_output_info(connection.get(), streamIndex, &addSourceIndex, &answer), refused);
    const auto indexes = answer.taken();
    if (indexes.empty())
        return std::nullopt;
    return indexes.front();
}

std::vector<PulseSource> listPulseSources(PulseConnection& connection)
{
    Answer<PulseSource> answer;
    connection.finish(pa_context_get_source_info_list(connection.get(), &addSource, &answer), refused);
    return answer.taken();
}

std::optional<PulseSource> findPulseSource(PulseConnection& connection, const std::string& name)
{
    auto sources = listPulseSources(connection);
    const auto found = std::find_if(
        sources.begin(), sources.end(), [&](const PulseSource& source) { return source.name == name; });
    if (found == sources.end())
        return std::nullopt;
    return std::move(*found);
}

PulseServerTiming pulseServerTiming(PulseConnection& connection)
{
    const bool isPipeWire = serverFacts(connection).name.find("PipeWire") != std::string::npos;
    return isPipeWire ? pipeWireTiming : pulseAudioTiming;
}

std::optional<PulseSink> defaultPulseSink(PulseConnection& connection)
{
    const auto server = serverFacts(connection);
    Answer<PulseSink> answer;
    connection.finish(pa_context_get_sink_info_list(connection.get(), &addSink, &answer), refused);
    for (auto& sink : answer.taken()) {
        if (sink.name == server.defaultSinkName && !sink.monitorName.empty())
            return std::move(sink);
    }
    return std::nullopt;
}

} // namespace glimto
