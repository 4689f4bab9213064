#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>

#include "Backends/Desktop/DesktopWorkspace.h"
#include "Backends/Desktop/LinuxProcessEnvironment.h"
#include "Backends/Desktop/ProcessStopRequests.h"
#include "Backends/FFmpeg/Loader/FFmpegModuleEntry.h"
#include "Backends/FFmpeg/Loader/LazyAssetWriterFactory.h"
#include "Backends/Images/TurboImageCodec.h"
#include "Backends/X11/X11CaptureStream.h"
#include "Backends/X11/X11EventTap.h"
#include "Backends/X11/X11ScreenAccess.h"
#include "Backends/X11/X11ShareableContentProvider.h"
#include "CommandLine/Driver.h"
#include "Platform/PlatformServices.h"
#include "Support/DescriptorLineOutput.h"
#include "Support/LoadableModule.h"
#include "Support/NamedThread.h"
#include "Support/SerialQueue.h"

namespace {

using namespace glimto;

// Beside the program in a build tree, in the library folder next to it once installed.
std::vector<std::filesystem::path> moduleDirectories(const ProcessEnvironment& process)
{
    const auto executable = process.executablePath();
    if (!executable)
        return {};
    const auto folder = executable->parent_path();
    return {folder, folder.parent_path() / "lib" / "glimto-capture"};
}

int runCommandLine(const std::vector<std::string>& arguments)
{
    ProcessStopRequests stopRequests; // first: it remembers who our parent is
    DescriptorLineOutput standardOutput(1);
    DescriptorLineOutput standardError(2);
    LinuxProcessEnvironment process;
    X11ScreenAccess screen;
    X11ShareableContentProvider content;
    X11CaptureStreamFactory captureStreams;
    LoadableModule mediaLibraries(ffmpegModuleFileName, moduleDirectories(process), "The media encoder");
    LazyAssetWriterFactory assetWriters(mediaLibraries);
    X11EventTapFactory eventTaps;
    TurboImageCodec images;
    DesktopWorkspace workspace;
    PlatformServices services = {.process = process,
        .screen = screen,
        .content = content,
        .captureStreams = captureStreams,
        .assetWriters = assetWriters,
        .eventTaps = eventTaps,
        .images = images,
        .workspace = workspace,
        .stopRequests = stopRequests};

    // The encoder takes as long to load as the screen takes to be looked at: side by side.
    if (!arguments.empty() && arguments.front() == "record")
        mediaLibraries.beginLoading();
    return Driver(services, {standardOutput, standardError}).run(arguments);
}

// A standard stream that was closed would give its number to the next file we open, and our lines would
// end up in that file.
void openStandardStreams()
{
    for (const int descriptor : {0, 1, 2}) {
        if (::fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
            ::open("/dev/null", O_RDWR); // takes the lowest free number: this one
    }
}

} // namespace

int main(int argumentCount, char** argumentValues)
{
    openStandardStreams();
    // A reader that goes away must not end a recording.
    std::signal(SIGPIPE, SIG_IGN);
    // A file that grows past the user's limit is an error of its writing, like a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    const int status = runCommandLine({argumentValues + 1, argumentValues + argumentCount});
    // A stage that hangs still uses what static destructors would take from it.
    if (SerialQueue::abandonedAny() || NamedThread::detachedAny())
        std::_Exit(status);
    return status;
}
