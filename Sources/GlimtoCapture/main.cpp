#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Backends/Desktop/DesktopWorkspace.h"
#include "Backends/Desktop/LinuxProcessEnvironment.h"
#include "Backends/Desktop/ProcessStopRequests.h"
#include "Backends/Desktop/ProcessTerminal.h"
#include "Backends/Images/DeflatePNGCodec.h"
#include "Backends/Images/TurboImageCodec.h"
#include "CommandLine/UploadArguments.h"
#include "CommandLine/Driver.h"
#include "Composition/WindowSystemChoice.h"
#include "Platform/PlatformServices.h"
#include "Progress/StatusLine.h"
#include "Support/DescriptorLineOutput.h"
#include "Support/LoadableModule.h"
#include "Support/ProcessWide.h"
#include "Support/StandardStreams.h"

namespace {

using namespace glimto;

// Beside the program in a build tree, where it stands as seen from the program once installed, wherever that
// was moved to, and where the distribution has it.
std::vector<std::filesystem::path> moduleDirectories(const ProcessEnvironment& process)
{
    const auto executable = process.executablePath();
    if (!executable)
        return {};
    const auto folder = executable->parent_path();
    return {folder, (folder / GLIMTO_RELATIVE_MODULE_FOLDER).lexically_normal(),
        folder.parent_path() / "lib" / "glimto-capture", GLIMTO_INSTALLED_MODULE_FOLDER};
}

int runCommandLine(const std::vector<std::string>& arguments)
{
    LinuxProcessEnvironment process;
    auto progress = ProgressDescriptor::take(process); // before anything is opened
    ProcessStopRequests stopRequests; // early: it remembers who our parent is
    auto terminal = terminalOfProcess(process);
    const auto statusLine = terminal ? std::make_shared<StatusLine>(std::move(terminal)) : nullptr;
    DescriptorLineOutput plainOutput(1);
    DescriptorLineOutput plainError(2);
    TerminalLineOutput standardOutput(plainOutput, statusLine);
    TerminalLineOutput standardError(plainError, statusLine);
    const auto windowSystem = chooseWindowSystem(process, moduleDirectories(process), standardError);
    LoadableModule video("glimto-capture-video.so", moduleDirectories(process), "The media encoder");
    LoadableModule soundCoding("glimto-capture-ffmpeg.so", moduleDirectories(process), "The sound encoder");
    LoadableModule sound("glimto-capture-sound.so", moduleDirectories(process), "Sound recording");
    LoadableModule fonts("glimto-capture-stills.so", moduleDirectories(process), "Text drawing");
    LoadableModule text("glimto-capture-text.so", moduleDirectories(process), "Text recognition");
    LoadableModule network("glimto-capture-network.so", moduleDirectories(process), "The network");
    TurboImageCodec images;
    DeflatePNGCodec pngCodec;
    DesktopWorkspace workspace;
    PlatformServices services = {.process = process,
        .windowSystem = *windowSystem,
        .videoWriters = Service<VideoAssetWriterFactory>(video),
        .audioWriters = Service<AudioAssetWriterFactory>(soundCoding),
        .audioConverters = Service<AudioConverterFactory>(soundCoding),
        .audioInputs = Service<AudioInputFactory>(sound),
        .images = images,
        .pngCodec = pngCodec,
        .textDrawing = Service<TextDrawing>(fonts),
        .textRecognition = Service<TextRecognitionEngine>(text, static_cast<PNGCodec*>(&pngCodec)),
        .workspace = workspace,
        .stopRequests = stopRequests,
        .http = Service<HTTPTransport>(network),
        .textPatterns = Service<TextPatternCompiler>(network)};

    // The encoder is loaded while the screen is being looked at.
    if (!arguments.empty() && arguments.front() == "record")
        video.beginLoading();
    return Driver(services, {standardOutput, standardError}, std::move(progress), statusLine).run(arguments);
}

} // namespace

int main(int argumentCount, char** argumentValues)
{
    const auto directories = [] { return moduleDirectories(LinuxProcessEnvironment()); };
    if (const auto status = runWindowSystemService(argumentCount, argumentValues, directories))
        return *status;
    openStandardStreams();
    giveLargeMemoryBack();
    // A reader that goes away must not end a recording.
    std::signal(SIGPIPE, SIG_IGN);
    // A file that grows past the user's limit is an error of its writing, like a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    const std::vector<std::string> arguments(argumentValues + 1, argumentValues + argumentCount);
    wipeAccessKeys(argumentCount, argumentValues);
    const int status = runCommandLine(arguments);
    // A stage that hangs still uses what static destructors would take from it.
    if (isWorkAbandoned())
        std::_Exit(status);
    return status;
}
