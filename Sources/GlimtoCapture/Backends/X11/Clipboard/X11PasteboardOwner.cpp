#include "Backends/X11/Clipboard/X11PasteboardOwner.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <exception>
#include <memory>
#include <span>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Backends/X11/Clipboard/X11ClipboardOffer.h"
#include "Backends/X11/Connection/X11Connection.h"
#include "Support/FileDescriptor.h"
#include "Support/NamedThread.h"

namespace glimto {

namespace {

// Another client that grabs the server makes everybody wait.
constexpr std::chrono::minutes answerTimeout{1};

// The memory behind a descriptor, as long as the object lives; empty when there is none.
class MappedMemory {
public:
    explicit MappedMemory(int descriptor)
    {
        struct stat status { };
        if (::fstat(descriptor, &status) != 0 || status.st_size <= 0)
            return;
        const auto size = static_cast<std::size_t>(status.st_size);
        void* memory = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
        if (memory != MAP_FAILED)
            bytes_ = {static_cast<const std::byte*>(memory), size};
    }
    ~MappedMemory()
    {
        if (!bytes_.empty())
            ::munmap(const_cast<std::byte*>(bytes_.data()), bytes_.size());
    }
    MappedMemory(const MappedMemory&) = delete;
    MappedMemory& operator=(const MappedMemory&) = delete;

    std::span<const std::byte> bytes() const { return bytes_; }

private:
    std::span<const std::byte> bytes_;
};

bool say(std::string_view text, FileDescriptor& answer)
{
    // Shorter than what a pipe takes in one piece.
    const auto said = text.substr(0, longestPasteboardAnswer);
    const bool isSaid = ::write(answer.get(), said.data(), said.size()) == static_cast<ssize_t>(said.size());
    answer.close();
    return isSaid;
}

} // namespace

bool isPasteboardOwner(int argumentCount, char** argumentValues)
{
    return argumentCount == 2 && std::strcmp(argumentValues[0], pasteboardOwnerProcessName) == 0
        && std::strcmp(argumentValues[1], pasteboardOwnerArgument) == 0;
}

int runPasteboardOwner()
{
    std::signal(SIGPIPE, SIG_IGN);
    FileDescriptor data(pasteboardDataDescriptor);
    FileDescriptor answer(pasteboardAnswerDescriptor);
    try {
        nameThisThread("glimto-clip");
        // No folder stays in use because of us.
        if (::chdir("/") != 0)
            return 1;
        const MappedMemory picture(data.get());
        data.close();
        if (picture.bytes().empty())
            throw PlatformError::posix("Could not read the picture for the clipboard", errno);
        const auto connection = X11Connection::open();
        connection->setAnswerTimeout(answerTimeout);
        X11ClipboardOffer offer(*connection, picture.bytes());
        if (!offer.acquire())
            throw x11Error(X11Failure::noAnswer, "Another program does not let go of the clipboard.");
        if (!say(pasteboardOwnedWord, answer))
            return 1;
        offer.run();
        return 0;
    } catch (const std::exception& error) {
        // Once the selection was owned, the server's end is ours.
        if (!answer)
            return 0;
        say(error.what(), answer);
        return 1;
    }
}

} // namespace glimto
