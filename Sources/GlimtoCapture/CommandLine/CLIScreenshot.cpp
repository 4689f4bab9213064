#include "CommandLine/CLI.h"

#include "CommandLine/OptionReader.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

using Options = ScreenshotOptions;

void setOutput(Options& options, OptionReader& reader)
{
    options.outputURL = reader.pathValue();
}

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
        {"-o", setOutput},
        {"--output", setOutput},
        {"--stdout-json", [](Options& options, OptionReader&) { options.stdoutJSON = true; }},
        {"--format", checkFormat},
        {"--display-strategy", setDisplayStrategy},
        {"--display",
            [](Options& options, OptionReader& reader) {
                options.target = DisplayTarget{reader.displayIndexValue()};
            }},
        {"--target-json",
            [](Options& options, OptionReader& reader) {
                options.target = reader.screenshotTargetJSONValue();
            }},
        {"--include-glimto-window-ids",
            [](Options& options, OptionReader& reader) {
                options.includedGlimtoWindowIDs = reader.windowIDsJSONValue();
            }},
        {"--wait-for-capture-trigger",
            [](Options& options, OptionReader&) { options.waitForCaptureTrigger = true; }},
        {"--copy-image", [](Options& options, OptionReader&) { options.copyImage = true; }},
        {"--no-watermark", [](Options& options, OptionReader&) { options.applyWatermark = false; }},
        {"--open", [](Options& options, OptionReader&) { options.openOutput = true; }},
        {"--reveal", [](Options& options, OptionReader&) { options.revealOutput = true; }},
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
