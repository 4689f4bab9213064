#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "Platform/ProcessEnvironment.h"
#include "Progress/ProgressSink.h"
#include "Support/FileDescriptor.h"
#include "Support/NonBlockingWriter.h"

namespace glimto {

// The descriptor that the parent process has opened for the progress channel and named in the environment
// variable GLIMTO_CAPTURE_PROGRESS_FD.
struct ProgressDescriptor {
    static constexpr const char* variable = "GLIMTO_CAPTURE_PROGRESS_FD";

    FileDescriptor descriptor; // ours from now on, and of no child; closed when there is none
    std::string problem; // why what the variable names is of no use; empty otherwise

    // Takes the descriptor over. To be called before this process opens anything: a number that the parent
    // left closed could become one of our own files. A pipe, a socket or a regular file that can be written
    // is taken, but none of the standard streams.
    static ProgressDescriptor take(const ProcessEnvironment& process);
};

// Writes how far a recording has come, one JSON object a line, into a pipe, a socket or a file. A reader that
// is slow loses lines, always whole ones; one that has gone ends the channel. SIGPIPE must be ignored by the
// process.
class ProgressChannel final : public ProgressSink {
public:
    explicit ProgressChannel(FileDescriptor descriptor);

    void show(const RecordingSnapshot& snapshot) override;

private:
    std::size_t write(std::string_view text);

    FileDescriptor descriptor_;
    std::unique_ptr<NonBlockingWriter> writer_; // null when the reader has gone
    std::string rest_; // of a line whose beginning was written
};

} // namespace glimto
