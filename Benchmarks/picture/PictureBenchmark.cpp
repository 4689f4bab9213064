// Encodes a scene drawn picture by picture, without a screen, with the recorder's own encoder and writer or
// with ffmpeg's libx264, and compares what a decoder shows with what was drawn.
//
//     glimto-picture-benchmark ours|peer SCENE WIDTHxHEIGHT PICTURES BITS_PER_SECOND FILE
//     glimto-picture-benchmark scenes
//
// Leaves the take in FILE (MP4) and prints one line of JSON. The CPU time is that of encoding:
// drawing and comparing are left out.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "Backends/MP4/MP4VideoAssetWriter.h"
#include "Backends/X264/X264VideoEncoder.h"
#include "picture/Luma.h"
#include "picture/Scenes.h"
#include "picture/ShownPictures.h"

namespace glimto {
namespace {

constexpr int segmentSeconds = 4;

struct Job {
    std::string scene;
    int width = 0;
    int height = 0;
    int pictureCount = 0;
    std::int64_t bitsPerSecond = 0;
    std::string file;
};

double seconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Of all threads but this one, which draws.
double secondsOfOthers()
{
    return seconds(CLOCK_PROCESS_CPUTIME_ID) - seconds(CLOCK_THREAD_CPUTIME_ID);
}

class FileDelegate final : public AssetWriterDelegate {
public:
    explicit FileDelegate(const std::string& file)
        : file_(file, std::ios::binary)
    {
    }

    void didOutputInitializationSegment(std::span<const std::byte> data) override { write(data); }
    void didOutputSegmentData(std::span<const std::byte> data) override { write(data); }
    void didFinishSegment(const SegmentReport& /*report*/) override { }

private:
    void write(std::span<const std::byte> data)
    {
        file_.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
    }

