#include "CommandLine/UsageText.h"

#include <cstddef>
#include <string_view>
#include <vector>

#include "Options/RecordingUploadOptions.h"
#include "Options/ScreenshotOptions.h"

namespace glimto {

namespace {

constexpr std::size_t descriptionColumn = 33;

struct Option {
    std::string flags;
    std::string description;
};

std::string optionText(const Option& option)
{
    std::string text = "  " + option.flags;
    if (text.size() < descriptionColumn)
        text.resize(descriptionColumn, ' ');
    else
        text += "\n" + std::string(descriptionColumn, ' ');
    return text + option.description + "\n";
}

std::string sectionText(std::string_view title, const std::vector<Option>& options)
{
    std::string text = "\n" + std::string(title) + "\n";
    for (const auto& option : options)
        text += optionText(option);
    return text;
}

std::string screenshotSection()
{
    return sectionText("SCREENSHOT OPTIONS",
        {
            {"-o, --output <png>", "Output PNG path. Required"},
            {"--stdout-json", "Print screenshot metadata as JSON"},
            {"--format png", "Output format. Only png is supported"},
            {"--display-strategy cursor", "Capture the display containing the cursor. Default"},
            {"--display <index>", "Capture display index from `sources`"},
            {"--target-json <json>",
                R"(Capture target JSON. Supports {"kind":"region","x":0,"y":0,"width":100,"height":100})"},
            {"--copy-image", "Copy the captured PNG to the clipboard"},
            {"--no-watermark", std::string("Skip the ") + watermarkText + " watermark"},
            {"--open", "Open the captured PNG after writing it"},
            {"--reveal", "Reveal the captured PNG in Finder after writing it"},
        });
}

std::string recordSection()
{
    return sectionText("RECORD OPTIONS",
        {
            {"-d, --duration <seconds>", "Capture duration. Default: 5"},
            {"--until-stopped", "Capture until --stop-file appears"},
            {"--max-duration-seconds <sec>", "Finish the capture after this long, like a user stop"},
            {"-o, --output <dir>", "Output directory. Default: .glimto-runs/capture-<timestamp>"},
            {"--display <index>", "Display index from `sources`. Default: 0"},
            {"-r, --framerate <fps>", "Capture framerate. Default: 30"},
            {"--segment-duration <seconds>", "Preferred fMP4 segment duration. Default: 4"},
            {"--system-audio", "Capture system audio and encode AAC into the fMP4 segments"},
            {"--microphone <device-id>", "Mix this AVFoundation microphone into the audio track"},
            {"--no-cursor", "Hide the cursor in capture"},
            {"--record-events", "Record a listen-only input-event track (zoom mode); implies --no-cursor"},
            {"--region <x,y,width,height>", "Capture a screen region in global display points"},
            {"--window-id <id>", "Capture a window by macOS CGWindowID"},
            {"--except-window-id <id>",
                "Keep this Glimto window (the camera preview bubble) in the recording. Display and region "
                "captures"
                " only"},
            {"-w, --overwrite", "Replace known proof artifacts in the output directory"},
            {"--stop-file <path>", "Finish capture early when this file appears"},
            {"--upload", "Upload the completed recording to the API/R2 pipeline"},
            {"--api-base-url <url>", std::string("API origin for --upload. Default: ") + defaultAPIBaseURL},
            {"--access-key <key>", "Optional desktop access key for API requests"},
            {"--recording-id <id>", "Optional recording id override for --upload"},
            {"--background-upload-threshold <seconds>",
                "Start uploading completed segments after this long. Default: 3"},
            {"--no-background-upload", "Disable in-recording background upload"},
            {"--stdout-json", "Print local recording artifact metadata as JSON"},
            {"--reveal", "Reveal the output directory in Finder after finalization"},
        });
}

std::string uploadSection()
{
    return sectionText("UPLOAD OPTIONS",
               {
                   {"--dir <dir>", "Completed take directory to upload. Required"},
                   {"--api-base-url <url>", "API origin. Required"},
                   {"--recording-id <id>", "Recording id to upload the take as. Required"},
               })
        + "  The desktop access key comes from GLIMTO_DESKTOP_ACCESS_KEY, as it does\n"
          "  for `record --upload`.\n";
}

constexpr std::string_view synopsis
    = "glimto-capture - media-contract proof CLI\n"
      "\n"
      "USAGE\n"
      "  glimto-capture permission-json\n"
      "  glimto-capture sources\n"
      "  glimto-capture windows-json [options]\n"
      "  glimto-capture screenshot [options]\n"
      "  glimto-capture clipboard-image --path <png>\n"
      "  glimto-capture recognize-text --path <png>\n"
      "  glimto-capture record [options]\n"
      "  glimto-capture upload --dir <dir> --api-base-url <url> --recording-id <id>\n";

} // namespace

std::string usageText()
{
    return std::string(synopsis)
        + sectionText("WINDOW OPTIONS",
            {
                {"--visible", "List visible picker candidates. Default"},
                {"--all", "List the broader recording/screenshot candidate set"},
            })
        + screenshotSection()
        + sectionText(
            "CLIPBOARD OPTIONS", {{"--path <png>", "Put the PNG image data at this path onto the clipboard"}})
        + sectionText(
            "RECOGNIZE-TEXT OPTIONS", {{"--path <png>", "Recognize text in this PNG and print it as JSON"}})
        + recordSection() + uploadSection()
        + "\nNEXT STEP\n"
          "  scripts/verify-media-contract.sh <output-dir>";
}

} // namespace glimto
