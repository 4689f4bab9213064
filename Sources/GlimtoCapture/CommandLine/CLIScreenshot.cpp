#include "CommandLine/CLI.h"

#include "CommandLine/OptionReader.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

using Options = ScreenshotOptions;

void checkFormat(Options&, OptionReader& reader)
{
    if (reader.stringValue() != "png")
        throw CLIError("--format currently supports only 'png'.");
}

void setDisplayStrategy(Options& options, OptionReader& reader)
{
    if (reader.stringValue() != "cursor")
        throw CLIError("--display-strategy currently supports only 'cursor'.");
    options.displayStrategy = ScreenshotDisplayStrategy::cursor;
}

const OptionTable<Options>& screenshotTable()
{
    static const OptionTable<Options> table = {
        {"-o", reading(&Options::outputURL, &OptionReader::pathValue)},
        {"--output", reading(&Options::outputURL, &OptionReader::pathValue)},
        {"--stdout-json", setting(&Options::stdoutJSON, true)},
        {"--format", checkFormat},
        {"--display-strategy", setDisplayStrategy},
        {"--display",
            [](Options& options, OptionReader& reader) {
                options.target = DisplayTarget{reader.displayIndexValue()};
            }},
        {"--target-json", reading(&Options::target, &OptionReader::screenshotTargetJSONValue)},
        {"--include-glimto-window-ids",
            reading(&Options::includedGlimtoWindowIDs, &OptionReader::windowIDsJSONValue)},
        {"--wait-for-capture-trigger", setting(&Options::waitForCaptureTrigger, true)},
        {"--copy-image", setting(&Options::copyImage, true)},
        {"--no-watermark", setting(&Options::applyWatermark, false)},
        {"--open", setting(&Options::openOutput, true)},
        {"--reveal", setting(&Options::revealOutput, true)},
    };
    return table;
}

} // namespace

ScreenshotOptions CLI::parseScreenshot(std::span<const std::string> arguments)
{
    ScreenshotOptions options;
    readOptions(arguments, screenshotTable(), "screenshot", options);
    if (!options.outputURL)
        throw CLIError("screenshot requires --output <png>.");
    if (!options.displayStrategy && !options.target)
        options.displayStrategy = ScreenshotDisplayStrategy::cursor;
    if (options.displayStrategy && options.target)
        throw CLIError("Use only one screenshot target: --display-strategy, --display, or --target-json.");
    return options;
}

} // namespace glimto
