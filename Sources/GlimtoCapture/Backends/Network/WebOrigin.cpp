#include "Backends/Network/WebOrigin.h"

#include <algorithm>

#include "Backends/Network/CurlHandles.h"

namespace glimto {

namespace {

std::string part(CURLU* url, CURLUPart what)
{
    char* text = nullptr;
    if (curl_url_get(url, what, &text, CURLU_DEFAULT_PORT) != CURLUE_OK || !text)
        return {};
    std::string result(text);
    curl_free(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character | 0x20) : character;
    });
    return result;
}

} // namespace

std::optional<WebOrigin> WebOrigin::of(const std::string& url)
{
    const CurlURLHandle parsed(curl_url());
    if (!parsed || curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK)
        return std::nullopt;
    WebOrigin origin{part(parsed.get(), CURLUPART_SCHEME), part(parsed.get(), CURLUPART_HOST),
        part(parsed.get(), CURLUPART_PORT)};
    if ((origin.scheme != "http" && origin.scheme != "https") || origin.host.empty())
        return std::nullopt;
    return origin;
}

std::string WebOrigin::text() const
{
    const bool isUsualPort = port == (scheme == "https" ? "443" : "80");
    return scheme + "://" + host + (isUsualPort ? "" : ":" + port);
}

} // namespace glimto
