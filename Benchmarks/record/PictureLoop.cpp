// Shows a file of raw pictures, BGRX, forwards and backwards again and again, thirty a second, until it is
// killed. The number of each, which goes on counting, stands in its top left corner, see NumberedWindow.h.
//
//     glimto-picture-loop <file> <width> <height>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

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

    void draw(std::uint32_t* pixels, unsigned number) const
    {
        const std::size_t turn = 2 * (count_ - 1);
        const std::size_t step = number % turn;
        const std::size_t index = step < count_ ? step : turn - step;
        std::memcpy(pixels, pictures_ + index * pictureBytes_, pictureBytes_);
    }

private:
    std::size_t pictureBytes_;
    std::size_t count_ = 0;
    const std::byte* pictures_ = nullptr;
};

} // namespace

int main(int argumentCount, char** arguments)
{
    try {
        const int width = argumentCount == 4 ? std::atoi(arguments[2]) : 0;
        const int height = argumentCount == 4 ? std::atoi(arguments[3]) : 0;
        if (width < 256 || height < 16)
            throw std::runtime_error("usage: glimto-picture-loop <file> <width> <height>");
        const PictureFile file(arguments[1], width, height);
        glimto::NumberedWindow window(width, height);
        window.showAll(
            picturesPerSecond, [&](std::uint32_t* pixels, unsigned number) { file.draw(pixels, number); });
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return 1;
    }
}
