#include "Backends/Network/WebOrigin.h"

#include <curl/curl.h>

#include "Support/Owned.h"
#include "Support/Text.h"

namespace glimto {

namespace {

std::string part(CURLU* url, CURLUPart what)
{
    char* text = nullptr;
    if (curl_url_get(url, what, &text, CURLU_DEFAULT_PORT) != CURLUE_OK || !text)
        return {};
    const Owned<char, curl_free> owned(text);
    return lowercased(text);
}

} // namespace

std::optional<WebOrigin> WebOrigin::of(const std::string& url)
{
    const Owned<CURLU, curl_url_cleanup> parsed(curl_url());
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