    std::ofstream file_;
};

// Returns CPU seconds.
double encodeOurs(const Job& job)
{
    const auto scene = makeScene(job.scene, job.width, job.height);
    Canvas screen(job.width, job.height);
    X264VideoEncoderFactory encoders;
    FileDelegate delegate(job.file);
    const double before = secondsOfOthers();
    const VideoEncodingSettings settings = {.width = job.width,
        .height = job.height,
        .framesPerSecond = Scene::picturesPerSecond,
        .averageBitRate = job.bitsPerSecond,
        .maxKeyFrameInterval = static_cast<std::int64_t>(segmentSeconds) * Scene::picturesPerSecond,
        .maxKeyFrameIntervalDuration = std::chrono::duration<double>(segmentSeconds)};
    const auto writer = MP4VideoAssetWriter::make(encoders, settings, MediaTime{segmentSeconds, 1}, delegate);
    if (!writer || !writer->startWriting())
        throw std::runtime_error("the writer cannot start");
    for (int number = 0; number < job.pictureCount; ++number) {
        VideoFrame frame;
        frame.changedRects = scene->draw(number, screen);
        const auto pixels = std::make_shared<Canvas>(screen);
        frame.picture = std::make_shared<MemoryPicture>(
            PixelBuffer{job.width, job.height, static_cast<std::size_t>(job.width) * 4,
                reinterpret_cast<const std::uint8_t*>(pixels->pixels.data()), pixels});
        frame.presentationTime = MediaTime{number, Scene::picturesPerSecond};
        frame.sequenceNumber = static_cast<std::uint64_t>(number);
        while (!writer->isReadyForMoreMediaData() && writer->status() == AssetWriterStatus::writing)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (!writer->append(frame))
            throw std::runtime_error("the writer refuses a picture: " + writer->error());
    }
    if (writer->finishWriting() != AssetWriterStatus::completed)
        throw std::runtime_error("the writer failed: " + writer->error());
    return secondsOfOthers() - before;
}

double encodePeer(const Job& job)
{
    const auto scene = makeScene(job.scene, job.width, job.height);
    Canvas screen(job.width, job.height);
    const std::string command = "exec ffmpeg -v error -y -f rawvideo -pix_fmt bgr0 -video_size "
        + std::to_string(job.width) + "x" + std::to_string(job.height) + " -framerate "
        + std::to_string(Scene::picturesPerSecond)
        + " -i - -c:v libx264 -preset superfast -pix_fmt yuv420p -b:v " + std::to_string(job.bitsPerSecond)
        + " -g " + std::to_string(segmentSeconds * Scene::picturesPerSecond) + " -f mp4 '" + job.file + "'";
    std::FILE* ffmpeg = popen(command.c_str(), "w");
    if (!ffmpeg)
        throw std::runtime_error("ffmpeg cannot be started");
    for (int number = 0; number < job.pictureCount; ++number) {
        scene->draw(number, screen);
        std::fwrite(screen.pixels.data(), 4, screen.pixels.size(), ffmpeg);
    }
    if (pclose(ffmpeg) != 0)
        throw std::runtime_error("ffmpeg failed");
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto time = [](const timeval& value) {
        return static_cast<double>(value.tv_sec) + static_cast<double>(value.tv_usec) * 1e-6;
    };
    return time(usage.ru_utime) + time(usage.ru_stime);
}

nlohmann::ordered_json compare(const Job& job)
{
    const auto scene = makeScene(job.scene, job.width, job.height);
    Canvas screen(job.width, job.height);
    double structure = 0;
    double error = 0;
    double edgeError = 0;
    double worstStructure = 1;
    double worstError = 0;
    int worst = 0;
    std::vector<double> structures;
    readShownPictures(
        job.file, job.pictureCount, Scene::picturesPerSecond, [&](int number, const Luma& shown) {
            scene->draw(number, screen);
            const Likeness like = likeness(shown, lumaOf(screen));
            structures.push_back(std::round(like.structure * 1e4) / 1e4);
            structure += like.structure;
            error += like.error;
            edgeError += std::max(like.edgeError, 0.0);
            worstError = std::max(worstError, like.error);
            if (like.structure < worstStructure) {
                worstStructure = like.structure;
                worst = number;
            }
        });
    return {{"ssim", structure / job.pictureCount}, {"psnr", signalToNoise(error / job.pictureCount)},
        {"edgePSNR", signalToNoise(edgeError / job.pictureCount)}, {"worstSSIM", worstStructure},
        {"worstPSNR", signalToNoise(worstError)}, {"worstPicture", worst}, {"ssimOfPictures", structures}};
}

int run(const std::vector<std::string>& arguments)
{
    if (arguments.size() == 1 && arguments[0] == "scenes") {
        for (const std::string& name : sceneNames())
            std::cout << name << "\n";
        return 0;
    }
    Job job;
    if (arguments.size() != 6 || (arguments[0] != "ours" && arguments[0] != "peer")
        || std::sscanf(arguments[2].c_str(), "%dx%d", &job.width, &job.height) != 2
        || !makeScene(arguments[1], job.width, job.height)) {
        std::cerr
            << "usage: glimto-picture-benchmark ours|peer SCENE WIDTHxHEIGHT PICTURES BITS_PER_SECOND FILE\n";
        return 2;
    }
    job.scene = arguments[1];
    job.pictureCount = std::stoi(arguments[3]);
    job.bitsPerSecond = std::stoll(arguments[4]);
    job.file = arguments[5];
    const double cpu = arguments[0] == "ours" ? encodeOurs(job) : encodePeer(job);
    const double length = static_cast<double>(job.pictureCount) / Scene::picturesPerSecond;
    std::ifstream file(job.file, std::ios::binary | std::ios::ate);
    nlohmann::ordered_json result = {{"encoder", arguments[0]}, {"scene", job.scene}, {"width", job.width},
        {"height", job.height}, {"pictures", job.pictureCount},
        {"bitsPerSecond", std::llround(static_cast<double>(file.tellg()) * 8 / length)},
        {"cpuSecondsAMinute", cpu / length * 60}};
    result.update(compare(job));
    std::cout << result.dump() << std::endl;
    return 0;
}

} // namespace
} // namespace glimto

int main(int argc, char** argv)
{
    try {
        return glimto::run({argv + 1, argv + argc});
    } catch (const std::exception& exception) {
        std::cerr << "error: " << exception.what() << "\n";
        return 1;
    }
}
