// Shows a file of raw pictures, BGRX, until it is killed: thirty a second, forwards and backwards again and
// again, or as a plan has it. The number of each stands in its top left corner, see NumberedWindow.h: it goes
// on counting, or is, with a plan, the picture's place in the file.
//
//     glimto-picture-loop <file> <width> <height> [<plan>]
//
// The plan "0*80,1,2*40" shows picture 0 for 80 thirtieths of a second, then 1 for one, then 2 for 40, and so
// on again and again.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include "record/NumberedWindow.h"

namespace {

constexpr int picturesPerSecond = 30;

// The file's pictures, mapped until the process ends.
class PictureFile {
public:
    PictureFile(const char* path, int width, int height)
        : pictureBytes_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4)
    {
        struct stat facts { };
        const int file = open(path, O_RDONLY | O_CLOEXEC);
        if (file < 0 || fstat(file, &facts) != 0)
            throw std::runtime_error("the file cannot be read");
        const auto size = static_cast<std::size_t>(facts.st_size);
        count_ = size / pictureBytes_;
        if (count_ < 2)
            throw std::runtime_error("the file has less than two pictures");
        void* mapped = mmap(nullptr, size, PROT_READ, MAP_SHARED | MAP_POPULATE, file, 0);
        if (mapped == MAP_FAILED)
            throw std::runtime_error("the file cannot be mapped");
        pictures_ = static_cast<const std::byte*>(mapped);
    }

    std::size_t count() const { return count_; }

    void draw(std::uint32_t* pixels, std::size_t index) const
    {
        std::memcpy(pixels, pictures_ + index * pictureBytes_, pictureBytes_);
    }

    void drawThereAndBack(std::uint32_t* pixels, unsigned number) const
    {
        const std::size_t turn = 2 * (count_ - 1);
        const std::size_t step = number % turn;
        draw(pixels, step < count_ ? step : turn - step);
    }

private:
    std::size_t pictureBytes_;
    std::size_t count_ = 0;
    const std::byte* pictures_ = nullptr;
};

std::vector<glimto::NumberedStep> parsePlan(const std::string& text, std::size_t pictures)
{
    std::vector<glimto::NumberedStep> plan;
    std::istringstream steps(text);
    for (std::string step; std::getline(steps, step, ',');) {
        glimto::NumberedStep parsed;
        if (std::sscanf(step.c_str(), "%u*%u", &parsed.number, &parsed.ticks) < 1
            || parsed.number >= pictures)
            throw std::runtime_error("a plan that the file has no pictures for");
        plan.push_back(parsed);
    }
    return plan;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    try {
        const bool isComplete = argumentCount == 4 || argumentCount == 5;
        const int width = isComplete ? std::atoi(arguments[2]) : 0;
        const int height = isComplete ? std::atoi(arguments[3]) : 0;
        if (width < 256 || height < 16)
            throw std::runtime_error("usage: glimto-picture-loop <file> <width> <height> [<plan>]");
        const PictureFile file(arguments[1], width, height);
        const auto plan = parsePlan(argumentCount == 5 ? arguments[4] : "", file.count());
        glimto::NumberedWindow window(width, height);
        if (!plan.empty()) {
            window.showPlan(picturesPerSecond, plan,
                [&](std::uint32_t* pixels, unsigned number) { file.draw(pixels, number); });
        }
        window.showAll(picturesPerSecond,
            [&](std::uint32_t* pixels, unsigned number) { file.drawThereAndBack(pixels, number); });
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return 1;
    }
}
