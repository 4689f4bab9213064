#include "Content/ScreenCaptureListings.h"

#include <algorithm>
#include <exception>
#include <string>

#include "Content/ScreenCapturePayloads.h"
#include "Content/ScreenCaptureShareableContent.h"
#include "Support/JSONText.h"
#include "Support/Text.h"

namespace glimto {

namespace {

void listDisplays(const std::vector<Display>& displays, LineOutput& standardOutput)
{
    if (displays.empty()) {
        standardOutput.writeDocument("Screens: none");
        return;
    }
    standardOutput.writeDocument("Screens:");
    for (std::size_t index = 0; index < displays.size(); ++index) {
        const Display& display = displays[index];
        standardOutput.writeDocument("  screen:" + std::to_string(index) + " -> Display "
            + std::to_string(index + 1) + " (" + std::to_string(display.width) + "x"
            + std::to_string(display.height) + ") id=" + std::to_string(display.displayID));
    }
}

void listApplications(std::vector<Application> applications, LineOutput& standardOutput)
{
    std::erase_if(applications, [](const Application& application) {
        return application.applicationName.empty() || application.bundleIdentifier.empty();
    });
    if (applications.empty())
        return;
    // Strings compare by bytes, which for UTF-8 is the order of the code points.
    std::stable_sort(applications.begin(), applications.end(),
        [](const Application& a, const Application& b) { return a.applicationName < b.applicationName; });
    standardOutput.writeDocument("");
    standardOutput.writeDocument("Applications with windows:");
    for (const Application& application : applications) {
        standardOutput.writeDocument("  " + singleLine(application.applicationName));
        standardOutput.writeDocument("    App ID: " + singleLine(application.bundleIdentifier));
    }
}

ScreenCaptureWindowListPayload windowListPayload(
    ShareableContentProvider& provider, ScreenAccess& screen, const WindowListOptions& options)
{
    const bool includeEnumeration = options.includeEnumeration;
    try {
        const ScreenCaptureShareableContent source(provider);
        const auto content = options.scope == ScreenCaptureWindowListScope::visible
            ? source.pickerWindowCandidates()
            : source.recordingSources();
        return ScreenCaptureWindowListPayload::success(content, options.scope, includeEnumeration,
            screen.preflightScreenCaptureAccess().allowsOpening());
    } catch (const std::exception& error) {
        return ScreenCaptureWindowListPayload::failure(
            error, options.scope, includeEnumeration, screen.preflightScreenCaptureAccess().allowsOpening());
    }
}

} // namespace

void listSources(ShareableContentProvider& provider, LineOutput& standardOutput)
{
    const auto content = ScreenCaptureShareableContent(provider).recordingSources();
    listDisplays(content.displays, standardOutput);
    listApplications(content.applications, standardOutput);
}

void listWindowsJSON(ShareableContentProvider& provider, ScreenAccess& screen,
    const WindowListOptions& options, LineOutput& standardOutput)
{
    standardOutput.writeDocument(
        encodeScreenCaptureJSON(toJSON(windowListPayload(provider, screen, options))));
}

} // namespace glimto
