#include "Backends/PulseAudio/PulseDevices.h"

#include <algorithm>
#include <exception>
#include <utility>

#include <pulse/introspect.h>

namespace glimto {

namespace {

const char* const refused = "The sound server does not tell its devices";

std::string textOf(const char* text)
{
    return text ? text : "";
}

PulseSource itemOf(const pa_source_info& info)
{
    return {.index = info.index,
        .name = textOf(info.name),
        .description = textOf(info.description),
        .sampleSpec = info.sample_spec,
        .channelMap = info.channel_map,
        .isMonitor = info.monitor_of_sink != PA_INVALID_INDEX};
}

PulseSink itemOf(const pa_sink_info& info)
{
    return {.index = info.index, .name = textOf(info.name), .monitorName = textOf(info.monitor_source_name)};
}

std::uint32_t itemOf(const pa_source_output_info& info)
{
    return info.source;
}

struct ServerFacts {
    std::string name;
    std::string defaultSinkName;
};

ServerFacts itemOf(const pa_server_info& info)
{
    return {.name = textOf(info.server_name), .defaultSinkName = textOf(info.default_sink_name)};
}

// What callbacks collect; an exception waits here until the library is left.
template <typename Info> class Answer {
public:
    static void add(pa_context*, const Info* info, void* answer) noexcept
    {
        auto& self = *static_cast<Answer*>(answer);
        try {
            if (info)
                self.items_.push_back(itemOf(*info));
        } catch (...) {
            self.failure_ = std::current_exception();
        }
    }
    static void addListed(pa_context* context, const Info* info, int isLast, void* answer) noexcept
    {
        add(context, isLast == 0 ? info : nullptr, answer);
    }

    auto taken()
    {
        if (failure_)
            std::rethrow_exception(failure_);
        return std::move(items_);
    }

private:
    std::vector<decltype(itemOf(std::declval<const Info&>()))> items_;
    std::exception_ptr failure_;
};

ServerFacts serverFacts(PulseConnection& connection)
{
    Answer<pa_server_info> answer;
    connection.finish(pa_context_get_server_info(connection.get(), &answer.add, &answer), refused);
    const auto facts = answer.taken();
    return facts.empty() ? ServerFacts{} : facts.front();
}

// Half of it passes in the device, half in the server.
constexpr PulseServerTiming pulseAudioTiming = {.latency = std::chrono::milliseconds(50)};

// PipeWire works in blocks of 2^n frames, the largest that fit into the smallest latency anybody asks for.
// When that changes, frames are lost; so we ask for blocks that are smaller than those of common players. A
// block is handed to a monitor as it begins to be played, which is not reported.
constexpr PulseServerTiming pipeWireTiming
    = {.latency = std::chrono::milliseconds(15), .unreportedMonitorDelay = std::chrono::microseconds(10'667)};

} // namespace

std::optional<std::uint32_t> sourceOfPulseStream(PulseConnection& connection, std::uint32_t streamIndex)
{
    Answer<pa_source_output_info> answer;
    connection.finish(
        pa_context_get_source_output_info(connection.get(), streamIndex, &answer.addListed, &answer),
        refused);
    const auto indexes = answer.taken();
    if (indexes.empty())
        return std::nullopt;
    return indexes.front();
}

std::vector<PulseSource> listPulseSources(PulseConnection& connection)
{
    Answer<pa_source_info> answer;
    connection.finish(pa_context_get_source_info_list(connection.get(), &answer.addListed, &answer), refused);
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
    Answer<pa_sink_info> answer;
    connection.finish(pa_context_get_sink_info_list(connection.get(), &answer.addListed, &answer), refused);
    for (auto& sink : answer.taken()) {
        if (sink.name == server.defaultSinkName && !sink.monitorName.empty())
            return std::move(sink);
    }
    return std::nullopt;
}

} // namespace glimto
