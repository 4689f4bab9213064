#include "Backends/X11/Pictures/X11ContentPicture.h"

#include "Backends/X11/Pictures/X11DisplayPicture.h"

namespace glimto {

std::unique_ptr<X11PictureSource> makeX11PictureSource(
    X11Connection& connection, const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
{
    if (const auto* window = std::get_if<WindowContentFilter>(&filter.content))
        return makeX11WindowPicture(connection, window->window.windowID);
    const PixelSize output{configuration.width, configuration.height};
    const auto& content = std::get<DisplayContentFilter>(filter.content);
    if (!content.excludedApplications.empty() || !content.laterExclusions.isEmpty())
        return makeX11ComposedPicture(connection, content, configuration.sourceRect, output);
    return std::make_unique<X11DisplayPicture>(
        connection, content.display.displayID, configuration.sourceRect, output);
}

} // namespace glimto
