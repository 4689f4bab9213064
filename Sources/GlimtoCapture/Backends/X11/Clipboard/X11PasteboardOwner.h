#pragma once

#include <cstddef>
#include <string_view>

namespace glimto {

// How X11Pasteboard starts this program once more: under a name of its own, with one argument, the picture
// and the writing end of a pipe at these descriptors.
inline constexpr const char* pasteboardOwnerProcessName = "glimto-capture-clipboard";
inline constexpr const char* pasteboardOwnerArgument = "offer-png";
inline constexpr int pasteboardDataDescriptor = 3;
inline constexpr int pasteboardAnswerDescriptor = 4;
// All that is written to the pipe once the selection is owned; what stands in the way when it cannot be had.
inline constexpr std::string_view pasteboardOwnedWord = "owned";
inline constexpr std::size_t longestPasteboardAnswer = 1024;

// Whether this process was started to offer the clipboard's contents.
bool isPasteboardOwner(int argumentCount, char** argumentValues);

// Offers the picture until another program puts something on the clipboard or the X server goes. Returns the
// exit status: 0 unless the selection could not be had. To be called before anything else is set up.
int runPasteboardOwner();

} // namespace glimto
