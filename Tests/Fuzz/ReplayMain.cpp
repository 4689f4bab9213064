// Runs a fuzz target over the files of a folder and over mutations of them, without libFuzzer:
//
//     <target> <seed> <mutations a file> <folder>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr std::size_t longestSpan = 16;
constexpr int mostChanges = 4;

Bytes contentsOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<Bytes> filesIn(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        paths.push_back(entry.path());
    std::ranges::sort(paths);
    std::vector<Bytes> files;
    for (const auto& path : paths)
        files.push_back(contentsOf(path));
    return files;
}

class Mutator {
public:
    explicit Mutator(unsigned seed)
        : random_(seed)
    {
    }

    // `bytes` with some changes; `other` may give a part.
    Bytes mutated(Bytes bytes, const Bytes& other)
    {
        const std::size_t changes = 1 + below(mostChanges);
        for (std::size_t change = 0; change < changes; ++change)
            mutate(bytes, other);
        return bytes;
    }

    std::size_t below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }

private:
    void mutate(Bytes& bytes, const Bytes& other)
    {
        constexpr std::uint8_t edges[] = {0x00, 0x01, 0x7f, 0x80, 0xff};
        const std::size_t at = below(bytes.size());
        const auto place = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        const auto end
            = place + static_cast<std::ptrdiff_t>(std::min(bytes.size() - at, 1 + below(longestSpan)));
        switch (bytes.empty() ? 5 : below(6)) {
        case 0:
            *place ^= static_cast<std::uint8_t>(1u << below(8));
            break;
        case 1:
            *place = edges[below(std::size(edges))];
            break;
        case 2:
            bytes.erase(place, end);
            break;
        case 3: {
            const Bytes repeated(place, end);
            bytes.insert(place, repeated.begin(), repeated.end());
            break;
        }
        case 4:
            bytes.resize(at);
            break;
        default: {
            const auto from = other.begin() + static_cast<std::ptrdiff_t>(below(other.size()));
            const auto left = static_cast<std::size_t>(other.end() - from);
            bytes.insert(place, from, from + static_cast<std::ptrdiff_t>(std::min(left, below(64))));
            break;
        }
        }
    }

    std::mt19937 random_;
};

} // namespace

int main(int argumentCount, char** argumentValues)
{
    if (argumentCount != 4) {
        std::cerr << "usage: <target> <seed> <mutations a file> <folder>\n";
        return 2;
    }
    Mutator mutator(static_cast<unsigned>(std::strtoul(argumentValues[1], nullptr, 10)));
    const auto mutations = std::strtoul(argumentValues[2], nullptr, 10);
    const auto files = filesIn(argumentValues[3]);
    if (files.empty()) {
        std::cerr << argumentValues[3] << " has no files\n";
        return 2;
    }
    std::size_t runs = 0;
    for (const auto& file : files) {
        LLVMFuzzerTestOneInput(file.data(), file.size());
        for (unsigned long count = 0; count < mutations; ++count, ++runs) {
            const auto bytes = mutator.mutated(file, files[mutator.below(files.size())]);
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
        }
    }
    std::cout << files.size() << " files and " << runs << " mutations\n";
    return 0;
}
