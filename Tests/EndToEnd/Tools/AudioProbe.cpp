// Records with the sound server's inputs alone and tells what they do, a line each:
//
//   devices                          "device <id>" for each microphone
//   find <id>                        "found <name>" or "none"
//   record <id> <seconds> [<file>]   the microphone, or "system" for what is played; the file gets the
//   samples
//                                    as they come, 32-bit float:
//       start <running|notRunning|noClock> <milliseconds it took>
//       buffer <time of the first frame, ns> <frames> <rate> <channels> <now, ns> <loudest sample>
//       disconnected | failed <text> | interrupted <text>
//       stopped <milliseconds it took> <CPU seconds of this process>
//   cycles <id> <count>              records so often for a moment:
//       before <threads> <descriptors>
//       after <threads> <descriptors>
//
// "error <text>" ends it with status 1. The end of standard input ends a recording, too.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Platform/AudioInput.h"
#include "Support/LoadableModule.h"
#include "Support/HostClock.h"

namespace {

using namespace glimto;

void say(const std::string& line)
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::cout << line << std::endl;
}

double millisecondsSince(HostTime time)
{
    return std::chrono::duration<double, std::milli>(HostClock::now() - time).count();
}

double processorSeconds()
{
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

const char* wordFor(AudioInputStart outcome)
{
    switch (outcome) {
    case AudioInputStart::running:
        return "running";
    case AudioInputStart::notRunning:
        return "notRunning";
    case AudioInputStart::noClock:
        break;
    }
    return "noClock";
}

float loudest(const AudioBuffer& buffer)
{
    float most = 0;
    for (std::size_t at = 0; at + sizeof(float) <= buffer.bytes.size(); at += sizeof(float)) {
        float sample = 0;
        std::memcpy(&sample, buffer.bytes.data() + at, sizeof sample);
        most = std::max(most, std::abs(sample));
    }
    return most;
}

class Probe {
public:
    explicit Probe(const std::filesystem::path& executable)
        : module_("glimto-capture-sound.so", {executable.parent_path()}, "Sound recording")
        , inputs_(module_.service<AudioInputFactory>())
    {
    }

    void run(const std::vector<std::string>& words)
    {
        const std::string command = words.empty() ? "" : words[0];
        if (command == "devices")
            return listDevices();
        if (command == "find" && words.size() == 2)
            return find(words[1]);
        if (command == "record" && words.size() >= 3)
            return record(words[1], std::stod(words[2]), words.size() > 3 ? words[3] : "");
        if (command == "cycles" && words.size() == 3)
            return cycle(words[1], std::stoi(words[2]));
        throw std::runtime_error("unknown command");
    }

private:
    void listDevices()
    {
        for (const auto& device : inputs_.microphones())
            say("device " + device.id);
    }

    void find(const std::string& id)
    {
        const auto device = inputs_.microphone(id);
        say(device ? "found " + device->name : "none");
    }

    std::unique_ptr<AudioInput> make(const std::string& id)
    {
        if (id == "system")
            return inputs_.makeSystemAudioInput({});
        const auto device = inputs_.microphone(id);
        if (!device)
            throw std::runtime_error("no such device");
        return inputs_.makeMicrophoneInput(*device);
    }

    void record(const std::string& id, double seconds, const std::string& file)
    {
        std::ofstream samples;
        if (!file.empty())
            samples.open(file, std::ios::binary);
        const auto input = make(id);
        const auto began = HostClock::now();
        const auto outcome = input->start({
            .onBuffer =
                [&](const AudioBuffer& buffer) {
                    std::ostringstream line;
                    line << "buffer " << buffer.presentationTime.nanoseconds() << ' ' << buffer.frameCount
                         << ' ' << buffer.format.sampleRate << ' ' << buffer.format.channelCount << ' '
                         << HostClock::now().time_since_epoch().count() << ' ' << loudest(buffer);
                    say(line.str());
                    if (samples.is_open())
                        samples.write(reinterpret_cast<const char*>(buffer.bytes.data()),
                            static_cast<std::streamsize>(buffer.bytes.size()));
                },
            .onDisconnected = [] { say("disconnected"); },
            .onFailed = [](const std::string& text) { say("failed " + text); },
            .onInterrupted = [](const std::string& text) { say("interrupted " + text); },
        });
        say(std::string("start ") + wordFor(outcome) + ' ' + std::to_string(millisecondsSince(began)));
        if (outcome == AudioInputStart::running) {
            pollfd input0 = {.fd = 0, .events = POLLIN, .revents = 0};
            ::poll(&input0, 1, static_cast<int>(seconds * 1000));
        }
        const auto stopping = HostClock::now();
        input->stop();
        input->stop();
        say("stopped " + std::to_string(millisecondsSince(stopping)) + ' '
            + std::to_string(processorSeconds()));
    }

    static std::string resources()
    {
        const auto count = [](const char* folder) {
            return std::distance(std::filesystem::directory_iterator(folder), {});
        };
        return std::to_string(count("/proc/self/task")) + ' ' + std::to_string(count("/proc/self/fd"));
    }

    void cycle(const std::string& id, int count)
    {
        make(id); // whatever the library keeps for good
        say("before " + resources());
        for (int turn = 0; turn < count; ++turn) {
            const auto input = make(id);
            const auto outcome = input->start({.onBuffer = [](const AudioBuffer&) {},
                .onDisconnected = {},
                .onFailed = {},
                .onInterrupted = {}});
            if (outcome != AudioInputStart::running)
                throw std::runtime_error("did not start");
            input->stop();
        }
        say("after " + resources());
    }

    LoadableModule module_;
    AudioInputFactory& inputs_;
};

} // namespace

int main(int argumentCount, char** arguments)
{
    try {
        Probe(std::filesystem::canonical("/proc/self/exe")).run({arguments + 1, arguments + argumentCount});
        return 0;
    } catch (const std::exception& error) {
        say(std::string("error ") + error.what());
        return 1;
    }
}
