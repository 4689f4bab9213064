#include "Backends/X11/Clipboard/X11PasteboardOwner.h"

#include <chrono>

#include "Backends/X11/Clipboard/X11ClipboardOffer.h"
#include "Backends/X11/Connection/X11Connection.h"

namespace glimto {

namespace {

// Another client that grabs the server makes everybody wait.
constexpr std::chrono::minutes answerTimeout{1};

} // namespace

void X11PasteboardOwner::offer(std::span<const std::byte> png, const std::function<bool()>& isOffered)
{
    const auto connection = X11Connection::open();
    connection->setAnswerTimeout(answerTimeout);
    X11ClipboardOffer clipboard(*connection, png);
    if (!clipboard.acquire())
        throw x11Error(X11Failure::noAnswer, "Another program does not let go of the clipboard.");
    if (isOffered())
        clipboard.run();
}

} // namespace glimto
