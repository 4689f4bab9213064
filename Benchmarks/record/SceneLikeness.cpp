// Tells how well a recording shows new scenes of numbered pictures, see NumberedWindow.h.
//
//     glimto-scene-likeness TAKE PICTURES WIDTHxHEIGHT FIRST,...
//
// TAKE is a file or playlist; PICTURES holds the pictures as they were drawn, raw BGRX, in the order of their
// numbers; FIRST,... are the numbers that the scenes begin with, from 0 on. Looks at what is shown at some
// moments of each scene that begins within the take, every thirtieth of its first half second and five times
// before its second second ends, and prints a line of JSON for each look: the scene, how many had begun
// before, the seconds since it began, the picture's number, and how close it comes to what was drawn.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

extern "C" {
#include <libavutil/log.h>
}

#include "picture/Luma.h"
#include "picture/ShownPictures.h"
#include "record/NumberedWindow.h"

namespace glimto {
namespace {

// Seconds since a scene began.
std::vector<double> timesOfLooks()
{
    std::vector<double> times;
    for (int picture = 0; picture <= 15; ++picture)
        times.push_back(picture / 30.0);
    for (int tenth = 16; tenth <= 20; ++tenth)
        times.push_back(tenth / 10.0);
    return times;
}

constexpr double tolerance = 1.0 / 60; // recorders do not see a picture at once

// Pictures as they were drawn, without the rows of the marker.
class DrawnPictures {
public:
    DrawnPictures(const std::string& path, int width, int height)
        : file_(path, std::ios::binary)
        , canvas_(width, height)
    {
    }

    const Luma& picture(unsigned number)
    {
        if (luma_.samples.empty() || number != number_) {
            const auto bytes = static_cast<std::streamsize>(canvas_.pixels.size() * 4);
            file_.seekg(static_cast<std::streamoff>(number) * bytes);
            if (!file_.read(reinterpret_cast<char*>(canvas_.pixels.data()), bytes))
                throw std::runtime_error("there is no picture " + std::to_string(number));
            luma_ = lumaOf(canvas_);
            luma_.height -= markerSize;
            luma_.samples.erase(luma_.samples.begin(), luma_.samples.begin() + markerSize * luma_.width);
            number_ = number;
        }
        return luma_;
    }

private:
    std::ifstream file_;
    Canvas canvas_;
    Luma luma_;
    unsigned number_ = 0;
};

unsigned numberIn(const Luma& shown)
{
    unsigned number = 0;
    for (int bit = 0; bit < markerBits; ++bit) {
        const int at = shown.width * (markerSize / 2) + bit * markerSize + markerSize / 2;
        if (shown.samples[static_cast<std::size_t>(at)] > 128)
            number |= 1U << static_cast<unsigned>(bit);
    }
    return number;
}

// Follows a take, whose first picture is in the middle of a scene.
class SceneWatch {
public:
    SceneWatch(DrawnPictures& drawn, std::vector<unsigned> firsts)
        : drawn_(drawn)
        , firsts_(std::move(firsts))
        , nextLook_(looks_.size())
    {
    }

    void see(double time, Luma shown)
    {
        lookUntil(time);
        const unsigned number = numberIn(shown);
        const auto scene = std::upper_bound(firsts_.begin(), firsts_.end(), number) - firsts_.begin() - 1;
        if (scene_ != -1 && scene != scene_) {
            ++begun_;
            beginning_ = time;
            nextLook_ = 0;
        }
        scene_ = scene;
        number_ = number;
        shown_ = std::move(shown);
        likeness_.reset();
    }

private:
    void lookUntil(double time)
    {
        for (; nextLook_ < looks_.size() && beginning_ + looks_[nextLook_] + tolerance < time; ++nextLook_)
            look(looks_[nextLook_]);
    }

    void look(double since)
    {
        if (!likeness_) {
            shown_.height -= markerSize;
            shown_.samples.erase(shown_.samples.begin(), shown_.samples.begin() + markerSize * shown_.width);
            likeness_ = likeness(shown_, drawn_.picture(number_));
        }
        nlohmann::ordered_json line = {{"scene", scene_}, {"begun", begun_ - 1}, {"since", since},
            {"number", number_}, {"ssim", likeness_->structure}, {"psnr", signalToNoise(likeness_->error)}};
        if (likeness_->edgeStructure >= 0)
            line.update(
                {{"edgeSSIM", likeness_->edgeStructure}, {"edgePSNR", signalToNoise(likeness_->edgeError)}});
        std::cout << line.dump() << "\n";
    }

    DrawnPictures& drawn_;
    const std::vector<unsigned> firsts_;
    const std::vector<double> looks_ = timesOfLooks();
    std::size_t nextLook_;
    double beginning_ = 0;
    int begun_ = 0; // scenes
    std::ptrdiff_t scene_ = -1;
    unsigned number_ = 0;
    Luma shown_;
    std::optional<Likeness> likeness_; // of shown_, once it was looked at
};

std::vector<unsigned> parseFirsts(const std::string& text)
{
    std::vector<unsigned> firsts;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');)
        firsts.push_back(static_cast<unsigned>(std::stoul(word)));
    if (firsts.empty() || firsts[0] != 0 || !std::is_sorted(firsts.begin(), firsts.end()))
        throw std::runtime_error("scenes begin with 0 and then later");
    return firsts;
}

int run(const std::vector<std::string>& arguments)
{
    int width = 0;
    int height = 0;
    if (arguments.size() != 4 || std::sscanf(arguments[2].c_str(), "%dx%d", &width, &height) != 2
        || width < markerBits * markerSize || height <= markerSize) {
        std::cerr << "usage: glimto-scene-likeness TAKE PICTURES WIDTHxHEIGHT FIRST,...\n";
        return 2;
    }
    DrawnPictures drawn(arguments[1], width, height);
    SceneWatch watch(drawn, parseFirsts(arguments[3]));
    readPictures(arguments[0], [&](double time, Luma shown) {
        if (shown.width != width || shown.height != height)
            throw std::runtime_error("the take has another size");
        watch.see(time, std::move(shown));
    });
    return 0;
}

} // namespace
} // namespace glimto

int main(int argc, char** argv)
{
    try {
        av_log_set_level(AV_LOG_ERROR);
        return glimto::run({argv + 1, argv + argc});
    } catch (const std::exception& exception) {
        std::cerr << "error: " << exception.what() << "\n";
        return 1;
    }
}
