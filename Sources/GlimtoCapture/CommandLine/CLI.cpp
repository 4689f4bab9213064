#include "CommandLine/CLI.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string_view>

#include "CommandLine/OptionReader.h"
#include "CommandLine/UploadArguments.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

bool isOneOf(const std::string& word, std::initializer_list<std::string_view> words)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool asksForHelp(std::span<const std::string> arguments)
{
    return std::any_of(arguments.begin(), arguments.end(), [](const std::string& argument) {
        return isOneOf(argument, {"-h", "--help"});
    });
}

WindowListOptions withEnumeration(WindowListOptions options)
{
    options.includeEnumeration = true;
    return options;
}

template <typename Options>
Options parsePathCommand(std::span<const std::string> arguments, const std::string& command)
{
    const OptionTable<Options> table = {
        {"--path", reading(&Options::pathURL, &OptionReader::pathValue)},
    };
    Options options;
    readOptions(arguments, table, command, options);
    if (!options.pathURL)
        throw CLIError(command + " requires --path <png>.");
    return options;
}

// The options of `upload` while it is not known yet whether they are complete.
struct UploadArguments {
    std::optional<std::filesystem::path> directory;
    std::optional<std::string> apiBaseURL;
    std::optional<std::string> recordingId;
};

} // namespace

Command CLI::parse(std::span<const std::string> arguments, const ProcessEnvironment& environment)
{
    if (arguments.empty() || isOneOf(arguments.front(), {"help", "--help", "-h"}))
        return HelpCommand{};
    const std::string& word = arguments.front();
    const auto rest = arguments.subspan(1);
    if (isOneOf(word, {"permission-json", "permissions-json", "preflight-json"}))
        return PermissionJSONCommand{};
    if (word == "sources")
        return SourcesCommand{};

    const bool isKnown = isOneOf(word,
        {"windows", "list-windows", "windows-json", "--list-windows-json", "screenshot", "clipboard-image",
            "recognize-text", "record", "upload"});
    if (!isKnown)
        throw CLIError("Unknown command '" + word + "'. Run `glimto-capture help`.");
    if (asksForHelp(rest))
        return HelpCommand{};
    if (isOneOf(word, {"windows", "list-windows"}))
        return withEnumeration(parseWindowList(rest));
    if (word == "screenshot")
        return parseScreenshot(rest);
    if (word == "clipboard-image")
        return parseClipboardImage(rest);
    if (word == "recognize-text")
        return parseRecognizeText(rest);
    if (word == "record")
        return parseRecord(rest, environment);
    if (word == "upload")
        return parseUpload(rest, environment);
    return parseWindowList(rest);
}

WindowListOptions CLI::parseWindowList(std::span<const std::string> arguments)
{
    using Scope = ScreenCaptureWindowListScope;
    const OptionTable<WindowListOptions> table = {
        {"--visible", setting(&WindowListOptions::scope, Scope::visible)},
        {"--all", setting(&WindowListOptions::scope, Scope::all)},
        {"--recording-candidates", setting(&WindowListOptions::scope, Scope::all)},
    };
    WindowListOptions options;
    readOptions(arguments, table, "windows", options);
    return options;
}

ClipboardImageOptions CLI::parseClipboardImage(std::span<const std::string> arguments)
{
    return parsePathCommand<ClipboardImageOptions>(arguments, "clipboard-image");
}

TextRecognitionOptions CLI::parseRecognizeText(std::span<const std::string> arguments)
{
    return parsePathCommand<TextRecognitionOptions>(arguments, "recognize-text");
}

UploadRecordingOptions CLI::parseUpload(
    std::span<const std::string> arguments, const ProcessEnvironment& environment)
{
    const OptionTable<UploadArguments> table = {
        {"--dir", reading(&UploadArguments::directory, &OptionReader::pathValue)},
        {"--api-base-url", reading(&UploadArguments::apiBaseURL, &OptionReader::apiBaseURLValue)},
        {"--recording-id", reading(&UploadArguments::recordingId, &OptionReader::stringValue)},
    };
    UploadArguments given;
    readOptions(arguments, table, "upload", given);
    if (!given.directory)
        throw CLIError("upload requires --dir <dir>.");
    if (!given.apiBaseURL)
        throw CLIError("upload requires --api-base-url <url>.");
    if (!given.recordingId)
        throw CLIError("upload requires --recording-id <id>.");

    UploadRecordingOptions options{
        .outputDirectory = *given.directory, .upload = defaultUploadOptions(environment)};
    options.upload.apiBaseURL = *given.apiBaseURL;
    options.upload.recordingId = given.recordingId;
    return options;
}

} // namespace glimto
