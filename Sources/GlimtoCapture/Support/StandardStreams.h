#pragma once

namespace glimto {

// Opens those of the standard streams that are closed, so that no file opened later gets the number of one
// and with it the lines that are written there. Writing to the output fails, what is written as an error is
// lost; the input is in error, not at its end.
void openStandardStreams();

} // namespace glimto
