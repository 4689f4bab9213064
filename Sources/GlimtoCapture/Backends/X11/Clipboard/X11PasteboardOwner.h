#pragma once

namespace glimto {

// How X11Pasteboard starts this program once more: under a name of its own, with one argument, the picture
// and the writing end of a pipe at these descriptors.
inline constexpr const char* pasteboardOwnerProcessName = "glimto-capture-clipboard";
inline constexpr const char* pasteboardOwnerArgument = "offer-png";
inline constexpr int pasteboardDataDescriptor = 3;
inline constexpr int pasteboardAnswerDescriptor = 4;
// Written to the pipe once the selection is owned. The pipe is closed without it when it cannot be had.
inline constexpr char pasteboardOwnedWord = 'y';

// Whether this process was started to offer the clipboard's contents.
bool isPasteboardOwner(int argumentCount, char** argumentValues);

// Offers the picture until another program puts something on the clipboard, a clipboard manager has taken it
// over, or the X server goes. Returns the exit status: 0 unless the selection could not be had. To be called
// before anything else is set up.
int runPasteboardOwner();

} // namespace glimto
