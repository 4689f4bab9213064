// Tells how well a recording shows numbered pictures, see NumberedWindow.h.
//
//     glimto-picture-likeness TAKE PICTURES WIDTHxHEIGHT FIRST,...
//     glimto-picture-likeness TAKE PICTURES WIDTHxHEIGHT every:COUNT
//
// TAKE is a file or playlist; PICTURES holds the pictures as they were drawn, raw BGRX, in the order of their
// numbers. Prints a line of JSON for each look at the take: the picture's number and how close it comes to
// what was drawn. With every:COUNT it looks at every COUNTth picture. FIRST,... are the numbers that scenes
// begin with, from 0 on: then it looks at what is shown at some moments of each scene that begins within the
// take, every thirtieth of its first half second and five times before its second second ends, and tells
// besides the scene, how many had begun before, and the seconds since it began.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
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

void cutMarkerOff(Luma& luma)
{
    luma.height -= markerSize;
    luma.samples.erase(luma.samples.begin(), luma.samples.begin() + markerSize * luma.width);
}

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
            cutMarkerOff(luma_);
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

void print(nlohmann::ordered_json line, unsigned number, const Likeness& likeness)
{
    line.update({{"number", number}, {"ssim", likeness.structure}, {"psnr", signalToNoise(likeness.error)}});
    if (likeness.edgeStructure >= 0)
        line.update({{"edgeSSIM", likeness.edgeStructure}, {"edgePSNR", signalToNoise(likeness.edgeError)}});
    std::cout << line.dump() << "\n";
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
            cutMarkerOff(shown_);
            likeness_ = likeness(shown_, drawn_.picture(number_));
        }
        print({{"scene", scene_}, {"begun", begun_ - 1}, {"since", since}}, number_, *likeness_);
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
        std::cerr << "usage: glimto-picture-likeness TAKE PICTURES WIDTHxHEIGHT FIRST,...|every:COUNT\n";
        return 2;
    }
    DrawnPictures drawn(arguments[1], width, height);
    const auto read = [&](const std::function<void(double time, Luma shown)>& receive) {
        readPictures(arguments[0], [&](double time, Luma shown) {
            if (shown.width != width || shown.height != height)
                throw std::runtime_error("the take has another size");
            receive(time, std::move(shown));
        });
    };
    int step = 0;
    if (std::sscanf(arguments[3].c_str(), "every:%d", &step) == 1 && step > 0) {
        int count = 0;
        read([&](double /*time*/, Luma shown) {
            if (count++ % step != 0)
                return;
            const unsigned number = numberIn(shown);
            cutMarkerOff(shown);
            print({}, number, likeness(shown, drawn.picture(number)));
        });
        return 0;
    }
    SceneWatch watch(drawn, parseFirsts(arguments[3]));
    read([&](double time, Luma shown) { watch.see(time, std::move(shown)); });
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
