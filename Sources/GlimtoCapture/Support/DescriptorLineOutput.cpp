#include "Support/DescriptorLineOutput.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "Support/Errors.h"
#include "Support/Guarded.h"
#include "Support/NonBlockingWriter.h"
#include "Support/Text.h"

namespace glimto {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t pieceBytes = 4096;

// How soon the thread notices that it is to end while there is no room.
constexpr std::chrono::milliseconds longestWaitForRoom(50);

// A terminal can be writable and still take nothing, when a line break needs two places.
constexpr std::chrono::milliseconds pauseWithoutRoom(5);

// What the thread needs to end once it was told to.
constexpr std::chrono::seconds endLimit(1);

bool isLackOfRoom(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

} // namespace

struct DescriptorLineOutput::Core {
    struct Lines {
        std::string waiting; // the first of them perhaps without its beginning
        Clock::time_point lastRead; // when a part was taken last, or there was none before
        bool isWriting = false; // the thread writes the beginning of what waits
        bool mustEnd = false;

        bool isWritten() const { return waiting.empty() && !isWriting; }

        // Writes what there is room for. What fails is lost, as it was for a reader that is gone.
        void writeWithoutWaiting(const NonBlockingWriter& output)
        {
            while (!waiting.empty()) {
                const auto written = output.write(waiting);
                if (written < 0 && isLackOfRoom(errno))
                    return;
                take(written);
            }
        }

        void take(long written)
        {
            waiting.erase(0, written < 0 ? waiting.size() : static_cast<std::size_t>(written));
            lastRead = Clock::now();
        }
    };

    explicit Core(int descriptor)
        : writer(descriptor)
    {
    }

    // Runs on the thread. The lock is let go of while a write may wait.
    void writeWhatWaits()
    {
        while (true) {
            // The destructor tells when to end.
            const auto piece
                = lines.waitUntil([](const Lines& now) { return now.mustEnd || !now.waiting.empty(); },
                    [](Lines& now) {
                        now.isWriting = !now.mustEnd;
                        return now.mustEnd ? std::string() : now.waiting.substr(0, pieceBytes);
                    });
            if (piece.empty())
                return;
            errno = EAGAIN;
            const bool hasRoom = writer.waitForRoom(longestWaitForRoom);
            const auto written = hasRoom ? writer.write(piece) : -1;
            const bool isTaken = written >= 0 || !isLackOfRoom(errno);
            lines.change([&](Lines& now) {
                now.isWriting = false;
                if (isTaken)
                    now.take(written);
            });
            if (hasRoom && !isTaken)
                std::this_thread::sleep_for(pauseWithoutRoom);
        }
    }

    const NonBlockingWriter writer;
    Guarded<Lines, LockLevel::leaf> lines;
};

DescriptorLineOutput::DescriptorLineOutput(int descriptor, std::chrono::milliseconds patience)
    : patience_(patience)
    , core_(std::make_shared<Core>(descriptor))
{
}

DescriptorLineOutput::~DescriptorLineOutput()
{
    if (!thread_)
        return;
    const auto lastRead = core_->lines.with([](const Core::Lines& lines) { return lines.lastRead; });
    const auto left = std::max<std::chrono::nanoseconds>(lastRead + patience_ - Clock::now(), {});
    core_->lines.waitFor(left, [](const Core::Lines& lines) { return lines.isWritten(); });
    core_->lines.change([](Core::Lines& lines) { lines.mustEnd = true; });
    thread_->joinWithin(endLimit);
}

void DescriptorLineOutput::writeLine(std::string_view line)
{
    const auto text = singleLine(line) + "\n";
    core_->lines.change([&](Core::Lines& lines) {
        if (lines.waiting.empty())
            lines.lastRead = Clock::now();
        else if (lines.waiting.size() + text.size() > mostWaitingBytes)
            return;
        lines.waiting += text;
        if (!lines.isWriting && core_->writer.neverBlocks())
            lines.writeWithoutWaiting(core_->writer);
        if (!lines.waiting.empty() && !thread_)
            startThread();
    });
}

// Without a thread the next line is the next try.
void DescriptorLineOutput::startThread()
{
    try {
        thread_ = std::make_unique<NamedThread>("glimto.output", [core = core_] { core->writeWhatWaits(); });
    } catch (const PlatformError&) {
    }
}

void DescriptorLineOutput::writeDocument(std::string_view text)
{
    const auto write = [&](Core::Lines& lines) {
        const auto document = std::exchange(lines.waiting, {}) + std::string(text) + "\n";
        for (std::string_view rest = document; !rest.empty();) {
            core_->writer.waitForRoom(std::nullopt);
            const auto written = core_->writer.write(rest);
            if (written >= 0)
                rest.remove_prefix(static_cast<std::size_t>(written));
            else if (errno == EPIPE || errno == ECONNRESET)
                return;
            else if (!isLackOfRoom(errno))
                throw PlatformError::posix("Could not write the output", errno);
            else
                std::this_thread::sleep_for(pauseWithoutRoom);
        }
    };
    // The thread writes what it has begun, for as long as the reader takes.
    core_->lines.waitUntil([](const Core::Lines& lines) { return !lines.isWriting; }, write);
}

} // namespace glimto
